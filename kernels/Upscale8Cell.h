// 8-bit cell upscale kernels made separable, one per level: horizontal
// results wrapped to signed 16 bits, output clamped to 0..ceiling.
#ifndef QUILLON_KERNELS_UPSCALE8CELL_H
#define QUILLON_KERNELS_UPSCALE8CELL_H

#include "kernels/UpscaleKernels.h"

namespace quillon {

extern const Upscale8Kernels kUpscale8CellScalar;
extern const Upscale8Kernels kUpscale8CellSse2;
extern const Upscale8Kernels kUpscale8CellAvx2;
extern const Upscale8Kernels kUpscale8CellAvx512;

}  // namespace quillon

#endif  // QUILLON_KERNELS_UPSCALE8CELL_H
