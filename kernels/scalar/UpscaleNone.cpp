// KERNEL_NONE: the destination keeps whatever it held.
#include "kernels/Upscale8.h"

namespace quillon {

bool upscaleNoneRows(const FramePlan&, const uint8_t*, uint8_t*, uint32_t, uint32_t, void*) {
    return true;
}

bool upscaleNone(const uint8_t*, uint8_t*, const FramePlan*) {
    return true;
}

}  // namespace quillon
