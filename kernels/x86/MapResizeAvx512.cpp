// Lattice-map resize, AVX-512: the AVX2 form's horizontal pass (byte shuffles
// of one window, MapShuffleRows.h) and the vertical step 32 columns at a time,
// brought back to bytes in order by a truncating move.
#include <immintrin.h>

#include "kernels/MapResize.h"
#include "kernels/scalar/MapRows.h"
#include "kernels/x86/MapShuffleRows.h"

#if defined(__GNUC__) && !defined(__clang__)
#pragma GCC diagnostic ignored "-Wmaybe-uninitialized"  // GCC 12's _mm512_undefined_*()
#endif

namespace quillon {
namespace {

void Vertical(const int16_t* upper, const int16_t* lower, int32_t weight, uint8_t* out,
              uint32_t width) {
    const __m512i fy = _mm512_set1_epi16(static_cast<int16_t>(weight));
    const __m512i rounding = _mm512_set1_epi16(32);
    uint32_t k = 0;
    for (; k + 32 <= width; k += 32) {
        const __m512i a = _mm512_loadu_si512(upper + k);
        const __m512i b = _mm512_loadu_si512(lower + k);
        const __m512i v = _mm512_mullo_epi16(_mm512_sub_epi16(b, a), fy);
        const __m512i r = _mm512_add_epi16(_mm512_srai_epi16(_mm512_add_epi16(v, rounding), 6), a);
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(out + k), _mm512_cvtepi16_epi8(r));
    }
    maprows::VerticalSteps(upper, lower, weight, out, k, width);
}

void Resize(const RefinePlan& plan, const uint8_t* lattice, uint8_t* map, uint32_t rowBegin,
            uint32_t rowEnd, void* scratch) {
    mapshuffle::Resize(plan, lattice, map, rowBegin, rowEnd, scratch, &Vertical);
}

}  // namespace

const MapResizeKernels kMapResizeAvx512 = {&Resize};

}  // namespace quillon
