// 16-bit cell kernels: scalar, 32-bit intermediates, clamped to 0..maxValue16.
#include "engine/EngineSettings.h"
#include "kernels/CellKernel.h"
#include "kernels/Upscale16.h"

namespace quillon {

bool upscale16Cubic(const uint16_t* source, uint16_t* destination, const ScaleContext* context) {
    return upscale::UpscaleCells<uint16_t, int32_t, 4>(source, destination, context, MaxValue16());
}

bool upscale16Lanczos(const uint16_t* source, uint16_t* destination, const ScaleContext* context) {
    return upscale::UpscaleCells<uint16_t, int32_t, 8>(source, destination, context, MaxValue16());
}

}  // namespace quillon
