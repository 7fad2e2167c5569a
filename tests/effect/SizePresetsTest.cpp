// Preset tables, FindPreset and the target-size rule.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <string>

#include "effect/SizePresets.h"

namespace quillon {
namespace {

TEST(SizePresetTables, CountsSelectionAndLookup) {
    EXPECT_EQ(PresetCount(kAfterEffects4KPresets), 28);
    EXPECT_EQ(PresetCount(kPremiere4KPresets), 25);
    EXPECT_EQ(PresetCount(kAfterEffectsOutputSizePresets), 51);
    EXPECT_EQ(PresetCount(kPremiereOutputSizePresets), 59);
    EXPECT_EQ(FourKPresetTable(false), kAfterEffects4KPresets);
    EXPECT_EQ(FourKPresetTable(true), kPremiere4KPresets);
    EXPECT_EQ(OutputSizePresetTable(false), kAfterEffectsOutputSizePresets);
    EXPECT_EQ(OutputSizePresetTable(true), kPremiereOutputSizePresets);
    EXPECT_EQ(FindPreset(kAfterEffects4KPresets, 1), &kAfterEffects4KPresets[0]);
    EXPECT_EQ(FindPreset(kAfterEffects4KPresets, 28), &kAfterEffects4KPresets[27]);
    for (int32_t missing : {29, 0, -3, 1 << 30}) {
        EXPECT_EQ(FindPreset(kAfterEffects4KPresets, missing), nullptr) << missing;
    }
    EXPECT_EQ(FindPreset(nullptr, 1), nullptr);
}

TEST(SizePresetTables, TextsModesAndSizes) {
    const int blankAfterHeight[] = {16, 19, 22, 25};
    for (int position = 1; position <= 28; ++position) {
        const std::string text = FindPreset(kAfterEffects4KPresets, position)->text;
        const bool expected = std::find(std::begin(blankAfterHeight), std::end(blankAfterHeight),
                                        position) != std::end(blankAfterHeight);
        EXPECT_EQ(!text.empty() && text.back() == ' ', expected) << position << " '" << text << "'";
    }
    EXPECT_STREQ(kAfterEffects4KPresets[24].text, "Ultra HD (3840 x 2160) Fit To Height ");
    EXPECT_EQ(kAfterEffects4KPresets[24].mode, PRESET_MODE_FIT_HEIGHT);
    EXPECT_STREQ(kAfterEffects4KPresets[0].text, "Fit To Comp Height");
    EXPECT_EQ(kAfterEffects4KPresets[0].mode, PRESET_MODE_FIT_HEIGHT);
    EXPECT_EQ(kAfterEffects4KPresets[1].mode, PRESET_MODE_FIT_WIDTH);
    // The Premiere table is the After Effects one without its first three rows.
    for (int position = 1; position <= 25; ++position) {
        const SizePreset* pr = FindPreset(kPremiere4KPresets, position);
        const SizePreset* ae = FindPreset(kAfterEffects4KPresets, position + 3);
        EXPECT_STREQ(pr->text, ae->text);
        EXPECT_EQ(pr->width, ae->width);
        EXPECT_EQ(pr->height, ae->height);
        EXPECT_EQ(pr->mode, ae->mode);
    }
    EXPECT_STREQ(FindPreset(kAfterEffectsOutputSizePresets, 51)->text, "!none");
    EXPECT_STREQ(FindPreset(kAfterEffectsOutputSizePresets, 28)->text,
                 "Fill 1440 x 1080 (1350 x 1080) PAL DV/D1 Widscreen");
    EXPECT_STREQ(FindPreset(kPremiereOutputSizePresets, 55)->text,
                 "2048 x 1556 (2048 x 1152) PAL DV/D1 Widscreen");
}

TEST(TargetSizeRule, FitRowsAndCustomSizes) {
    const struct {
        double srcW, srcH, layerAspect, compAspect;
        uint32_t compW, compH;
        int32_t preset;
        uint32_t width, height;
    } cases[] = {
        {1920, 1080, 1, 1, 0, 0, 25, 3840, 2160},     // Ultra HD fit to height
        {720, 480, 0.9, 1, 0, 0, 26, 4266, 2844},     // trunc(3840 / 0.9), trunc(3840 / 648 * 480)
        {1920, 1080, 0.5, 2, 0, 0, 25, 7680, 2160},   // fit to height ignores the layer aspect
        {1920, 1080, 0.5, 2, 0, 0, 26, 15360, 4320},  // 3840 / 0.5 * 2, 3840 / 960 * 1080
        {1920, 1080, 1, 1, 1000, 500, 1, 888, 500},   // trunc(500 / 1080 * 1920)
        {1920, 1080, 1, 1, 1000, 500, 2, 1000, 562},  // trunc(1000 / 1920 * 1080)
        {1920, 1080, 1, 1, 0, 0, 1, 0, 0},            // failed composition query
        {1920, 1080, 1, 1, 0, 0, 2, 0, 0},
        {0, 0, 1, 1, 0, 0, 25, 0, 2160},             // 2160 / 0 * 0 is not a number
        {1, 1, 1e-300, 1, 0, 0, 26, UINT32_MAX, 0},  // never overflows
        {1920, 1080, 1, 1, 0, 0, 28, 1234, 567},     // "Custom", separators and missing
        {1920, 1080, 1, 1, 0, 0, 3, 1234, 567},      // rows take the sliders
        {1920, 1080, 1, 1, 0, 0, 0, 1234, 567},
        {1920, 1080, 1, 1, 0, 0, -1, 1234, 567},
        {1920, 1080, 1, 1, 0, 0, 5000, 1234, 567},
    };
    for (const auto& k : cases) {
        SCOPED_TRACE(&k - cases);
        TargetSizeInputs in;
        in.sourceWidth = k.srcW;
        in.sourceHeight = k.srcH;
        in.customWidth = 1234;
        in.customHeight = 567;
        in.layerAspect = k.layerAspect;
        in.compAspect = k.compAspect;
        in.compWidth = k.compW;
        in.compHeight = k.compH;
        in.preset = k.preset;
        const TargetSize t = ComputeTargetSize(kAfterEffects4KPresets, in);
        EXPECT_EQ(t.width, k.width);
        if (k.width != UINT32_MAX) {
            EXPECT_EQ(t.height, k.height);
        }
        in.preset = 25;  // "Custom" in the Premiere table
        EXPECT_EQ(ComputeTargetSize(kPremiere4KPresets, in).width, 1234u);
    }
    EXPECT_EQ(TruncateToUnsigned(-3.5), 0u);
    EXPECT_EQ(TruncateToUnsigned(std::nan("")), 0u);
    EXPECT_EQ(TruncateToUnsigned(4266.99), 4266u);
}

}  // namespace
}  // namespace quillon
