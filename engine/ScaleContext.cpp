// CreateScaleContext and DestroyScaleContext: validation, the plan, the
// kernels and the frame layout. A context takes its own block (and its
// kernel's prepared layout, if any) from the hook; its tables come from the
// process-wide cache.
#include "engine/ScaleContext.h"

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <new>

#include <algorithm>

#include "core/EngineMemory.h"
#include "core/PortableMath.h"
#include "engine/Dispatch.h"
#include "engine/Engine.h"
#include "engine/ExecutionSettings.h"
#include "engine/TableCache.h"

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

// Lays out one frame's block. False when the block could never be asked for
// through the hook's 32-bit size.
bool PlanFrameMemory(ScaleContext& c) {
    FrameLayout& f = c.frame;
    const std::size_t srcW = c.srcWidth;
    const std::size_t srcH = c.srcHeight;
    const std::size_t dstW = c.dstWidth;
    const std::size_t dstH = c.dstHeight;
    std::size_t largest = 0;
    auto take = [&largest](std::size_t bytes) {
        largest = std::max(largest, bytes);
        return bytes;
    };
    const bool knownDepth = c.depthMode == DEPTH_8 || c.depthMode == DEPTH_16;
    if (c.ownsWorkFrame()) {
        f.workFrame = take(dstW * dstH * c.bytesPerPixel());
    }
    const uint32_t upscaleBands = std::min(c.threads, c.dstHeight);
    if (c.kernels.rolling8 != nullptr || c.kernels.rolling16 != nullptr) {
        // Every band's ring is the same size.
        f.upscaleBandBytes =
            c.kernels.rolling8 != nullptr
                ? c.kernels.rolling8->scratchBytes(c.upscale, c.dstHeight / upscaleBands + 1)
                : c.kernels.rolling16->scratchBytes(c.upscale, c.dstHeight / upscaleBands + 1);
        f.upscaleBandBytes = (f.upscaleBandBytes + 15) & ~std::size_t{15};
        f.upscaleScratch = take(f.upscaleBandBytes * upscaleBands);
    } else if (knownDepth && c.kernels.upscale8.scratchBytes != nullptr) {
        // The largest band's scratch, once per band.
        const uint32_t bands = std::min(c.threads, c.dstHeight);
        for (uint32_t i = 0; i < bands; ++i) {
            f.upscaleBandBytes =
                std::max(f.upscaleBandBytes,
                         c.kernels.upscale8.scratchBytes(c, BandStart(c.dstHeight, bands, i),
                                                         BandStart(c.dstHeight, bands, i + 1)));
        }
        if (f.upscaleBandBytes != 0) {
            f.upscaleScratch = take(f.upscaleBandBytes * bands);
        }
    }
    if (knownDepth && (c.options & OPT_REFINE) != 0 && !c.kernels.mapsKept) {
        const std::size_t lattice = (srcW + 1) * (srcH + 1);
        f.grey = take(srcW * srcH);
        f.latticeMin = take(lattice);
        f.latticeMax = take(lattice);
        f.mapBandBytes = (MapResizeScratchBytes(c.refine, dstH) + 15) & ~std::size_t{15};
        f.mapScratch = take(f.mapBandBytes * std::min(c.threads, c.dstHeight));
        f.refineMin = take(dstW * dstH);
        f.refineMax = take(dstW * dstH);
    }
    // Frames of five rows or columns or fewer have no neighbourhood to sharpen.
    if (knownDepth && (c.options & OPT_SHARPEN) != 0 && dstW >= 6 && dstH >= 6) {
        f.sharpenPlane = take(dstW * dstH);
        f.sharpenBandBytes = (SharpenScratchBytes(c.sharpen, c.dstHeight) + 15) & ~std::size_t{15};
        f.sharpenScratch = take(f.sharpenBandBytes * std::min(c.threads, c.dstHeight));
    }
    // Each buffer must fit the hook's 32-bit size argument.
    return largest <= UINT32_MAX;
}

