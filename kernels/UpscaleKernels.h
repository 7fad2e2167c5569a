// The form every band upscale kernel has, one struct per family and level.
//
// run(plan, source, destination, rowBegin, rowEnd, scratch, ceiling) writes
// destination rows [rowBegin, rowEnd) of the enlarged frame and nothing
// else. Source and destination are whole frames of four-channel pixels,
// rows packed (width * 4 samples a row). scratch holds at least
// scratchBytes(plan, rowEnd - rowBegin) bytes of any alignment, used by this
// call alone; the kernel allocates nothing. ceiling is the largest value a
// sample may take (2..255 at 8 bits, 2..65535 at 16); the 8-bit two-pass
// family ignores it and always clamps to 255.
//
// A level whose column layout differs from the plan's plain weights builds
// it once with prepare() into preparedBytes(plan) bytes (64-byte aligned) the
// caller keeps with the plan, and the caller sets plan.prepared to it; for the
// other levels preparedBytes returns 0 and prepare does nothing.
#ifndef QUILLON_KERNELS_UPSCALEKERNELS_H
#define QUILLON_KERNELS_UPSCALEKERNELS_H

#include <cstddef>
#include <cstdint>

#include "core/UpscalePlan.h"

namespace quillon {

template <typename Sample>
struct UpscaleKernels {
    using RunFn = void (*)(const UpscalePlan& plan, const Sample* source, Sample* destination,
                           uint32_t rowBegin, uint32_t rowEnd, void* scratch, int32_t ceiling);
    RunFn run;
    std::size_t (*scratchBytes)(const UpscalePlan& plan, uint32_t rowsInBand);
    std::size_t (*preparedBytes)(const UpscalePlan& plan);
    void (*prepare)(const UpscalePlan& plan, void* prepared);
};

using Upscale8Kernels = UpscaleKernels<uint8_t>;
using Upscale16Kernels = UpscaleKernels<uint16_t>;

}  // namespace quillon

#endif  // QUILLON_KERNELS_UPSCALEKERNELS_H
