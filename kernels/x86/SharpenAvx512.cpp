// Sharpen apply, AVX-512: as the AVX2 form with twice the lanes: column sums
// and the row blur 32 columns at a time in 16-bit lanes, then sixteen gathered
// gains applied in wrapping 32-bit lanes.
#include <immintrin.h>

// GCC 12's AVX-512 intrinsics start from _mm512_undefined_*() values, which
// its flow analysis reports as maybe uninitialised once inlined.
#if defined(__GNUC__) && !defined(__clang__)
#pragma GCC diagnostic ignored "-Wmaybe-uninitialized"
#endif

#include "kernels/Sharpen.h"
#include "kernels/scalar/SharpenRows.h"

namespace quillon {
namespace {

__m512i Binomial(__m512i a0, __m512i a1, __m512i a2, __m512i a3, __m512i a4) {
    const __m512i ends = _mm512_add_epi16(a0, a4);
    const __m512i fours = _mm512_slli_epi16(_mm512_add_epi16(a1, a3), 2);
    const __m512i six = _mm512_add_epi16(_mm512_slli_epi16(a2, 2), _mm512_slli_epi16(a2, 1));
    return _mm512_add_epi16(_mm512_add_epi16(ends, fours), six);
}

void ColumnSums(const uint8_t* p0, std::size_t width, uint16_t* v) {
    const auto load = [p0, width](std::size_t row, std::size_t x) {
        return _mm512_cvtepu8_epi16(
            _mm256_loadu_si256(reinterpret_cast<const __m256i*>(p0 + row * width + x)));
    };
    std::size_t x = 0;
    for (; x + 32 <= width; x += 32) {
        _mm512_storeu_si512(v + x,
                            Binomial(load(0, x), load(1, x), load(2, x), load(3, x), load(4, x)));
    }
    sharpenrows::ColumnSums(p0, width, v, x, width);
}

void RowBlur(const uint16_t* v, uint8_t* blurred, std::size_t count) {
    const auto load = [v](std::size_t at) { return _mm512_loadu_si512(v + at); };
    std::size_t x = 0;
    for (; x + 32 <= count; x += 32) {
        __m512i sum = Binomial(load(x), load(x + 1), load(x + 2), load(x + 3), load(x + 4));
        sum = _mm512_srli_epi16(_mm512_add_epi16(sum, _mm512_set1_epi16(128)), 8);
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(blurred + x), _mm512_cvtepi16_epi8(sum));
    }
    sharpenrows::RowBlur(v, blurred, x, count);
}

__m512i Gains(const SharpenPlan& plan, const uint8_t* centre, const uint8_t* blurred) {
    if (plan.unitGainBand) {
        // All sixteen within the unit-gain band: no look-up.
        const __m128i c = _mm_loadu_si128(reinterpret_cast<const __m128i*>(centre));
        const __m128i b = _mm_loadu_si128(reinterpret_cast<const __m128i*>(blurred));
        const __m128i d = _mm_sub_epi8(_mm_max_epu8(c, b), _mm_min_epu8(c, b));
        if (_mm_cmpgt_epu8_mask(d, _mm_set1_epi8(kUnitGainRadius)) == 0) {
            return _mm512_set1_epi32(16384);
        }
    }
    const uint16_t* curve = plan.curve;
    const __m512i c =
        _mm512_cvtepu8_epi32(_mm_loadu_si128(reinterpret_cast<const __m128i*>(centre)));
    const __m512i b =
        _mm512_cvtepu8_epi32(_mm_loadu_si128(reinterpret_cast<const __m128i*>(blurred)));
    const __m512i index = _mm512_or_si512(_mm512_slli_epi32(c, 8), b);
    const __m512i pair = _mm512_i32gather_epi32(_mm512_srli_epi32(index, 1), curve, 4);
    const __m512i shift = _mm512_slli_epi32(_mm512_and_si512(index, _mm512_set1_epi32(1)), 4);
    return _mm512_and_si512(_mm512_srlv_epi32(pair, shift), _mm512_set1_epi32(0xFFFF));
}

inline __m512i Scale(__m512i s, __m512i gain, __m512i ceiling) {
    const __m512i v = _mm512_add_epi32(_mm512_mullo_epi32(s, gain), _mm512_set1_epi32(8192));
    return _mm512_min_epi32(_mm512_srai_epi32(v, 14), ceiling);
}

void ApplyGains8(const SharpenPlan& plan, const uint8_t* centre, const uint8_t* blurred,
                 uint8_t* row, int32_t ceiling, std::size_t count) {
    const __m512i top = _mm512_set1_epi32(ceiling);
    const __m512i byte = _mm512_set1_epi32(0xFF);
    std::size_t x = 0;
    for (; x + 16 <= count; x += 16) {
        const __m512i gain = Gains(plan, centre + x + 2, blurred + x);
        uint8_t* at = row + (x + 2) * 4;
        const __m512i px = _mm512_loadu_si512(at);
        __m512i out = _mm512_and_si512(px, _mm512_set1_epi32(static_cast<int>(0xFF000000u)));
        for (int c = 0; c < 3; ++c) {
            const __m512i s = _mm512_and_si512(_mm512_srli_epi32(px, 8 * c), byte);
            const __m512i v = _mm512_and_si512(Scale(s, gain, top), byte);
            out = _mm512_or_si512(out, _mm512_slli_epi32(v, 8 * c));
        }
        _mm512_storeu_si512(at, out);
    }
    sharpenrows::ApplyGains<sharpenrows::Sample8>(plan.curve, centre, blurred, row, ceiling, x,
                                                  count);
}

void ApplyGains16(const SharpenPlan& plan, const uint8_t* centre, const uint8_t* blurred,
                  uint16_t* row, int32_t ceiling, std::size_t count) {
    const __m512i top = _mm512_set1_epi32(ceiling);
    // Blue, green and red take the new value; alpha keeps its own.
    const __mmask16 colour = 0x7777;
    std::size_t x = 0;
    for (; x + 16 <= count; x += 16) {
        const __m512i gain = Gains(plan, centre + x + 2, blurred + x);
        uint16_t* px = row + (x + 2) * 4;
        for (int quarter = 0; quarter < 4; ++quarter) {
            auto* at = reinterpret_cast<__m256i*>(px + quarter * 16);
            const __m512i s = _mm512_cvtepu16_epi32(_mm256_loadu_si256(at));
            const int p = quarter * 4;
            const __m512i g = _mm512_permutexvar_epi32(
                _mm512_setr_epi32(p, p, p, p, p + 1, p + 1, p + 1, p + 1, p + 2, p + 2, p + 2,
                                  p + 2, p + 3, p + 3, p + 3, p + 3),
                gain);
            const __m512i v = _mm512_mask_blend_epi32(colour, s, Scale(s, g, top));
            _mm256_storeu_si256(at, _mm512_cvtepi32_epi16(v));  // keeps the low 16 bits
        }
    }
    sharpenrows::ApplyGains<sharpenrows::Sample16>(plan.curve, centre, blurred, row, ceiling, x,
                                                   count);
}

template <typename Sample>
void Apply(const SharpenPlan& plan, const uint8_t* plane, Sample* frame, uint32_t ceiling,
           uint32_t rowBegin, uint32_t rowEnd, void* scratch) {
    const std::size_t width = plan.width;
    const auto top = static_cast<int32_t>(ceiling);
    sharpenrows::RunBand(plan, plane, frame, rowBegin, rowEnd, scratch,
                         [&](const uint8_t* p, uint16_t* sums, uint8_t* blurred, Sample* row) {
                             ColumnSums(p, width, sums);
                             RowBlur(sums, blurred, width - 5);
                             if constexpr (sizeof(Sample) == 1) {
                                 ApplyGains8(plan, p + 2 * width, blurred, row, top, width - 5);
                             } else {
                                 ApplyGains16(plan, p + 2 * width, blurred, row, top, width - 5);
                             }
                         });
}

}  // namespace

const SharpenKernels kSharpenAvx512 = {&Apply<uint8_t>, &Apply<uint16_t>};

}  // namespace quillon
