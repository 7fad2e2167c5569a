// The effect's controls as the tool takes them from the command line: Filter
// Type, Sharpness, Quality and Anti-aliasing. Ranges, defaults and the
// options rule are the effect's own (effect/EffectSettings.h).
#ifndef QUILLON_TOOLS_QUILLON_EFFECTCONTROLS_H
#define QUILLON_TOOLS_QUILLON_EFFECTCONTROLS_H

#include <cstdint>

#include "effect/EffectSettings.h"

namespace quillon {

struct EffectControls {
    FilterType filter = kDefaultFilterType;
    int sharpness = kSharpnessRange.standard;
    int quality = kQualityRange.standard;
    int antiAliasing = kAntiAliasingRange.standard;
};

// The engine options the effect's render handler builds for these controls.
inline uint32_t EngineOptionsFor(const EffectControls& c) {
    return EngineOptionsFor(static_cast<int32_t>(c.filter), c.sharpness, c.antiAliasing);
}

}  // namespace quillon

#endif  // QUILLON_TOOLS_QUILLON_EFFECTCONTROLS_H
