#include "effect/SizePresets.h"

#include <cmath>

namespace quillon {

const SizePreset kAfterEffects4KPresets[] = {
    {"Fit To Comp Height", 0, 0, 2, 0},
    {"Fit To Comp Width", 0, 0, 1, 0},
    {"(-", 0, 0, 0, 0},
    {"1280 x 720 Fit To Height", 1280, 720, 2, 0},
    {"1280 x 720 Fit To Width", 1280, 720, 1, 0},
    {"(-", 0, 0, 0, 0},
    {"1440 x 1080 Fit To Height", 1440, 1080, 2, 0},
    {"1440 x 1080 Fit To Width", 1440, 1080, 1, 0},
    {"(-", 0, 0, 0, 0},
    {"1920 x 1080 Fit To Height", 1920, 1080, 2, 0},
    {"1920 x 1080 Fit To Width", 1920, 1080, 1, 0},
    {"(-", 0, 0, 0, 0},
    {"2048 x 1556 Fit To Height", 2048, 1556, 2, 0},
    {"2048 x 1556 Fit To Width", 2048, 1556, 1, 0},
    {"(-", 0, 0, 0, 0},
    {"Full Aperture 4K (4096 x 3112) Fit To Height ", 4096, 3112, 2, 0},
    {"Full Aperture 4K (4096 x 3112) Fit To Width", 4096, 3112, 1, 0},
    {"(-", 0, 0, 0, 0},
    {"Academy 4K (3656 x 2664) Fit To Height ", 3656, 2664, 2, 0},
    {"Academy 4K (3656 x 2664) Fit To Width", 3656, 2664, 1, 0},
    {"(-", 0, 0, 0, 0},
    {"Digital Cinema Native 4K (4096 x 2160) Fit To Height ", 4096, 2160, 2, 0},
    {"Digital Cinema Native 4K (4096 x 2160) Fit To Width", 4096, 2160, 1, 0},
    {"(-", 0, 0, 0, 0},
    {"Ultra HD (3840 x 2160) Fit To Height ", 3840, 2160, 2, 0},
    {"Ultra HD (3840 x 2160) Fit To Width", 3840, 2160, 1, 0},
    {"(-", 0, 0, 0, 0},
    {"Custom", 0, 0, 0, 0},
    {nullptr, 0, 0, 0, 0},
};

const SizePreset kPremiere4KPresets[] = {
    {"1280 x 720 Fit To Height", 1280, 720, 2, 0},
    {"1280 x 720 Fit To Width", 1280, 720, 1, 0},
    {"(-", 0, 0, 0, 0},
    {"1440 x 1080 Fit To Height", 1440, 1080, 2, 0},
    {"1440 x 1080 Fit To Width", 1440, 1080, 1, 0},
    {"(-", 0, 0, 0, 0},
    {"1920 x 1080 Fit To Height", 1920, 1080, 2, 0},
    {"1920 x 1080 Fit To Width", 1920, 1080, 1, 0},
    {"(-", 0, 0, 0, 0},
    {"2048 x 1556 Fit To Height", 2048, 1556, 2, 0},
    {"2048 x 1556 Fit To Width", 2048, 1556, 1, 0},
    {"(-", 0, 0, 0, 0},
    {"Full Aperture 4K (4096 x 3112) Fit To Height ", 4096, 3112, 2, 0},
    {"Full Aperture 4K (4096 x 3112) Fit To Width", 4096, 3112, 1, 0},
    {"(-", 0, 0, 0, 0},
    {"Academy 4K (3656 x 2664) Fit To Height ", 3656, 2664, 2, 0},
    {"Academy 4K (3656 x 2664) Fit To Width", 3656, 2664, 1, 0},
    {"(-", 0, 0, 0, 0},
    {"Digital Cinema Native 4K (4096 x 2160) Fit To Height ", 4096, 2160, 2, 0},
    {"Digital Cinema Native 4K (4096 x 2160) Fit To Width", 4096, 2160, 1, 0},
    {"(-", 0, 0, 0, 0},
    {"Ultra HD (3840 x 2160) Fit To Height ", 3840, 2160, 2, 0},
    {"Ultra HD (3840 x 2160) Fit To Width", 3840, 2160, 1, 0},
    {"(-", 0, 0, 0, 0},
    {"Custom", 0, 0, 0, 0},
    {nullptr, 0, 0, 0, 0},
};

const SizePreset kAfterEffectsOutputSizePresets[] = {
    {"640 x 480 Multimedia Large", 640, 480, 0, 0},
    {"648 x 486 NTSC D1 Square Pixel", 648, 486, 0, 0},
    {"720 x 480 NTSC DV", 720, 480, 0, 0},
    {"720 x 480 NTSC DV Widescreen", 720, 480, 0, 0},
    {"720 x 486 NTSC D1", 720, 486, 0, 0},
    {"720 x 576 PAL DV/D1", 720, 576, 0, 0},
    {"720 x 576 PAL DV/D1 Square Pixel", 720, 576, 0, 0},
    {"720 x 576 PAL DV/D1 Widescreen", 720, 576, 0, 0},
    {"(-", 0, 0, 0, 0},
    {"1280 x 720 (1080 x 720) NTSC DV/Widescreen", 1080, 720, 0, 0},
    {"1280 x 720 (900 x 720) PAL DV/D1/Widescreen", 900, 720, 0, 0},
    {"1280 x 720 (1067 x 720) NTSC D1/Widescreen", 1067, 720, 0, 0},
    {"(-", 0, 0, 0, 0},
    {"Fill 1280 x 720 (1422 x 948) NTSC DV", 1422, 948, 0, 0},
    {"Fill 1280 x 720 (1067 x 712) NTSC DV Widescreen", 1067, 712, 0, 0},
    {"Fill 1280 x 720 (1200 x 960) PAL DV/D1", 1200, 960, 0, 0},
    {"Fill 1280 x 720 (900 x 720) PAL DV/D1 Widescreen", 900, 720, 0, 0},
    {"Fill 1280 x 720 (1422 x 960) NTSC D1", 1422, 960, 0, 0},
    {"Fill 1280 x 720 (1067 x 720) NTSC D1 Widescreen", 1067, 720, 0, 0},
    {"(-", 0, 0, 0, 0},
    {"1440 x 1080 (1620 x 1080) NTSC DV/Widescreen", 1620, 1080, 0, 0},
    {"1440 x 1080 (1350 x 1080) PAL DV/D1/Widescreen", 1350, 1080, 0, 0},
    {"1440 x 1080 (1600 x 1080) NTSC D1/Widescreen", 1600, 1080, 0, 0},
    {"(-", 0, 0, 0, 0},
    {"Fill 1440 x 1080 (2133 x 1422) NTSC DV", 2133, 1422, 0, 0},
    {"Fill 1440 x 1080 (1600 x 1067) NTSC DV Widescreen", 1600, 1067, 0, 0},
    {"Fill 1440 x 1080 (1800 x 1440) PAL DV/D1", 1800, 1440, 0, 0},
    {"Fill 1440 x 1080 (1350 x 1080) PAL DV/D1 Widscreen", 1350, 1080, 0, 0},
    {"Fill 1440 x 1080 (2133 x 1440) NTSC D1", 2133, 1440, 0, 0},
    {"Fill 1440 x 1080 (1600 x 1080) NTSC D1 Widescreen", 1600, 1080, 0, 0},
    {"(-", 0, 0, 0, 0},
    {"1920 x 1080 (1620 x 1080) NTSC DV/Widescreen", 1620, 1080, 0, 0},
    {"1920 x 1080 (1350 x 1080) PAL DV/D1/Widescreen", 1350, 1080, 0, 0},
    {"1920 x 1080 (1600 x 1080) NTSC D1/Widescreen", 1600, 1080, 0, 0},
    {"(-", 0, 0, 0, 0},
    {"Fill 1920 x 1080 (2133 x 1422) NTSC DV", 2133, 1422, 0, 0},
    {"Fill 1920 x 1080 (1600 x 1067) NTSC DV Widescreen", 1600, 1067, 0, 0},
    {"Fill 1920 x 1080 (1800 x 1440) PAL DV/D1", 1800, 1440, 0, 0},
    {"Fill 1920 x 1080 (1350 x 1080) PAL DV/D1 Widscreen", 1350, 1080, 0, 0},
    {"Fill 1920 x 1080 (2133 x 1440) NTSC D1", 2133, 1440, 0, 0},
    {"Fill 1920 x 1080 (1600 x 1080) NTSC D1 Widescreen", 1600, 1080, 0, 0},
    {"(-", 0, 0, 0, 0},
    {"2048 x 1556 (2276 x 1517) NTSC DV", 2276, 1517, 0, 0},
    {"2048 x 1556 (1707 x 1138) NTSC DV Widescreen", 1707, 1138, 0, 0},
    {"2048 x 1556 (1920 x 1536) PAL DV/D1", 1920, 1536, 0, 0},
    {"2048 x 1556 (1440 x 1152) PAL DV/D1 Widscreen", 1440, 1152, 0, 0},
    {"2048 x 1556 (2276 x 1536) NTSC D1", 2276, 1536, 0, 0},
    {"2048 x 1556 (1707 x 1152) NTSC D1 Widescreen", 1707, 1152, 0, 0},
    {"(-", 0, 0, 0, 0},
    {"Custom", 0, 0, 0, 0},
    {"!none", 0, 0, 0, 0},
    {nullptr, 0, 0, 0, 0},
};

const SizePreset kPremiereOutputSizePresets[] = {
    {"640 x 480 Multimedia Large", 640, 480, 0, 0},
    {"648 x 486 NTSC D1 Square Pixel", 648, 486, 0, 0},
    {"720 x 480 NTSC DV", 720, 480, 0, 0},
    {"720 x 480 NTSC DV Widescreen", 720, 480, 0, 0},
    {"720 x 486 NTSC D1", 720, 486, 0, 0},
    {"720 x 576 PAL DV/D1", 720, 576, 0, 0},
    {"720 x 576 PAL DV/D1 Square Pixel", 720, 576, 0, 0},
    {"720 x 576 PAL DV/D1 Widescreen", 720, 576, 0, 0},
    {"(-", 0, 0, 0, 0},
    {"!1280 x 720 (972 x 720) NTSC DV", 972, 720, 0, 0},
    {"1280 x 720 (1296 x 720) NTSC DV Widescreen", 1296, 720, 0, 0},
    {"1280 x 720 (960 x 720) PAL DV/D1", 960, 720, 0, 0},
    {"1280 x 720 (1280 x 720) PAL DV/D1 Widescreen", 1280, 720, 0, 0},
    {"1280 x 720 (960 x 720) NTSC D1", 960, 720, 0, 0},
    {"1280 x 720 (1280 x 720) NTSC D1 Widescreen", 1280, 720, 0, 0},
    {"(-", 0, 0, 0, 0},
    {"Fill 1280 x 720 (1280 x 948) NTSC DV", 1280, 948, 0, 0},
    {"Fill 1280 x 720 (1280 x 712) NTSC DV Widescreen", 1280, 712, 0, 0},
    {"Fill 1280 x 720 (1280 x 960) PAL DV/D1", 1280, 960, 0, 0},
    {"Fill 1280 x 720 (1280 x 720) PAL DV/D1 Widescreen", 1280, 720, 0, 0},
    {"Fill 1280 x 720 (1280 x 960) NTSC D1", 1280, 960, 0, 0},
    {"Fill 1280 x 720 (1280 x 720) NTSC D1 Widescreen", 1280, 720, 0, 0},
    {"(-", 0, 0, 0, 0},
    {"1440 x 1080 (1094 x 1080) NTSC DV", 1094, 1080, 0, 0},
    {"1440 x 1080 (1458 x 1080) NTSC DV Widescreen", 1458, 1080, 0, 0},
    {"1440 x 1080 (1080 x 1080) PAL DV/D1", 1080, 1080, 0, 0},
    {"1440 x 1080 (1440 x 1080) PAL DV/D1 Widescreen", 1440, 1080, 0, 0},
    {"1440 x 1080 (1080 x 1080) NTSC D1", 1080, 1080, 0, 0},
    {"1440 x 1080 (1440 x 1080) NTSC D1 Widescreen", 1440, 1080, 0, 0},
    {"(-", 0, 0, 0, 0},
    {"Fill 1440 x 1080 (1440 x 1422) NTSC DV", 1440, 1422, 0, 0},
    {"Fill 1440 x 1080 (1440 x 1067) NTSC DV Widescreen", 1440, 1067, 0, 0},
    {"Fill 1440 x 1080 (1440 x 1440) PAL DV/D1", 1440, 1440, 0, 0},
    {"Fill 1440 x 1080 (1440 x 1080) PAL DV/D1 Widscreen", 1440, 1080, 0, 0},
    {"Fill 1440 x 1080 (1440 x 1440) NTSC D1", 1440, 1440, 0, 0},
    {"Fill 1440 x 1080 (1440 x 1080) NTSC D1 Widescreen", 1440, 1080, 0, 0},
    {"(-", 0, 0, 0, 0},
    {"1920 x 1080 (1458 x 1080) NTSC DV", 1458, 1080, 0, 0},
    {"1920 x 1080 (1944 x 1080) NTSC DV Widescreen", 1944, 1080, 0, 0},
    {"1920 x 1080 (1440 x 1080) PAL DV/D1", 1440, 1080, 0, 0},
    {"1920 x 1080 (1920 x 1080) PAL DV/D1 Widescreen", 1920, 1080, 0, 0},
    {"1920 x 1080 (1440 x 1080) NTSC D1", 1440, 1080, 0, 0},
    {"1920 x 1080 (1920 x 1080) NTSC D1 Widescreen", 1920, 1080, 0, 0},
    {"(-", 0, 0, 0, 0},
    {"Fill 1920 x 1080 (1920 x 1422) NTSC DV", 1920, 1422, 0, 0},
    {"Fill 1920 x 1080 (1920 x 1067) NTSC DV Widescreen", 1920, 1067, 0, 0},
    {"Fill 1920 x 1080 (1920 x 1440) PAL DV/D1", 1920, 1440, 0, 0},
    {"Fill 1920 x 1080 (1920 x 1080) PAL DV/D1 Widscreen", 1920, 1080, 0, 0},
    {"Fill 1920 x 1080 (1920 x 1440) NTSC D1", 1920, 1440, 0, 0},
    {"Fill 1920 x 1080 (1920 x 1080) NTSC D1 Widescreen", 1920, 1080, 0, 0},
    {"(-", 0, 0, 0, 0},
    {"2048 x 1556 (2048 x 1517) NTSC DV", 2048, 1517, 0, 0},
    {"2048 x 1556 (2048 x 1138) NTSC DV Widescreen", 2048, 1138, 0, 0},
    {"2048 x 1556 (2048 x 1536) PAL DV/D1", 2048, 1536, 0, 0},
    {"2048 x 1556 (2048 x 1152) PAL DV/D1 Widscreen", 2048, 1152, 0, 0},
    {"2048 x 1556 (2048 x 1536) NTSC D1", 2048, 1536, 0, 0},
    {"2048 x 1556 (2048 x 1152) NTSC D1 Widescreen", 2048, 1152, 0, 0},
    {"(-", 0, 0, 0, 0},
    {"Custom", 0, 0, 0, 0},
    {nullptr, 0, 0, 0, 0},
};

const SizePreset* FourKPresetTable(bool premiereHost) {
    return premiereHost ? kPremiere4KPresets : kAfterEffects4KPresets;
}

const SizePreset* OutputSizePresetTable(bool premiereHost) {
    return premiereHost ? kPremiereOutputSizePresets : kAfterEffectsOutputSizePresets;
}

int32_t PresetCount(const SizePreset* table) {
    int32_t count = 0;
    if (table != nullptr) {
        while (table[count].text != nullptr) {
            ++count;
        }
    }
    return count;
}

const SizePreset* FindPreset(const SizePreset* table, int32_t position) {
    if (table == nullptr || position < 1) {
        return nullptr;
    }
    for (int32_t index = 1;; ++index) {
        const SizePreset* row = &table[index - 1];
        if (row->text == nullptr) {
            return nullptr;
        }
        if (index == position) {
            return row;
        }
    }
}

uint32_t TruncateToUnsigned(double value) {
    if (!(value > 0.0)) {
        return 0;  // negative, zero or NaN
    }
    if (value >= 4294967295.0) {
        return UINT32_MAX;
    }
    return static_cast<uint32_t>(std::trunc(value));
}

TargetSize ComputeTargetSize(const SizePreset* table, const TargetSizeInputs& in) {
    TargetSize custom{in.customWidth, in.customHeight};
    const SizePreset* row = FindPreset(table, in.preset);
    if (row == nullptr) {
        return custom;
    }
    double baseWidth = in.compWidth;
    double baseHeight = in.compHeight;
    if (row->width != 0 && row->height != 0) {
        baseWidth = row->width;
        baseHeight = row->height;
    }
    TargetSize target;
    switch (row->mode) {
        case PRESET_MODE_FIT_HEIGHT:
            target.height = TruncateToUnsigned(baseHeight);
            target.width =
                TruncateToUnsigned(baseHeight / in.sourceHeight * in.sourceWidth * in.compAspect);
            return target;
        case PRESET_MODE_FIT_WIDTH:
            target.width = TruncateToUnsigned(baseWidth / in.layerAspect * in.compAspect);
            target.height =
                TruncateToUnsigned(baseWidth / (in.sourceWidth * in.layerAspect) * in.sourceHeight);
            return target;
        default:
            return custom;
    }
}

}  // namespace quillon
