// Which kernels and weight layouts a context gets.
#ifndef QUILLON_ENGINE_KERNELSELECTION_H
#define QUILLON_ENGINE_KERNELSELECTION_H

#include <cstdint>

#include "engine/ScaleContext.h"

namespace quillon {

struct KernelChoice {
    KernelSlots slots;
    uint32_t columnEntryBytes;  // one destination column's weights
    uint32_t rowEntryBytes;     // one destination row's weights
};

// depthMode 0 or 1 only; the request has passed validation.
KernelChoice SelectKernels(uint32_t depthMode, uint32_t kernelVariant, bool lanczos);

}  // namespace quillon

#endif  // QUILLON_ENGINE_KERNELSELECTION_H