// The rolling upscale kernels' plan and the column layout their level
// prepares. False when that layout's memory cannot be had.
bool PlanRollingUpscale(ScaleContext& c) {
    if (c.kernels.rolling8 == nullptr && c.kernels.rolling16 == nullptr) {
        return true;
    }
    UpscalePlan& u = c.upscale;
    u.srcWidth = c.srcWidth;
    u.srcHeight = c.srcHeight;
    u.dstWidth = c.dstWidth;
    u.dstHeight = c.dstHeight;
    u.taps = (c.options & OPT_LANCZOS) != 0 ? 8 : 4;
    const WeightLayout plain = u.taps == 8 ? WeightLayout::Lanczos : WeightLayout::Cubic;
    c.plainColumnTables = AcquireAxisTables(c.srcWidth, c.dstWidth, plain, Axis::Columns);
    c.plainRowTables = AcquireAxisTables(c.srcHeight, c.dstHeight, plain, Axis::Rows);
    if (!c.plainColumnTables || !c.plainRowTables) {
        return false;
    }
    u.columnInterval = c.plainColumnTables->interval;
    u.rowInterval = c.plainRowTables->interval;
    u.columnWeights = c.plainColumnTables->weights;
    u.rowWeights = c.plainRowTables->weights;
    const std::size_t bytes = c.kernels.rolling8 != nullptr ? c.kernels.rolling8->preparedBytes(u)
                                                            : c.kernels.rolling16->preparedBytes(u);
    if (bytes == 0) {
        return true;
    }
    c.upscalePrepared = EngineAllocate(bytes);
    if (c.upscalePrepared == nullptr) {
        return false;
    }
    if (c.kernels.rolling8 != nullptr) {
        c.kernels.rolling8->prepare(u, c.upscalePrepared);
    } else {
        c.kernels.rolling16->prepare(u, c.upscalePrepared);
    }
    u.prepared = c.upscalePrepared;
    return true;
}

// Settles kernels and tables. False when a table cannot be had or a frame
// could never get its memory.
bool Construct(ScaleContext& c, uint32_t sharpness, uint32_t refineStrength,
               uint32_t antiAliasAmount) {
    DeriveControls(c, sharpness, refineStrength, antiAliasAmount);
    c.level = ActiveCpuLevel();
    c.threads = ActiveThreadCount();
    c.kernels =
        ChooseKernels(c.depthMode, c.kernelVariant, (c.options & OPT_LANCZOS) != 0, c.level);

    c.columnTables =
        AcquireAxisTables(c.srcWidth, c.dstWidth, c.kernels.columnLayout, Axis::Columns);
    c.rowTables = AcquireAxisTables(c.srcHeight, c.dstHeight, c.kernels.rowLayout, Axis::Rows);
    if (!c.columnTables || !c.rowTables) {
        return false;
    }
    c.columnSpanEnd = c.columnTables->spanEnd;
    c.rowSpanEnd = c.rowTables->spanEnd;
    c.columnWeights = c.columnTables->weights;
    c.rowWeights = c.rowTables->weights;
    c.columnIndex = c.columnTables->index;
    c.rowIndex = c.rowTables->index;
    c.columnFrac = c.columnTables->fraction;
    c.rowFrac = c.rowTables->fraction;
    if (!PlanRollingUpscale(c)) {
        return false;
    }

    if ((c.options & OPT_REFINE) != 0) {
        c.refineCurveTable = AcquireRefineCurve(c.refineShape);
        if (!c.refineCurveTable) {
            return false;
        }
        c.refineCurve = c.refineCurveTable.get();
        c.map.columns = c.columnTables->mapLattice;
        c.map.columnWeights = c.columnTables->mapWeight;
        c.map.rows = c.rowTables->mapLattice;
        c.map.rowWeights = c.rowTables->mapWeight;
        c.map.usable = c.columnTables->mapUsable && c.rowTables->mapUsable;
        c.refine = RefinePlan{c.srcWidth,  c.srcHeight,      c.dstWidth,
                              c.dstHeight, c.map.columns,    c.map.columnWeights,
                              c.map.rows,  c.map.rowWeights, c.refineCurve};
    }
    if ((c.options & OPT_SHARPEN) != 0) {
        c.sharpenCurveTable = AcquireSharpenCurve(c.sharpenGain);
        if (!c.sharpenCurveTable) {
            return false;
        }
        c.sharpenCurve = c.sharpenCurveTable.get();
        c.sharpen =
            SharpenPlan{c.dstWidth, c.dstHeight, c.sharpenCurve, HasUnitGainBand(c.sharpenCurve)};
    }
    return PlanFrameMemory(c);
}

void ReleaseContext(ScaleContext* c) {
    EngineRelease(c->upscalePrepared);
    c->~ScaleContext();
    EngineRelease(c);
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
    // The cache's shared pointers may throw when memory runs out; nothing
    // may leave the C boundary, so that ends as a refused request.
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
    bool built = false;
    try {
        built = Construct(*c, sharpness, refineStrength, antiAliasAmount);
    } catch (...) {
        built = false;
    }
    if (!built) {
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
