// Keeps the custom width and height linked to the chosen preset and to each
// other, and enables the custom-size controls only where they apply.
#ifndef QUILLON_HOST_PARAMLINKAGE_H
#define QUILLON_HOST_PARAMLINKAGE_H

#include <cstdint>

#include "effect/SizePresets.h"

namespace quillon::host {

// The proportion ratio as used by constrained edits: 1.0 when it is 0.
double EffectiveRatio(double ratio);

// The other side of a constrained edit: trunc(side / ratio + 0.5) for a
// changed width, trunc(side * ratio + 0.5) for a changed height, with a side
// of 0 counted as 1, then clamped to [minimum, maximum] (NaN gives minimum).
int32_t LinkedHeight(int32_t width, double ratio, int32_t minimum, int32_t maximum);
int32_t LinkedWidth(int32_t height, double ratio, int32_t minimum, int32_t maximum);

// True when "4K Output Size" at this value leaves the size to the custom
// controls: a value of 3 or more whose row is missing or has no size.
bool CustomSizeControlsEnabled(const SizePreset* table, int32_t value);

}  // namespace quillon::host

#endif  // QUILLON_HOST_PARAMLINKAGE_H
