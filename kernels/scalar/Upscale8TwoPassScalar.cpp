// Plain scalar twins of the two-pass kernels: the same passes, the same
// 16-bit saturations and the same fixed 0..255 clamp, one sample at a time.
// They are the reference every vector level is tested against.
#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "kernels/Upscale8.h"
#include "kernels/UpscaleGeometry.h"

namespace quillon {
namespace {

using upscale::ClampIndex;
using upscale::Q13Step;
using upscale::SpanEnd;

int32_t SaturateToInt16(int32_t v) {
    return std::clamp<int32_t>(v, INT16_MIN, INT16_MAX);
}

template <int Taps>
bool TwoPassScalar(const FramePlan& c, const uint8_t* source, uint8_t* destination,
                   uint32_t rowBegin, uint32_t rowEnd, void* scratchBlock) {
    if (!upscale::KernelInputsUsable(source, destination, &c)) {
        return false;
    }
    constexpr int kReach = Taps / 2 - 1;  // taps left of (above) the interval's first sample
    const std::size_t wd = c.dstWidth;
    const upscale::SourceRows band = upscale::BandSourceRows(c, Taps, rowBegin, rowEnd);
    if (band.count() == 0) {
        return true;
    }
    int16_t* scratch = static_cast<int16_t*>(scratchBlock);

    // Horizontal pass: the band's source rows into Wd scratch pixels each.
    // Column weights hold each tap four times, once per channel.
    for (uint32_t y = band.first; y <= band.last; ++y) {
        const uint8_t* row = source + std::size_t{y} * c.srcWidth * 4;
        int16_t* out = scratch + std::size_t{y - band.first} * wd * 4;
        uint32_t begin = 0;
        for (uint32_t sx = 0; sx + 1 < c.srcWidth; ++sx) {
            const uint32_t end = SpanEnd(c.columnSpanEnd, sx, c.srcWidth - 1, c.dstWidth, begin);
            for (uint32_t dx = begin; dx < end; ++dx) {
                const int16_t* w = c.columnWeights + std::size_t{dx} * Taps * 4;
                for (int ch = 0; ch < 4; ++ch) {
                    int64_t sum = 0;
                    for (int k = 0; k < Taps; ++k) {
                        const uint32_t x = ClampIndex(int64_t{sx} - kReach + k, c.srcWidth);
                        sum += int32_t{row[std::size_t{x} * 4 + ch]} * w[k * 4 + ch];
                    }
                    out[std::size_t{dx} * 4 + ch] =
                        static_cast<int16_t>(SaturateToInt16(Q13Step(sum)));
                }
            }
            begin = end;
        }
    }

    // Vertical pass: row weights hold each tap eight times, lanes 0..3 for
    // the first pixel of a pair and 4..7 for the second.
    uint32_t begin = 0;
    for (uint32_t sy = 0; sy + 1 < c.srcHeight && begin < rowEnd; ++sy) {
        const uint32_t end = SpanEnd(c.rowSpanEnd, sy, c.srcHeight - 1, c.dstHeight, begin);
        const uint32_t b0 = std::max(begin, rowBegin);
        const uint32_t b1 = std::min(end, rowEnd);
        if (b1 > b0) {
            const int16_t* rows[Taps];
            for (int j = 0; j < Taps; ++j) {
                const uint32_t y = ClampIndex(int64_t{sy} - kReach + j, c.srcHeight);
                rows[j] = scratch + std::size_t{y - band.first} * wd * 4;
            }
            for (uint32_t dy = b0; dy < b1; ++dy) {
                const int16_t* w = c.rowWeights + std::size_t{dy} * Taps * 8;
                uint8_t* out = destination + std::size_t{dy} * wd * 4;
                for (std::size_t lane = 0; lane < wd * 4; ++lane) {
                    const std::size_t weightLane = lane % 8;
                    int64_t sum = 0;
                    for (int j = 0; j < Taps; ++j) {
                        sum += int32_t{rows[j][lane]} * w[j * 8 + weightLane];
                    }
                    out[lane] =
                        static_cast<uint8_t>(std::clamp(SaturateToInt16(Q13Step(sum)), 0, 255));
                }
            }
        }
        begin = end;
    }
    return true;
}

// Scratch of both two-pass levels: the band's horizontal rows, then (for the
// SSE2 level) one pair row, the column pairs and the first-pair indices.
template <int Taps>
std::size_t TwoPassScratchBytes(const FramePlan& c, uint32_t rowBegin, uint32_t rowEnd) {
    using upscale::ScratchCarver;
    const std::size_t wd = c.dstWidth;
    const std::size_t rows = upscale::BandSourceRows(c, Taps, rowBegin, rowEnd).count();
    const std::size_t pairCount = std::size_t{c.srcWidth} + Taps - 3;
    return ScratchCarver::Rounded(rows * wd * 4 * sizeof(int16_t)) +
           ScratchCarver::Rounded(pairCount * 8 * sizeof(int16_t)) +
           ScratchCarver::Rounded(wd * (Taps / 2) * 8 * sizeof(int16_t)) +
           ScratchCarver::Rounded(wd * sizeof(uint32_t));
}

}  // namespace

std::size_t upscale8TwoPassScratchBytes4(const FramePlan& plan, uint32_t rowBegin,
                                         uint32_t rowEnd) {
    return TwoPassScratchBytes<4>(plan, rowBegin, rowEnd);
}

std::size_t upscale8TwoPassScratchBytes8(const FramePlan& plan, uint32_t rowBegin,
                                         uint32_t rowEnd) {
    return TwoPassScratchBytes<8>(plan, rowBegin, rowEnd);
}

bool upscale8CubicTwoPassScalarRows(const FramePlan& plan, const uint8_t* source,
                                    uint8_t* destination, uint32_t rowBegin, uint32_t rowEnd,
                                    void* scratch) {
    return TwoPassScalar<4>(plan, source, destination, rowBegin, rowEnd, scratch);
}

bool upscale8LanczosTwoPassScalarRows(const FramePlan& plan, const uint8_t* source,
                                      uint8_t* destination, uint32_t rowBegin, uint32_t rowEnd,
                                      void* scratch) {
    return TwoPassScalar<8>(plan, source, destination, rowBegin, rowEnd, scratch);
}

bool upscale8CubicTwoPassScalar(const uint8_t* source, uint8_t* destination,
                                const FramePlan* plan) {
    return RunWholeFrame<uint8_t>(&upscale8CubicTwoPassScalarRows, &upscale8TwoPassScratchBytes4,
                                  source, destination, plan);
}

bool upscale8LanczosTwoPassScalar(const uint8_t* source, uint8_t* destination,
                                  const FramePlan* plan) {
    return RunWholeFrame<uint8_t>(&upscale8LanczosTwoPassScalarRows, &upscale8TwoPassScratchBytes8,
                                  source, destination, plan);
}

}  // namespace quillon
