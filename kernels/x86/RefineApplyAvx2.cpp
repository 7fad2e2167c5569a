// Refinement apply, AVX2: eight pixels at a time in 32-bit lanes. The curve
// entry is gathered as the 32-bit pair that holds it. The 8-bit gain divides
// in single precision: the dividend (at most 2^22) and the grey are exact, and
// the rounding error of the quotient, at most 1 / (4 * grey), is smaller than
// the distance 1 / grey of any non-integer quotient from the next integer, so
// truncation gives the integer quotient. The 16-bit dividend reaches 2^30 and
// divides in double precision. Groups whose ranges are all narrow are skipped
// whole.
#include <immintrin.h>

#include "kernels/RefineApply.h"
#include "kernels/scalar/RefinePixels.h"

namespace quillon {
namespace {

using refinepixels::Depth16;
using refinepixels::Depth8;

inline __m256i Low16Signed(__m256i v) {
    return _mm256_srai_epi32(_mm256_slli_epi32(v, 16), 16);
}

struct Lanes {
    __m256i gain;    // valid where active
    __m256i active;  // all ones where the pixel changes
};

// sum: blue + green + red per lane. Returns each lane's gain and whether the
// pixel changes at all.
template <typename Depth>
Lanes Gains(const RefinePlan& plan, const uint8_t* mins, const uint8_t* maxs, __m256i sum) {
    const __m256i lo =
        _mm256_cvtepu8_epi32(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(mins)));
    const __m256i hi =
        _mm256_cvtepu8_epi32(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(maxs)));
    const __m256i byte = _mm256_set1_epi32(0xFF);
    const __m256i range = _mm256_and_si256(_mm256_sub_epi32(hi, lo), byte);
    const __m256i grey = _mm256_and_si256(
        _mm256_srli_epi32(
            _mm256_add_epi32(_mm256_mullo_epi32(sum, _mm256_set1_epi32(Depth::kGreyFactor)),
                             _mm256_set1_epi32(32768)),
            16),
        byte);
    __m256i active = _mm256_cmpgt_epi32(range, _mm256_set1_epi32(refinepixels::kMinimumRange - 1));
    active = _mm256_andnot_si256(_mm256_cmpeq_epi32(grey, _mm256_setzero_si256()), active);

    // Every index is inside the table (range <= 255, grey - lo + 255 <= 510).
    const __m256i index =
        _mm256_add_epi32(_mm256_mullo_epi32(range, _mm256_set1_epi32(511)),
                         _mm256_add_epi32(_mm256_sub_epi32(grey, lo), _mm256_set1_epi32(255)));
    const __m256i pair = _mm256_i32gather_epi32(reinterpret_cast<const int*>(plan.curve),
                                                _mm256_srli_epi32(index, 1), 4);
    const __m256i even = _mm256_slli_epi32(_mm256_andnot_si256(index, _mm256_set1_epi32(1)), 4);
    const __m256i s = _mm256_srai_epi32(_mm256_sllv_epi32(pair, even), 16);
    const __m256i target = Low16Signed(_mm256_add_epi32(s, lo));

    __m256i gain;
    if constexpr (sizeof(typename Depth::Sample) == 1) {
        const __m256 q =
            _mm256_div_ps(_mm256_cvtepi32_ps(_mm256_slli_epi32(target, 7)),
                          _mm256_cvtepi32_ps(_mm256_max_epi32(grey, _mm256_set1_epi32(1))));
        gain = Low16Signed(_mm256_cvttps_epi32(q));
    } else {
        const __m256i n = _mm256_slli_epi32(target, 15);
        const __m256i d = _mm256_max_epi32(grey, _mm256_set1_epi32(1));
        const __m128i q0 =
            _mm256_cvttpd_epi32(_mm256_div_pd(_mm256_cvtepi32_pd(_mm256_castsi256_si128(n)),
                                              _mm256_cvtepi32_pd(_mm256_castsi256_si128(d))));
        const __m128i q1 =
            _mm256_cvttpd_epi32(_mm256_div_pd(_mm256_cvtepi32_pd(_mm256_extracti128_si256(n, 1)),
                                              _mm256_cvtepi32_pd(_mm256_extracti128_si256(d, 1))));
        gain = _mm256_inserti128_si256(_mm256_castsi128_si256(q0), q1, 1);
    }
    active = _mm256_and_si256(active, _mm256_cmpgt_epi32(gain, _mm256_setzero_si256()));
    return {gain, active};
}

bool AnyWide(const uint8_t* mins, const uint8_t* maxs) {
    const __m128i lo = _mm_loadl_epi64(reinterpret_cast<const __m128i*>(mins));
    const __m128i hi = _mm_loadl_epi64(reinterpret_cast<const __m128i*>(maxs));
    // (hi - lo) mod 256 >= 20, eight bytes at once.
    const __m128i range = _mm_sub_epi8(hi, lo);
    const __m128i narrow = _mm_cmpeq_epi8(_mm_min_epu8(range, _mm_set1_epi8(19)), range);
    return (_mm_movemask_epi8(narrow) & 0xFF) != 0xFF;
}

