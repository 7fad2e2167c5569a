// The constrained-proportion rules and the enabling of the custom controls.
#include <gtest/gtest.h>

#include <cmath>

#include "host/ParamLinkage.h"

namespace quillon::host {
namespace {

TEST(LinkedSize, ConstrainedEditsRoundAndClamp) {
    EXPECT_EQ(LinkedHeight(1000, 1.35, 100, 8192), 741);
    EXPECT_EQ(LinkedWidth(8192, 1.35, 100, 8192), 8192);  // 11059 before clamping
    EXPECT_EQ(LinkedWidth(8192, 1.35, 100, 20000), 11059);
    EXPECT_EQ(LinkedHeight(100, 1.35, 100, 8192), 100);  // 74 raised to the minimum
}

TEST(LinkedSize, ZeroRatioActsAsOneAndZeroSideAsOne) {
    EXPECT_DOUBLE_EQ(EffectiveRatio(0.0), 1.0);
    EXPECT_DOUBLE_EQ(EffectiveRatio(1.35), 1.35);
    EXPECT_EQ(LinkedHeight(500, 0.0, 100, 8192), 500);
    EXPECT_EQ(LinkedWidth(640, 0.0, 100, 8192), 640);
    EXPECT_EQ(LinkedHeight(0, 0.01, 0, 8192), 100);
    EXPECT_EQ(LinkedWidth(-20, 300.0, 0, 8192), 300);
}

TEST(LinkedSize, UnusableRatiosStayInRange) {
    EXPECT_EQ(LinkedHeight(1000, std::nan(""), 100, 8192), 100);
    EXPECT_EQ(LinkedHeight(1000, INFINITY, 100, 8192), 100);
    EXPECT_EQ(LinkedWidth(8192, 1e300, 100, 8192), 8192);
    EXPECT_EQ(LinkedWidth(8192, -1e300, 100, 8192), 100);
}

TEST(CustomSizeControls, EnabledOnlyForSeparatorsCustomAndMissingRows) {
    EXPECT_FALSE(CustomSizeControlsEnabled(kAfterEffects4KPresets, 1));
    EXPECT_FALSE(CustomSizeControlsEnabled(kAfterEffects4KPresets, 2));
    EXPECT_TRUE(CustomSizeControlsEnabled(kAfterEffects4KPresets, 3));
    EXPECT_FALSE(CustomSizeControlsEnabled(kAfterEffects4KPresets, 4));
    EXPECT_FALSE(CustomSizeControlsEnabled(kAfterEffects4KPresets, 26));
    EXPECT_TRUE(CustomSizeControlsEnabled(kAfterEffects4KPresets, 27));
    EXPECT_TRUE(CustomSizeControlsEnabled(kAfterEffects4KPresets, 28));
    EXPECT_TRUE(CustomSizeControlsEnabled(kAfterEffects4KPresets, 29));
    EXPECT_FALSE(CustomSizeControlsEnabled(kAfterEffects4KPresets, 0));
    EXPECT_FALSE(CustomSizeControlsEnabled(kPremiere4KPresets, 1));
    EXPECT_TRUE(CustomSizeControlsEnabled(kPremiere4KPresets, 25));
}

}  // namespace
}  // namespace quillon::host
