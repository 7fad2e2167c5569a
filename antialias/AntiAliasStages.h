// The stages of the anti-aliasing pass, exposed for the pass driver and for
// tests (engine-internal).
//
// Detection works on an 8-bit grey image of W x H source pixels and two edge
// maps of the same size. A pixel index is y * W + x as a signed 32-bit value.
// Detection is shared by both depths; only the grey source and the spot
// load/blend differ between 8 and 16 bits.
#ifndef QUILLON_ANTIALIAS_ANTIALIASSTAGES_H
#define QUILLON_ANTIALIAS_ANTIALIASSTAGES_H

#include <cstddef>
#include <cstdint>

#include "antialias/SpotKernels.h"
#include "antialias/WorkArray.h"
#include "core/FramePlan.h"

namespace quillon::aa {

// Edge codes of both maps.
inline constexpr uint8_t kNoEdge = 0;
inline constexpr uint8_t kBrighter = 1;  // the next pixel (below / right) is brighter
inline constexpr uint8_t kDarker = 2;    // the next pixel is darker

inline constexpr int kEdgeThreshold = 20;     // a step must exceed this
inline constexpr int kSegmentGreyLimit = 40;  // a segment whose ends differ more is dropped

// Grey image: grey = ((c0 + c1 + c2) * 21844 + 32768) >> 16. The 16-bit form uses
// the high byte of each channel only.
void makeGrey8(const uint8_t* frame, uint8_t* grey, std::size_t pixelCount);
void makeGrey16(const uint16_t* frame, uint8_t* grey, std::size_t pixelCount);

// Edge classification: clears both maps, then codes every step between
// neighbours that differ by more than the threshold. The last row and column
// stay 0.
void classifyEdges(const uint8_t* grey, uint8_t* rowEdges, uint8_t* columnEdges, int32_t width,
                   int32_t height);

// Removal of isolated cells: a run of exactly one edge cell along a line is
// cleared.
void dropIsolatedInRows(uint8_t* rowEdges, int32_t width, int32_t height);
void dropIsolatedInColumns(uint8_t* columnEdges, int32_t width, int32_t height);

// Run trimming and pruning: runs of equal codes along a line are cut back or
// cleared by their lengths and the runs on the lines beside them. Maps of 5
// rows or columns or fewer pass unchanged.
void trimRunsInRows(uint8_t* rowEdges, int32_t width, int32_t height);
void trimRunsInColumns(uint8_t* columnEdges, int32_t width, int32_t height);
void pruneRunsInRows(uint8_t* rowEdges, int32_t width, int32_t height);
void pruneRunsInColumns(uint8_t* columnEdges, int32_t width, int32_t height);

// Segments as (from, to) pixel-index pairs, two entries a segment.
using IndexList = WorkArray<int32_t>;

// Segment extraction: cuts each staircase into straight segments from the
// middle of one stair to the middle of the next. Appends to `segments`
// (which the caller has emptied or reserved). Return false when work memory
// could not be allocated.
bool extractRowSegments(const uint8_t* rowEdges, const uint8_t* grey, int32_t width, int32_t height,
                        IndexList& segments);
bool extractColumnSegments(const uint8_t* columnEdges, const uint8_t* grey, int32_t width,
                           int32_t height, IndexList& segments);

// Chains: `points` holds the segments regrouped chain after chain as (from, to)
// pairs; chain k occupies offsets ends[k - 1] (0 for k = 0) up to ends[k].
struct ChainSet {
    WorkArray<int32_t> points;
    WorkArray<int32_t> ends;
    int32_t count = 0;
};

// Chain linking: regroups the segments into chains of adjacent segments
// going the same way. The segment list is only read: consumption is tracked
// beside it. Return false when work memory could not be allocated.
bool linkRowChains(const int32_t* segments, std::size_t entryCount, int32_t width,
                   ChainSet& chains);
bool linkColumnChains(const int32_t* segments, std::size_t entryCount, int32_t width,
                      ChainSet& chains);

// Everything detection produces for one source frame.
struct Detection {
    WorkArray<uint8_t> rowEdges;
    WorkArray<uint8_t> columnEdges;
    IndexList rowSegments;
    IndexList columnSegments;
    ChainSet rowChains;
    ChainSet columnChains;
};

// Classification, cleaning, segment extraction and chain linking on a grey
// image. Returns false when work memory could not be allocated.
bool detectChains(const uint8_t* grey, int32_t width, int32_t height, Detection& detection);

// The smoothing window. `valid` is false when the sizes give no usable
// window (for example a zero or non-finite size).
struct SpotGeometry {
    bool valid = false;
    std::size_t doubles = 0;  // N = 3 * n * n
    int32_t n = 0;            // layout side
    int32_t r = 0;            // spot radius; the spot is (2r + 1) pixels square
};
SpotGeometry spotGeometry(uint32_t sourceHeight, uint32_t destinationHeight, float spread);

// Gaussian spot weights over the n x n layout, the same for three channels.
void buildSpotWeights(double* weights, std::size_t doubles);

// Packs the blend's part of a spot layout (n x n cells of three doubles):
// its top-left side x side cells, rows packed, kCellDoubles doubles a cell
// (the spare one 0).
void packSpotLayout(const double* layout, int32_t n, int32_t side, double* packed);

// One traced destination frame with its running window. The weights and the
// window are packed layouts (see packSpotLayout) of side n = 2r + 1.
struct SpotFrame {
    void* frame = nullptr;  // 4 channels a pixel, 8 or 16 bits a channel
    int32_t width = 0;
    int32_t height = 0;
    const double* weights = nullptr;
    double* window = nullptr;
    int32_t n = 0;
    int32_t r = 0;
    double follow = 0.0;  // aaFollow
    double mix = 0.0;     // aaMix
    int32_t maxValue = 0;
    const BlendKernels* kernels = &kBlendScalar;  // the blend arithmetic of spot rows
};

// The denominator base of the window update: the double just above 1.95.
double followDenominatorBase();

void loadSpotWindow8(const SpotFrame& spot, int32_t x, int32_t y);
void blendSpot8(const SpotFrame& spot, int32_t x, int32_t y, bool* firstFlag);
void loadSpotWindow16(const SpotFrame& spot, int32_t x, int32_t y);
void blendSpot16(const SpotFrame& spot, int32_t x, int32_t y, bool* firstFlag);

using BlendSpotFn = void (*)(const SpotFrame& spot, int32_t x, int32_t y, bool* firstFlag);

// Chain tracing: walks every chain across the destination and blends a spot
// at the pixel nearest to the line. Chain 0 is never traced; fewer than two
// chains trace nothing.
void traceRowChains(const FramePlan* context, const ChainSet& chains, const SpotFrame& spot,
                    BlendSpotFn blend);
void traceColumnChains(const FramePlan* context, const ChainSet& chains, const SpotFrame& spot,
                       BlendSpotFn blend);

}  // namespace quillon::aa

#endif  // QUILLON_ANTIALIAS_ANTIALIASSTAGES_H
