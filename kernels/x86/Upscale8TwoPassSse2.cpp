// 8-bit two-pass kernels: a horizontal pass from the source into a scratch
// band of Wd-wide rows (four signed 16-bit channels), then a vertical pass
// from the scratch frame into the destination, both in SSE2 16-bit lanes with
// exact 16 x 16 -> 32-bit products (pmaddwd on interleaved pairs).
//
// A band of destination rows produces the scratch rows it reads, each just
// before the first destination row that needs it, so the rows a vertical step
// reads are still in cache. Compiled with the SSE2 flags only; the dispatcher
// calls it only where SSE2 is present.
#include <emmintrin.h>

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "kernels/Upscale8.h"
#include "kernels/UpscaleGeometry.h"

namespace quillon {
namespace {

using upscale::ClampIndex;
using upscale::SpanEnd;

inline __m128i LoadPixel(const uint8_t* p) {
    int32_t v;
    std::memcpy(&v, p, sizeof v);
    return _mm_cvtsi32_si128(v);
}

inline __m128i Load(const int16_t* p) {
    return _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
}

inline void Store(int16_t* p, __m128i v) {
    _mm_storeu_si128(reinterpret_cast<__m128i*>(p), v);
}

// (sum + 4096) >> 13 in each 32-bit lane.
inline __m128i Q13Lanes(__m128i sum) {
    return _mm_srai_epi32(_mm_add_epi32(sum, _mm_set1_epi32(4096)), 13);
}

template <int Taps>
class TwoPassUpscaler {
public:
    static constexpr int kPairs = Taps / 2;
    // Taps left of (above) the interval's first sample.
    static constexpr int kReach = Taps / 2 - 1;

    TwoPassUpscaler(const uint8_t* source, uint8_t* destination, const FramePlan& context,
                    const upscale::SourceRows& band, void* scratch)
        : source_(source),
          destination_(destination),
          context_(context),
          srcWidth_(context.srcWidth),
          srcHeight_(context.srcHeight),
          dstWidth_(context.dstWidth),
          dstHeight_(context.dstHeight),
          pairCount_(static_cast<std::size_t>(srcWidth_) + Taps - 3),
          band_(band) {
        upscale::ScratchCarver carve(scratch);
        scratch_ = carve.Take<int16_t>(std::size_t{band.count()} * dstWidth_ * 4);
        pairRow_ = carve.Take<int16_t>(pairCount_ * 8);
        columnPairs_ = carve.Take<int16_t>(static_cast<std::size_t>(dstWidth_) * kPairs * 8);
        columnFirst_ = carve.Take<uint32_t>(dstWidth_);
    }

    // Destination rows [rowBegin, rowEnd).
    void Run(uint32_t rowBegin, uint32_t rowEnd) {
        PrepareColumns();
        uint32_t rowsDone = band_.first;
        uint32_t r0 = 0;
        for (uint32_t sy = 0; sy + 1 < srcHeight_ && r0 < rowEnd; ++sy) {
            const uint32_t r1 = SpanEnd(context_.rowSpanEnd, sy, srcHeight_ - 1, dstHeight_, r0);
            const uint32_t b0 = r0 > rowBegin ? r0 : rowBegin;
            const uint32_t b1 = r1 < rowEnd ? r1 : rowEnd;
            if (b1 > b0) {
                const uint32_t lastNeeded =
                    ClampIndex(static_cast<int64_t>(sy) + Taps - 1 - kReach, srcHeight_);
                while (rowsDone <= lastNeeded) {
                    HorizontalRow(rowsDone++);
                }
                const int16_t* rows[Taps];
                for (int j = 0; j < Taps; ++j) {
                    rows[j] =
                        ScratchRow(ClampIndex(static_cast<int64_t>(sy) - kReach + j, srcHeight_));
                }
                for (uint32_t dy = b0; dy < b1; ++dy) {
                    VerticalRow(rows, dy);
                }
            }
            r0 = r1;
        }
    }

private:
    int16_t* ScratchRow(uint32_t y) const {
        return scratch_ + static_cast<std::size_t>(y - band_.first) * dstWidth_ * 4;
    }

