// Grey conversion, the min/max lattice and the two lattice-map resizers.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <random>
#include <utility>
#include <vector>

#include "TestFrames.h"
#include "engine/PositionTables.h"
#include "engine/Refinement.h"

namespace quillon {
namespace {

using testing::RandomFrame;

// ---------------------------------------------------------------- grey maps

TEST(GreyConversion, EightBitIsRoundedThirdOfColourSum) {
    const uint32_t count = 4096;
    const auto frame = RandomFrame<uint8_t>(count, 1, 255, 11);
    std::vector<uint8_t> grey(count, 0xAA);
    grayFrom8(grey.data(), frame.data(), static_cast<int32_t>(count));
    for (uint32_t i = 0; i < count; ++i) {
        const int sum = frame[i * 4] + frame[i * 4 + 1] + frame[i * 4 + 2];
        // sum / 3 rounded half up; 21844/65536 stays close enough for every sum up to 765.
        ASSERT_EQ(grey[i], (2 * sum + 3) / 6) << "pixel " << i;
    }
}

TEST(GreyConversion, SixteenBitUsesHighBytesOnly) {
    const std::vector<uint16_t> frame = {
        0x12FF, 0x3400, 0xFFFF, 0x7777,   // high bytes 0x12 0x34 0xFF
        0x00FF, 0x00FF, 0x00FF, 0xFFFF,   // low bytes only: 0
        0x8000, 0x8000, 0x8000, 0x0000};  // host white: 128
    std::vector<uint8_t> grey(3, 0xAA);
    grayFrom16(grey.data(), frame.data(), 3);
    EXPECT_EQ(grey[0], (2 * (0x12 + 0x34 + 0xFF) + 3) / 6);
    EXPECT_EQ(grey[1], 0);
    EXPECT_EQ(grey[2], 128);
}

TEST(GreyConversion, NonPositiveCountWritesNothing) {
    const std::vector<uint8_t> frame8(16, 200);
    const std::vector<uint16_t> frame16(16, 60000);
    std::vector<uint8_t> grey(4, 7);
    grayFrom8(grey.data(), frame8.data(), 0);
    grayFrom8(grey.data(), frame8.data(), -5);
    grayFrom16(grey.data(), frame16.data(), 0);
    grayFrom16(grey.data(), frame16.data(), std::numeric_limits<int32_t>::min());
    EXPECT_EQ(grey, std::vector<uint8_t>(4, 7));
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

struct Lattice {
    std::vector<uint8_t> min;
    std::vector<uint8_t> max;
};

Lattice BuildLattice(const std::vector<uint8_t>& grey, int w, int h) {
    Lattice l{std::vector<uint8_t>(std::size_t(w + 1) * (h + 1), 0x5A),
              std::vector<uint8_t>(std::size_t(w + 1) * (h + 1), 0x5A)};
    buildLattice(grey.data(), l.min.data(), l.max.data(), static_cast<uint32_t>(w),
                 static_cast<uint32_t>(h));
    return l;
}

Lattice ModelLattice(const std::vector<uint8_t>& grey, int w, int h) {
    Lattice l{std::vector<uint8_t>(std::size_t(w + 1) * (h + 1)),
              std::vector<uint8_t>(std::size_t(w + 1) * (h + 1))};
    for (int y = 0; y <= h; ++y) {
        for (int x = 0; x <= w; ++x) {
            int lo = 255;
            int hi = 0;
            for (auto [c, r] : WindowOf(x, y, w, h)) {
                lo = std::min<int>(lo, grey[std::size_t(r) * w + c]);
                hi = std::max<int>(hi, grey[std::size_t(r) * w + c]);
            }
            l.min[std::size_t(y) * (w + 1) + x] = static_cast<uint8_t>(lo);
            l.max[std::size_t(y) * (w + 1) + x] = static_cast<uint8_t>(hi);
        }
    }
    return l;
}

const std::vector<std::pair<int, int>> kLatticeSizes = {{4, 4}, {5, 4},  {4, 6},  {7, 5},
                                                        {9, 8}, {6, 11}, {16, 9}, {33, 17}};

TEST(Lattice, RandomGreyMatchesWindowTable) {
    uint32_t seed = 1;
    for (auto [w, h] : kLatticeSizes) {
        std::mt19937 rng(seed++);
        std::vector<uint8_t> grey(std::size_t(w) * h);
        for (auto& g : grey) {
            g = static_cast<uint8_t>(rng());
        }
        const Lattice got = BuildLattice(grey, w, h);
        const Lattice want = ModelLattice(grey, w, h);
        EXPECT_EQ(got.min, want.min) << w << "x" << h;
        EXPECT_EQ(got.max, want.max) << w << "x" << h;
    }
}

// Every grey pixel in turn is made the only bright (and then the only dark)
// one: the lattice points that see it are exactly those whose window holds it.
TEST(Lattice, EachGreyReachesExactlyTheWindowsHoldingIt) {
    for (auto [w, h] : kLatticeSizes) {
        for (int probe = 0; probe < w * h; ++probe) {
            std::vector<uint8_t> grey(std::size_t(w) * h, 100);
            grey[probe] = 200;
            const Lattice bright = BuildLattice(grey, w, h);
            grey[probe] = 3;
            const Lattice dark = BuildLattice(grey, w, h);
            for (int y = 0; y <= h; ++y) {
                for (int x = 0; x <= w; ++x) {
                    const auto window = WindowOf(x, y, w, h);
                    const bool holds =
                        std::find(window.begin(), window.end(),
                                  std::make_pair(probe % w, probe / w)) != window.end();
                    const std::size_t at = std::size_t(y) * (w + 1) + x;
                    ASSERT_EQ(bright.max[at], holds ? 200 : 100)
                        << w << "x" << h << " grey " << probe << " lattice " << x << "," << y;
                    ASSERT_EQ(bright.min[at], 100);
                    ASSERT_EQ(dark.min[at], holds ? 3 : 100);
                    ASSERT_EQ(dark.max[at], 100);
                }
            }
        }
    }
}

TEST(Lattice, TopRightCornerReadsFirstGreyOfRowThree) {
    const int w = 8;
    const int h = 6;
    std::vector<uint8_t> grey(std::size_t(w) * h, 50);
    grey[std::size_t(3) * w] = 240;        // row 3, column 0
    grey[std::size_t(2) * w + w - 1] = 9;  // row 2, column W - 1: the mirror's pick, unread here
    const Lattice l = BuildLattice(grey, w, h);
    for (int y : {0, 1}) {
        for (int x : {w - 1, w}) {
            EXPECT_EQ(l.max[std::size_t(y) * (w + 1) + x], 240) << x << "," << y;
            EXPECT_EQ(l.min[std::size_t(y) * (w + 1) + x], 50) << x << "," << y;
        }
    }
    // The top-left corner (its mirror) does not see row 3.
    EXPECT_EQ(l.max[0], 50);
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

struct MapCase {
    uint32_t srcW, srcH, dstW, dstH;
};

std::vector<uint8_t> Resize(decltype(&scaleMapBilinear) fn, const std::vector<uint8_t>& lattice,
                            const MapCase& c, const AxisTables& cols, const AxisTables& rows,
                            bool* ok = nullptr) {
    std::vector<uint8_t> out(std::size_t{c.dstW} * c.dstH, 0xC3);
    const bool done = fn(lattice.data(), out.data(), rows.index.data(), cols.index.data(),
                         cols.frac.data(), rows.frac.data(), c.srcW, c.srcH, c.dstW, c.dstH);
    if (ok != nullptr) {
        *ok = done;
    }
    return out;
}

std::vector<uint8_t> RandomLattice(const MapCase& c, uint32_t seed) {
    std::mt19937 rng(seed);
    std::vector<uint8_t> l(std::size_t(c.srcW + 1) * (c.srcH + 1));
    for (auto& v : l) {
        // Plenty of extremes, so the vector lanes meet their largest differences.
        const uint32_t pick = rng() % 4;
        v = pick == 0 ? 0 : pick == 1 ? 255 : static_cast<uint8_t>(rng());
    }
    return l;
}

TEST(ScaleMap, VectorEqualsBilinearOnAwkwardSizes) {
    const std::vector<MapCase> cases = {
        {4, 4, 4, 4},     {4, 5, 9, 13},       {7, 6, 15, 11},       {5, 4, 8, 4},
        {9, 7, 16, 23},   {20, 10, 63, 37},    {33, 17, 100, 50},    {64, 36, 129, 72},
        {31, 9, 250, 61}, {100, 50, 257, 130}, {320, 180, 641, 361}, {320, 180, 640, 360}};
    uint32_t seed = 100;
    for (const MapCase& c : cases) {
        const AxisTables cols = Axis(c.srcW, c.dstW);
        const AxisTables rows = Axis(c.srcH, c.dstH);
        const auto lattice = RandomLattice(c, seed++);
        bool okScalar = false;
        bool okVector = false;
        const auto scalar = Resize(&scaleMapBilinear, lattice, c, cols, rows, &okScalar);
        const auto vector = Resize(&scaleMapVector, lattice, c, cols, rows, &okVector);
        ASSERT_TRUE(okScalar && okVector);
        EXPECT_EQ(scalar, vector) << c.srcW << "x" << c.srcH << " -> " << c.dstW << "x" << c.dstH;
    }
}

// With no enlargement every destination sample sits on a source pixel centre,
// midway between two lattice points each way: the rounded mean of means.
TEST(ScaleMap, SameSizeIsRoundedMidpointOfLatticeCorners) {
    auto mid = [](int a, int b) { return (a + b + 1) / 2; };
    // The wide case takes column indices past 8 bits.
    for (const MapCase& c : {MapCase{13, 9, 13, 9}, MapCase{300, 6, 300, 6}}) {
        const AxisTables cols = Axis(c.srcW, c.dstW);
        const AxisTables rows = Axis(c.srcH, c.dstH);
        const auto lattice = RandomLattice(c, 7);
        const uint32_t lw = c.srcW + 1;
        for (auto fn : {&scaleMapBilinear, &scaleMapVector}) {
            const auto got = Resize(fn, lattice, c, cols, rows);
            for (uint32_t y = 0; y < c.dstH; ++y) {
                for (uint32_t x = 0; x < c.dstW; ++x) {
                    const int top = mid(lattice[y * lw + x], lattice[y * lw + x + 1]);
                    const int bottom =
                        mid(lattice[(y + 1) * lw + x], lattice[(y + 1) * lw + x + 1]);
                    ASSERT_EQ(got[y * c.dstW + x], mid(top, bottom)) << x << "," << y;
                }
            }
        }
    }
}

TEST(ScaleMap, NoneKeepsDestination) {
    const MapCase c{8, 8, 20, 20};
    const AxisTables cols = Axis(c.srcW, c.dstW);
    const AxisTables rows = Axis(c.srcH, c.dstH);
    const auto lattice = RandomLattice(c, 3);
    bool ok = false;
    const auto out = Resize(&scaleMapNone, lattice, c, cols, rows, &ok);
    EXPECT_TRUE(ok);
    EXPECT_EQ(out, std::vector<uint8_t>(std::size_t{c.dstW} * c.dstH, 0xC3));
}

TEST(ScaleMap, DamagedTablesAreRefusedWithoutWriting) {
    const MapCase c{8, 6, 19, 14};
    const auto lattice = RandomLattice(c, 5);
    const std::vector<uint8_t> untouched(std::size_t{c.dstW} * c.dstH, 0xC3);
    for (auto fn : {&scaleMapBilinear, &scaleMapVector}) {
        {
            AxisTables cols = Axis(c.srcW, c.dstW);
            const AxisTables rows = Axis(c.srcH, c.dstH);
            cols.frac[5] = std::nan("");
            bool ok = true;
            EXPECT_EQ(Resize(fn, lattice, c, cols, rows, &ok), untouched);
            EXPECT_FALSE(ok);
        }
        {
            const AxisTables cols = Axis(c.srcW, c.dstW);
            AxisTables rows = Axis(c.srcH, c.dstH);
            rows.index[c.dstH - 1] = c.srcH;  // would read past the last lattice row
            bool ok = true;
            EXPECT_EQ(Resize(fn, lattice, c, cols, rows, &ok), untouched);
            EXPECT_FALSE(ok);
        }
        {
            AxisTables cols = Axis(c.srcW, c.dstW);
            const AxisTables rows = Axis(c.srcH, c.dstH);
            cols.index[c.dstW - 1] = c.srcW - 1;
            cols.frac[c.dstW - 1] = 1.0;  // lattice column srcWidth, next one outside
            bool ok = true;
            EXPECT_EQ(Resize(fn, lattice, c, cols, rows, &ok), untouched);
            EXPECT_FALSE(ok);
        }
    }
}

void* FailingAlloc(uint32_t) {
    return nullptr;
}
void NoFree(void*) {}

TEST(ScaleMap, FailedScratchLeavesDestination) {
    const MapCase c{8, 6, 19, 14};
    const AxisTables cols = Axis(c.srcW, c.dstW);
    const AxisTables rows = Axis(c.srcH, c.dstH);
    const auto lattice = RandomLattice(c, 9);
    ASSERT_EQ(SetEngineAllocator(&FailingAlloc, &NoFree), 0);
    bool okScalar = true;
    bool okVector = true;
    const auto scalar = Resize(&scaleMapBilinear, lattice, c, cols, rows, &okScalar);
    const auto vector = Resize(&scaleMapVector, lattice, c, cols, rows, &okVector);
    ASSERT_EQ(SetEngineAllocator(nullptr, nullptr), 0);
    const std::vector<uint8_t> untouched(std::size_t{c.dstW} * c.dstH, 0xC3);
    EXPECT_FALSE(okScalar);
    EXPECT_FALSE(okVector);
    EXPECT_EQ(scalar, untouched);
    EXPECT_EQ(vector, untouched);
}

}  // namespace
}  // namespace quillon
