// CreateScaleContext and DestroyScaleContext.
#include "engine/ScaleContext.h"

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <new>

#include "engine/CurveTables.h"
#include "engine/Engine.h"
#include "engine/EngineMemory.h"
#include "engine/KernelSelection.h"
#include "engine/PortableMath.h"
#include "engine/PositionTables.h"

namespace quillon {
namespace {

constexpr uint32_t kMaxSize = 65536;
// Every kernel's neighbourhood needs four samples along each axis.
constexpr uint32_t kMinSourceSize = 4;
constexpr uint32_t kMaxControl = 25;
constexpr uint32_t kMaxOptions = 15;
constexpr uint32_t kMaxKernelVariant = 2;

bool InSizeRange(uint32_t v) {
    return v >= 1 && v <= kMaxSize;
}

// The checks, in order; the first failing one rejects the request.
bool IsValidRequest(uint32_t srcWidth, uint32_t srcHeight, uint32_t dstWidth, uint32_t dstHeight,
                    uint32_t outWidth, uint32_t outHeight, uint32_t options, uint32_t depthMode,
                    uint32_t kernelVariant, uint32_t sharpness, uint32_t refineStrength,
                    uint32_t antiAliasAmount) {
    if (!InSizeRange(srcWidth) || !InSizeRange(srcHeight) || !InSizeRange(dstWidth) ||
        !InSizeRange(dstHeight) || !InSizeRange(outWidth) || !InSizeRange(outHeight)) {
        return false;
    }
    if (srcWidth < kMinSourceSize || srcHeight < kMinSourceSize) {
        return false;
    }
    // The engine only enlarges, and the canvas holds the enlarged image.
    if (outHeight < dstHeight || outWidth < dstWidth || dstWidth < srcWidth ||
        dstHeight < srcHeight) {
        return false;
    }
    // Compared as a signed number: values with the top bit set pass.
    if (static_cast<int32_t>(options) > static_cast<int32_t>(kMaxOptions)) {
        return false;
    }
    if (kernelVariant > kMaxKernelVariant) {
        return false;
    }
    if (depthMode == DEPTH_16 && kernelVariant != KERNEL_CELL) {
        return false;
    }
    return sharpness <= kMaxControl && refineStrength <= kMaxControl &&
           antiAliasAmount <= kMaxControl;
}

void DeriveControls(ScaleContext& c, uint32_t sharpness, uint32_t refineStrength,
                    uint32_t antiAliasAmount) {
    c.refineShape = static_cast<float>(refineStrength / 20.0) + 0.1f;
    c.sharpenGain = sharpness != 0 ? static_cast<float>((sharpness - 0.52) / 24.0) : 0.01f;
    c.aaFollow =
        antiAliasAmount != 0
            ? static_cast<float>(0.7 / portable::Pow(static_cast<double>(antiAliasAmount), 0.38))
            : 0.7f;
    c.aaMix = static_cast<float>(0.8 / portable::Pow(26.0 - antiAliasAmount, 0.25));
    c.aaSpread = static_cast<float>(antiAliasAmount / 6 + 1);
}

template <typename T>
bool Allocate(T*& field, std::size_t count) {
    field = static_cast<T*>(EngineAllocate(count * sizeof(T)));
    return field != nullptr;
}

// Releases in the documented order, under the conditions creation used.
void ReleaseContext(ScaleContext* c) {
    EngineRelease(c->columnFrac);
    EngineRelease(c->rowFrac);
    EngineRelease(c->columnIndex);
    EngineRelease(c->rowIndex);
    EngineRelease(c->columnWeights);
    EngineRelease(c->rowWeights);
    EngineRelease(c->columnSpanEnd);
    EngineRelease(c->rowSpanEnd);
    if ((c->options & OPT_REFINE) != 0) {
        EngineRelease(c->grayMap);
        EngineRelease(c->latticeMin);
        EngineRelease(c->latticeMax);
        EngineRelease(c->refineMax);
        EngineRelease(c->refineMin);
        EngineRelease(c->refineCurve);
    }
    if ((c->options & OPT_SHARPEN) != 0) {
        EngineRelease(c->sharpenCurve);
    }
    if (c->ownsWorkFrame != 0) {
        EngineRelease(c->workFrame);
    }
    c->~ScaleContext();
    EngineRelease(c);
}

// Builds everything after validation. Returns false when an allocation
// failed; the caller then releases what was taken.
bool Construct(ScaleContext& c, uint32_t sharpness, uint32_t refineStrength,
               uint32_t antiAliasAmount) {
    const std::size_t srcW = c.srcWidth;
    const std::size_t srcH = c.srcHeight;
    const std::size_t dstW = c.dstWidth;
    const std::size_t dstH = c.dstHeight;
    const std::size_t bytesPerPixel = c.depthMode == DEPTH_16 ? 8 : 4;

    DeriveControls(c, sharpness, refineStrength, antiAliasAmount);
    c.ownsWorkFrame = 0;

    const bool knownDepth = c.depthMode == DEPTH_8 || c.depthMode == DEPTH_16;
    if (c.outHeight > c.dstHeight || c.outWidth > c.dstWidth) {
        c.ownsWorkFrame = 1;
        const std::size_t workBytes = dstW * dstH * bytesPerPixel;
        c.workFrame = EngineAllocate(workBytes);
        if (c.workFrame == nullptr) {
            return false;
        }
        // Zeroed, so a kernel variant that writes nothing still hands the
        // centring copy defined (opaque black) pixels.
        std::memset(c.workFrame, 0, workBytes);
    }
    if (knownDepth) {
        const KernelChoice choice =
            SelectKernels(c.depthMode, c.kernelVariant, (c.options & OPT_LANCZOS) != 0);
        c.slots = choice.slots;
        if (!Allocate(c.columnWeights, dstW * choice.columnEntryBytes / sizeof(int16_t)) ||
            !Allocate(c.rowWeights, dstH * choice.rowEntryBytes / sizeof(int16_t))) {
            return false;
        }
    }

    if (!Allocate(c.columnSpanEnd, srcW - 1) || !Allocate(c.rowSpanEnd, srcH - 1) ||
        !Allocate(c.columnFrac, dstW) || !Allocate(c.rowFrac, dstH) ||
        !Allocate(c.columnIndex, dstW) || !Allocate(c.rowIndex, dstH)) {
        return false;
    }
    ScratchBuffer<double> columnPositions(srcW);
    ScratchBuffer<double> rowPositions(srcH);
    if (!columnPositions || !rowPositions) {
        return false;
    }
    buildAxisSpans(c.srcWidth, c.dstWidth, columnPositions.get(), c.columnSpanEnd);
    buildAxisSpans(c.srcHeight, c.dstHeight, rowPositions.get(), c.rowSpanEnd);
    buildAxisIndex(c.srcWidth, columnPositions.get(), c.columnFrac, c.columnIndex);
    buildAxisIndex(c.srcHeight, rowPositions.get(), c.rowFrac, c.rowIndex);

    if (knownDepth) {
        const float cubicA = (c.options & OPT_LANCZOS) != 0 ? 0.0f : -0.75f;
        c.slots.buildColumnWeights(c.dstWidth, c.columnFrac, c.columnWeights, cubicA);
        c.slots.buildRowWeights(c.dstHeight, c.rowFrac, c.rowWeights, cubicA);
    }

    if ((c.options & OPT_REFINE) != 0) {
        const std::size_t latticeSize = (srcW + 1) * (srcH + 1);
        if (!Allocate(c.grayMap, srcW * srcH) || !Allocate(c.latticeMin, latticeSize) ||
            !Allocate(c.latticeMax, latticeSize) || !Allocate(c.refineMax, dstW * dstH) ||
            !Allocate(c.refineMin, dstW * dstH) ||
            !Allocate(c.refineCurve, std::size_t{kRefineCurveRows} * kRefineCurveColumns)) {
            return false;
        }
        // Row 0 (a range of 0) is never read; zeroed so that a context's
        // memory does not depend on what the allocator handed out.
        std::memset(c.refineCurve, 0, kRefineCurveColumns * sizeof(int16_t));
        buildRefineCurve(c.refineShape, c.refineCurve);
    }
    if ((c.options & OPT_SHARPEN) != 0) {
        if (!Allocate(c.sharpenCurve, kSharpenCurveSize)) {
            return false;
        }
        buildSharpenCurve(c.sharpenGain, c.sharpenCurve);
    }
    return true;
}

}  // namespace
}  // namespace quillon

