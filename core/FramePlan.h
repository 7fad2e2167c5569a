// The immutable plan of one context: sizes, options, the values derived from
// the sliders, and the tables every pass reads. Built once when a context is
// created; kernels and anti-aliasing only read it, so any number of frames
// may run on one plan at the same time.
#ifndef QUILLON_CORE_FRAMEPLAN_H
#define QUILLON_CORE_FRAMEPLAN_H

#include <cstdint>

#include "core/UpscalePlan.h"

namespace quillon {

// Resizing the refinement lattice maps to the destination size: for each
// destination column the lattice column and its 1/64 weight toward the next
// one, for each destination row the lattice row and its weight.
struct MapPlan {
    const uint32_t* columns = nullptr;        // dstWidth
    const uint16_t* columnWeights = nullptr;  // dstWidth, 0..64
    const uint32_t* rows = nullptr;           // dstHeight
    const uint16_t* rowWeights = nullptr;     // dstHeight, 0..64
    // False when a position table would read outside the lattice (only for
    // sizes at the edge of the range); a frame that refines then fails.
    bool usable = false;
};

struct FramePlan {
    uint32_t srcWidth = 0;
    uint32_t srcHeight = 0;
    uint32_t dstWidth = 0;
    uint32_t dstHeight = 0;
    uint32_t outWidth = 0;
    uint32_t outHeight = 0;
    uint32_t options = 0;
    uint32_t depthMode = 0;
    uint32_t kernelVariant = 0;
    float refineShape = 0.0f;
    float sharpenGain = 0.0f;
    float aaFollow = 0.0f;
    float aaMix = 0.0f;
    float aaSpread = 0.0f;
    const uint16_t* columnSpanEnd = nullptr;  // srcWidth - 1 entries
    const uint16_t* rowSpanEnd = nullptr;     // srcHeight - 1 entries
    const int16_t* columnWeights = nullptr;   // dstWidth entries of the column layout
    const int16_t* rowWeights = nullptr;      // dstHeight entries of the row layout
    const uint32_t* columnIndex = nullptr;    // dstWidth
    const uint32_t* rowIndex = nullptr;       // dstHeight
    const double* columnFrac = nullptr;       // dstWidth
    const double* rowFrac = nullptr;          // dstHeight
    const int16_t* refineCurve = nullptr;     // 256 x 511 (OPT_REFINE)
    const uint16_t* sharpenCurve = nullptr;   // 256 x 256 (OPT_SHARPEN)
    MapPlan map;                              // OPT_REFINE
    // What the band upscale kernels with rolling rows read (their weights are
    // the plain layout above).
    UpscalePlan upscale;
};

// The two refinement maps of one frame (dstWidth x dstHeight each).
struct RefineMaps {
    const uint8_t* min = nullptr;
    const uint8_t* max = nullptr;
};

}  // namespace quillon

#endif  // QUILLON_CORE_FRAMEPLAN_H
