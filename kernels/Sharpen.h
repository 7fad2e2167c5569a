// The sharpen pass's second phase as a row-band kernel: the 5 x 5 binomial
// blur of the brightness plane and the Q14 gain looked up by (centre,
// blurred), applied in place to blue, green and red of frame rows
// [rowBegin, rowEnd). The brightness plane (the grey conversion of the whole
// frame, made in the first phase) must be complete before any band runs.
//
// Neighbourhood origins run over rows 0..H - 6 and columns 0..W - 6 and write
// the centre, so rows and columns 0..1 and the last three rows and columns are
// never written: that one-pixel imbalance is deliberate and kept.
#ifndef QUILLON_KERNELS_SHARPEN_H
#define QUILLON_KERNELS_SHARPEN_H

#include <cstddef>
#include <cstdint>

#include "core/SharpenPlan.h"

namespace quillon {

using Sharpen8Fn = void (*)(const SharpenPlan& plan, const uint8_t* plane, uint8_t* frame,
                            uint32_t ceiling, uint32_t rowBegin, uint32_t rowEnd, void* scratch);
using Sharpen16Fn = void (*)(const SharpenPlan& plan, const uint8_t* plane, uint16_t* frame,
                             uint32_t ceiling, uint32_t rowBegin, uint32_t rowEnd, void* scratch);

struct SharpenKernels {
    Sharpen8Fn apply8;
    Sharpen16Fn apply16;
};

extern const SharpenKernels kSharpenScalar;
extern const SharpenKernels kSharpenSse2;
extern const SharpenKernels kSharpenAvx2;
extern const SharpenKernels kSharpenAvx512;

// One row of column sums (16 bits) and one of blurred brightness, each with
// room for 64-byte alignment and a vector's overrun.
inline std::size_t SharpenScratchBytes(const SharpenPlan& plan, uint32_t) {
    return std::size_t{plan.width} * 3 + 256;
}

}  // namespace quillon

#endif  // QUILLON_KERNELS_SHARPEN_H
