// ProcessFrame: the fixed order of passes, then the centring copy.
//
// Order: upscale, anti-aliasing, refinement, sharpening. Sharpening always
// sees the refined image; anti-aliasing never does. At 16 bits the
// refinement path upscales the source a second time before it applies,
// which replaces the anti-aliased frame entirely: so at 16 bits with
// refinement the first upscale and its anti-aliasing are not run at all
// (the bytes are the same).
//
// A frame's memory comes from the allocation hook, a block a buffer, taken
// here on the calling thread before any work fans out. Every pass that allows it runs as
// row bands on the engine's thread pool; anti-aliasing runs whole, on the
// calling thread.
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <iterator>

#include "antialias/AntiAlias.h"
#include "core/EngineMemory.h"
#include "core/EngineSettings.h"
#include "engine/Engine.h"
#include "engine/ScaleContext.h"
#include "engine/ThreadPool.h"

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

// One frame's buffers, each its own block, taken on the calling thread.
class FrameMemory {
public:
    explicit FrameMemory(const FrameLayout& layout) {
        for (std::size_t i = 0; i < std::size(kBuffers); ++i) {
            const std::size_t bytes = layout.*kBuffers[i];
            if (bytes != 0) {
                blocks_[i] = EngineAllocate(bytes);
                ok_ = ok_ && blocks_[i] != nullptr;
            }
        }
    }
    ~FrameMemory() {
        for (void* block : blocks_) {
            EngineRelease(block);
        }
    }
    FrameMemory(const FrameMemory&) = delete;
    FrameMemory& operator=(const FrameMemory&) = delete;

    bool ok() const { return ok_; }
    // Null for a buffer the frame does not use.
    template <typename T = unsigned char>
    T* at(std::size_t FrameLayout::*buffer) const {
        for (std::size_t i = 0; i < std::size(kBuffers); ++i) {
            if (kBuffers[i] == buffer) {
                return static_cast<T*>(blocks_[i]);
            }
        }
        return nullptr;
    }

private:
    static constexpr std::size_t FrameLayout::*kBuffers[] = {
        &FrameLayout::workFrame,      &FrameLayout::grey,         &FrameLayout::latticeMin,
        &FrameLayout::latticeMax,     &FrameLayout::mapScratch,   &FrameLayout::refineMin,
        &FrameLayout::refineMax,      &FrameLayout::sharpenPlane, &FrameLayout::sharpenScratch,
        &FrameLayout::upscaleScratch,
    };
    void* blocks_[std::size(kBuffers)] = {};
    bool ok_ = true;
};

// The band kernels with rolling rows, when the context has them; every band
// reads the same channel ceiling.
template <typename Sample>
bool UpscaleRolling(const ScaleContext& c, const UpscaleKernels<Sample>& kernels,
                    const Sample* source, Sample* work, const FrameMemory& memory) {
    unsigned char* scratch = memory.at(&FrameLayout::upscaleScratch);
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
    unsigned char* scratch = memory.at(&FrameLayout::upscaleScratch);
    ForBands(c, c.dstHeight, [&](uint32_t band, uint32_t begin, uint32_t end) {
        void* mine = scratch != nullptr ? scratch + band * c.frame.upscaleBandBytes : nullptr;
        if (!kernel.run(c, source, work, begin, end, mine)) {
            ok.store(false, std::memory_order_relaxed);
        }
    });
    return ok.load();
}

// Grey map, lattice, both maps resized: everything the apply reads. Each
// pass needs the whole of the one before (a lattice row reads grey rows
// around it, a map row two lattice rows), so each fans out on its own.
template <typename Sample>
bool BuildRefineMaps(const ScaleContext& c, const Sample* source, const FrameMemory& m) {
    if (!c.map.usable) {
        return false;
    }
    const KernelTable& k = c.kernels;
    const GreyPlan greyPlan{c.srcWidth, c.srcHeight};
    uint8_t* greyMap = m.at<uint8_t>(&FrameLayout::grey);
    ForBands(c, c.srcHeight, [&](uint32_t, uint32_t begin, uint32_t end) {
        if constexpr (sizeof(Sample) == 1) {
            k.grey->from8(greyPlan, source, greyMap, begin, end, nullptr);
        } else {
            k.grey->from16(greyPlan, source, greyMap, begin, end, nullptr);
        }
    });
    uint8_t* latticeMin = m.at<uint8_t>(&FrameLayout::latticeMin);
    uint8_t* latticeMax = m.at<uint8_t>(&FrameLayout::latticeMax);
    ForBands(c, c.srcHeight + 1, [&](uint32_t, uint32_t begin, uint32_t end) {
        k.lattice->build(greyPlan, greyMap, latticeMin, latticeMax, begin, end, nullptr);
    });
    uint8_t* refineMin = m.at<uint8_t>(&FrameLayout::refineMin);
    uint8_t* refineMax = m.at<uint8_t>(&FrameLayout::refineMax);
    unsigned char* scratch = m.at(&FrameLayout::mapScratch);
    ForBands(c, c.dstHeight, [&](uint32_t band, uint32_t begin, uint32_t end) {
        void* mine = scratch + band * c.frame.mapBandBytes;
        k.mapResize->resize(c.refine, latticeMin, refineMin, begin, end, mine);
        k.mapResize->resize(c.refine, latticeMax, refineMax, begin, end, mine);
    });
    return true;
}

