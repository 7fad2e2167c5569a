// Applying the refinement as a row-band kernel: frame rows [rowBegin, rowEnd)
// in place, from the resized min and max maps. Every pixel whose map range is
// at least 20 has its grey pushed along the S-curve toward the nearer end of
// the range by one gain on blue, green and red (Q7 at 8 bits, Q15 at 16).
// No scratch.
#ifndef QUILLON_KERNELS_REFINEAPPLY_H
#define QUILLON_KERNELS_REFINEAPPLY_H

#include <cstddef>
#include <cstdint>

#include "core/RefinePlan.h"

namespace quillon {

// The channel ceilings are passed in (read once per frame by the caller).
using RefineApply8Fn = void (*)(const RefinePlan& plan, const uint8_t* mins, const uint8_t* maxs,
                                uint8_t* frame, uint32_t ceiling, uint32_t rowBegin,
                                uint32_t rowEnd, void* scratch);
using RefineApply16Fn = void (*)(const RefinePlan& plan, const uint8_t* mins, const uint8_t* maxs,
                                 uint16_t* frame, uint32_t ceiling, uint32_t rowBegin,
                                 uint32_t rowEnd, void* scratch);

struct RefineApplyKernels {
    RefineApply8Fn apply8;
    RefineApply16Fn apply16;
};

extern const RefineApplyKernels kRefineApplyScalar;
extern const RefineApplyKernels kRefineApplyAvx2;
extern const RefineApplyKernels kRefineApplyAvx512;

inline std::size_t RefineApplyScratchBytes(const RefinePlan&, uint32_t) {
    return 0;
}

}  // namespace quillon

#endif  // QUILLON_KERNELS_REFINEAPPLY_H