    // For each destination column: the index of its first source pair in the
    // pair row (equal to its source interval), and its weights rearranged
    // from the four-lane layout (w0 x4, w1 x4, ...) into interleaved pairs
    // (w0 w1 w0 w1 ..., w2 w3 w2 w3 ...), one per channel lane.
    void PrepareColumns() {
        const int16_t* table = context_.columnWeights;
        uint32_t sx = 0;
        uint32_t begin = 0;
        uint32_t end = SpanEnd(context_.columnSpanEnd, 0, srcWidth_ - 1, dstWidth_, 0);
        for (uint32_t dx = 0; dx < dstWidth_; ++dx) {
            while (dx >= end && sx + 2 < srcWidth_) {
                begin = end;
                ++sx;
                end = SpanEnd(context_.columnSpanEnd, sx, srcWidth_ - 1, dstWidth_, begin);
            }
            columnFirst_[dx] = sx;
            const int16_t* w = table + static_cast<std::size_t>(dx) * Taps * 4;
            for (int p = 0; p < kPairs; ++p) {
                const __m128i even = Load(w + (2 * p) * 4);  // w(2p) x4, w(2p+1) x4
                const __m128i pair = _mm_unpacklo_epi16(even, _mm_srli_si128(even, 8));
                Store(columnPairs_ + (static_cast<std::size_t>(dx) * kPairs + p) * 8, pair);
            }
        }
    }

    // Pair row of source row y: entry k holds the pixels at columns k - reach
    // and k - reach + 1 (clamped into the row), channel by channel
    // interleaved and widened to 16 bits: a0 b0 a1 b1 a2 b2 a3 b3.
    void BuildPairRow(uint32_t y) {
        const uint8_t* row = source_ + static_cast<std::size_t>(y) * srcWidth_ * 4;
        const __m128i zero = _mm_setzero_si128();
        int16_t* out = pairRow_;
        for (std::size_t k = 0; k < pairCount_; ++k) {
            const int64_t c = static_cast<int64_t>(k) - kReach;
            const __m128i a = LoadPixel(row + ClampIndex(c, srcWidth_) * std::size_t{4});
            const __m128i b = LoadPixel(row + ClampIndex(c + 1, srcWidth_) * std::size_t{4});
            Store(out + k * 8, _mm_unpacklo_epi8(_mm_unpacklo_epi8(a, b), zero));
        }
    }

    __m128i HorizontalPixel(uint32_t dx) const {
        const int16_t* pairs = pairRow_ + static_cast<std::size_t>(columnFirst_[dx]) * 8;
        const int16_t* w = columnPairs_ + static_cast<std::size_t>(dx) * kPairs * 8;
        __m128i sum = _mm_madd_epi16(Load(pairs), Load(w));
        for (int p = 1; p < kPairs; ++p) {
            sum = _mm_add_epi32(sum, _mm_madd_epi16(Load(pairs + 16 * p), Load(w + 8 * p)));
        }
        return Q13Lanes(sum);
    }

    void HorizontalRow(uint32_t y) {
        BuildPairRow(y);
        int16_t* out = ScratchRow(y);
        uint32_t dx = 0;
        for (; dx + 2 <= dstWidth_; dx += 2) {
            const __m128i h = _mm_packs_epi32(HorizontalPixel(dx), HorizontalPixel(dx + 1));
            Store(out + static_cast<std::size_t>(dx) * 4, h);
        }
        if (dx < dstWidth_) {
            const __m128i h = _mm_packs_epi32(HorizontalPixel(dx), _mm_setzero_si128());
            _mm_storel_epi64(reinterpret_cast<__m128i*>(out + static_cast<std::size_t>(dx) * 4), h);
        }
    }

    // Two pixels (eight lanes) of one destination row: 32-bit sums, Q13
    // step, saturated to signed 16 bits.
    static __m128i VerticalStep(const int16_t* const (&rows)[Taps], std::size_t lane,
                                const __m128i (&lowWeights)[kPairs],
                                const __m128i (&highWeights)[kPairs]) {
        __m128i low = _mm_setzero_si128();
        __m128i high = _mm_setzero_si128();
        for (int p = 0; p < kPairs; ++p) {
            const __m128i a = Load(rows[2 * p] + lane);
            const __m128i b = Load(rows[2 * p + 1] + lane);
            low = _mm_add_epi32(low, _mm_madd_epi16(_mm_unpacklo_epi16(a, b), lowWeights[p]));
            high = _mm_add_epi32(high, _mm_madd_epi16(_mm_unpackhi_epi16(a, b), highWeights[p]));
        }
        return _mm_packs_epi32(Q13Lanes(low), Q13Lanes(high));
    }

