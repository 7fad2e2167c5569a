// Grey conversion, the min/max lattice and the two lattice-map resizers.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <random>
#include <utility>
#include <vector>

#include "RefineTestSupport.h"
#include "engine/PositionTables.h"
#include "engine/Refinement.h"

namespace quillon::refinetest {
namespace {

// 8 bits: the colour sum's third rounded half up (21844/65536 stays close
// enough for every sum up to 765). 16 bits: only the high bytes count, host
// white (32768) is 128. A count of zero or less writes nothing.
TEST(GreyConversion, RoundedThirdOfColourSumAndEmptyCountsWriteNothing) {
    const uint32_t count = 4096;
    const auto frame = RandomFrame<uint8_t>(count, 1, 255, 11);
    std::vector<uint8_t> grey(count, 0xAA);
    grayFrom8(grey.data(), frame.data(), static_cast<int32_t>(count));
    for (uint32_t i = 0; i < count; ++i) {
        const int sum = frame[i * 4] + frame[i * 4 + 1] + frame[i * 4 + 2];
        ASSERT_EQ(grey[i], (2 * sum + 3) / 6) << "pixel " << i;
    }
    const std::vector<uint16_t> wide = {0x12FF, 0x3400, 0xFFFF, 0x7777, 0x00FF, 0x00FF,
                                        0x00FF, 0xFFFF, 0x8000, 0x8000, 0x8000, 0x0000};
    const std::vector<uint8_t> want = {(2 * (0x12 + 0x34 + 0xFF) + 3) / 6, 0, 128};
    grayFrom16(grey.data(), wide.data(), 3);
    grey.resize(3);
    EXPECT_EQ(grey, want);
    grayFrom8(grey.data(), frame.data(), 0);
    grayFrom8(grey.data(), frame.data(), -5);
    grayFrom16(grey.data(), wide.data(), std::numeric_limits<int32_t>::min());
    EXPECT_EQ(grey, want);
}

// ------------------------------------------------------------------ lattice

// The window of lattice point (x, y) written out from the border table, one
// case per table row. Returns (column, row) pairs.
std::vector<std::pair<int, int>> WindowOf(int x, int y, int w, int h) {
    std::vector<std::pair<int, int>> px;
    auto block = [&px](int c0, int c1, int r0, int r1) {
        for (int r = r0; r <= r1; ++r) {
            for (int c = c0; c <= c1; ++c) {
                px.emplace_back(c, r);
            }
        }
    };
    const int bandX = x <= 1 ? 0 : (x >= w - 1 ? 2 : 1);
    const int bandY = y <= 1 ? 0 : (y >= h - 1 ? 2 : 1);
    if (bandX == 1 && bandY == 1) {
        block(x - 1, x, y - 2, y + 1);
        block(x - 2, x - 2, y - 1, y);
        block(x + 1, x + 1, y - 1, y);
    } else if (bandX == 1 && bandY == 0) {
        block(x - 1, x, 0, 2);
        block(x - 2, x - 2, 0, 1);
        block(x + 1, x + 1, 0, 1);
    } else if (bandX == 1 && bandY == 2) {
        block(x - 1, x, h - 3, h - 1);
        block(x - 2, x - 2, h - 2, h - 1);
        block(x + 1, x + 1, h - 2, h - 1);
    } else if (bandX == 0 && bandY == 1) {
        block(1, 2, y - 2, y + 1);
        block(3, 3, y - 1, y);
    } else if (bandX == 2 && bandY == 1) {
        block(w - 2, w - 1, y - 2, y + 1);
        block(w - 3, w - 3, y - 1, y);
    } else if (bandX == 0 && bandY == 0) {
        block(0, 2, 0, 1);
        block(0, 1, 2, 2);
    } else if (bandX == 2 && bandY == 0) {
        block(w - 3, w - 1, 0, 1);
        block(w - 2, w - 2, 2, 2);
        px.emplace_back(0, 3);  // linear position 3 * W
    } else if (bandX == 0 && bandY == 2) {
        block(0, 2, h - 2, h - 1);
        block(0, 1, h - 3, h - 3);
    } else {
        block(w - 3, w - 1, h - 2, h - 1);
        block(w - 2, w - 1, h - 3, h - 3);
    }
    return px;
}

// Every grey pixel in turn is made the only bright and the only dark one:
// the lattice points that see it are exactly those whose window holds it.
TEST(Lattice, EachGreyReachesExactlyTheWindowsHoldingIt) {
    for (auto [w, h] : {std::pair{4, 4}, std::pair{5, 4}, std::pair{4, 6}, std::pair{7, 5},
                        std::pair{9, 8}, std::pair{6, 11}, std::pair{16, 9}, std::pair{33, 17}}) {
        const std::size_t points = std::size_t(w + 1) * (h + 1);
        for (int probe = 0; probe < w * h; ++probe) {
            std::vector<uint8_t> grey(std::size_t(w) * h, 100);
            std::vector<uint8_t> min(points, 0x5A);
            std::vector<uint8_t> max(points, 0x5A);
            std::vector<uint8_t> darkMin(points, 0x5A);
            std::vector<uint8_t> darkMax(points, 0x5A);
            grey[probe] = 200;
            buildLattice(grey.data(), min.data(), max.data(), w, h);
            grey[probe] = 3;
            buildLattice(grey.data(), darkMin.data(), darkMax.data(), w, h);
            for (std::size_t at = 0; at < points; ++at) {
                const int x = static_cast<int>(at % (w + 1));
                const int y = static_cast<int>(at / (w + 1));
                const auto window = WindowOf(x, y, w, h);
                const bool holds = std::find(window.begin(), window.end(),
                                             std::pair{probe % w, probe / w}) != window.end();
                ASSERT_EQ(max[at], holds ? 200 : 100)
                    << w << "x" << h << " grey " << probe << " lattice " << x << "," << y;
                ASSERT_EQ(darkMin[at], holds ? 3 : 100)
                    << w << "x" << h << " grey " << probe << " lattice " << x << "," << y;
                ASSERT_TRUE(min[at] == 100 && darkMax[at] == 100);
            }
        }
    }
}

// --------------------------------------------------------------- map resize

struct AxisTables {
    std::vector<double> frac;
    std::vector<uint32_t> index;
};

AxisTables Axis(uint32_t n, uint32_t m) {
    std::vector<double> positions(n);
    std::vector<uint16_t> spans(n - 1);
    buildAxisSpans(n, m, positions.data(), spans.data());
    AxisTables t{std::vector<double>(m), std::vector<uint32_t>(m)};
    buildAxisIndex(n, positions.data(), t.frac.data(), t.index.data());
    return t;
}

// A lattice map of srcW x srcH pixels and the engine's tables for its resize.
struct MapInputs {
    uint32_t srcW, srcH, dstW, dstH;
    AxisTables cols = Axis(srcW, dstW);
    AxisTables rows = Axis(srcH, dstH);
    std::vector<uint8_t> lattice = std::vector<uint8_t>(std::size_t(srcW + 1) * (srcH + 1));

