// The spot row blend in AVX doubles, a pixel a step (channels 0-2 and the
// spare lane). The arithmetic is the scalar kernel's, operation for
// operation (no fused multiply-add), with the limits folded into one
// conversion as in the SSE2 kernel. Channel 3 is written back as it was read.
#include <immintrin.h>

#include <cstring>

#include "antialias/SpotKernels.h"

namespace quillon::aa {

namespace {

struct Constants {
    __m256d follow, mix, base, one, half, zero, top;
    explicit Constants(const BlendParams& p)
        : follow(_mm256_set1_pd(p.follow)),
          mix(_mm256_set1_pd(p.mix)),
          base(_mm256_set1_pd(p.base)),
          one(_mm256_set1_pd(1.0)),
          half(_mm256_set1_pd(0.5)),
          zero(_mm256_setzero_pd()),
          top(_mm256_set1_pd(static_cast<double>(p.maxValue) + 0.5)) {}
};

// The four lanes' new values as int32.
inline __m128i blendPixel(const Constants& c, __m128i lanes, const double* weights,
                          double* window) {
    const __m256d v = _mm256_cvtepi32_pd(lanes);
    const __m256d w = _mm256_loadu_pd(weights);
    __m256d m = _mm256_loadu_pd(window);
    m = _mm256_add_pd(
        m, _mm256_div_pd(_mm256_mul_pd(c.follow, _mm256_sub_pd(v, m)), _mm256_sub_pd(c.base, w)));
    _mm256_storeu_pd(window, m);
    const __m256d mw = _mm256_mul_pd(c.mix, w);
    __m256d t = _mm256_add_pd(
        _mm256_add_pd(_mm256_mul_pd(_mm256_sub_pd(c.one, mw), v), _mm256_mul_pd(mw, m)), c.half);
    t = _mm256_min_pd(_mm256_max_pd(t, c.zero), c.top);
    return _mm256_cvttpd_epi32(t);
}

void blendRow8(const BlendParams& params, const double* weights, double* window, uint8_t* pixels,
               int32_t count) {
    const Constants c(params);
    for (int32_t i = 0; i < count; ++i) {
        uint8_t* p = pixels + 4 * i;
        uint32_t px;
        std::memcpy(&px, p, 4);
        const __m128i lanes = _mm_cvtepu8_epi32(_mm_cvtsi32_si128(static_cast<int32_t>(px)));
        const __m128i values =
            blendPixel(c, lanes, weights + kCellDoubles * i, window + kCellDoubles * i);
        // Channels 0-2 are within 0..255 and the spare lane is dropped, so
        // the packs change no kept value.
        const __m128i words = _mm_packus_epi32(values, values);
        const __m128i bytes = _mm_packus_epi16(words, words);
        const uint32_t blended = static_cast<uint32_t>(_mm_cvtsi128_si32(bytes));
        px = (blended & 0x00FFFFFFu) | (px & 0xFF000000u);
        std::memcpy(p, &px, 4);
    }
}

void blendRow16(const BlendParams& params, const double* weights, double* window, uint16_t* pixels,
                int32_t count) {
    const Constants c(params);
    for (int32_t i = 0; i < count; ++i) {
        uint16_t* p = pixels + 4 * i;
        const __m128i raw = _mm_loadl_epi64(reinterpret_cast<const __m128i*>(p));
        const __m128i values = blendPixel(c, _mm_cvtepu16_epi32(raw), weights + kCellDoubles * i,
                                          window + kCellDoubles * i);
        // Channels 0-2 are within 0..65535: the pack keeps them.
        const __m128i words = _mm_packus_epi32(values, values);
        // Channels 0-2 from the blend, channel 3 as read.
        const __m128i merged = _mm_blend_epi16(words, raw, 0x08);
        _mm_storel_epi64(reinterpret_cast<__m128i*>(p), merged);
    }
}

}  // namespace

const BlendKernels kBlendAvx2 = {blendRow8, blendRow16};

}  // namespace quillon::aa
