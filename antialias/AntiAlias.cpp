// The anti-aliasing pass: staircase detection on the source frame, then
// smoothing of the enlarged frame along the detected chains, in place.
//
// Detection (edge classification, cleaning, segment extraction and chain
// linking) is one implementation for both depths, fed by an 8-bit grey
// image; only the grey source and the spot load/blend differ. All work
// memory is taken before the destination is touched, so a failed allocation
// leaves the destination exactly as the upscale wrote it.
#include "antialias/AntiAlias.h"

#include "antialias/AntiAliasStages.h"
#include "core/EngineSettings.h"

namespace quillon {

namespace aa {

bool detectChains(const uint8_t* grey, int32_t width, int32_t height, Detection& detection) {
    const std::size_t count = static_cast<std::size_t>(width) * static_cast<std::size_t>(height);
    if (!detection.rowEdges.resize(count) || !detection.columnEdges.resize(count)) {
        return false;
    }
    uint8_t* rowEdges = detection.rowEdges.data();
    uint8_t* columnEdges = detection.columnEdges.data();
    classifyEdges(grey, rowEdges, columnEdges, width, height);
    dropIsolatedInRows(rowEdges, width, height);
    dropIsolatedInColumns(columnEdges, width, height);
    trimRunsInRows(rowEdges, width, height);
    trimRunsInColumns(columnEdges, width, height);
    pruneRunsInRows(rowEdges, width, height);
    pruneRunsInColumns(columnEdges, width, height);

    // Start with room for a quarter entry a pixel; the lists grow if needed.
    const std::size_t initial = count / 4;
    if (!detection.rowSegments.reserveExact(initial) ||
        !detection.columnSegments.reserveExact(initial) ||
        !extractRowSegments(rowEdges, grey, width, height, detection.rowSegments) ||
        !extractColumnSegments(columnEdges, grey, width, height, detection.columnSegments)) {
        return false;
    }
    return linkRowChains(detection.rowSegments.data(), detection.rowSegments.size(), width,
                         detection.rowChains) &&
           linkColumnChains(detection.columnSegments.data(), detection.columnSegments.size(), width,
                            detection.columnChains);
}

}  // namespace aa

namespace {

using GreyFn = void (*)(const void* frame, uint8_t* grey, std::size_t pixelCount);

void grey8(const void* frame, uint8_t* grey, std::size_t pixelCount) {
    aa::makeGrey8(static_cast<const uint8_t*>(frame), grey, pixelCount);
}

void grey16(const void* frame, uint8_t* grey, std::size_t pixelCount) {
    aa::makeGrey16(static_cast<const uint16_t*>(frame), grey, pixelCount);
}

// Contexts this pass can work on: tables present, and pixel indices (with
// one row of slack for the linking's neighbour probes) inside 32 bits.
bool usableContext(const FramePlan* context) {
    if (context->columnSpanEnd == nullptr || context->rowSpanEnd == nullptr ||
        context->columnFrac == nullptr || context->rowFrac == nullptr) {
        return false;
    }
    const int64_t pixels = int64_t{context->srcWidth} * context->srcHeight;
    return context->srcWidth <= 65536 && context->srcHeight <= 65536 &&
           context->dstWidth <= 65536 && context->dstHeight <= 65536 &&
           pixels + context->srcWidth <= INT32_MAX;
}

bool runPass(const void* source, void* destination, const FramePlan* context, GreyFn makeGrey,
             aa::BlendSpotFn blend, int32_t maxValue, const aa::BlendKernels* kernels) {
    if (source == nullptr || destination == nullptr || context == nullptr) {
        return false;
    }
    const int32_t width = static_cast<int32_t>(context->srcWidth);
    const int32_t height = static_cast<int32_t>(context->srcHeight);
    if (context->srcWidth < 2 || context->srcHeight < 2) {
        return true;  // no neighbouring pixels, so no edges
    }
    if (!usableContext(context)) {
        return false;
    }

    const std::size_t count = static_cast<std::size_t>(width) * static_cast<std::size_t>(height);
    aa::WorkArray<uint8_t> grey;
    if (!grey.resize(count)) {
        return false;
    }
    makeGrey(source, grey.data(), count);
    aa::Detection detection;
    if (!aa::detectChains(grey.data(), width, height, detection)) {
        return false;
    }
    if (detection.rowChains.count < 2 && detection.columnChains.count < 2) {
        return true;  // chain 0 is never traced: nothing to smooth
    }

    // One weight layout and one running window serve both tracing walks: the
    // window is reloaded at the first spot of every chain.
    const aa::SpotGeometry geometry =
        aa::spotGeometry(context->srcHeight, context->dstHeight, context->aaSpread);
    if (!geometry.valid) {
        return false;
    }
    // The blend only reads the layout's top-left (2r + 1) x (2r + 1) pixels;
    // they are packed, rows after rows, with a spare lane a pixel so that a
    // cell matches a pixel's four channels.
    const int32_t side = 2 * geometry.r + 1;
    const std::size_t packed =
        aa::kCellDoubles * static_cast<std::size_t>(side) * static_cast<std::size_t>(side);
    aa::WorkArray<double> layout;
    aa::WorkArray<double> weights;
    aa::WorkArray<double> window;
    if (side > geometry.n || !layout.resize(geometry.doubles) || !weights.resize(packed) ||
        !window.resize(packed)) {
        return false;
    }
    aa::buildSpotWeights(layout.data(), geometry.doubles);
    aa::packSpotLayout(layout.data(), geometry.n, side, weights.data());
    window.fill(0.0);

    aa::SpotFrame spot;
    spot.frame = destination;
    spot.width = static_cast<int32_t>(context->dstWidth);
    spot.height = static_cast<int32_t>(context->dstHeight);
    spot.weights = weights.data();
    spot.window = window.data();
    spot.n = side;
    spot.r = geometry.r;
    spot.follow = static_cast<double>(context->aaFollow);
    spot.mix = static_cast<double>(context->aaMix);
    spot.maxValue = maxValue;
    spot.kernels = kernels != nullptr ? kernels : &aa::kBlendScalar;
    aa::traceRowChains(context, detection.rowChains, spot, blend);
    aa::traceColumnChains(context, detection.columnChains, spot, blend);
    return true;
}

}  // namespace

bool antiAlias8(const uint8_t* source, uint8_t* destination, const FramePlan* context,
                const aa::BlendKernels* kernels) {
    return runPass(source, destination, context, grey8, aa::blendSpot8, MaxValue8(), kernels);
}

bool antiAlias16(const uint16_t* source, uint16_t* destination, const FramePlan* context,
                 const aa::BlendKernels* kernels) {
    return runPass(source, destination, context, grey16, aa::blendSpot16, MaxValue16(), kernels);
}

}  // namespace quillon
