// Source positions, span ends and the destination index/fraction tables.
#include <gtest/gtest.h>

#include <cstdint>
#include <vector>

#include "core/PositionTables.h"

namespace {

using quillon::buildAxisIndex;
using quillon::buildAxisSpans;

struct Axis {
    std::vector<double> pos;
    std::vector<uint16_t> spanEnd;
    std::vector<double> frac;
    std::vector<uint32_t> index;
};

Axis Build(uint32_t n, uint32_t m) {
    Axis a;
    a.pos.assign(n, -1.0);
    a.spanEnd.assign(n - 1, 0);
    a.frac.assign(m + 1, -7.0);  // one guard entry past the end
    a.index.assign(m + 1, 0xDEADBEEF);
    buildAxisSpans(n, m, a.pos.data(), a.spanEnd.data());
    buildAxisIndex(n, a.pos.data(), a.frac.data(), a.index.data());
    return a;
}

TEST(PositionTables, DoublingFrom1920To3840) {
    const Axis a = Build(1920, 3840);
    EXPECT_EQ(a.pos[0] + a.pos[1919], 3839.0);
    for (uint32_t i = 1; i <= 1918; ++i) {
        ASSERT_EQ(a.pos[i], 2.5 + 2.0 * (i - 1)) << i;
        ASSERT_EQ(a.spanEnd[i - 1], 3 + 2 * (i - 1)) << i;
    }
    // Destination 0 sits on source 0; destination 1 and 2 lie in the first
    // (wider) interval; 3 is the first of interval 1.
    EXPECT_EQ(a.index[0] + a.frac[0], 0.0);
    EXPECT_EQ(a.index[2], 0u);
    EXPECT_DOUBLE_EQ(a.frac[2], 2.0 / 2.5);
    EXPECT_EQ(a.index[3], 1u);
    EXPECT_DOUBLE_EQ(a.frac[3], 0.25);
}

TEST(PositionTables, NoEnlargementGivesWholeFractions) {
    const Axis a = Build(37, 37);
    for (uint32_t x = 0; x < 37; ++x) {
        EXPECT_EQ(a.pos[x], static_cast<double>(x));
        // A sample lying on a source sample belongs to the interval on its left.
        EXPECT_EQ(a.index[x], x == 0 ? 0u : x - 1);
    }
}

// The span-end table and the index table describe the same partition:
// destination x belongs to interval i exactly when it lies in
// [spanEnd[i - 1], spanEnd[i]). The kernels walk spans; the weights come
// from the index side; a disagreement would misplace weights.
void ExpectConsistent(uint32_t n, uint32_t m) {
    const Axis a = Build(n, m);
    EXPECT_EQ(a.frac[m], -7.0) << "wrote past the destination";
    uint32_t begin = 0;
    for (uint32_t i = 0; i + 1 < n; ++i) {
        const uint32_t end = a.spanEnd[i];
        ASSERT_LE(begin, end) << n << "->" << m << " interval " << i;
        for (uint32_t x = begin; x < end; ++x) {
            ASSERT_EQ(a.index[x], i) << n << "->" << m << " x=" << x;
            ASSERT_TRUE(a.frac[x] >= 0.0 && a.frac[x] <= 1.0);
            // The fraction reproduces the destination coordinate.
            const double back = a.pos[i] + a.frac[x] * (a.pos[i + 1] - a.pos[i]);
            ASSERT_NEAR(back, x, 1e-6);
        }
        begin = end;
    }
    EXPECT_EQ(begin, m);
}

TEST(PositionTables, SpansAndIndexAgreeForAwkwardRatios) {
    const uint32_t sizes[][2] = {{720, 3840},  {480, 2160},  {4, 5},       {5, 17}, {4, 1000},
                                 {1919, 3840}, {1920, 3840}, {1000, 1001}, {37, 37}};
    for (const auto& size : sizes) {
        ExpectConsistent(size[0], size[1]);
    }
}

TEST(PositionTables, NonIntegerRatioSpacing) {
    const Axis a = Build(720, 3840);
    const double s = 3840.0 / 720.0;
    EXPECT_DOUBLE_EQ(a.pos[1], 1.5 * s - 0.5);
    EXPECT_DOUBLE_EQ(a.pos[718], 3839.0 - a.pos[1]);
    // Inner positions by repeated addition (not i * s): compare the same way.
    double p = a.pos[1];
    for (uint32_t i = 2; i <= 717; ++i) {
        p += s;
        ASSERT_EQ(a.pos[i], p) << i;
    }
}

TEST(PositionTables, A65536DestinationWrapsTheLastSpanEnd) {
    const Axis a = Build(4, 65536);
    EXPECT_EQ(a.spanEnd[2], 0u);  // 65536 modulo 65536
    EXPECT_EQ(a.index[65535], 2u);
    EXPECT_EQ(a.frac[65535], 1.0);
}

}  // namespace
