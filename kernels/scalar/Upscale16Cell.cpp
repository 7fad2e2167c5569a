// 16-bit cell kernels: scalar, 32-bit intermediates, clamped to 0..maxValue16.
#include "core/EngineSettings.h"
#include "kernels/CellKernel.h"
#include "kernels/Upscale16.h"

namespace quillon {

bool upscale16CubicRows(const FramePlan& plan, const uint16_t* source, uint16_t* destination,
                        uint32_t rowBegin, uint32_t rowEnd, void*) {
    return upscale::UpscaleCells<uint16_t, int32_t, 4>(source, destination, &plan, MaxValue16(),
                                                       rowBegin, rowEnd);
}

bool upscale16LanczosRows(const FramePlan& plan, const uint16_t* source, uint16_t* destination,
                          uint32_t rowBegin, uint32_t rowEnd, void*) {
    return upscale::UpscaleCells<uint16_t, int32_t, 8>(source, destination, &plan, MaxValue16(),
                                                       rowBegin, rowEnd);
}

bool upscale16Cubic(const uint16_t* source, uint16_t* destination, const FramePlan* plan) {
    return RunWholeFrame<uint16_t>(&upscale16CubicRows, &NoScratch, source, destination, plan);
}

bool upscale16Lanczos(const uint16_t* source, uint16_t* destination, const FramePlan* plan) {
    return RunWholeFrame<uint16_t>(&upscale16LanczosRows, &NoScratch, source, destination, plan);
}

}  // namespace quillon
