// Grey conversion, AVX2: 32 pixels a step. Channel sums by multiply-add (the
// alpha byte or word weighted 0), the rounded third in 32-bit lanes, packed
// back to bytes in pixel order.
#include <immintrin.h>

#include <cstddef>

#include "kernels/GreyConversion.h"

namespace quillon {
namespace {

inline __m256i GreyOfSum(__m256i sum) {
    return _mm256_srli_epi32(_mm256_add_epi32(_mm256_mullo_epi32(sum, _mm256_set1_epi32(21844)),
                                              _mm256_set1_epi32(32768)),
                             16);
}

// Four vectors of eight greys (0..255, pixel order) to 32 bytes.
inline void Store32(uint8_t* out, const __m256i g[4]) {
    const __m256i words =
        _mm256_packus_epi16(_mm256_packus_epi32(g[0], g[1]), _mm256_packus_epi32(g[2], g[3]));
    _mm256_storeu_si256(
        reinterpret_cast<__m256i*>(out),
        _mm256_permutevar8x32_epi32(words, _mm256_setr_epi32(0, 4, 1, 5, 2, 6, 3, 7)));
}

// Eight pixels' blue + green + red.
inline __m256i Sums8(const uint8_t* px) {
    const __m256i v = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(px));
    const __m256i pairs = _mm256_maddubs_epi16(v, _mm256_set1_epi32(0x00010101));
    return _mm256_madd_epi16(pairs, _mm256_set1_epi16(1));
}

inline __m256i Sums16(const uint16_t* px) {
    const __m256i weights = _mm256_set1_epi64x(0x0000000100010001);
    const auto pairs = [&weights](const uint16_t* at) {
        const __m256i v = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(at));
        return _mm256_madd_epi16(_mm256_srli_epi16(v, 8), weights);  // b + g, r
    };
    // hadd keeps 128-bit lanes: pixels come out 0, 1, 4, 5, 2, 3, 6, 7.
    const __m256i sums = _mm256_hadd_epi32(pairs(px), pairs(px + 16));
    return _mm256_permutevar8x32_epi32(sums, _mm256_setr_epi32(0, 1, 4, 5, 2, 3, 6, 7));
}

template <typename Sample>
void Grey(const GreyPlan& plan, const Sample* frame, uint8_t* grey, uint32_t rowBegin,
          uint32_t rowEnd, void* scratch) {
    const std::size_t end = std::size_t{rowEnd} * plan.width;
    std::size_t i = std::size_t{rowBegin} * plan.width;
    for (; i + 32 <= end; i += 32) {
        __m256i g[4];
        for (int k = 0; k < 4; ++k) {
            if constexpr (sizeof(Sample) == 1) {
                g[k] = GreyOfSum(Sums8(frame + (i + 8 * k) * 4));
            } else {
                g[k] = GreyOfSum(Sums16(frame + (i + 8 * k) * 4));
            }
        }
        Store32(grey + i, g);
    }
    // The last pixels of the band, as whole rows of a one-row plan.
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

const GreyKernels kGreyAvx2 = {&Grey<uint8_t>, &Grey<uint16_t>};

}  // namespace quillon
