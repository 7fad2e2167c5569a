// Cell-by-cell upscale, shared by the 8-bit and 16-bit scalar kernels.
//
// The destination is walked source cell by source cell: for each source row
// interval, for each source column interval, the neighbourhood of the cell is
// gathered once into a local block, then every destination column of the
// cell's span is filtered horizontally and every destination row of the span
// vertically. Neighbourhood indices are clamped into the frame, which
// replicates the border samples.
#ifndef QUILLON_KERNELS_CELLKERNEL_H
#define QUILLON_KERNELS_CELLKERNEL_H

#include <cstddef>
#include <cstdint>

#include "core/FramePlan.h"
#include "kernels/Horizontal8x8.h"
#include "kernels/UpscaleGeometry.h"

namespace quillon::upscale {

// Destination rows [rowBegin, rowEnd) only. Sample: the frame's channel type. Held: the type the
// horizontal results are kept in between the two steps (16 bits for 8-bit frames, 32 for 16-bit
// ones). Taps: 4 (cubic) or 8 (Lanczos).
template <typename Sample, typename Held, int Taps>
bool UpscaleCells(const Sample* source, Sample* destination, const FramePlan* context,
                  int32_t maxValue, uint32_t rowBegin, uint32_t rowEnd) {
    static_assert(Taps == 4 || Taps == 8);
    if (!KernelInputsUsable(source, destination, context)) {
        return false;
    }
    // Taps left of (above) the interval's first sample.
    constexpr int kReach = Taps / 2 - 1;
    const uint32_t srcWidth = context->srcWidth;
    const uint32_t srcHeight = context->srcHeight;
    const uint32_t dstWidth = context->dstWidth;
    const uint32_t dstHeight = context->dstHeight;
    const std::size_t srcPitch = static_cast<std::size_t>(srcWidth) * 4;
    const std::size_t dstPitch = static_cast<std::size_t>(dstWidth) * 4;
    const int16_t* columnWeights = context->columnWeights;
    const int16_t* rowWeights = context->rowWeights;

    uint32_t r0 = 0;
    for (uint32_t sy = 0; sy + 1 < srcHeight && r0 < rowEnd; ++sy) {
        const uint32_t r1 = SpanEnd(context->rowSpanEnd, sy, srcHeight - 1, dstHeight, r0);
        // The part of this interval's rows inside the band.
        const uint32_t b0 = r0 > rowBegin ? r0 : rowBegin;
        const uint32_t b1 = r1 < rowEnd ? r1 : rowEnd;
        if (b1 > b0) {
            const Sample* rows[Taps];
            for (int j = 0; j < Taps; ++j) {
                rows[j] = source +
                          ClampIndex(static_cast<int64_t>(sy) - kReach + j, srcHeight) * srcPitch;
            }
            uint32_t c0 = 0;
            for (uint32_t sx = 0; sx + 1 < srcWidth; ++sx) {
                const uint32_t c1 = SpanEnd(context->columnSpanEnd, sx, srcWidth - 1, dstWidth, c0);
                if (c1 == c0) {
                    continue;
                }
                std::size_t columns[Taps];
                for (int k = 0; k < Taps; ++k) {
                    columns[k] = ClampIndex(static_cast<int64_t>(sx) - kReach + k, srcWidth) *
                                 std::size_t{4};
                }
                // block[channel][row][column]
                Sample block[4][Taps][Taps];
                for (int ch = 0; ch < 4; ++ch) {
                    for (int j = 0; j < Taps; ++j) {
                        for (int k = 0; k < Taps; ++k) {
                            block[ch][j][k] = rows[j][columns[k] + ch];
                        }
                    }
                }
                for (uint32_t dx = c0; dx < c1; ++dx) {
                    const int16_t* cw = columnWeights + static_cast<std::size_t>(dx) * Taps;
                    Held h[4][Taps];
                    for (int ch = 0; ch < 4; ++ch) {
                        if constexpr (Taps == 8) {
                            int32_t filtered[8];
                            horizontal8x8(block[ch], cw, filtered);
                            for (int j = 0; j < 8; ++j) {
                                h[ch][j] = static_cast<Held>(filtered[j]);
                            }
                        } else {
                            for (int j = 0; j < Taps; ++j) {
                                int64_t sum = 0;
                                for (int k = 0; k < Taps; ++k) {
                                    sum += static_cast<int64_t>(block[ch][j][k]) * cw[k];
                                }
                                h[ch][j] = static_cast<Held>(Q13Step(sum));
                            }
                        }
                    }
                    Sample* out = destination + static_cast<std::size_t>(b0) * dstPitch +
                                  static_cast<std::size_t>(dx) * 4;
                    for (uint32_t dy = b0; dy < b1; ++dy) {
                        const int16_t* rw = rowWeights + static_cast<std::size_t>(dy) * Taps;
                        for (int ch = 0; ch < 4; ++ch) {
                            int64_t sum = 0;
                            for (int j = 0; j < Taps; ++j) {
                                sum += static_cast<int64_t>(h[ch][j]) * rw[j];
                            }
                            out[ch] = static_cast<Sample>(ClampToRange(Q13Step(sum), maxValue));
                        }
                        out += dstPitch;
                    }
                }
                c0 = c1;
            }
        }
        r0 = r1;
    }
    return true;
}

}  // namespace quillon::upscale

#endif  // QUILLON_KERNELS_CELLKERNEL_H
