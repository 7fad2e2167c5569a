// ProcessFrame: the fixed order of passes, then the centring copy.
//
// Order: upscale, anti-aliasing, refinement, sharpening. Sharpening always
// sees the refined image; anti-aliasing never does. At 16 bits the
// refinement path upscales the source a second time before it applies,
// which replaces the anti-aliased frame entirely: so at 16 bits with
// refinement the first upscale and its anti-aliasing are not run at all
// (the bytes are the same).
//
// A frame's memory is one block from the allocation hook, taken here on the
// calling thread before any work fans out. Every pass that allows it runs as
// row bands on the engine's thread pool; anti-aliasing and the lattice run
// whole, on the calling thread.
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "antialias/AntiAlias.h"
#include "core/EngineMemory.h"
#include "core/EngineSettings.h"
#include "engine/Engine.h"
#include "engine/ScaleContext.h"
#include "engine/ThreadPool.h"
#include "kernels/Refinement.h"

namespace quillon {
namespace {

// Runs body(band, rowBegin, rowEnd) over `rows` rows in at most
// context.threads bands.
template <typename Body>
void ForBands(const ScaleContext& c, uint32_t rows, const Body& body) {
    struct State {
        const Body* body;
        uint32_t rows;
        uint32_t bands;
    };
    State state{&body, rows, std::min(c.threads, rows)};
    if (state.bands == 0) {
        return;
    }
    RunTasks(
        state.bands, c.threads,
        [](void* p, uint32_t i) {
            const auto& s = *static_cast<const State*>(p);
            (*s.body)(i, BandStart(s.rows, s.bands, i), BandStart(s.rows, s.bands, i + 1));
        },
        &state);
}

// One frame's buffers inside its block.
class FrameMemory {
public:
    explicit FrameMemory(const FrameLayout& layout)
        : block_(static_cast<unsigned char*>(layout.total != 0 ? EngineAllocate(layout.total)
                                                               : nullptr)),
          ok_(layout.total == 0 || block_ != nullptr) {}
    ~FrameMemory() { EngineRelease(block_); }
    FrameMemory(const FrameMemory&) = delete;
    FrameMemory& operator=(const FrameMemory&) = delete;

