// 8-bit upscale kernels: one geometry, five implementations.
#ifndef QUILLON_KERNELS_UPSCALE8_H
#define QUILLON_KERNELS_UPSCALE8_H

#include <cstdint>

#include "engine/ScaleContext.h"

namespace quillon {

// Cell by cell, scalar, clamped to 0..maxValue8.
bool upscale8Cubic(const uint8_t* source, uint8_t* destination, const ScaleContext* context);
bool upscale8Lanczos(const uint8_t* source, uint8_t* destination, const ScaleContext* context);

// Two whole passes in 16-bit vector lanes (SSE2), clamped to 0..255 always.
// Return false, leaving the destination untouched, when the scratch frame
// cannot be allocated.
bool upscale8CubicTwoPass(const uint8_t* source, uint8_t* destination, const ScaleContext* context);
bool upscale8LanczosTwoPass(const uint8_t* source, uint8_t* destination,
                            const ScaleContext* context);

// Their plain scalar twins: byte for byte the same results. The two-pass
// names above fall back to these where 128-bit integer vectors are missing.
bool upscale8CubicTwoPassScalar(const uint8_t* source, uint8_t* destination,
                                const ScaleContext* context);
bool upscale8LanczosTwoPassScalar(const uint8_t* source, uint8_t* destination,
                                  const ScaleContext* context);

// KERNEL_NONE: leaves the destination as it was.
bool upscaleNone(const uint8_t* source, uint8_t* destination, const ScaleContext* context);

}  // namespace quillon

#endif  // QUILLON_KERNELS_UPSCALE8_H
