// Grey image of the source frame: the mean of blue, green and red, scaled by
// 21844 / 65536 with rounding. 21844 rather than 21845 keeps three channels
// of 255 at 255. The 16-bit frame contributes its high bytes only, so edge
// detection runs at 8-bit precision in both depths.
#include "antialias/AntiAliasStages.h"

namespace quillon::aa {

namespace {

inline uint8_t greyOf(uint32_t c0, uint32_t c1, uint32_t c2) {
    return static_cast<uint8_t>(((c0 + c1 + c2) * 21844u + 32768u) >> 16);
}

}  // namespace

void makeGrey8(const uint8_t* frame, uint8_t* grey, std::size_t pixelCount) {
    for (std::size_t i = 0; i < pixelCount; ++i) {
        const uint8_t* p = frame + 4 * i;
        grey[i] = greyOf(p[0], p[1], p[2]);
    }
}

void makeGrey16(const uint16_t* frame, uint8_t* grey, std::size_t pixelCount) {
    for (std::size_t i = 0; i < pixelCount; ++i) {
        const uint16_t* p = frame + 4 * i;
        grey[i] = greyOf(p[0] >> 8u, p[1] >> 8u, p[2] >> 8u);
    }
}

}  // namespace quillon::aa
