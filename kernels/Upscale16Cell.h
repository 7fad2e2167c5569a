// 16-bit upscale kernels made separable, one per level: 32-bit horizontal
// results, output clamped to 0..ceiling. There is no 128-bit level: without
// 32-bit lane multiplies, mins and packs it would not beat the scalar twin,
// so the SSE2 level uses the scalar kernel.
#ifndef QUILLON_KERNELS_UPSCALE16CELL_H
#define QUILLON_KERNELS_UPSCALE16CELL_H

#include "kernels/UpscaleKernels.h"

namespace quillon {

extern const Upscale16Kernels kUpscale16CellScalar;
extern const Upscale16Kernels kUpscale16CellAvx2;
extern const Upscale16Kernels kUpscale16CellAvx512;

}  // namespace quillon

#endif  // QUILLON_KERNELS_UPSCALE16CELL_H
