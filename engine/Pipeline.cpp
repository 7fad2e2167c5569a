// ProcessFrame: the fixed order of passes, then the centring copy.
//
// Order: upscale, anti-aliasing, refinement, sharpening. Sharpening always
// sees the refined image; anti-aliasing never does. At 16 bits the refinement
// path upscales the source a second time before it applies, which replaces
// the anti-aliased frame; that sequence is intended.
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "antialias/AntiAlias.h"
#include "engine/Engine.h"
#include "engine/Refinement.h"
#include "engine/ScaleContext.h"
#include "kernels/Sharpen.h"

namespace quillon {
namespace {

bool ResizeRefineMaps(const ScaleContext& c) {
    const KernelSlots& k = c.slots;
    return k.scaleMap(c.latticeMin, c.refineMin, c.rowIndex, c.columnIndex, c.columnFrac, c.rowFrac,
                      c.srcWidth, c.srcHeight, c.dstWidth, c.dstHeight) &&
           k.scaleMap(c.latticeMax, c.refineMax, c.rowIndex, c.columnIndex, c.columnFrac, c.rowFrac,
                      c.srcWidth, c.srcHeight, c.dstWidth, c.dstHeight);
}

bool Run8(const uint8_t* source, ScaleContext& c) {
    auto* work = static_cast<uint8_t*>(c.workFrame);
    if (!c.slots.upscale8(source, work, &c)) {
        return false;
    }
    if ((c.options & OPT_ANTIALIAS) != 0 && !antiAlias8(source, work, &c)) {
        return false;
    }
    if ((c.options & OPT_REFINE) != 0) {
        c.slots.grayFrom8(c.grayMap, source, static_cast<int32_t>(c.srcWidth * c.srcHeight));
        buildLattice(c.grayMap, c.latticeMin, c.latticeMax, c.srcWidth, c.srcHeight);
        if (!ResizeRefineMaps(c)) {
            return false;
        }
        refineApply8(work, &c);
    }
    if ((c.options & OPT_SHARPEN) != 0 && !c.slots.sharpen8(work, &c)) {
        return false;
    }
    return true;
}

bool Run16(const uint16_t* source, ScaleContext& c) {
    auto* work = static_cast<uint16_t*>(c.workFrame);
    if (!c.slots.upscale16(source, work, &c)) {
        return false;
    }
    if ((c.options & OPT_ANTIALIAS) != 0 && !antiAlias16(source, work, &c)) {
        return false;
    }
    if ((c.options & OPT_REFINE) != 0) {
        grayFrom16(c.grayMap, source, static_cast<int32_t>(c.srcWidth * c.srcHeight));
        buildLattice(c.grayMap, c.latticeMin, c.latticeMax, c.srcWidth, c.srcHeight);
        if (!ResizeRefineMaps(c)) {
            return false;
        }
        if (!c.slots.upscale16(source, work, &c)) {
            return false;
        }
        refineApply16(work, &c);
    }
    if ((c.options & OPT_SHARPEN) != 0 && !sharpen16(work, &c)) {
        return false;
    }
    return true;
}

// Places the enlarged image in the middle of a larger, zero-filled canvas
// (zero is opaque black in the working channel order).
void CentreInCanvas(const ScaleContext& c, void* output) {
    const std::size_t bytesPerPixel = c.depthMode == DEPTH_16 ? 8 : 4;
    const uint32_t offset =
        (c.outHeight - c.dstHeight) / 2 * c.outWidth + (c.outWidth - c.dstWidth) / 2;
    auto* out = static_cast<uint8_t*>(output);
    const auto* work = static_cast<const uint8_t*>(c.workFrame);
    std::memset(out, 0, std::size_t{c.outWidth} * c.outHeight * bytesPerPixel);
    const std::size_t rowBytes = std::size_t{c.dstWidth} * bytesPerPixel;
    out += std::size_t{offset} * bytesPerPixel;
    for (uint32_t y = 0; y < c.dstHeight; ++y) {
        std::memcpy(out, work, rowBytes);
        out += std::size_t{c.outWidth} * bytesPerPixel;
        work += rowBytes;
    }
}

}  // namespace
}  // namespace quillon

extern "C" int32_t ProcessFrame(const void* source, void* output, ScaleContext* context) {
    using namespace quillon;
    if (source == nullptr || output == nullptr || context == nullptr) {
        return -1;
    }
    ScaleContext& c = *context;
    if (c.ownsWorkFrame == 0) {
        c.workFrame = output;
    }
    bool ok = true;
    if (c.depthMode == DEPTH_8) {
        ok = Run8(static_cast<const uint8_t*>(source), c);
    } else if (c.depthMode == DEPTH_16) {
        ok = Run16(static_cast<const uint16_t*>(source), c);
    }
    if (!ok) {
        return -1;
    }
    if (c.ownsWorkFrame != 0) {
        CentreInCanvas(c, output);
    }
    return 0;
}
