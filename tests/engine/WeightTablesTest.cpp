// Cubic and Lanczos taps, their rounding and their layouts.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <vector>

#include "core/WeightTables.h"

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

TEST(CubicTaps, KeysKernelScaledAndRounded) {
    // Keys' cubic with a = -0.75 at distances 1 + t, t, 1 - t, 2 - t, times
    // 8192. At t = 0.1 the products are -497.66, 8017.92, 727.04 and -55.30.
    const struct {
        double t;
        int16_t taps[4];
    } cases[] = {{0.0, {0, 8192, 0, 0}},
                 {1.0, {0, 0, 8192, 0}},
                 {0.5, {-768, 4864, 4864, -768}},
                 {0.25, {-864, 7200, 2144, -288}},
                 {0.1, {-498, 8018, 727, -55}}};
    for (const auto& k : cases) {
        int16_t taps[4];
        cubicTaps(k.t, -0.75f, taps);
        EXPECT_TRUE(std::equal(taps, taps + 4, k.taps))
            << k.t << ": " << taps[0] << " " << taps[1] << " " << taps[2] << " " << taps[3];
    }
}

TEST(LanczosTaps, ZeroFractionIsTheIdentityAndHalfIsSymmetric) {
    int16_t taps[8];
    const int16_t identity[8] = {0, 0, 0, 8192, 0, 0, 0, 0};
    lanczosTaps(0.0, taps);
    EXPECT_TRUE(std::equal(taps, taps + 8, identity));
    lanczosTaps(0.5, taps);
    EXPECT_TRUE(std::equal(taps, taps + 4, std::reverse_iterator(taps + 8)));
    EXPECT_LT(taps[2], 0);  // first negative lobe
    EXPECT_GT(taps[1], 0);  // second positive lobe
    // L(0.5) = sinc(0.5) * sinc(0.125)
    const double pi = 3.141592653589793;
    const double l = std::sin(pi * 0.5) / (pi * 0.5) * std::sin(pi * 0.125) / (pi * 0.125);
    EXPECT_EQ(taps[3], static_cast<int>(l * 8192 + 0.5));
}

TEST(WeightLayouts, ReplicatedLayoutsRepeatThePlainOnes) {
    std::vector<double> fractions;
    for (int i = 0; i <= 40; ++i)
        fractions.push_back(i / 40.0);
    const auto n = static_cast<uint32_t>(fractions.size());

    using Builder = void (*)(uint32_t, const double*, int16_t*, float);
    const struct {
        int taps;
        Builder plain, x4, x8;
    } families[] = {
        {4, &buildCubicWeights, &buildCubicWeightsX4, &buildCubicWeightsX8},
        {8, &buildLanczosWeights, &buildLanczosWeightsX4, &buildLanczosWeightsX8},
    };
    for (const auto& f : families) {
        std::vector<int16_t> plain(n * f.taps), x4(n * f.taps * 4), x8(n * f.taps * 8);
        f.plain(n, fractions.data(), plain.data(), -0.75f);
        f.x4(n, fractions.data(), x4.data(), -0.75f);
        f.x8(n, fractions.data(), x8.data(), -0.75f);
        for (std::size_t i = 0; i < x8.size(); ++i) {
            ASSERT_EQ(x8[i], plain[i / 8]) << i;
            ASSERT_TRUE(i >= x4.size() || x4[i] == plain[i / 4]) << i;
        }
    }
}

}  // namespace
