// Cubic and Lanczos taps, their rounding and their layouts.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <vector>

#include "engine/WeightTables.h"

namespace {

using namespace quillon;

TEST(WeightRounding, HalfAwayFromZero) {
    const struct {
        double value;
        int expected;
    } cases[] = {{0.0, 0},    {0.5, 1},          {-0.5, -1},     {2.5, 3},      {-2.5, -3},
                 {-1e-12, 0}, {-767.4999, -767}, {-767.5, -768}, {4863.5, 4864}};
    for (const auto& k : cases) {
        EXPECT_EQ(RoundWeight(k.value), k.expected) << k.value;
    }
}

TEST(CubicTaps, WholeAndHalfFractionsAreExact) {
    // t = 0 and t = 1 sit on a sample; at t = 0.5 with a = -0.75 the outer
    // taps are -0.09375 and the inner 0.59375.
    const struct {
        double t;
        int16_t taps[4];
    } cases[] = {{0.0, {0, 8192, 0, 0}}, {1.0, {0, 0, 8192, 0}}, {0.5, {-768, 4864, 4864, -768}}};
    for (const auto& k : cases) {
        int16_t taps[4];
        cubicTaps(k.t, -0.75f, taps);
        EXPECT_TRUE(std::equal(taps, taps + 4, k.taps)) << k.t;
    }
}

TEST(CubicTaps, NegativeLobesRoundAwayFromZero) {
    // Independent evaluation of the Keys kernel, rounded half away from zero.
    auto keys = [](double d) {
        const double a = -0.75;
        d = std::fabs(d);
        if (d <= 1)
            return (a + 2) * d * d * d - (a + 3) * d * d + 1;
        return a * d * d * d - 5 * a * d * d + 8 * a * d - 4 * a;
    };
    auto round = [](double v) { return static_cast<int>(v < 0 ? v - 0.5 : v + 0.5); };
    for (int i = 1; i < 64; ++i) {
        const double t = i / 64.0 + 1e-3;
        int16_t taps[4];
        cubicTaps(t, -0.75f, taps);
        const double distance[4] = {1 + t, t, 1 - t, 2 - t};
        for (int k = 0; k < 4; ++k) {
            EXPECT_NEAR(taps[k], round(keys(distance[k]) * 8192), 1) << t << " tap " << k;
        }
        EXPECT_LE(taps[0] | taps[3], 0);
    }
}

TEST(LanczosTaps, ZeroFractionIsTheIdentityAndHalfIsSymmetric) {
    int16_t taps[8];
    lanczosTaps(0.0, taps);
    for (int k = 0; k < 8; ++k) {
        EXPECT_EQ(taps[k], k == 3 ? 8192 : 0) << k;
    }
    lanczosTaps(0.5, taps);
    for (int k = 0; k < 4; ++k) {
        EXPECT_EQ(taps[k], taps[7 - k]) << k;
    }
    EXPECT_LT(taps[2], 0);  // first negative lobe
    EXPECT_GT(taps[1], 0);  // second positive lobe
    // L(0.5) = sinc(0.5) * sinc(0.125)
    const double pi = 3.141592653589793;
    const double l = (std::sin(pi * 0.5) / (pi * 0.5)) * (std::sin(pi * 0.125) / (pi * 0.125));
    EXPECT_EQ(taps[3], static_cast<int>(l * 8192 + 0.5));
}

TEST(WeightLayouts, ReplicatedLayoutsRepeatThePlainOnes) {
    std::vector<double> fractions;
    for (int i = 0; i <= 40; ++i)
        fractions.push_back(i / 40.0);
    const auto n = static_cast<uint32_t>(fractions.size());

    struct Family {
        int taps;
        void (*plain)(uint32_t, const double*, int16_t*, float);
        void (*x4)(uint32_t, const double*, int16_t*, float);
        void (*x8)(uint32_t, const double*, int16_t*, float);
    };
    const Family families[] = {
        {4, &buildCubicWeights, &buildCubicWeightsX4, &buildCubicWeightsX8},
        {8, &buildLanczosWeights, &buildLanczosWeightsX4, &buildLanczosWeightsX8},
    };
    for (const Family& f : families) {
        std::vector<int16_t> plain(n * f.taps), x4(n * f.taps * 4), x8(n * f.taps * 8);
        f.plain(n, fractions.data(), plain.data(), -0.75f);
        f.x4(n, fractions.data(), x4.data(), -0.75f);
        f.x8(n, fractions.data(), x8.data(), -0.75f);
        for (uint32_t e = 0; e < n; ++e) {
            for (int k = 0; k < f.taps; ++k) {
                const int16_t w = plain[e * f.taps + k];
                for (int c = 0; c < 4; ++c) {
                    ASSERT_EQ(x4[(e * f.taps + k) * 4 + c], w);
                }
                for (int c = 0; c < 8; ++c) {
                    ASSERT_EQ(x8[(e * f.taps + k) * 8 + c], w);
                }
            }
        }
    }
}

}  // namespace