void Apply8(const RefinePlan& plan, const uint8_t* mins, const uint8_t* maxs, uint8_t* frame,
            uint32_t ceiling, uint32_t rowBegin, uint32_t rowEnd, void*) {
    const std::size_t end = std::size_t{rowEnd} * plan.dstWidth;
    std::size_t p = std::size_t{rowBegin} * plan.dstWidth;
    const __m256i byte = _mm256_set1_epi32(0xFF);
    const __m256i top = _mm256_set1_epi32(static_cast<int>(ceiling));
    for (; p + 8 <= end; p += 8) {
        if (!AnyWide(mins + p, maxs + p)) {
            continue;
        }
        auto* at = reinterpret_cast<__m256i*>(frame + p * 4);
        const __m256i px = _mm256_loadu_si256(at);
        const __m256i sum =
            _mm256_add_epi32(_mm256_add_epi32(_mm256_and_si256(px, byte),
                                              _mm256_and_si256(_mm256_srli_epi32(px, 8), byte)),
                             _mm256_and_si256(_mm256_srli_epi32(px, 16), byte));
        const Lanes l = Gains<Depth8>(plan, mins + p, maxs + p, sum);
        if (_mm256_testz_si256(l.active, l.active)) {
            continue;
        }
        __m256i out = _mm256_andnot_si256(_mm256_set1_epi32(0x00FFFFFF), px);
        for (int c = 0; c < 3; ++c) {
            const __m256i s = _mm256_and_si256(_mm256_srli_epi32(px, 8 * c), byte);
            // (s * g + 64) >> 7, capped on its low 16 bits, stored as a byte.
            const __m256i v = _mm256_srai_epi32(
                _mm256_add_epi32(_mm256_mullo_epi32(s, l.gain), _mm256_set1_epi32(64)), 7);
            const __m256i low = _mm256_and_si256(v, _mm256_set1_epi32(0xFFFF));
            const __m256i r = _mm256_and_si256(_mm256_min_epu32(low, top), byte);
            out = _mm256_or_si256(out, _mm256_slli_epi32(r, 8 * c));
        }
        _mm256_storeu_si256(at, _mm256_blendv_epi8(px, out, l.active));
    }
    refinepixels::ApplyPixels<Depth8>(plan, mins, maxs, frame, ceiling, p, end);
}

void Apply16(const RefinePlan& plan, const uint8_t* mins, const uint8_t* maxs, uint16_t* frame,
             uint32_t ceiling, uint32_t rowBegin, uint32_t rowEnd, void*) {
    const std::size_t end = std::size_t{rowEnd} * plan.dstWidth;
    std::size_t p = std::size_t{rowBegin} * plan.dstWidth;
    const __m256i top = _mm256_set1_epi32(static_cast<int>(ceiling));
    const __m256i colour = _mm256_setr_epi32(-1, -1, -1, 0, -1, -1, -1, 0);
    for (; p + 8 <= end; p += 8) {
        if (!AnyWide(mins + p, maxs + p)) {
            continue;
        }
        uint16_t* px = frame + p * 4;
        __m256i s[4];  // two pixels each, one channel a lane
        for (int i = 0; i < 4; ++i) {
            s[i] = _mm256_cvtepu16_epi32(
                _mm_loadu_si128(reinterpret_cast<const __m128i*>(px + i * 8)));
        }
        // Channel sums: lanes 0..2 and 4..6 of each pair, gathered in pixel order.
        __m256i sums[4];
        for (int i = 0; i < 4; ++i) {
            const __m256i masked = _mm256_and_si256(s[i], colour);
            // b+g in lanes 0/4 after one horizontal add with r+a (a masked to 0).
            sums[i] = _mm256_hadd_epi32(masked, masked);    // [b+g, r, b+g, r | ...]
            sums[i] = _mm256_hadd_epi32(sums[i], sums[i]);  // [sum, sum, sum, sum | ...]
        }
        // sums[i] holds pixel 2i in its low lane and 2i + 1 in its high lane.
        const __m256i order = _mm256_setr_epi32(0, 4, 0, 4, 0, 4, 0, 4);
        const __m256i s01 = _mm256_permutevar8x32_epi32(sums[0], order);
        const __m256i s23 = _mm256_permutevar8x32_epi32(sums[1], order);
        const __m256i s45 = _mm256_permutevar8x32_epi32(sums[2], order);
        const __m256i s67 = _mm256_permutevar8x32_epi32(sums[3], order);
        const __m256i sum = _mm256_blend_epi32(_mm256_blend_epi32(s01, s23, 0x0C),
                                               _mm256_blend_epi32(s45, s67, 0xC0), 0xF0);
        const Lanes l = Gains<Depth16>(plan, mins + p, maxs + p, sum);
        if (_mm256_testz_si256(l.active, l.active)) {
            continue;
        }
        for (int i = 0; i < 4; ++i) {
            const int a = 2 * i;
            const __m256i spread = _mm256_setr_epi32(a, a, a, a, a + 1, a + 1, a + 1, a + 1);
            const __m256i g = _mm256_permutevar8x32_epi32(l.gain, spread);
            const __m256i on =
                _mm256_and_si256(_mm256_permutevar8x32_epi32(l.active, spread), colour);
            // (s * g + 16384) >> 15 in wrapping 32 bits; above the ceiling as
            // an unsigned number (negative included) gives the ceiling.
            const __m256i v = _mm256_srai_epi32(
                _mm256_add_epi32(_mm256_mullo_epi32(s[i], g), _mm256_set1_epi32(16384)), 15);
            s[i] = _mm256_blendv_epi8(s[i], _mm256_min_epu32(v, top), on);
        }
        for (int i = 0; i < 4; i += 2) {
            _mm256_storeu_si256(
                reinterpret_cast<__m256i*>(px + i * 8),
                _mm256_permute4x64_epi64(_mm256_packus_epi32(s[i], s[i + 1]), 0xD8));
        }
    }
    refinepixels::ApplyPixels<Depth16>(plan, mins, maxs, frame, ceiling, p, end);
}

}  // namespace

const RefineApplyKernels kRefineApplyAvx2 = {&Apply8, &Apply16};

}  // namespace quillon
