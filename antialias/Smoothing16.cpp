// Spot load and blend on 16-bit frames, clamped to the 16-bit ceiling.
#include <cstdint>

#include "antialias/SpotBlend.h"

namespace quillon::aa {

void loadSpotWindow16(const SpotFrame& spot, int32_t x, int32_t y) {
    loadSpotWindowT<uint16_t>(spot, x, y);
}

void blendSpot16(const SpotFrame& spot, int32_t x, int32_t y, bool* firstFlag) {
    blendSpotT<uint16_t>(spot, x, y, firstFlag);
}

}  // namespace quillon::aa
