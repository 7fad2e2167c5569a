// Anti-aliasing: staircase detection at source resolution, smoothing along
// edge chains at destination resolution.
#ifndef QUILLON_ANTIALIAS_ANTIALIAS_H
#define QUILLON_ANTIALIAS_ANTIALIAS_H

#include <cstdint>

#include "antialias/SpotKernels.h"
#include "core/FramePlan.h"

namespace quillon {

// Return false, leaving the destination as the upscale wrote it, when work
// memory cannot be allocated. `kernels` are the blend kernels the engine's
// dispatch chose for the processor (every level gives the same bytes); null
// takes the scalar ones.
bool antiAlias8(const uint8_t* source, uint8_t* destination, const FramePlan* context,
                const aa::BlendKernels* kernels = nullptr);
bool antiAlias16(const uint16_t* source, uint16_t* destination, const FramePlan* context,
                 const aa::BlendKernels* kernels = nullptr);

}  // namespace quillon

#endif  // QUILLON_ANTIALIAS_ANTIALIAS_H
