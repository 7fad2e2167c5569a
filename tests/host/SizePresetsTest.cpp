// Preset tables, FindPreset and the target-size rule.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <cstring>
#include <string>

#include "host/SizePresets.h"

namespace quillon {
namespace {

// The size a row's text announces: the one in parentheses when there is one,
// otherwise the leading "W x H"; false when the text names no size.
bool SizeInText(const char* text, uint32_t& width, uint32_t& height) {
    const char* start = text[0] == '!' ? text + 1 : text;
    const char* paren = std::strrchr(start, '(');
    unsigned w = 0;
    unsigned h = 0;
    if (paren != nullptr && std::sscanf(paren, "(%u x %u)", &w, &h) == 2) {
        width = w;
        height = h;
        return true;
    }
    if (std::sscanf(start, "%u x %u", &w, &h) == 2) {
        width = w;
        height = h;
        return true;
    }
    return false;
}

TEST(SizePresetTables, RowCountsAndTerminators) {
    EXPECT_EQ(PresetCount(kAfterEffects4KPresets), 28);
    EXPECT_EQ(PresetCount(kPremiere4KPresets), 25);
    EXPECT_EQ(PresetCount(kAfterEffectsOutputSizePresets), 51);
    EXPECT_EQ(PresetCount(kPremiereOutputSizePresets), 59);
    EXPECT_EQ(FourKPresetTable(false), kAfterEffects4KPresets);
    EXPECT_EQ(FourKPresetTable(true), kPremiere4KPresets);
    EXPECT_EQ(OutputSizePresetTable(false), kAfterEffectsOutputSizePresets);
    EXPECT_EQ(OutputSizePresetTable(true), kPremiereOutputSizePresets);
}

TEST(SizePresetTables, FourKRowsFollowTheirTexts) {
    for (const SizePreset* table : {kAfterEffects4KPresets, kPremiere4KPresets}) {
        for (const SizePreset* row = table; row->text != nullptr; ++row) {
            SCOPED_TRACE(row->text);
            const std::string text = row->text;
            EXPECT_EQ(row->reserved, 0);
            if (text == "(-" || text == "Custom") {
                EXPECT_EQ(row->mode, 0);
                EXPECT_EQ(row->width, 0u);
                EXPECT_EQ(row->height, 0u);
                continue;
            }
            const bool height = text.find("Height") != std::string::npos;
            EXPECT_EQ(row->mode, height ? PRESET_MODE_FIT_HEIGHT : PRESET_MODE_FIT_WIDTH);
            uint32_t w = 0;
            uint32_t h = 0;
            if (SizeInText(row->text, w, h)) {
                EXPECT_EQ(row->width, w);
                EXPECT_EQ(row->height, h);
            } else {
                EXPECT_EQ(text.rfind("Fit To Comp", 0), 0u);
                EXPECT_EQ(row->width, 0u);
            }
        }
    }
}

TEST(SizePresetTables, FourKTextsKeepTheirTrailingBlanks) {
    const int blankAfterHeight[] = {16, 19, 22, 25};
    for (int position = 1; position <= 28; ++position) {
        const std::string text = FindPreset(kAfterEffects4KPresets, position)->text;
        const bool expected = std::find(std::begin(blankAfterHeight), std::end(blankAfterHeight),
                                        position) != std::end(blankAfterHeight);
        EXPECT_EQ(!text.empty() && text.back() == ' ', expected) << position << " '" << text << "'";
    }
    EXPECT_STREQ(kAfterEffects4KPresets[24].text, "Ultra HD (3840 x 2160) Fit To Height ");
    EXPECT_STREQ(kAfterEffects4KPresets[25].text, "Ultra HD (3840 x 2160) Fit To Width");
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
}

TEST(SizePresetTables, OutputSizeRowsStoreTheSizeTheyName) {
    for (const SizePreset* table : {kAfterEffectsOutputSizePresets, kPremiereOutputSizePresets}) {
        for (const SizePreset* row = table; row->text != nullptr; ++row) {
            SCOPED_TRACE(row->text);
            EXPECT_EQ(row->mode, 0);
            EXPECT_EQ(row->reserved, 0);
            uint32_t w = 0;
            uint32_t h = 0;
            if (SizeInText(row->text, w, h)) {
                EXPECT_EQ(row->width, w);
                EXPECT_EQ(row->height, h);
            } else {
                EXPECT_EQ(row->width, 0u);
                EXPECT_EQ(row->height, 0u);
            }
        }
    }
}

TEST(SizePresetTables, OutputSizeMarksAndSpellings) {
    EXPECT_STREQ(FindPreset(kAfterEffectsOutputSizePresets, 51)->text, "!none");
    EXPECT_STREQ(FindPreset(kAfterEffectsOutputSizePresets, 50)->text, "Custom");
    EXPECT_STREQ(FindPreset(kAfterEffectsOutputSizePresets, 28)->text,
                 "Fill 1440 x 1080 (1350 x 1080) PAL DV/D1 Widscreen");
    EXPECT_STREQ(FindPreset(kAfterEffectsOutputSizePresets, 46)->text,
                 "2048 x 1556 (1440 x 1152) PAL DV/D1 Widscreen");
    EXPECT_STREQ(FindPreset(kPremiereOutputSizePresets, 10)->text,
                 "!1280 x 720 (972 x 720) NTSC DV");
    EXPECT_EQ(FindPreset(kPremiereOutputSizePresets, 10)->width, 972u);
    EXPECT_STREQ(FindPreset(kPremiereOutputSizePresets, 55)->text,
                 "2048 x 1556 (2048 x 1152) PAL DV/D1 Widscreen");
    EXPECT_STREQ(FindPreset(kPremiereOutputSizePresets, 59)->text, "Custom");
    int marks = 0;
    for (const SizePreset* table : {kAfterEffectsOutputSizePresets, kPremiereOutputSizePresets,
                                    kAfterEffects4KPresets, kPremiere4KPresets}) {
        for (const SizePreset* row = table; row->text != nullptr; ++row) {
            marks += row->text[0] == '!' ? 1 : 0;
        }
    }
    EXPECT_EQ(marks, 2);
}

TEST(PresetLookup, WalksFromPositionOne) {
    EXPECT_EQ(FindPreset(kAfterEffects4KPresets, 1), &kAfterEffects4KPresets[0]);
    EXPECT_EQ(FindPreset(kAfterEffects4KPresets, 28), &kAfterEffects4KPresets[27]);
    EXPECT_EQ(FindPreset(kAfterEffects4KPresets, 29), nullptr);
    EXPECT_EQ(FindPreset(kPremiere4KPresets, 26), nullptr);
    EXPECT_EQ(FindPreset(kAfterEffects4KPresets, 0), nullptr);
    EXPECT_EQ(FindPreset(kAfterEffects4KPresets, -3), nullptr);
    EXPECT_EQ(FindPreset(kAfterEffects4KPresets, 1 << 30), nullptr);
    EXPECT_EQ(FindPreset(nullptr, 1), nullptr);
}

TargetSizeInputs Source(double width, double height) {
    TargetSizeInputs in;
    in.sourceWidth = width;
    in.sourceHeight = height;
    in.customWidth = 1234;
    in.customHeight = 567;
    return in;
}

TEST(TargetSizeRule, FitRows) {
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
    };
    for (const auto& k : cases) {
        SCOPED_TRACE(&k - cases);
        TargetSizeInputs in = Source(k.srcW, k.srcH);
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
    }
    EXPECT_EQ(TruncateToUnsigned(-3.5), 0u);
    EXPECT_EQ(TruncateToUnsigned(std::nan("")), 0u);
    EXPECT_EQ(TruncateToUnsigned(4266.99), 4266u);
}

TEST(TargetSizeRule, CustomSeparatorsAndOutOfRangeUseTheSliders) {
    TargetSizeInputs in = Source(1920, 1080);
    for (int32_t preset : {28, 3, 27, 29, 0, -1, 5000}) {
        in.preset = preset;
        const TargetSize t = ComputeTargetSize(kAfterEffects4KPresets, in);
        EXPECT_EQ(t.width, 1234u) << preset;
        EXPECT_EQ(t.height, 567u) << preset;
    }
    in.preset = 25;  // "Custom" in the Premiere table
    const TargetSize t = ComputeTargetSize(kPremiere4KPresets, in);
    EXPECT_EQ(t.width, 1234u);
}

}  // namespace
}  // namespace quillon
