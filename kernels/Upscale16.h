// 16-bit upscale kernels (cell by cell, 32-bit intermediates).
#ifndef QUILLON_KERNELS_UPSCALE16_H
#define QUILLON_KERNELS_UPSCALE16_H

#include <cstdint>

#include "engine/ScaleContext.h"

namespace quillon {

bool upscale16Cubic(const uint16_t* source, uint16_t* destination, const ScaleContext* context);
bool upscale16Lanczos(const uint16_t* source, uint16_t* destination, const ScaleContext* context);

}  // namespace quillon

#endif  // QUILLON_KERNELS_UPSCALE16_H
