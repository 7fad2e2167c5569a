// Plain scalar twins of the two-pass kernels: the same passes, the same
// 16-bit saturations and the same fixed 0..255 clamp, one sample at a time.
// They serve builds without 128-bit integer vectors and are the reference the
// vector kernels are tested against.
#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "engine/EngineMemory.h"
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
bool TwoPassScalar(const uint8_t* source, uint8_t* destination, const ScaleContext* context) {
    if (!upscale::KernelInputsUsable(source, destination, context)) {
        return false;
    }
    const ScaleContext& c = *context;
    constexpr int kReach = Taps / 2 - 1;  // taps left of (above) the interval's first sample
    const std::size_t wd = c.dstWidth;
    ScratchBuffer<int16_t> scratch(wd * c.srcHeight * 4);
    if (!scratch) {
        return false;
    }

    // Horizontal pass: every source row into Wd scratch pixels. Column
    // weights hold each tap four times, once per channel.
    for (uint32_t y = 0; y < c.srcHeight; ++y) {
        const uint8_t* row = source + std::size_t{y} * c.srcWidth * 4;
        int16_t* out = scratch.get() + std::size_t{y} * wd * 4;
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
    for (uint32_t sy = 0; sy + 1 < c.srcHeight; ++sy) {
        const uint32_t end = SpanEnd(c.rowSpanEnd, sy, c.srcHeight - 1, c.dstHeight, begin);
        const int16_t* rows[Taps];
        for (int j = 0; j < Taps; ++j) {
            rows[j] = scratch.get() +
                      std::size_t{ClampIndex(int64_t{sy} - kReach + j, c.srcHeight)} * wd * 4;
        }
        for (uint32_t dy = begin; dy < end; ++dy) {
            const int16_t* w = c.rowWeights + std::size_t{dy} * Taps * 8;
            uint8_t* out = destination + std::size_t{dy} * wd * 4;
            for (std::size_t lane = 0; lane < wd * 4; ++lane) {
                const std::size_t weightLane = lane % 8;
                int64_t sum = 0;
                for (int j = 0; j < Taps; ++j) {
                    sum += int32_t{rows[j][lane]} * w[j * 8 + weightLane];
                }
                out[lane] = static_cast<uint8_t>(std::clamp(SaturateToInt16(Q13Step(sum)), 0, 255));
            }
        }
        begin = end;
    }
    return true;
}

}  // namespace

bool upscale8CubicTwoPassScalar(const uint8_t* source, uint8_t* destination,
                                const ScaleContext* context) {
    return TwoPassScalar<4>(source, destination, context);
}

bool upscale8LanczosTwoPassScalar(const uint8_t* source, uint8_t* destination,
                                  const ScaleContext* context) {
    return TwoPassScalar<8>(source, destination, context);
}

}  // namespace quillon
