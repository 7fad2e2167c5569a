// Refinement apply, AVX-512: sixteen pixels a step, as the AVX2 form (same
// division argument: single precision for the 8-bit gain, double for the
// 16-bit one), with the changed pixels chosen by mask.
#include <immintrin.h>

#include "kernels/RefineApply.h"
#include "kernels/scalar/RefinePixels.h"

#if defined(__GNUC__) && !defined(__clang__)
#pragma GCC diagnostic ignored "-Wmaybe-uninitialized"  // GCC 12's _mm512_undefined_*()
#endif

namespace quillon {
namespace {

using refinepixels::Depth16;
using refinepixels::Depth8;

inline __m512i Low16Signed(__m512i v) {
    return _mm512_srai_epi32(_mm512_slli_epi32(v, 16), 16);
}

struct Lanes {
    __m512i gain;
    __mmask16 active;
};

template <typename Depth>
Lanes Gains(const RefinePlan& plan, const uint8_t* mins, const uint8_t* maxs, __m512i sum) {
    const __m512i lo =
        _mm512_cvtepu8_epi32(_mm_loadu_si128(reinterpret_cast<const __m128i*>(mins)));
    const __m512i hi =
        _mm512_cvtepu8_epi32(_mm_loadu_si128(reinterpret_cast<const __m128i*>(maxs)));
    const __m512i byte = _mm512_set1_epi32(0xFF);
    const __m512i range = _mm512_and_si512(_mm512_sub_epi32(hi, lo), byte);
    const __m512i grey = _mm512_and_si512(
        _mm512_srli_epi32(
            _mm512_add_epi32(_mm512_mullo_epi32(sum, _mm512_set1_epi32(Depth::kGreyFactor)),
                             _mm512_set1_epi32(32768)),
            16),
        byte);
    __mmask16 active =
        _mm512_cmpge_epi32_mask(range, _mm512_set1_epi32(refinepixels::kMinimumRange)) &
        _mm512_test_epi32_mask(grey, grey);

    const __m512i index =
        _mm512_add_epi32(_mm512_mullo_epi32(range, _mm512_set1_epi32(511)),
                         _mm512_add_epi32(_mm512_sub_epi32(grey, lo), _mm512_set1_epi32(255)));
    const __m512i pair = _mm512_i32gather_epi32(_mm512_srli_epi32(index, 1), plan.curve, 4);
    const __m512i even = _mm512_slli_epi32(_mm512_andnot_si512(index, _mm512_set1_epi32(1)), 4);
    const __m512i s = _mm512_srai_epi32(_mm512_sllv_epi32(pair, even), 16);
    const __m512i target = Low16Signed(_mm512_add_epi32(s, lo));
    const __m512i d = _mm512_max_epi32(grey, _mm512_set1_epi32(1));

    __m512i gain;
    if constexpr (sizeof(typename Depth::Sample) == 1) {
        const __m512 q =
            _mm512_div_ps(_mm512_cvtepi32_ps(_mm512_slli_epi32(target, 7)), _mm512_cvtepi32_ps(d));
        gain = Low16Signed(_mm512_cvttps_epi32(q));
    } else {
        const __m512i n = _mm512_slli_epi32(target, 15);
        const __m256i q0 =
            _mm512_cvttpd_epi32(_mm512_div_pd(_mm512_cvtepi32_pd(_mm512_castsi512_si256(n)),
                                              _mm512_cvtepi32_pd(_mm512_castsi512_si256(d))));
        const __m256i q1 =
            _mm512_cvttpd_epi32(_mm512_div_pd(_mm512_cvtepi32_pd(_mm512_extracti64x4_epi64(n, 1)),
                                              _mm512_cvtepi32_pd(_mm512_extracti64x4_epi64(d, 1))));
        gain = _mm512_inserti64x4(_mm512_castsi256_si512(q0), q1, 1);
    }
    active &= _mm512_cmpgt_epi32_mask(gain, _mm512_setzero_si512());
    return {gain, active};
}

bool AnyWide(const uint8_t* mins, const uint8_t* maxs) {
    const __m128i range = _mm_sub_epi8(_mm_loadu_si128(reinterpret_cast<const __m128i*>(maxs)),
                                       _mm_loadu_si128(reinterpret_cast<const __m128i*>(mins)));
    return _mm_cmpgt_epu8_mask(range, _mm_set1_epi8(19)) != 0;
}

void Apply8(const RefinePlan& plan, const uint8_t* mins, const uint8_t* maxs, uint8_t* frame,
            uint32_t ceiling, uint32_t rowBegin, uint32_t rowEnd, void*) {
    const std::size_t end = std::size_t{rowEnd} * plan.dstWidth;
    std::size_t p = std::size_t{rowBegin} * plan.dstWidth;
    const __m512i byte = _mm512_set1_epi32(0xFF);
    const __m512i top = _mm512_set1_epi32(static_cast<int>(ceiling));
    for (; p + 16 <= end; p += 16) {
        if (!AnyWide(mins + p, maxs + p)) {
            continue;
        }
        uint8_t* at = frame + p * 4;
        const __m512i px = _mm512_loadu_si512(at);
        const __m512i sum = _mm512_madd_epi16(
            _mm512_maddubs_epi16(px, _mm512_set1_epi32(0x00010101)), _mm512_set1_epi16(1));
        const Lanes l = Gains<Depth8>(plan, mins + p, maxs + p, sum);
        if (l.active == 0) {
            continue;
        }
        __m512i out = _mm512_and_si512(px, _mm512_set1_epi32(static_cast<int>(0xFF000000u)));
        for (int c = 0; c < 3; ++c) {
            const __m512i s = _mm512_and_si512(_mm512_srli_epi32(px, 8 * c), byte);
            const __m512i v = _mm512_srai_epi32(
                _mm512_add_epi32(_mm512_mullo_epi32(s, l.gain), _mm512_set1_epi32(64)), 7);
            const __m512i low = _mm512_and_si512(v, _mm512_set1_epi32(0xFFFF));
            const __m512i r = _mm512_and_si512(_mm512_min_epu32(low, top), byte);
            out = _mm512_or_si512(out, _mm512_slli_epi32(r, 8 * c));
        }
        _mm512_storeu_si512(at, _mm512_mask_blend_epi32(l.active, px, out));
    }
    refinepixels::ApplyPixels<Depth8>(plan, mins, maxs, frame, ceiling, p, end);
}

void Apply16(const RefinePlan& plan, const uint8_t* mins, const uint8_t* maxs, uint16_t* frame,
             uint32_t ceiling, uint32_t rowBegin, uint32_t rowEnd, void*) {
    const std::size_t end = std::size_t{rowEnd} * plan.dstWidth;
    std::size_t p = std::size_t{rowBegin} * plan.dstWidth;
    const __m512i top = _mm512_set1_epi32(static_cast<int>(ceiling));
    const __m512i word = _mm512_set1_epi64(0xFFFF);
    for (; p + 16 <= end; p += 16) {
        if (!AnyWide(mins + p, maxs + p)) {
            continue;
        }
        uint16_t* px = frame + p * 4;
        // One pixel a 64-bit lane: blue + green + red, eight pixels a vector.
        const auto sums8 = [&word](const uint16_t* at) {
            const __m512i v = _mm512_loadu_si512(at);
            const __m512i s =
                _mm512_add_epi64(_mm512_add_epi64(_mm512_and_si512(v, word),
                                                  _mm512_and_si512(_mm512_srli_epi64(v, 16), word)),
                                 _mm512_and_si512(_mm512_srli_epi64(v, 32), word));
            return _mm512_cvtepi64_epi32(s);
        };
        const __m512i sum =
            _mm512_inserti64x4(_mm512_castsi256_si512(sums8(px)), sums8(px + 32), 1);
        const Lanes l = Gains<Depth16>(plan, mins + p, maxs + p, sum);
        if (l.active == 0) {
            continue;
        }
        const __m512i on = _mm512_movm_epi32(l.active);
        for (int quarter = 0; quarter < 4; ++quarter) {
            auto* at = reinterpret_cast<__m256i*>(px + quarter * 16);
            const __m512i s = _mm512_cvtepu16_epi32(_mm256_loadu_si256(at));
            const int a = quarter * 4;
            const __m512i spread =
                _mm512_setr_epi32(a, a, a, a, a + 1, a + 1, a + 1, a + 1, a + 2, a + 2, a + 2,
                                  a + 2, a + 3, a + 3, a + 3, a + 3);
            const __m512i g = _mm512_permutexvar_epi32(spread, l.gain);
            // Changed pixels' blue, green and red; alpha keeps its own.
            const __m512i mine = _mm512_permutexvar_epi32(spread, on);
            const __mmask16 m = _mm512_test_epi32_mask(mine, mine) & static_cast<__mmask16>(0x7777);
            const __m512i v = _mm512_srai_epi32(
                _mm512_add_epi32(_mm512_mullo_epi32(s, g), _mm512_set1_epi32(16384)), 15);
            _mm256_storeu_si256(
                at, _mm512_cvtepi32_epi16(_mm512_mask_blend_epi32(m, s, _mm512_min_epu32(v, top))));
        }
    }
    refinepixels::ApplyPixels<Depth16>(plan, mins, maxs, frame, ceiling, p, end);
}

}  // namespace

const RefineApplyKernels kRefineApplyAvx512 = {&Apply8, &Apply16};

}  // namespace quillon
