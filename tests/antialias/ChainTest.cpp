// Chain linking, checked against a plain model that follows the linking
// rule literally: consumed segments overwritten with -(W + 1), one scan of
// the later segments in list order per chain.
#include <gtest/gtest.h>

#include <cstdlib>

#include "AntiAliasTestSupport.h"

namespace quillon::aatest {
namespace {

struct PlainChains {
    std::vector<int32_t> points;
    std::vector<int32_t> ends;
};

PlainChains plainLink(std::vector<int32_t> s, int32_t width, bool columns) {
    const int32_t mark = -(width + 1);
    auto consumed = [width](int32_t v) { return v % width == -1 || v / width == -1; };
    auto row = [width](int32_t v) { return v / width; };
    auto near = [width, columns](int32_t u, int32_t v) {
        const int32_t d = std::abs(u - v);
        return columns ? (d == 0 || d == width) : d <= 1;
    };
    PlainChains out;
    out.points.assign(s.size(), 0);
    for (std::size_t i = 0; i + 1 < s.size(); i += 2) {
        if (consumed(s[i]) || consumed(s[i + 1])) {
            continue;
        }
        const int32_t base = out.ends.empty() ? 0 : out.ends.back();
        const int32_t a = s[i];
        const int32_t b = s[i + 1];
        out.points[base] = a;
        out.points[base + 1] = b;
        s[i] = s[i + 1] = mark;
        int32_t len = 0;
        const bool upward = row(a) >= row(b);
        for (std::size_t j = i + 2; j + 1 < s.size(); j += 2) {
            const int32_t a2 = s[j];
            const int32_t b2 = s[j + 1];
            if (consumed(a2) || consumed(b2)) {
                continue;
            }
            if (upward ? !(row(a2) > row(b2)) : !(row(a2) < row(b2))) {
                continue;
            }
            const int32_t tail = out.points[base + len + 1];
            const int32_t head = out.points[base];
            if (near(tail, a2)) {
                out.points[base + len + 2] = a2;
                out.points[base + len + 3] = b2;
            } else if (near(head, b2)) {
                for (int32_t k = base + len + 1; k >= base; --k) {
                    out.points[k + 2] = out.points[k];
                }
                out.points[base] = a2;
                out.points[base + 1] = b2;
            } else {
                continue;
            }
            s[j] = s[j + 1] = mark;
            len += 2;
        }
        out.ends.push_back(base + 2 + len);
    }
    return out;
}

void expectSame(const aa::ChainSet& got, const PlainChains& want, const char* what) {
    ASSERT_EQ(got.count, static_cast<int32_t>(want.ends.size())) << what;
    for (int32_t k = 0; k < got.count; ++k) {
        ASSERT_EQ(got.ends[k], want.ends[static_cast<std::size_t>(k)]) << what << " chain " << k;
    }
    const int32_t total = got.count == 0 ? 0 : got.ends[got.count - 1];
    for (int32_t i = 0; i < total; ++i) {
        ASSERT_EQ(got.points[i], want.points[static_cast<std::size_t>(i)])
            << what << " point " << i;
    }
}

TEST(AntiAliasChains, AppendPrependAndSingleScan) {
    constexpr int32_t w = 10;
    // Segments (from, to); rows are index / 10.
    const std::vector<int32_t> s = {
        25, 16,  // 0: upward (row 2 to row 1): opens chain 0
        36, 26,  // 1: its end touches the head 25: prepended
        17, 8,   // 2: its start touches the tail 16: appended
        56, 46,  // 3: would touch the head only once segment 4 has joined: left out
        47, 37,  // 4: touches the head 36: prepended
        40, 41,  // 5: flat: opens chain 2
        42, 43,  // 6: flat, touches chain 2's tail, but a flat segment never joins
        1,  12,  // 7: downward, not of chain 0's family
    };
    aa::ChainSet chains;
    ASSERT_TRUE(aa::linkRowChains(s.data(), s.size(), w, chains));
    expectSame(
        chains,
        {{47, 37, 36, 26, 25, 16, 17, 8, 56, 46, 40, 41, 42, 43, 1, 12}, {8, 10, 12, 14, 16}},
        "hand");
    expectSame(chains, plainLink(s, w, false), "model");
}

TEST(AntiAliasChains, ColumnAdjacencyIsSameOrVerticalNeighbour) {
    constexpr int32_t w = 10;
    const std::vector<int32_t> s = {
        5,  16,  // downward column segment
        26, 37,  // starts directly below the tail 16: appended
        38, 49,  // |37 - 38| = 1 is not adjacent for columns
        37, 48,  // start equals the tail: appended
    };
    aa::ChainSet chains;
    ASSERT_TRUE(aa::linkColumnChains(s.data(), s.size(), w, chains));
    expectSame(chains, {{5, 16, 26, 37, 37, 48, 38, 49}, {6, 8}}, "hand");
    expectSame(chains, plainLink(s, w, true), "model");
}

TEST(AntiAliasChains, MatchesPlainModelOnRandomLists) {
    for (uint32_t seed = 1; seed <= 200; ++seed) {
        std::mt19937 rng(seed);
        const int32_t w = 3 + static_cast<int32_t>(rng() % 8);
        const int32_t h = 3 + static_cast<int32_t>(rng() % 8);
        const int32_t count = static_cast<int32_t>(rng() % 60);
        std::vector<int32_t> s;
        for (int32_t i = 0; i < count; ++i) {
            const int32_t a = static_cast<int32_t>(rng() % static_cast<uint32_t>(w * h));
            // Ends near the start, so that many segments touch.
            const int32_t b = std::clamp(
                a + static_cast<int32_t>(rng() % 5) - 2 + (static_cast<int32_t>(rng() % 3) - 1) * w,
                0, w * h - 1);
            s.push_back(a);
            s.push_back(b);
        }
        aa::ChainSet rows;
        aa::ChainSet cols;
        ASSERT_TRUE(aa::linkRowChains(s.data(), s.size(), w, rows));
        ASSERT_TRUE(aa::linkColumnChains(s.data(), s.size(), w, cols));
        expectSame(rows, plainLink(s, w, false), "rows");
        expectSame(cols, plainLink(s, w, true), "columns");
    }
}

TEST(AntiAliasChains, MatchesPlainModelOnDetectedPhotoLikeEdges) {
    // Segments from real detection on a picture of a disc over slanted bands.
    const int32_t w = 90;
    const int32_t h = 70;
    std::vector<uint8_t> grey(static_cast<std::size_t>(w * h));
    for (int32_t y = 0; y < h; ++y) {
        for (int32_t x = 0; x < w; ++x) {
            const bool disc = (x - 30) * (x - 30) + (y - 30) * (y - 30) < 400;
            grey[static_cast<std::size_t>(y * w + x)] =
                static_cast<uint8_t>(40 + (disc ? 120 : 0) + (bands(x, y) > 100 ? 60 : 0) + x / 9);
        }
    }
    aa::Detection d;
    ASSERT_TRUE(aa::detectChains(grey.data(), w, h, d));
    ASSERT_GT(d.rowChains.count, 10);
    ASSERT_GT(d.columnChains.count, 1);
    expectSame(d.rowChains, plainLink(listOf(d.rowSegments), w, false), "rows");
    expectSame(d.columnChains, plainLink(listOf(d.columnSegments), w, true), "columns");
}

}  // namespace
}  // namespace quillon::aatest