void RefineApply(const ScaleContext& c, uint8_t* work, const uint8_t* mins, const uint8_t* maxs,
                 uint32_t begin, uint32_t end) {
    c.kernels.refineApply->apply8(c.refine, mins, maxs, work, static_cast<uint32_t>(MaxValue8()),
                                  begin, end, nullptr);
}
void RefineApply(const ScaleContext& c, uint16_t* work, const uint8_t* mins, const uint8_t* maxs,
                 uint32_t begin, uint32_t end) {
    c.kernels.refineApply->apply16(c.refine, mins, maxs, work, static_cast<uint32_t>(MaxValue16()),
                                   begin, end, nullptr);
}

template <typename Sample>
void Refine(const ScaleContext& c, Sample* work, const FrameMemory& m) {
    const uint8_t* mins = m.at<uint8_t>(&FrameLayout::refineMin);
    const uint8_t* maxs = m.at<uint8_t>(&FrameLayout::refineMax);
    ForBands(c, c.dstHeight, [&](uint32_t, uint32_t begin, uint32_t end) {
        RefineApply(c, work, mins, maxs, begin, end);
    });
}

// Two phases: the brightness plane of the whole frame (the grey conversion at
// the destination size), then the blur and gains, whose bands read plane rows
// beyond their own but write only their own frame rows.
template <typename Sample>
void Sharpen(const ScaleContext& c, Sample* work, const FrameMemory& m) {
    uint8_t* brightness = m.at<uint8_t>(&FrameLayout::sharpenPlane);
    if (brightness == nullptr) {
        return;  // no neighbourhood to write
    }
    const KernelTable& k = c.kernels;
    const GreyPlan greyPlan{c.dstWidth, c.dstHeight};
    ForBands(c, c.dstHeight, [&](uint32_t, uint32_t begin, uint32_t end) {
        if constexpr (sizeof(Sample) == 1) {
            k.grey->from8(greyPlan, work, brightness, begin, end, nullptr);
        } else {
            k.grey->from16(greyPlan, work, brightness, begin, end, nullptr);
        }
    });
    unsigned char* scratch = m.at(&FrameLayout::sharpenScratch);
    ForBands(c, c.dstHeight, [&](uint32_t band, uint32_t begin, uint32_t end) {
        void* mine = scratch + band * c.frame.sharpenBandBytes;
        if constexpr (sizeof(Sample) == 1) {
            k.sharpen->apply8(c.sharpen, brightness, work, static_cast<uint32_t>(MaxValue8()),
                              begin, end, mine);
        } else {
            k.sharpen->apply16(c.sharpen, brightness, work, static_cast<uint32_t>(MaxValue16()),
                               begin, end, mine);
        }
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
        if (!BuildRefineMaps(c, source, m)) {
            return false;
        }
        Refine(c, work, m);
    }
    if ((c.options & OPT_SHARPEN) != 0) {
        Sharpen(c, work, m);
    }
    return true;
}

bool Run16(const ScaleContext& c, const uint16_t* source, uint16_t* work, const FrameMemory& m) {
    const KernelTable& k = c.kernels;
    if ((c.options & OPT_REFINE) != 0) {
        if (!BuildRefineMaps(c, source, m) || !Upscale(c, k.upscale16, source, work, m)) {
            return false;
        }
        Refine(c, work, m);
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
        Sharpen(c, work, m);
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
    auto* work = c.ownsWorkFrame() ? memory.at<uint8_t>(&FrameLayout::workFrame)
                                   : static_cast<uint8_t*>(output);
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
