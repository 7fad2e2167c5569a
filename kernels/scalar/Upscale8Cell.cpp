// 8-bit cell kernels: scalar, clamped to 0..maxValue8.
#include "core/EngineSettings.h"
#include "kernels/CellKernel.h"
#include "kernels/Upscale8.h"

namespace quillon {

bool upscale8CubicRows(const FramePlan& plan, const uint8_t* source, uint8_t* destination,
                       uint32_t rowBegin, uint32_t rowEnd, void*) {
    return upscale::UpscaleCells<uint8_t, int16_t, 4>(source, destination, &plan, MaxValue8(),
                                                      rowBegin, rowEnd);
}

bool upscale8LanczosRows(const FramePlan& plan, const uint8_t* source, uint8_t* destination,
                         uint32_t rowBegin, uint32_t rowEnd, void*) {
    return upscale::UpscaleCells<uint8_t, int16_t, 8>(source, destination, &plan, MaxValue8(),
                                                      rowBegin, rowEnd);
}

bool upscale8Cubic(const uint8_t* source, uint8_t* destination, const FramePlan* plan) {
    return RunWholeFrame<uint8_t>(&upscale8CubicRows, &NoScratch, source, destination, plan);
}

bool upscale8Lanczos(const uint8_t* source, uint8_t* destination, const FramePlan* plan) {
    return RunWholeFrame<uint8_t>(&upscale8LanczosRows, &NoScratch, source, destination, plan);
}

}  // namespace quillon
