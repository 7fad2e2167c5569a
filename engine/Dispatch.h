// The kernels one context runs, chosen once at creation by depth, variant,
// filter and instruction-set level (engine/Dispatch.cpp is the only place
// that chooses).
#ifndef QUILLON_ENGINE_DISPATCH_H
#define QUILLON_ENGINE_DISPATCH_H

#include <cstdint>

#include "antialias/SpotKernels.h"
#include "core/CpuLevel.h"
#include "engine/TableCache.h"
#include "kernels/GreyConversion.h"
#include "kernels/Lattice.h"
#include "kernels/MapResize.h"
#include "kernels/RefineApply.h"
#include "kernels/Sharpen.h"
#include "kernels/UpscaleBand.h"
#include "kernels/UpscaleKernels.h"

namespace quillon {

struct KernelTable {
    UpscaleKernel<uint8_t> upscale8;
    UpscaleKernel<uint16_t> upscale16;
    // The band kernels with rolling rows, when the family has them; they
    // then run instead of upscale8 / upscale16 and read plan.upscale.
    const Upscale8Kernels* rolling8 = nullptr;
    const Upscale16Kernels* rolling16 = nullptr;
    // Refinement and sharpening, row-band kernel families. The grey
    // conversion also makes the sharpen pass's brightness plane.
    const GreyKernels* grey = nullptr;
    const LatticeKernels* lattice = nullptr;
    const MapResizeKernels* mapResize = nullptr;
    bool mapsKept = false;  // KERNEL_NONE: the maps are not resized (they stay zero)
    const RefineApplyKernels* refineApply = nullptr;
    const SharpenKernels* sharpen = nullptr;
    const aa::BlendKernels* antiAliasBlend = nullptr;
    // The weight layouts the upscale kernels read.
    WeightLayout columnLayout = WeightLayout::None;
    WeightLayout rowLayout = WeightLayout::None;
};

// depthMode other than DEPTH_8 / DEPTH_16 gets no upscale kernel.
KernelTable ChooseKernels(uint32_t depthMode, uint32_t kernelVariant, bool lanczos, CpuLevel level);

}  // namespace quillon

#endif  // QUILLON_ENGINE_DISPATCH_H
