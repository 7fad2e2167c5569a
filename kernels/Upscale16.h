// 16-bit upscale kernels (cell by cell, 32-bit intermediates), band form and
// whole-frame form.
#ifndef QUILLON_KERNELS_UPSCALE16_H
#define QUILLON_KERNELS_UPSCALE16_H

#include <cstdint>

#include "core/FramePlan.h"
#include "kernels/UpscaleBand.h"

namespace quillon {

bool upscale16CubicRows(const FramePlan& plan, const uint16_t* source, uint16_t* destination,
                        uint32_t rowBegin, uint32_t rowEnd, void* scratch);
bool upscale16LanczosRows(const FramePlan& plan, const uint16_t* source, uint16_t* destination,
                          uint32_t rowBegin, uint32_t rowEnd, void* scratch);

bool upscale16Cubic(const uint16_t* source, uint16_t* destination, const FramePlan* plan);
bool upscale16Lanczos(const uint16_t* source, uint16_t* destination, const FramePlan* plan);

}  // namespace quillon

#endif  // QUILLON_KERNELS_UPSCALE16_H