    bool ok() const { return ok_; }
    template <typename T = unsigned char>
    T* at(std::size_t offset) const {
        return offset == FrameLayout::none ? nullptr : reinterpret_cast<T*>(block_ + offset);
    }

private:
    unsigned char* block_;
    bool ok_;
};

// The band kernels with rolling rows, when the context has them; every band
// reads the same channel ceiling.
template <typename Sample>
bool UpscaleRolling(const ScaleContext& c, const UpscaleKernels<Sample>& kernels,
                    const Sample* source, Sample* work, const FrameMemory& memory) {
    unsigned char* scratch = memory.at(c.frame.upscaleScratch);
    const int32_t ceiling = sizeof(Sample) == 1 ? MaxValue8() : MaxValue16();
    ForBands(c, c.dstHeight, [&](uint32_t band, uint32_t begin, uint32_t end) {
        kernels.run(c.upscale, source, work, begin, end, scratch + band * c.frame.upscaleBandBytes,
                    ceiling);
    });
    return true;
}

template <typename Sample>
bool Upscale(const ScaleContext& c, const UpscaleKernel<Sample>& kernel, const Sample* source,
             Sample* work, const FrameMemory& memory) {
    if constexpr (sizeof(Sample) == 1) {
        if (c.kernels.rolling8 != nullptr) {
            return UpscaleRolling(c, *c.kernels.rolling8, source, work, memory);
        }
    } else {
        if (c.kernels.rolling16 != nullptr) {
            return UpscaleRolling(c, *c.kernels.rolling16, source, work, memory);
        }
    }
    std::atomic<bool> ok{true};
    unsigned char* scratch = memory.at(c.frame.upscaleScratch);
    ForBands(c, c.dstHeight, [&](uint32_t band, uint32_t begin, uint32_t end) {
        void* mine = scratch != nullptr ? scratch + band * c.frame.upscaleBandBytes : nullptr;
        if (!kernel.run(c, source, work, begin, end, mine)) {
            ok.store(false, std::memory_order_relaxed);
        }
    });
    return ok.load();
}

// Grey map, lattice, both maps resized: everything the apply reads.
template <typename Sample, typename GreyFn>
bool BuildRefineMaps(const ScaleContext& c, GreyFn grey, const Sample* source,
                     const FrameMemory& m) {
    if (!c.map.usable) {
        return false;
    }
    uint8_t* greyMap = m.at<uint8_t>(c.frame.grey);
    const std::size_t srcW = c.srcWidth;
    ForBands(c, c.srcHeight, [&](uint32_t, uint32_t begin, uint32_t end) {
        grey(greyMap + begin * srcW, source + begin * srcW * 4,
             static_cast<int32_t>((end - begin) * srcW));
    });
    uint8_t* latticeMin = m.at<uint8_t>(c.frame.latticeMin);
    uint8_t* latticeMax = m.at<uint8_t>(c.frame.latticeMax);
    buildLattice(greyMap, latticeMin, latticeMax, c.srcWidth, c.srcHeight);
    int16_t* rowsMin = m.at<int16_t>(c.frame.mapRowsMin);
    int16_t* rowsMax = m.at<int16_t>(c.frame.mapRowsMax);
    ForBands(c, c.srcHeight + 1, [&](uint32_t, uint32_t begin, uint32_t end) {
        scaleMapHorizontalRows(c.map, latticeMin, c.srcWidth, rowsMin, c.dstWidth, begin, end);
        scaleMapHorizontalRows(c.map, latticeMax, c.srcWidth, rowsMax, c.dstWidth, begin, end);
    });
    uint8_t* refineMin = m.at<uint8_t>(c.frame.refineMin);
    uint8_t* refineMax = m.at<uint8_t>(c.frame.refineMax);
    ForBands(c, c.dstHeight, [&](uint32_t, uint32_t begin, uint32_t end) {
        c.kernels.mapVertical(c.map, rowsMin, refineMin, c.dstWidth, begin, end);
        c.kernels.mapVertical(c.map, rowsMax, refineMax, c.dstWidth, begin, end);
    });
    return true;
}

template <typename Sample, typename ApplyFn>
void Refine(const ScaleContext& c, ApplyFn apply, Sample* work, const FrameMemory& m) {
    const RefineMaps maps{m.at<uint8_t>(c.frame.refineMin), m.at<uint8_t>(c.frame.refineMax)};
    ForBands(c, c.dstHeight,
             [&](uint32_t, uint32_t begin, uint32_t end) { apply(c, maps, work, begin, end); });
}

template <typename Sample>
void Sharpen(const ScaleContext& c, SharpenPlaneFn<Sample> plane, SharpenApplyFn<Sample> apply,
             Sample* work, const FrameMemory& m) {
    uint8_t* brightness = m.at<uint8_t>(c.frame.sharpenPlane);
    if (brightness == nullptr) {
        return;  // no neighbourhood to write
    }
    ForBands(c, c.dstHeight, [&](uint32_t, uint32_t begin, uint32_t end) {
        plane(c, work, brightness, begin, end);
    });
    unsigned char* scratch = m.at(c.frame.sharpenScratch);
    ForBands(c, SharpenOriginRows(c), [&](uint32_t band, uint32_t begin, uint32_t end) {
        apply(c, brightness, work, begin, end, scratch + band * c.frame.sharpenBandBytes);
    });
}

bool Run8(const ScaleContext& c, const uint8_t* source, uint8_t* work, const FrameMemory& m) {
    const KernelTable& k = c.kernels;
    if (!Upscale(c, k.upscale8, source, work, m)) {
        return false;
    }
    if ((c.options & OPT_ANTIALIAS) != 0 &&
        !antiAlias8(source, work, &c, c.kernels.antiAliasBlend)) {
        return false;
    }
    // KERNEL_NONE does not resize the maps: they stay empty and the apply
    // changes nothing.
    if ((c.options & OPT_REFINE) != 0 && !k.mapsKept) {
        if (!BuildRefineMaps(c, k.grey8, source, m)) {
            return false;
        }
        Refine(c, k.refine8, work, m);
    }
    if ((c.options & OPT_SHARPEN) != 0) {
        Sharpen(c, k.sharpenPlane8, k.sharpenApply8, work, m);
    }
    return true;
}

bool Run16(const ScaleContext& c, const uint16_t* source, uint16_t* work, const FrameMemory& m) {
    const KernelTable& k = c.kernels;
    if ((c.options & OPT_REFINE) != 0) {
        if (!BuildRefineMaps(c, k.grey16, source, m) || !Upscale(c, k.upscale16, source, work, m)) {
            return false;
        }
        Refine(c, k.refine16, work, m);
    } else {
        if (!Upscale(c, k.upscale16, source, work, m)) {
            return false;
        }
        if ((c.options & OPT_ANTIALIAS) != 0 &&
            !antiAlias16(source, work, &c, c.kernels.antiAliasBlend)) {
            return false;
        }
    }
    if ((c.options & OPT_SHARPEN) != 0) {
        Sharpen(c, k.sharpenPlane16, k.sharpenApply16, work, m);
    }
    return true;
}

// Places the enlarged image in the middle of a larger, zero-filled canvas
// (zero is opaque black in the working channel order), a band of canvas
// rows at a time.
void CentreInCanvas(const ScaleContext& c, const uint8_t* work, void* output) {
    const std::size_t px = c.bytesPerPixel();
    const uint32_t top = (c.outHeight - c.dstHeight) / 2;
    const std::size_t left = std::size_t{(c.outWidth - c.dstWidth) / 2} * px;
    const std::size_t outRow = std::size_t{c.outWidth} * px;
    const std::size_t imageRow = std::size_t{c.dstWidth} * px;
    auto* out = static_cast<uint8_t*>(output);
    ForBands(c, c.outHeight, [&](uint32_t, uint32_t begin, uint32_t end) {
        for (uint32_t y = begin; y < end; ++y) {
            uint8_t* row = out + y * outRow;
            if (y < top || y >= top + c.dstHeight) {
                std::memset(row, 0, outRow);
                continue;
            }
            std::memset(row, 0, left);
            std::memcpy(row + left, work + (y - top) * imageRow, imageRow);
            std::memset(row + left + imageRow, 0, outRow - left - imageRow);
        }
    });
}

}  // namespace
}  // namespace quillon

