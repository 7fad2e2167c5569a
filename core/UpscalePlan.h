// What the upscale kernels need to know about one enlargement: the sizes,
// the filter's length, which source interval every destination column and
// row falls in, and the Q13 weights of every destination column and row.
#ifndef QUILLON_CORE_UPSCALEPLAN_H
#define QUILLON_CORE_UPSCALEPLAN_H

#include <cstdint>

namespace quillon {

struct UpscalePlan {
    uint32_t srcWidth = 0;
    uint32_t srcHeight = 0;
    uint32_t dstWidth = 0;
    uint32_t dstHeight = 0;
    uint32_t taps = 4;  // 4 (cubic) or 8 (Lanczos)
    // Source interval of each destination column (dstWidth entries) and row
    // (dstHeight entries), 0..src - 2. The filter's first tap reads source
    // sample interval - (taps / 2 - 1); samples off the frame repeat the
    // border sample.
    const uint32_t* columnInterval = nullptr;
    const uint32_t* rowInterval = nullptr;
    // taps Q13 weights per destination column / row, in tap order.
    const int16_t* columnWeights = nullptr;
    const int16_t* rowWeights = nullptr;
    // The column layout the chosen kernel level built from the weights above
    // (its prepare function); null for a level that needs none.
    const void* prepared = nullptr;
};

// End of the destination span of source interval `interval` on one axis with
// `intervalCount` intervals and `destCount` destination samples; the span
// starts where the previous one ended (`begin`). The last interval always
// ends at destCount: its stored 16-bit end wraps to 0 for a 65536-sample axis.
// Ends are kept inside [begin, destCount], so the spans tile the axis without
// gaps or overlaps even when a table entry is out of order.
inline uint32_t SpanEnd(const uint16_t* spanEnd, uint32_t interval, uint32_t intervalCount,
                        uint32_t destCount, uint32_t begin) {
    uint32_t end = interval + 1 >= intervalCount ? destCount : spanEnd[interval];
    if (end > destCount) {
        end = destCount;
    }
    if (end < begin) {
        end = begin;
    }
    return end;
}

// Fills intervalOut[0..destCount-1] with the source interval whose span holds
// each destination sample, from one axis' span ends (srcCount - 1 entries,
// srcCount >= 2).
void BuildUpscaleIntervals(const uint16_t* spanEnd, uint32_t srcCount, uint32_t destCount,
                           uint32_t* intervalOut);

}  // namespace quillon

#endif  // QUILLON_CORE_UPSCALEPLAN_H
