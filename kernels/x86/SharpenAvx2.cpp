// Sharpen apply, AVX2: column sums and the row blur sixteen columns at a time
// in 16-bit lanes (the largest sum, 16 * 16 * 255 + 128, fits unsigned 16
// bits), then eight gains gathered from the table and applied in 32-bit lanes,
// where the product wraps exactly as the plain form's does.
#include <immintrin.h>

#include "kernels/Sharpen.h"
#include "kernels/scalar/SharpenRows.h"

namespace quillon {
namespace {

void ColumnSums(const uint8_t* p0, std::size_t width, uint16_t* v) {
    const uint8_t* p1 = p0 + width;
    const uint8_t* p2 = p1 + width;
    const uint8_t* p3 = p2 + width;
    const uint8_t* p4 = p3 + width;
    const auto load = [](const uint8_t* p) {
        return _mm256_cvtepu8_epi16(_mm_loadu_si128(reinterpret_cast<const __m128i*>(p)));
    };
    std::size_t x = 0;
    for (; x + 16 <= width; x += 16) {
        const __m256i a = _mm256_add_epi16(load(p0 + x), load(p4 + x));
        const __m256i b = _mm256_slli_epi16(_mm256_add_epi16(load(p1 + x), load(p3 + x)), 2);
        const __m256i c = load(p2 + x);
        const __m256i six = _mm256_add_epi16(_mm256_slli_epi16(c, 2), _mm256_slli_epi16(c, 1));
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(v + x),
                            _mm256_add_epi16(_mm256_add_epi16(a, b), six));
    }
    sharpenrows::ColumnSums(p0, width, v, x, width);
}

void RowBlur(const uint16_t* v, uint8_t* blurred, std::size_t count) {
    const auto load = [v](std::size_t at) {
        return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(v + at));
    };
    const __m256i rounding = _mm256_set1_epi16(128);
    std::size_t x = 0;
    // Reads v[x + 4 .. x + 19]: stays inside the width while x + 16 <= count.
    for (; x + 16 <= count; x += 16) {
        const __m256i a = _mm256_add_epi16(load(x), load(x + 4));
        const __m256i b = _mm256_slli_epi16(_mm256_add_epi16(load(x + 1), load(x + 3)), 2);
        const __m256i c = load(x + 2);
        const __m256i six = _mm256_add_epi16(_mm256_slli_epi16(c, 2), _mm256_slli_epi16(c, 1));
        __m256i sum = _mm256_add_epi16(_mm256_add_epi16(a, b), _mm256_add_epi16(six, rounding));
        sum = _mm256_srli_epi16(sum, 8);
        const __m256i packed = _mm256_permute4x64_epi64(_mm256_packus_epi16(sum, sum), 0x08);
        _mm_storeu_si128(reinterpret_cast<__m128i*>(blurred + x), _mm256_castsi256_si128(packed));
    }
    sharpenrows::RowBlur(v, blurred, x, count);
}

// Eight gains of neighbourhoods x..x + 7: curve[centre * 256 + blurred],
// gathered as the 32-bit pair holding the entry.
__m256i Gains(const SharpenPlan& plan, const uint8_t* centre, const uint8_t* blurred) {
    if (plan.unitGainBand) {
        // All eight within the unit-gain band: no look-up.
        const __m128i c = _mm_loadl_epi64(reinterpret_cast<const __m128i*>(centre));
        const __m128i b = _mm_loadl_epi64(reinterpret_cast<const __m128i*>(blurred));
        const __m128i d = _mm_sub_epi8(_mm_max_epu8(c, b), _mm_min_epu8(c, b));
        const __m128i near = _mm_cmpeq_epi8(_mm_min_epu8(d, _mm_set1_epi8(kUnitGainRadius)), d);
        if ((_mm_movemask_epi8(near) & 0xFF) == 0xFF) {
            return _mm256_set1_epi32(16384);
        }
    }
    const uint16_t* curve = plan.curve;
    const __m256i c =
        _mm256_cvtepu8_epi32(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(centre)));
    const __m256i b =
        _mm256_cvtepu8_epi32(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(blurred)));
    const __m256i index = _mm256_or_si256(_mm256_slli_epi32(c, 8), b);
    const __m256i pair =
        _mm256_i32gather_epi32(reinterpret_cast<const int*>(curve), _mm256_srli_epi32(index, 1), 4);
    const __m256i shift = _mm256_slli_epi32(_mm256_and_si256(index, _mm256_set1_epi32(1)), 4);
    return _mm256_and_si256(_mm256_srlv_epi32(pair, shift), _mm256_set1_epi32(0xFFFF));
}

