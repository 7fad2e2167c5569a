// The spot row blend in SSE2 doubles, a pixel in two steps (channels 0-1,
// then channel 2 with the spare lane). Division, products and sums are the
// scalar kernel's, in its order, so every lane rounds alike. The truncation
// and limits fold into one conversion: the unrounded value is first brought
// into [0, maxValue + 0.5] (the max with a second operand of 0 also turns
// not a number into 0), whose truncation is the scalar kernel's result.
#include <emmintrin.h>

#include "antialias/SpotKernels.h"

namespace quillon::aa {

namespace {

struct Constants {
    __m128d follow, mix, base, one, half, zero, top;
    explicit Constants(const BlendParams& p)
        : follow(_mm_set1_pd(p.follow)),
          mix(_mm_set1_pd(p.mix)),
          base(_mm_set1_pd(p.base)),
          one(_mm_set1_pd(1.0)),
          half(_mm_set1_pd(0.5)),
          zero(_mm_setzero_pd()),
          top(_mm_set1_pd(static_cast<double>(p.maxValue) + 0.5)) {}
};

// Two lanes: the new frame values as int32 in the low half.
inline __m128i blendTwo(const Constants& c, __m128d v, const double* weights, double* window) {
    const __m128d w = _mm_loadu_pd(weights);
    __m128d m = _mm_loadu_pd(window);
    m = _mm_add_pd(m, _mm_div_pd(_mm_mul_pd(c.follow, _mm_sub_pd(v, m)), _mm_sub_pd(c.base, w)));
    _mm_storeu_pd(window, m);
    const __m128d mw = _mm_mul_pd(c.mix, w);
    __m128d t =
        _mm_add_pd(_mm_add_pd(_mm_mul_pd(_mm_sub_pd(c.one, mw), v), _mm_mul_pd(mw, m)), c.half);
    t = _mm_min_pd(_mm_max_pd(t, c.zero), c.top);
    return _mm_cvttpd_epi32(t);
}

// The four lanes of a pixel as int32 values, the spare one included.
inline void blendPixel(const Constants& c, __m128i lanes, const double* weights, double* window,
                       int32_t out[4]) {
    const __m128i low = blendTwo(c, _mm_cvtepi32_pd(lanes), weights, window);
    const __m128i high =
        blendTwo(c, _mm_cvtepi32_pd(_mm_srli_si128(lanes, 8)), weights + 2, window + 2);
    _mm_storeu_si128(reinterpret_cast<__m128i*>(out), _mm_unpacklo_epi64(low, high));
}

template <typename Channel>
void blendRow(const BlendParams& params, const double* weights, double* window, Channel* pixels,
              int32_t count) {
    const Constants c(params);
    for (int32_t i = 0; i < count; ++i) {
        Channel* p = pixels + 4 * i;
        const __m128i lanes = _mm_setr_epi32(p[0], p[1], p[2], 0);
        int32_t out[4];
        blendPixel(c, lanes, weights + kCellDoubles * i, window + kCellDoubles * i, out);
        p[0] = static_cast<Channel>(out[0]);
        p[1] = static_cast<Channel>(out[1]);
        p[2] = static_cast<Channel>(out[2]);
    }
}

}  // namespace

const BlendKernels kBlendSse2 = {blendRow<uint8_t>, blendRow<uint16_t>};

}  // namespace quillon::aa
