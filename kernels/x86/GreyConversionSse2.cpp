// Grey conversion, SSE2: eight pixels a step. The channel sum (at most 765)
// fits 16 bits, so the rounded third is the high half of sum * 21844 plus the
// carry the + 32768 makes out of its low half.
#include <emmintrin.h>

#include <cstddef>

#include "kernels/GreyConversion.h"

namespace quillon {
namespace {

// Four pixels' blue + green + red in 32-bit lanes.
inline __m128i Sums8(const uint8_t* px) {
    const __m128i v = _mm_loadu_si128(reinterpret_cast<const __m128i*>(px));
    const __m128i byte = _mm_set1_epi32(0xFF);
    return _mm_add_epi32(
        _mm_add_epi32(_mm_and_si128(v, byte), _mm_and_si128(_mm_srli_epi32(v, 8), byte)),
        _mm_and_si128(_mm_srli_epi32(v, 16), byte));
}

inline __m128i Sums16(const uint16_t* px) {
    const __m128i weights = _mm_set_epi16(0, 1, 1, 1, 0, 1, 1, 1);
    const auto two = [&weights](const uint16_t* at) {
        const __m128i pairs = _mm_madd_epi16(
            _mm_srli_epi16(_mm_loadu_si128(reinterpret_cast<const __m128i*>(at)), 8), weights);
        return _mm_add_epi32(pairs, _mm_srli_epi64(pairs, 32));  // sums in lanes 0 and 2
    };
    return _mm_castps_si128(_mm_shuffle_ps(_mm_castsi128_ps(two(px)), _mm_castsi128_ps(two(px + 8)),
                                           _MM_SHUFFLE(2, 0, 2, 0)));
}

template <typename Sample>
void Grey(const GreyPlan& plan, const Sample* frame, uint8_t* grey, uint32_t rowBegin,
          uint32_t rowEnd, void* scratch) {
    const std::size_t end = std::size_t{rowEnd} * plan.width;
    std::size_t i = std::size_t{rowBegin} * plan.width;
    const __m128i factor = _mm_set1_epi16(21844);
    for (; i + 8 <= end; i += 8) {
        __m128i a;
        __m128i b;
        if constexpr (sizeof(Sample) == 1) {
            a = Sums8(frame + i * 4);
            b = Sums8(frame + i * 4 + 16);
        } else {
            a = Sums16(frame + i * 4);
            b = Sums16(frame + i * 4 + 16);
        }
        const __m128i sum = _mm_packs_epi32(a, b);
        const __m128i g = _mm_add_epi16(_mm_mulhi_epu16(sum, factor),
                                        _mm_srli_epi16(_mm_mullo_epi16(sum, factor), 15));
        _mm_storel_epi64(reinterpret_cast<__m128i*>(grey + i), _mm_packus_epi16(g, g));
    }
    if (i < end) {
        const GreyPlan rest{static_cast<uint32_t>(end - i), 1};
        if constexpr (sizeof(Sample) == 1) {
            kGreyScalar.from8(rest, frame + i * 4, grey + i, 0, 1, scratch);
        } else {
            kGreyScalar.from16(rest, frame + i * 4, grey + i, 0, 1, scratch);
        }
    }
}

}  // namespace

const GreyKernels kGreySse2 = {&Grey<uint8_t>, &Grey<uint16_t>};

}  // namespace quillon