    MapInputs(uint32_t sw, uint32_t sh, uint32_t dw, uint32_t dh, uint32_t seed)
        : srcW(sw), srcH(sh), dstW(dw), dstH(dh) {
        std::mt19937 rng(seed);
        for (auto& v : lattice) {
            // Plenty of extremes, so the vector lanes meet their largest differences.
            const uint32_t pick = rng() % 4;
            v = pick == 0 ? 0 : pick == 1 ? 255 : static_cast<uint8_t>(rng());
        }
    }
};

constexpr uint8_t kUntouched = 0xC3;

std::vector<uint8_t> Resize(decltype(&scaleMapBilinear) fn, const MapInputs& m, bool* ok) {
    std::vector<uint8_t> out(std::size_t{m.dstW} * m.dstH, kUntouched);
    *ok = fn(m.lattice.data(), out.data(), m.rows.index.data(), m.cols.index.data(),
             m.cols.frac.data(), m.rows.frac.data(), m.srcW, m.srcH, m.dstW, m.dstH);
    return out;
}

int FloorDiv64(int v) {
    return v >= 0 ? v / 64 : -((-v + 63) / 64);
}

// The resize as the rule states it: a lattice sample half a step on and its
// 1/64 weight per axis, the horizontal pass first, low 8 bits kept.
std::vector<uint8_t> ModelResize(const MapInputs& m) {
    auto tap = [](double frac, uint32_t index, uint32_t* at) {
        const double u = frac + 0.5;
        *at = index + static_cast<uint32_t>(std::trunc(u));
        return static_cast<int>(std::trunc((u - std::trunc(u)) * 64.0 + 0.5));
    };
    std::vector<uint8_t> out(std::size_t{m.dstW} * m.dstH);
    const std::size_t lw = m.srcW + 1;
    for (uint32_t r = 0; r < m.dstH; ++r) {
        uint32_t row = 0;
        const int fy = tap(m.rows.frac[r], m.rows.index[r], &row);
        for (uint32_t k = 0; k < m.dstW; ++k) {
            uint32_t col = 0;
            const int fx = tap(m.cols.frac[k], m.cols.index[k] & 0xFFFF, &col);
            int t[2];
            for (int i = 0; i < 2; ++i) {
                const uint8_t* l = &m.lattice[(row + i) * lw + col];
                t[i] = l[0] + FloorDiv64((l[1] - l[0]) * fx + 32);
            }
            out[std::size_t{r} * m.dstW + k] =
                static_cast<uint8_t>((t[0] + FloorDiv64((t[1] - t[0]) * fy + 32)) & 0xFF);
        }
    }
    return out;
}

// Both resizers against the model; 1:1 axes included, and a width that takes
// column indices past 8 bits.
TEST(ScaleMap, BothResizersMatchTheModelOnAwkwardSizes) {
    const std::vector<std::vector<uint32_t>> sizes = {
        {4, 4, 4, 4},     {4, 5, 9, 13},       {7, 6, 15, 11},       {5, 4, 8, 4},
        {9, 7, 16, 23},   {20, 10, 63, 37},    {33, 17, 100, 50},    {64, 36, 129, 72},
        {31, 9, 250, 61}, {100, 50, 257, 130}, {320, 180, 641, 361}, {320, 180, 640, 360},
        {13, 9, 13, 9},   {300, 6, 300, 6}};
    uint32_t seed = 100;
    for (const auto& s : sizes) {
        const MapInputs m(s[0], s[1], s[2], s[3], seed++);
        const auto want = ModelResize(m);
        for (auto fn : {&scaleMapBilinear, &scaleMapVector}) {
            bool ok = false;
            EXPECT_EQ(Resize(fn, m, &ok), want) << s[0] << "x" << s[1] << " -> " << s[2] << "x"
                                                << s[3] << (fn == &scaleMapVector ? " vector" : "");
            EXPECT_TRUE(ok);
        }
    }
}

TEST(ScaleMap, NoneKeepsDestination) {
    const MapInputs m(8, 8, 20, 20, 3);
    bool ok = false;
    EXPECT_EQ(Resize(&scaleMapNone, m, &ok), std::vector<uint8_t>(20 * 20, kUntouched));
    EXPECT_TRUE(ok);
}

// A table that would read off the lattice, or any refused scratch block,
// makes a resizer return false without writing.
TEST(ScaleMap, DamagedTablesAndRefusedScratchWriteNothing) {
    const std::vector<uint8_t> untouched(19 * 14, kUntouched);
    const std::vector<void (*)(MapInputs&)> damages = {
        [](MapInputs& m) { m.cols.frac[5] = std::nan(""); },
        [](MapInputs& m) { m.rows.index[m.dstH - 1] = m.srcH; },  // past the last lattice row
        [](MapInputs& m) {
            m.cols.index[m.dstW - 1] = m.srcW - 1;
            m.cols.frac[m.dstW - 1] = 1.0;  // lattice column srcWidth, next one outside
        }};
    for (auto fn : {&scaleMapBilinear, &scaleMapVector}) {
        for (const auto damage : damages) {
            MapInputs m(8, 6, 19, 14, 5);
            damage(m);
            bool ok = true;
            EXPECT_EQ(Resize(fn, m, &ok), untouched);
            EXPECT_FALSE(ok);
        }
        const MapInputs m(8, 6, 19, 14, 9);
        bool ok = false;
        for (int grants = 0; grants < 8 && !ok; ++grants) {
            support::AllocationLimit limit(grants);
            const auto out = Resize(fn, m, &ok);
            EXPECT_EQ(out, ok ? ModelResize(m) : untouched) << grants << " grants";
        }
        EXPECT_TRUE(ok);
    }
}

}  // namespace
}  // namespace quillon::refinetest
