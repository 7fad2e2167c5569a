// Grey maps of a source frame for the refinement pass.
//
// One grey byte a pixel: about a third of blue + green + red, rounded. The
// multiplier 21844 is one below 65536 / 3; that slight bias is part of the
// engine's arithmetic and every grey in the refinement path uses it.
#include "kernels/Refinement.h"

#include <cstddef>

namespace quillon {

namespace {

inline uint8_t GreyOfSum(uint32_t sum) {
    return static_cast<uint8_t>((sum * 21844u + 32768u) >> 16);
}

}  // namespace

void grayFrom8(uint8_t* grey, const uint8_t* frame, int32_t pixelCount) {
    if (grey == nullptr || frame == nullptr || pixelCount <= 0) {
        return;
    }
    for (int32_t i = 0; i < pixelCount; ++i) {
        const uint8_t* px = frame + static_cast<std::size_t>(i) * 4;
        grey[i] = GreyOfSum(uint32_t{px[0]} + px[1] + px[2]);
    }
}

// High bytes only: with the host's 0..32768 range the map spans 0..128, and
// the 16-bit refinement works on that scale throughout.
void grayFrom16(uint8_t* grey, const uint16_t* frame, int32_t pixelCount) {
    if (grey == nullptr || frame == nullptr || pixelCount <= 0) {
        return;
    }
    for (int32_t i = 0; i < pixelCount; ++i) {
        const uint16_t* px = frame + static_cast<std::size_t>(i) * 4;
        grey[i] =
            GreyOfSum((uint32_t{px[0]} >> 8u) + (uint32_t{px[1]} >> 8u) + (uint32_t{px[2]} >> 8u));
    }
}

}  // namespace quillon
