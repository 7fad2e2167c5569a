// Grey conversion, AVX-512: sixteen pixels a step, as the AVX2 form; bytes
// come back by truncating moves, which keep pixel order.
#include <immintrin.h>

#include <cstddef>

#include "kernels/GreyConversion.h"

#if defined(__GNUC__) && !defined(__clang__)
#pragma GCC diagnostic ignored "-Wmaybe-uninitialized"  // GCC 12's _mm512_undefined_*()
#endif

namespace quillon {
namespace {

inline __m512i Sums8(const uint8_t* px) {
    const __m512i v = _mm512_loadu_si512(px);
    const __m512i pairs = _mm512_maddubs_epi16(v, _mm512_set1_epi32(0x00010101));
    return _mm512_madd_epi16(pairs, _mm512_set1_epi16(1));
}

inline __m512i Sums16(const uint16_t* px) {
    const __m512i weights = _mm512_set1_epi64(0x0000000100010001);
    const auto eight = [&weights](const uint16_t* at) {
        const __m512i pairs = _mm512_madd_epi16(_mm512_srli_epi16(_mm512_loadu_si512(at), 8),
                                                weights);  // b + g, r
        return _mm512_cvtepi64_epi32(_mm512_add_epi64(pairs, _mm512_srli_epi64(pairs, 32)));
    };
    return _mm512_inserti64x4(_mm512_castsi256_si512(eight(px)), eight(px + 32), 1);
}

template <typename Sample>
void Grey(const GreyPlan& plan, const Sample* frame, uint8_t* grey, uint32_t rowBegin,
          uint32_t rowEnd, void* scratch) {
    const std::size_t end = std::size_t{rowEnd} * plan.width;
    std::size_t i = std::size_t{rowBegin} * plan.width;
    for (; i + 16 <= end; i += 16) {
        __m512i sum;
        if constexpr (sizeof(Sample) == 1) {
            sum = Sums8(frame + i * 4);
        } else {
            sum = Sums16(frame + i * 4);
        }
        const __m512i g =
            _mm512_srli_epi32(_mm512_add_epi32(_mm512_mullo_epi32(sum, _mm512_set1_epi32(21844)),
                                               _mm512_set1_epi32(32768)),
                              16);
        _mm_storeu_si128(reinterpret_cast<__m128i*>(grey + i), _mm512_cvtepi32_epi8(g));
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

const GreyKernels kGreyAvx512 = {&Grey<uint8_t>, &Grey<uint16_t>};

}  // namespace quillon
