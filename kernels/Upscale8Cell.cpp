// 8-bit cell kernels: scalar, clamped to 0..maxValue8.
#include "engine/EngineSettings.h"
#include "kernels/CellKernel.h"
#include "kernels/Upscale8.h"

namespace quillon {

bool upscale8Cubic(const uint8_t* source, uint8_t* destination, const ScaleContext* context) {
    return upscale::UpscaleCells<uint8_t, int16_t, 4>(source, destination, context, MaxValue8());
}

bool upscale8Lanczos(const uint8_t* source, uint8_t* destination, const ScaleContext* context) {
    return upscale::UpscaleCells<uint8_t, int16_t, 8>(source, destination, context, MaxValue8());
}

}  // namespace quillon
