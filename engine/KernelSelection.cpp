// Kernel choice by depth, 8-bit kernel variant and filter.
#include "engine/KernelSelection.h"

#include "engine/Refinement.h"
#include "engine/WeightTables.h"
#include "kernels/Sharpen.h"
#include "kernels/Upscale16.h"
#include "kernels/Upscale8.h"

namespace quillon {
namespace {

struct Row8 {
    Upscale8Fn upscale;
    ScaleMapFn scaleMap;
    BuildWeightsFn columnBuilder;
    BuildWeightsFn rowBuilder;
    uint32_t columnEntryBytes;
    uint32_t rowEntryBytes;
};

// [kernelVariant][lanczos]
constexpr Row8 kSelection8[3][2] = {
    // KERNEL_CELL
    {{&upscale8Cubic, &scaleMapBilinear, &buildCubicWeights, &buildCubicWeights, 8, 8},
     {&upscale8Lanczos, &scaleMapBilinear, &buildLanczosWeights, &buildLanczosWeights, 16, 16}},
    // KERNEL_NONE
    {{&upscaleNone, &scaleMapNone, &buildCubicWeights, &buildCubicWeights, 8, 8},
     {&upscaleNone, &scaleMapNone, &buildLanczosWeights, &buildLanczosWeights, 16, 16}},
    // KERNEL_TWO_PASS
    {{&upscale8CubicTwoPass, &scaleMapVector, &buildCubicWeightsX4, &buildCubicWeightsX8, 32, 64},
     {&upscale8LanczosTwoPass, &scaleMapVector, &buildLanczosWeightsX4, &buildLanczosWeightsX8, 64,
      128}},
};

struct Row16 {
    Upscale16Fn upscale;
    BuildWeightsFn builder;
    uint32_t entryBytes;
};

constexpr Row16 kSelection16[2] = {
    {&upscale16Cubic, &buildCubicWeights, 8},
    {&upscale16Lanczos, &buildLanczosWeights, 16},
};

}  // namespace

KernelChoice SelectKernels(uint32_t depthMode, uint32_t kernelVariant, bool lanczos) {
    KernelChoice choice{};
    const int filter = lanczos ? 1 : 0;
    if (depthMode == DEPTH_8) {
        const Row8& row = kSelection8[kernelVariant][filter];
        choice.slots.upscale8 = row.upscale;
        choice.slots.scaleMap = row.scaleMap;
        choice.slots.buildColumnWeights = row.columnBuilder;
        choice.slots.buildRowWeights = row.rowBuilder;
        choice.slots.sharpen8 = &sharpen8;
        choice.slots.grayFrom8 = &grayFrom8;
        choice.columnEntryBytes = row.columnEntryBytes;
        choice.rowEntryBytes = row.rowEntryBytes;
    } else {
        const Row16& row = kSelection16[filter];
        choice.slots.upscale16 = row.upscale;
        choice.slots.scaleMap = &scaleMapBilinear;
        choice.slots.buildColumnWeights = row.builder;
        choice.slots.buildRowWeights = row.builder;
        choice.columnEntryBytes = row.entryBytes;
        choice.rowEntryBytes = row.entryBytes;
    }
    return choice;
}

}  // namespace quillon
