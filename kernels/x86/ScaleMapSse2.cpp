// Resizing a min/max lattice map: the vertical pass eight columns at a time
// in SSE2 16-bit lanes; the columns after the last multiple of eight use the
// scalar step.
#include <emmintrin.h>

#include <cstddef>

#include "kernels/Refinement.h"
#include "kernels/ScaleMapPasses.h"

namespace quillon {

void scaleMapVerticalSse2(const MapPlan& map, const int16_t* intermediate, uint8_t* destination,
                          uint32_t dstWidth, uint32_t rowBegin, uint32_t rowEnd) {
    const uint32_t vectorColumns = dstWidth & ~7u;
    const __m128i rounding = _mm_set1_epi16(32);
    for (uint32_t r = rowBegin; r < rowEnd; ++r) {
        const int16_t* upper = intermediate + std::size_t{map.rows[r]} * dstWidth;
        const int16_t* lower = upper + dstWidth;
        uint8_t* out = destination + std::size_t{r} * dstWidth;
        const int32_t weight = map.rowWeights[r];
        const __m128i fy = _mm_set1_epi16(static_cast<int16_t>(weight));
        for (uint32_t k = 0; k < vectorColumns; k += 8) {
            const __m128i a = _mm_loadu_si128(reinterpret_cast<const __m128i*>(upper + k));
            const __m128i b = _mm_loadu_si128(reinterpret_cast<const __m128i*>(lower + k));
            __m128i v = _mm_mullo_epi16(_mm_subs_epi16(b, a), fy);
            v = _mm_srai_epi16(_mm_adds_epi16(v, rounding), 6);
            v = _mm_adds_epi16(v, a);
            _mm_storel_epi64(reinterpret_cast<__m128i*>(out + k), _mm_packus_epi16(v, v));
        }
        for (uint32_t k = vectorColumns; k < dstWidth; ++k) {
            out[k] = mapresize::VerticalSample(upper[k], lower[k], weight);
        }
    }
}

}  // namespace quillon
