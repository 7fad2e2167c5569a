// Grey conversion as a row-band kernel: one grey byte per pixel of rows
// [rowBegin, rowEnd) of a frame, about a third of blue + green + red. 16-bit
// frames count their high bytes only. Used by the refinement (source size)
// and by the sharpen pass's brightness phase (destination size). No scratch.
#ifndef QUILLON_KERNELS_GREYCONVERSION_H
#define QUILLON_KERNELS_GREYCONVERSION_H

#include <cstddef>
#include <cstdint>

#include "core/RefinePlan.h"

namespace quillon {

using Grey8Fn = void (*)(const GreyPlan& plan, const uint8_t* frame, uint8_t* grey,
                         uint32_t rowBegin, uint32_t rowEnd, void* scratch);
using Grey16Fn = void (*)(const GreyPlan& plan, const uint16_t* frame, uint8_t* grey,
                          uint32_t rowBegin, uint32_t rowEnd, void* scratch);

struct GreyKernels {
    Grey8Fn from8;
    Grey16Fn from16;
};

extern const GreyKernels kGreyScalar;
extern const GreyKernels kGreySse2;
extern const GreyKernels kGreyAvx2;
extern const GreyKernels kGreyAvx512;

inline std::size_t GreyScratchBytes(const GreyPlan&, uint32_t) {
    return 0;
}

}  // namespace quillon

#endif  // QUILLON_KERNELS_GREYCONVERSION_H
