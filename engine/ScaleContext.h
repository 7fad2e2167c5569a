// The engine context (engine-internal): the immutable plan, the kernels
// chosen for it, and the layout of the memory one frame takes. Nothing in it
// changes after creation, so frames may run on one context from several
// threads at once.
#ifndef QUILLON_ENGINE_SCALECONTEXT_H
#define QUILLON_ENGINE_SCALECONTEXT_H

#include <cstddef>
#include <cstdint>
#include <memory>

#include "core/CpuLevel.h"
#include "core/FramePlan.h"
#include "core/RefinePlan.h"
#include "core/SharpenPlan.h"
#include "engine/Dispatch.h"
#include "engine/Engine.h"
#include "engine/TableCache.h"

namespace quillon {

// The buffers one frame takes, by size in bytes (0: the frame does not use
// it). Each is its own block from the allocation hook, all taken on the
// calling thread before any work fans out. Separate blocks rather than one
// keep each under the size a general-purpose allocator hands back for reuse,
// so the next frame gets warm memory instead of fresh pages.
struct FrameLayout {
    std::size_t workFrame = 0;   // dstWidth x dstHeight pixels, when the canvas is larger
    std::size_t grey = 0;        // srcWidth x srcHeight
    std::size_t latticeMin = 0;  // (srcWidth + 1) x (srcHeight + 1)
    std::size_t latticeMax = 0;
    std::size_t mapScratch = 0;  // one block of mapBandBytes per band
    std::size_t mapBandBytes = 0;
    std::size_t refineMin = 0;  // dstWidth x dstHeight
    std::size_t refineMax = 0;
    std::size_t sharpenPlane = 0;    // dstWidth x dstHeight brightness
    std::size_t sharpenScratch = 0;  // one block of sharpenBandBytes per band
    std::size_t sharpenBandBytes = 0;
    std::size_t upscaleScratch = 0;  // one block of upscaleBandBytes per band
    std::size_t upscaleBandBytes = 0;
};

}  // namespace quillon

struct ScaleContext : quillon::FramePlan {
    quillon::KernelTable kernels;
    quillon::CpuLevel level = quillon::CpuLevel::Scalar;
    uint32_t threads = 1;  // bands per pass, at most
    quillon::FrameLayout frame;
    // What the refinement and sharpen kernels read, pointing into the tables
    // below (OPT_REFINE, OPT_SHARPEN).
    quillon::RefinePlan refine;
    quillon::SharpenPlan sharpen;
    // Cached tables the plan points into, kept alive for the context's life.
    std::shared_ptr<const quillon::AxisTables> columnTables;
    std::shared_ptr<const quillon::AxisTables> rowTables;
    std::shared_ptr<const int16_t> refineCurveTable;
    std::shared_ptr<const uint16_t> sharpenCurveTable;
    // The rolling upscale kernels' plain weights (the tables above hold the
    // replicated layouts when the whole-frame two-pass kernels read them),
    // and the column layout the chosen level prepared (from the engine's
    // hook; released with the context).
    std::shared_ptr<const quillon::AxisTables> plainColumnTables;
    std::shared_ptr<const quillon::AxisTables> plainRowTables;
    void* upscalePrepared = nullptr;

    bool ownsWorkFrame() const { return outHeight > dstHeight || outWidth > dstWidth; }
    std::size_t bytesPerPixel() const { return depthMode == DEPTH_16 ? 8 : 4; }
};

namespace quillon {

// Band i of `bands` over `rows` rows: [BandStart(i), BandStart(i + 1)).
inline uint32_t BandStart(uint32_t rows, uint32_t bands, uint32_t i) {
    return static_cast<uint32_t>(uint64_t{rows} * i / bands);
}

}  // namespace quillon

#endif  // QUILLON_ENGINE_SCALECONTEXT_H
