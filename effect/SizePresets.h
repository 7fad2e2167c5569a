// Output size presets and the rule that turns a preset into a target size.
// Free of host records so that command-line tools can share the tables and
// the size computation.
#ifndef QUILLON_EFFECT_SIZEPRESETS_H
#define QUILLON_EFFECT_SIZEPRESETS_H

#include <cstdint>

namespace quillon {

// One row of a preset table. A leading '!' marks the table's default row
// (not shown), "(-" is a separator, a null text ends the table.
struct SizePreset {
    const char* text;
    uint32_t width;
    uint32_t height;
    int32_t mode;
    int32_t reserved;
};

enum : int32_t {
    PRESET_MODE_NONE = 0,
    PRESET_MODE_FIT_WIDTH = 1,
    PRESET_MODE_FIT_HEIGHT = 2,
};

extern const SizePreset kAfterEffects4KPresets[];
extern const SizePreset kPremiere4KPresets[];
extern const SizePreset kAfterEffectsOutputSizePresets[];
extern const SizePreset kPremiereOutputSizePresets[];

// The host's pair of tables.
const SizePreset* FourKPresetTable(bool premiereHost);
const SizePreset* OutputSizePresetTable(bool premiereHost);

// Rows before the terminating null row.
int32_t PresetCount(const SizePreset* table);

// The row at a 1-based position, or null when the table ends first (or the
// position is below 1).
const SizePreset* FindPreset(const SizePreset* table, int32_t position);

struct TargetSizeInputs {
    int32_t preset = 0;         // "4K Output Size" popup value
    uint32_t customWidth = 0;   // "Custom Width"
    uint32_t customHeight = 0;  // "Custom Height"
    uint32_t compWidth = 0;     // 0 when the composition query failed
    uint32_t compHeight = 0;
    double compAspect = 1.0;   // composition pixel aspect
    double layerAspect = 1.0;  // layer pixel aspect
    double sourceWidth = 0.0;
    double sourceHeight = 0.0;
};

struct TargetSize {
    uint32_t width = 0;
    uint32_t height = 0;
};

// Target size in full-resolution pixels. Fit to height scales by the
// composition's pixel aspect only, fit to width by both aspects; separators,
// "Custom" and positions outside the table take the custom size.
TargetSize ComputeTargetSize(const SizePreset* table, const TargetSizeInputs& inputs);

// Truncates toward zero into 0..UINT32_MAX; NaN gives 0.
uint32_t TruncateToUnsigned(double value);

}  // namespace quillon

#endif  // QUILLON_EFFECT_SIZEPRESETS_H