extern "C" int32_t ProcessFrame(const void* source, void* output, ScaleContext* context) {
    using namespace quillon;
    if (source == nullptr || output == nullptr || context == nullptr) {
        return -1;
    }
    const ScaleContext& c = *context;
    FrameMemory memory(c.frame);
    if (!memory.ok()) {
        return -1;
    }
    // The passes write the canvas directly unless it is larger than the image.
    auto* work =
        c.ownsWorkFrame() ? memory.at<uint8_t>(c.frame.workFrame) : static_cast<uint8_t*>(output);
    const bool upscaleWrites =
        (c.depthMode == DEPTH_8 && c.kernelVariant != KERNEL_NONE) || c.depthMode == DEPTH_16;
    if (c.ownsWorkFrame() && !upscaleWrites) {
        // Defined (opaque black) pixels for a variant that writes nothing.
        std::memset(work, 0, std::size_t{c.dstWidth} * c.dstHeight * c.bytesPerPixel());
    }
    bool ok = true;
    if (c.depthMode == DEPTH_8) {
        ok = Run8(c, static_cast<const uint8_t*>(source), work, memory);
    } else if (c.depthMode == DEPTH_16) {
        ok = Run16(c, static_cast<const uint16_t*>(source), reinterpret_cast<uint16_t*>(work),
                   memory);
    }
    if (!ok) {
        return -1;
    }
    if (c.ownsWorkFrame()) {
        CentreInCanvas(c, work, output);
    }
    return 0;
}
