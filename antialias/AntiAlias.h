// Anti-aliasing: staircase detection at source resolution, smoothing along
// edge chains at destination resolution.
#ifndef QUILLON_ANTIALIAS_ANTIALIAS_H
#define QUILLON_ANTIALIAS_ANTIALIAS_H

#include <cstdint>

#include "core/FramePlan.h"

namespace quillon {

// Return false, leaving the destination as the upscale wrote it, when work
// memory cannot be allocated.
bool antiAlias8(const uint8_t* source, uint8_t* destination, const FramePlan* context);
bool antiAlias16(const uint16_t* source, uint16_t* destination, const FramePlan* context);

}  // namespace quillon

#endif  // QUILLON_ANTIALIAS_ANTIALIAS_H
