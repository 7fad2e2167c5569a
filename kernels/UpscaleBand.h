// The band form every upscale kernel has: destination rows [rowBegin, rowEnd)
// from the whole source, writing only those rows, with `scratch` holding at
// least the bytes the family's scratch function gives for that band (null
// when it gives 0). Kernels never allocate; they return false only for a plan
// they cannot run on (missing tables), leaving the rows untouched.
#ifndef QUILLON_KERNELS_UPSCALEBAND_H
#define QUILLON_KERNELS_UPSCALEBAND_H

#include <cstddef>
#include <cstdint>

#include "core/EngineMemory.h"
#include "core/FramePlan.h"

namespace quillon {

template <typename Sample>
using UpscaleBandFn = bool (*)(const FramePlan& plan, const Sample* source, Sample* destination,
                               uint32_t rowBegin, uint32_t rowEnd, void* scratch);

using BandScratchFn = std::size_t (*)(const FramePlan& plan, uint32_t rowBegin, uint32_t rowEnd);

// One upscale kernel: its band function and its scratch size.
template <typename Sample>
struct UpscaleKernel {
    UpscaleBandFn<Sample> run = nullptr;
    BandScratchFn scratchBytes = nullptr;
};

inline std::size_t NoScratch(const FramePlan&, uint32_t, uint32_t) {
    return 0;
}

// Runs a band kernel over the whole frame as one band, its scratch taken from
// the engine's hook here. False when the scratch cannot be had or the kernel
// refuses the plan.
template <typename Sample>
bool RunWholeFrame(UpscaleBandFn<Sample> run, BandScratchFn scratchBytes, const Sample* source,
                   Sample* destination, const FramePlan* plan) {
    if (source == nullptr || destination == nullptr || plan == nullptr) {
        return false;
    }
    const std::size_t bytes = scratchBytes(*plan, 0, plan->dstHeight);
    ScratchBuffer<unsigned char> scratch(bytes);
    if (bytes != 0 && !scratch) {
        return false;
    }
    return run(*plan, source, destination, 0, plan->dstHeight, scratch.get());
}

}  // namespace quillon

#endif  // QUILLON_KERNELS_UPSCALEBAND_H
