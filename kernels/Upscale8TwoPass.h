// 8-bit two-pass upscale kernels, one per level: horizontal results
// saturated to signed 16 bits, output clamped to 0..255.
#ifndef QUILLON_KERNELS_UPSCALE8TWOPASS_H
#define QUILLON_KERNELS_UPSCALE8TWOPASS_H

#include "kernels/UpscaleKernels.h"

namespace quillon {

extern const Upscale8Kernels kUpscale8TwoPassScalar;
extern const Upscale8Kernels kUpscale8TwoPassSse2;
extern const Upscale8Kernels kUpscale8TwoPassAvx2;
extern const Upscale8Kernels kUpscale8TwoPassAvx512;

}  // namespace quillon

#endif  // QUILLON_KERNELS_UPSCALE8TWOPASS_H
