// Chain linking, checked against a plain model that follows the linking
// rule literally: one scan of the later segments in list order per chain.
#include <gtest/gtest.h>

#include <cstdlib>

#include "AntiAliasTestSupport.h"

namespace quillon::aatest {
namespace {

struct PlainChains {
    std::vector<int32_t> points;
    std::vector<int32_t> ends;
};

PlainChains plainLink(const std::vector<int32_t>& s, int32_t width, bool columns) {
    auto row = [width](int32_t v) { return v / width; };
    auto near = [width, columns](int32_t u, int32_t v) {
        const int32_t d = std::abs(u - v);
        return columns ? (d == 0 || d == width) : d <= 1;
    };
    std::vector<bool> used(s.size() / 2, false);
    PlainChains out;
    for (std::size_t i = 0; i < used.size(); ++i) {
        if (used[i]) {
            continue;
        }
        std::vector<int32_t> chain = {s[2 * i], s[2 * i + 1]};
        const bool upward = row(chain[0]) >= row(chain[1]);
        for (std::size_t j = i + 1; j < used.size(); ++j) {
            const int32_t a = s[2 * j];
            const int32_t b = s[2 * j + 1];
            if (used[j] || (upward ? row(a) <= row(b) : row(a) >= row(b))) {
                continue;
            }
            if (near(chain.back(), a)) {
                chain.insert(chain.end(), {a, b});
            } else if (near(chain.front(), b)) {
                chain.insert(chain.begin(), {a, b});
            } else {
                continue;
            }
            used[j] = true;
        }
        out.points.insert(out.points.end(), chain.begin(), chain.end());
        out.ends.push_back(static_cast<int32_t>(out.points.size()));
    }
    return out;
}

void expectSame(const aa::ChainSet& got, const PlainChains& want, const char* what) {
    const int32_t total = got.count == 0 ? 0 : got.ends[got.count - 1];
    EXPECT_EQ(std::vector<int32_t>(got.ends.data(), got.ends.data() + got.count), want.ends)
        << what;
    EXPECT_EQ(std::vector<int32_t>(got.points.data(), got.points.data() + total), want.points)
        << what;
}

TEST(AntiAliasChains, AppendPrependAdjacencyAndSingleScan) {
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
    // Columns: index 26 lies directly below the tail 16 and 37 equals the
    // tail, so both join; 38 is beside 37, which is no neighbour for columns.
    const std::vector<int32_t> c = {5, 16, 26, 37, 38, 49, 37, 48};
    aa::ChainSet columns;
    ASSERT_TRUE(aa::linkColumnChains(c.data(), c.size(), w, columns));
    expectSame(columns, {{5, 16, 26, 37, 37, 48, 38, 49}, {6, 8}}, "columns");
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

}  // namespace
}  // namespace quillon::aatest
