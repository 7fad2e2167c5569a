// The refinement S-curve and the sharpen gain table.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <vector>

#include "core/CurveTables.h"

namespace {

using namespace quillon;

std::vector<int16_t> RefineCurve(double shape) {
    std::vector<int16_t> t(kRefineCurveRows * kRefineCurveColumns, 0);
    buildRefineCurve(shape, t.data());
    return t;
}

int Entry(const std::vector<int16_t>& t, int r, int k) {
    return t[r * 511 + k + 255];
}

TEST(RefineCurve, IsAnSCurveThroughBothEndsSymmetricAboutTheMiddle) {
    for (double shape : {0.1, 1.35}) {
        const auto t = RefineCurve(shape);
        for (int r = 1; r < 256; ++r) {
            ASSERT_EQ(Entry(t, r, 0), 0) << r;
            ASSERT_EQ(Entry(t, r, r), r) << r;
            for (int k = -255; k < 255; ++k) {
                ASSERT_LE(Entry(t, r, k), Entry(t, r, k + 1)) << "not monotonic at r=" << r;
            }
            for (int k = 0; k <= r; ++k) {
                // S(x) + S(1 - x) = 1; truncation of each side can lose one step.
                const int sum = Entry(t, r, k) + Entry(t, r, r - k);
                ASSERT_TRUE(sum == r || sum == r - 1) << "r=" << r << " k=" << k;
                // Below the middle it pushes values down toward zero.
                ASSERT_TRUE(2 * k >= r || Entry(t, r, k) <= k) << "r=" << r << " k=" << k;
            }
        }
    }
}

TEST(RefineCurve, ExponentGrowsWithRangeAndShape) {
    // r = 255, p = 0.5 gives e = 1.5: at k = 64, S = (128/255)^1.5 / 2.
    const auto t = RefineCurve(0.5);
    EXPECT_EQ(Entry(t, 255, 64), 45);  // 255 * 0.17781... = 45.34
    // Outside the range the same power law gives targets outside it.
    EXPECT_LT(Entry(t, 100, -10), 0);
    EXPECT_GT(Entry(t, 100, 120), 100);
    // A narrow range bends less than a wide one at the same relative place.
    const auto strong = RefineCurve(1.35);
    EXPECT_LT(Entry(strong, 200, 50) * 20, Entry(strong, 20, 5) * 200);
}

TEST(SharpenCurve, GainIsOnePlusAmountTimesRelativeDifferenceOutsideTheDeadZone) {
    std::vector<uint16_t> t(kSharpenCurveSize);
    for (double g : {static_cast<double>(0.395f), static_cast<double>(0.01f)}) {
        buildSharpenCurve(g, t.data());
        for (int c = 0; c < 256; ++c) {
            for (int b = 0; b < 256; b += c % 16 == 0 ? 1 : 17) {
                // Row 0 and |c - b| <= 5 keep unit gain; below zero it clamps.
                const double gain = c == 0 || std::abs(c - b) <= 5 ? 1.0 : 1.0 + g * (c - b) / c;
                ASSERT_NEAR(t[c * 256 + b], std::max(gain, 0.0) * 16384, 1.0) << c << "," << b;
            }
        }
    }
    EXPECT_NEAR(t[256 + 100], 164, 1);  // the smallest gain: 1 - 0.01 * 99 on row 1
    EXPECT_EQ(t[256 + 101], 0);
    buildSharpenCurve(1.02, t.data());
    EXPECT_EQ(t[255 * 256 + 0], 33096);  // the largest gain
}

}  // namespace