    void VerticalRow(const int16_t* const (&rows)[Taps], uint32_t dy) {
        // Row weights: w0 x8, w1 x8, ...; lanes 0..3 weigh the first pixel of
        // a pair, lanes 4..7 the second.
        const int16_t* w = context_.rowWeights + static_cast<std::size_t>(dy) * Taps * 8;
        __m128i lowWeights[kPairs];
        __m128i highWeights[kPairs];
        for (int p = 0; p < kPairs; ++p) {
            const __m128i even = Load(w + (2 * p) * 8);
            const __m128i odd = Load(w + (2 * p + 1) * 8);
            lowWeights[p] = _mm_unpacklo_epi16(even, odd);
            highWeights[p] = _mm_unpackhi_epi16(even, odd);
        }
        uint8_t* out = destination_ + static_cast<std::size_t>(dy) * dstWidth_ * 4;
        const std::size_t lanes = static_cast<std::size_t>(dstWidth_) * 4;
        std::size_t lane = 0;
        for (; lane + 16 <= lanes; lane += 16) {
            const __m128i first = VerticalStep(rows, lane, lowWeights, highWeights);
            const __m128i second = VerticalStep(rows, lane + 8, lowWeights, highWeights);
            _mm_storeu_si128(reinterpret_cast<__m128i*>(out + lane),
                             _mm_packus_epi16(first, second));
        }
        if (lane + 8 <= lanes) {
            const __m128i pair = VerticalStep(rows, lane, lowWeights, highWeights);
            _mm_storel_epi64(reinterpret_cast<__m128i*>(out + lane), _mm_packus_epi16(pair, pair));
            lane += 8;
        }
        if (lane < lanes) {
            // Odd width: the last pixel alone, lanes 0..3 only.
            __m128i sum = _mm_setzero_si128();
            for (int p = 0; p < kPairs; ++p) {
                const __m128i a =
                    _mm_loadl_epi64(reinterpret_cast<const __m128i*>(rows[2 * p] + lane));
                const __m128i b =
                    _mm_loadl_epi64(reinterpret_cast<const __m128i*>(rows[2 * p + 1] + lane));
                sum = _mm_add_epi32(sum, _mm_madd_epi16(_mm_unpacklo_epi16(a, b), lowWeights[p]));
            }
            const __m128i q = Q13Lanes(sum);
            const __m128i v = _mm_packs_epi32(q, q);
            const int32_t bytes = _mm_cvtsi128_si32(_mm_packus_epi16(v, v));
            std::memcpy(out + lane, &bytes, sizeof bytes);
        }
    }

    const uint8_t* source_;
    uint8_t* destination_;
    const FramePlan& context_;
    const uint32_t srcWidth_;
    const uint32_t srcHeight_;
    const uint32_t dstWidth_;
    const uint32_t dstHeight_;
    const std::size_t pairCount_;
    const upscale::SourceRows band_;
    int16_t* scratch_ = nullptr;
    int16_t* pairRow_ = nullptr;
    int16_t* columnPairs_ = nullptr;
    uint32_t* columnFirst_ = nullptr;
};

template <int Taps>
bool RunTwoPass(const FramePlan& plan, const uint8_t* source, uint8_t* destination,
                uint32_t rowBegin, uint32_t rowEnd, void* scratch) {
    if (!upscale::KernelInputsUsable(source, destination, &plan)) {
        return false;
    }
    const upscale::SourceRows band = upscale::BandSourceRows(plan, Taps, rowBegin, rowEnd);
    if (band.count() == 0) {
        return true;
    }
    TwoPassUpscaler<Taps> upscaler(source, destination, plan, band, scratch);
    upscaler.Run(rowBegin, rowEnd);
    return true;
}

}  // namespace

bool upscale8CubicTwoPassSse2Rows(const FramePlan& plan, const uint8_t* source,
                                  uint8_t* destination, uint32_t rowBegin, uint32_t rowEnd,
                                  void* scratch) {
    return RunTwoPass<4>(plan, source, destination, rowBegin, rowEnd, scratch);
}

bool upscale8LanczosTwoPassSse2Rows(const FramePlan& plan, const uint8_t* source,
                                    uint8_t* destination, uint32_t rowBegin, uint32_t rowEnd,
                                    void* scratch) {
    return RunTwoPass<8>(plan, source, destination, rowBegin, rowEnd, scratch);
}

bool upscale8CubicTwoPassSse2(const uint8_t* source, uint8_t* destination, const FramePlan* plan) {
    return RunWholeFrame<uint8_t>(&upscale8CubicTwoPassSse2Rows, &upscale8TwoPassScratchBytes4,
                                  source, destination, plan);
}

bool upscale8LanczosTwoPassSse2(const uint8_t* source, uint8_t* destination,
                                const FramePlan* plan) {
    return RunWholeFrame<uint8_t>(&upscale8LanczosTwoPassSse2Rows, &upscale8TwoPassScratchBytes8,
                                  source, destination, plan);
}

}  // namespace quillon
