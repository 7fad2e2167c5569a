// Sharpen pass: unsharp mask on a brightness plane, applied in place.
#ifndef QUILLON_KERNELS_SHARPEN_H
#define QUILLON_KERNELS_SHARPEN_H

#include <cstdint>

#include "engine/ScaleContext.h"

namespace quillon {

// Return false, leaving the frame untouched, when the brightness plane cannot
// be allocated.
bool sharpen8(uint8_t* frame, const ScaleContext* context);
bool sharpen16(uint16_t* frame, const ScaleContext* context);

}  // namespace quillon

#endif  // QUILLON_KERNELS_SHARPEN_H