// (s * g + 8192) >> 14 in wrapping 32-bit lanes, capped at the ceiling.
inline __m256i Scale(__m256i s, __m256i gain, __m256i ceiling) {
    const __m256i v = _mm256_add_epi32(_mm256_mullo_epi32(s, gain), _mm256_set1_epi32(8192));
    return _mm256_min_epi32(_mm256_srai_epi32(v, 14), ceiling);
}

void ApplyGains8(const SharpenPlan& plan, const uint8_t* centre, const uint8_t* blurred,
                 uint8_t* row, int32_t ceiling, std::size_t count) {
    const __m256i top = _mm256_set1_epi32(ceiling);
    const __m256i byte = _mm256_set1_epi32(0xFF);
    std::size_t x = 0;
    for (; x + 8 <= count; x += 8) {
        const __m256i gain = Gains(plan, centre + x + 2, blurred + x);
        auto* at = reinterpret_cast<__m256i*>(row + (x + 2) * 4);
        const __m256i px = _mm256_loadu_si256(at);
        __m256i out = _mm256_andnot_si256(_mm256_set1_epi32(0x00FFFFFF), px);
        for (int c = 0; c < 3; ++c) {
            const __m256i s = _mm256_and_si256(_mm256_srli_epi32(px, 8 * c), byte);
            const __m256i v = _mm256_and_si256(Scale(s, gain, top), byte);
            out = _mm256_or_si256(out, _mm256_slli_epi32(v, 8 * c));
        }
        _mm256_storeu_si256(at, out);
    }
    sharpenrows::ApplyGains<sharpenrows::Sample8>(plan.curve, centre, blurred, row, ceiling, x,
                                                  count);
}

void ApplyGains16(const SharpenPlan& plan, const uint8_t* centre, const uint8_t* blurred,
                  uint16_t* row, int32_t ceiling, std::size_t count) {
    const __m256i top = _mm256_set1_epi32(ceiling);
    const __m256i low16 = _mm256_set1_epi32(0xFFFF);
    // Blue, green and red take the new value; alpha keeps its own.
    const __m256i colour = _mm256_setr_epi32(-1, -1, -1, 0, -1, -1, -1, 0);
    std::size_t x = 0;
    for (; x + 8 <= count; x += 8) {
        const __m256i gain = Gains(plan, centre + x + 2, blurred + x);
        uint16_t* px = row + (x + 2) * 4;
        for (int half = 0; half < 2; ++half) {
            auto* at = reinterpret_cast<__m256i*>(px + half * 16);
            const __m256i four = _mm256_loadu_si256(at);
            __m256i two[2];
            for (int i = 0; i < 2; ++i) {
                const __m256i s = _mm256_cvtepu16_epi32(i == 0 ? _mm256_castsi256_si128(four)
                                                               : _mm256_extracti128_si256(four, 1));
                const int p = half * 4 + i * 2;
                const __m256i g = _mm256_permutevar8x32_epi32(
                    gain, _mm256_setr_epi32(p, p, p, p, p + 1, p + 1, p + 1, p + 1));
                const __m256i v = _mm256_and_si256(Scale(s, g, top), low16);
                two[i] = _mm256_blendv_epi8(s, v, colour);
            }
            // packus keeps 128-bit lanes: pixels come out 0, 2, 1, 3.
            _mm256_storeu_si256(
                at, _mm256_permute4x64_epi64(_mm256_packus_epi32(two[0], two[1]), 0xD8));
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

const SharpenKernels kSharpenAvx2 = {&Apply<uint8_t>, &Apply<uint16_t>};

}  // namespace quillon
