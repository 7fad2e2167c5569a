// What the sharpen pass reads besides its frame: the frame size and the Q14
// gain table indexed by centre brightness * 256 + blurred brightness.
//
// The pass runs in two phases over row bands: first the brightness plane of
// the whole frame (the grey conversion at the destination size), then, once
// every band of it is done, the blur and the gain in place. A band of the
// second phase reads plane rows up to two beyond its own and writes only its
// own frame rows, so bands never see each other's sharpened pixels.
#ifndef QUILLON_CORE_SHARPENPLAN_H
#define QUILLON_CORE_SHARPENPLAN_H

#include <cstdint>

namespace quillon {

// Centre and blurred brightness this close give the unit gain in every table
// the engine builds (its dead zone).
inline constexpr int kUnitGainRadius = 5;

// Whether every entry of a gain table within kUnitGainRadius of its diagonal
// is the unit gain 16384.
inline bool HasUnitGainBand(const uint16_t* curve) {
    for (int centre = 0; centre < 256; ++centre) {
        for (int blurred = centre - kUnitGainRadius; blurred <= centre + kUnitGainRadius;
             ++blurred) {
            if (blurred >= 0 && blurred < 256 && curve[centre * 256 + blurred] != 16384) {
                return false;
            }
        }
    }
    return true;
}

struct SharpenPlan {
    uint32_t width = 0;
    uint32_t height = 0;
    const uint16_t* curve = nullptr;  // 256 x 256
    // HasUnitGainBand(curve): kernels may then give neighbourhoods near the
    // diagonal the unit gain without looking it up.
    bool unitGainBand = false;
};

}  // namespace quillon

#endif  // QUILLON_CORE_SHARPENPLAN_H
