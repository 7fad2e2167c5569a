// Spot load and blend on 8-bit frames, clamped to the 8-bit ceiling.
#include <cstdint>

#include "antialias/SpotBlend.h"

namespace quillon::aa {

void loadSpotWindow8(const SpotFrame& spot, int32_t x, int32_t y) {
    loadSpotWindowT<uint8_t>(spot, x, y);
}

void blendSpot8(const SpotFrame& spot, int32_t x, int32_t y, bool* firstFlag) {
    blendSpotT<uint8_t>(spot, x, y, firstFlag);
}

}  // namespace quillon::aa
