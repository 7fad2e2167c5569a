// KERNEL_NONE: the destination keeps whatever it held.
#include "kernels/Upscale8.h"

namespace quillon {

bool upscaleNone(const uint8_t*, uint8_t*, const ScaleContext*) {
    return true;
}

}  // namespace quillon
