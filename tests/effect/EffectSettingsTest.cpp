// The Filter Type -> engine options rule, the kernel rule per depth and the
// filter names, as both the plug-in and the tools apply them.
#include <gtest/gtest.h>

#include <string>

#include "effect/EffectSettings.h"
#include "engine/Engine.h"

namespace quillon {
namespace {

TEST(EffectSettings, OptionsFollowFilterTypeSharpnessAndAntiAliasing) {
    // {filter type, sharpness, anti-aliasing, options}; out-of-range popup
    // values count as "Best", negative sliders add nothing.
    const int32_t cases[][4] = {{1, 0, 0, 0}, {1, 2, 0, 2},    {2, 2, 6, 11},  {3, 0, 6, 12},
                                {4, 0, 0, 5}, {4, 25, 10, 15}, {9, -1, -3, 5}, {0, 1, 0, 7}};
    for (const auto& c : cases) {
        EXPECT_EQ(EngineOptionsFor(c[0], c[1], c[2]), static_cast<uint32_t>(c[3]))
            << c[0] << " " << c[1] << " " << c[2];
    }
    EXPECT_EQ(EngineOptionsFor(static_cast<int32_t>(kDefaultFilterType), kSharpnessRange.standard,
                               kAntiAliasingRange.standard),
              11u);
}

TEST(EffectSettings, SixteenBitFramesAlwaysTakeTheCellKernel) {
    for (const uint32_t v :
         {uint32_t{KERNEL_CELL}, uint32_t{KERNEL_NONE}, uint32_t{KERNEL_TWO_PASS}}) {
        EXPECT_EQ(KernelVariantFor(true, v), uint32_t{KERNEL_CELL});
        EXPECT_EQ(KernelVariantFor(false, v), v);
    }
    EXPECT_EQ(kDefaultKernelVariant8, uint32_t{KERNEL_TWO_PASS});
}

TEST(EffectSettings, FilterNamesRoundTripAndParseByNameOrPosition) {
    for (int32_t v = 1; v <= kFilterTypeCount; ++v) {
        const auto filter = static_cast<FilterType>(v);
        EXPECT_EQ(ParseFilterType(FilterTypeName(filter)), filter);
        EXPECT_EQ(ParseFilterType(std::to_string(v)), filter);
    }
    EXPECT_EQ(ParseFilterType("BEST"), FilterType::Best);
    EXPECT_EQ(ParseFilterType("qUiCk"), FilterType::Quick);
    for (const char* bad : {"5", "0", "", "bestest", "draft "}) {
        EXPECT_FALSE(ParseFilterType(bad).has_value()) << bad;
    }
    // The popup's item list is the names in popup order.
    std::string items;
    for (int32_t v = 1; v <= kFilterTypeCount; ++v) {
        if (v > 1) {
            items += '|';
        }
        items += FilterTypeName(static_cast<FilterType>(v));
    }
    EXPECT_EQ(items, kFilterTypeItems);
}

}  // namespace
}  // namespace quillon
