// Horizontal step of the 8-tap cell kernels, shared by 8 and 16 bits.
#ifndef QUILLON_KERNELS_HORIZONTAL8X8_H
#define QUILLON_KERNELS_HORIZONTAL8X8_H

#include <cstdint>

#include "kernels/UpscaleGeometry.h"

namespace quillon {

// block: one channel of an 8 x 8 neighbourhood, block[row][column], each row
// eight consecutive source samples. weights: w0..w7 of one destination
// column. out[row] = (s0*w0 + ... + s7*w7 + 4096) >> 13, signed 32-bit.
template <typename Sample>
inline void horizontal8x8(const Sample (&block)[8][8], const int16_t* weights, int32_t (&out)[8]) {
    for (int row = 0; row < 8; ++row) {
        int64_t sum = 0;
        for (int k = 0; k < 8; ++k) {
            sum += static_cast<int64_t>(block[row][k]) * weights[k];
        }
        out[row] = upscale::Q13Step(sum);
    }
}

}  // namespace quillon

#endif  // QUILLON_KERNELS_HORIZONTAL8X8_H