extern "C" int32_t CreateScaleContext(uint32_t srcWidth, uint32_t srcHeight, uint32_t dstWidth,
                                      uint32_t dstHeight, uint32_t outWidth, uint32_t outHeight,
                                      uint32_t options, uint32_t depthMode, uint32_t kernelVariant,
                                      uint32_t sharpness, uint32_t refineStrength,
                                      uint32_t antiAliasAmount, ScaleContext** contextOut) {
    using namespace quillon;
    if (contextOut == nullptr ||
        !IsValidRequest(srcWidth, srcHeight, dstWidth, dstHeight, outWidth, outHeight, options,
                        depthMode, kernelVariant, sharpness, refineStrength, antiAliasAmount)) {
        return -1;
    }
    void* block = EngineAllocate(sizeof(ScaleContext));
    if (block == nullptr) {
        return -1;
    }
    // Value-initialised: every pointer the request does not need stays null.
    ScaleContext* c = new (block) ScaleContext{};
    c->srcWidth = srcWidth;
    c->srcHeight = srcHeight;
    c->dstWidth = dstWidth;
    c->dstHeight = dstHeight;
    c->outWidth = outWidth;
    c->outHeight = outHeight;
    c->options = options;
    c->depthMode = depthMode;
    c->kernelVariant = kernelVariant;
    if (!Construct(*c, sharpness, refineStrength, antiAliasAmount)) {
        ReleaseContext(c);
        return -1;
    }
    *contextOut = c;
    return 0;
}

extern "C" void DestroyScaleContext(ScaleContext* context) {
    if (context != nullptr) {
        quillon::ReleaseContext(context);
    }
}
