// The engine context and its kernel slots (engine-internal).
#ifndef QUILLON_ENGINE_SCALECONTEXT_H
#define QUILLON_ENGINE_SCALECONTEXT_H

#include <cstdint>

#include "engine/Engine.h"

namespace quillon {

// Kernel call forms. Passes that take scratch memory return false when they
// could not get it; they then leave their frame as it was.
using BuildWeightsFn = void (*)(uint32_t count, const double* fractions, int16_t* table,
                                float cubicA);
using Upscale8Fn = bool (*)(const uint8_t* source, uint8_t* destination,
                            const ScaleContext* context);
using Upscale16Fn = bool (*)(const uint16_t* source, uint16_t* destination,
                             const ScaleContext* context);
using ScaleMapFn = bool (*)(const uint8_t* lattice, uint8_t* destination, const uint32_t* rowIndex,
                            const uint32_t* columnIndex, const double* columnFrac,
                            const double* rowFrac, uint32_t srcWidth, uint32_t srcHeight,
                            uint32_t dstWidth, uint32_t dstHeight);
using Sharpen8Fn = bool (*)(uint8_t* frame, const ScaleContext* context);
using GrayFrom8Fn = void (*)(uint8_t* grey, const uint8_t* frame, int32_t pixelCount);

// The kernels chosen for one context. They live in the context rather than in
// process-wide state, so contexts with different settings can be created and
// processed side by side, on different threads if the caller wishes.
struct KernelSlots {
    BuildWeightsFn buildColumnWeights = nullptr;
    BuildWeightsFn buildRowWeights = nullptr;
    Upscale8Fn upscale8 = nullptr;
    Upscale16Fn upscale16 = nullptr;
    ScaleMapFn scaleMap = nullptr;
    Sharpen8Fn sharpen8 = nullptr;
    GrayFrom8Fn grayFrom8 = nullptr;
};

}  // namespace quillon

// Field order follows the engine's documented record. Pointers that the
// request does not need stay null (the context is value-initialised).
struct ScaleContext {
    uint32_t srcWidth;
    uint32_t srcHeight;
    uint32_t dstWidth;
    uint32_t dstHeight;
    uint32_t outWidth;
    uint32_t outHeight;
    uint32_t options;
    uint32_t depthMode;
    uint32_t kernelVariant;
    float refineShape;
    float sharpenGain;
    float aaFollow;
    float aaMix;
    float aaSpread;
    uint16_t* columnSpanEnd;  // srcWidth - 1 entries
    uint16_t* rowSpanEnd;     // srcHeight - 1 entries
    int16_t* columnWeights;   // dstWidth entries of the column layout
    int16_t* rowWeights;      // dstHeight entries of the row layout
    uint32_t* columnIndex;    // dstWidth
    uint32_t* rowIndex;       // dstHeight
    double* columnFrac;       // dstWidth
    double* rowFrac;          // dstHeight
    uint8_t* refineMax;       // dstWidth * dstHeight (OPT_REFINE)
    uint8_t* refineMin;       // dstWidth * dstHeight (OPT_REFINE)
    uint8_t* grayMap;         // srcWidth * srcHeight (OPT_REFINE)
    uint8_t* latticeMin;      // (srcWidth + 1) * (srcHeight + 1) (OPT_REFINE)
    uint8_t* latticeMax;      // (srcWidth + 1) * (srcHeight + 1) (OPT_REFINE)
    int16_t* refineCurve;     // 256 x 511 (OPT_REFINE)
    uint16_t* sharpenCurve;   // 256 x 256 (OPT_SHARPEN)
    uint8_t ownsWorkFrame;
    void* workFrame;
    quillon::KernelSlots slots;
};

#endif  // QUILLON_ENGINE_SCALECONTEXT_H
