// Lattice-map resize, AVX2. Horizontal: sixteen columns a step by byte
// shuffles of one window (MapShuffleRows.h). Vertical: 32 columns a step in
// 16-bit lanes, exact for byte-valued lattices as in the SSE2 form.
#include <immintrin.h>

#include "kernels/MapResize.h"
#include "kernels/scalar/MapRows.h"
#include "kernels/x86/MapShuffleRows.h"

namespace quillon {
namespace {

void Vertical(const int16_t* upper, const int16_t* lower, int32_t weight, uint8_t* out,
              uint32_t width) {
    const __m256i fy = _mm256_set1_epi16(static_cast<int16_t>(weight));
    const __m256i rounding = _mm256_set1_epi16(32);
    const auto blend = [&](uint32_t k) {
        const __m256i a = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(upper + k));
        const __m256i b = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(lower + k));
        const __m256i v = _mm256_mullo_epi16(_mm256_sub_epi16(b, a), fy);
        return _mm256_add_epi16(_mm256_srai_epi16(_mm256_add_epi16(v, rounding), 6), a);
    };
    uint32_t k = 0;
    for (; k + 32 <= width; k += 32) {
        const __m256i bytes = _mm256_packus_epi16(blend(k), blend(k + 16));
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(out + k),
                            _mm256_permute4x64_epi64(bytes, 0xD8));
    }
    maprows::VerticalSteps(upper, lower, weight, out, k, width);
}

void Resize(const RefinePlan& plan, const uint8_t* lattice, uint8_t* map, uint32_t rowBegin,
            uint32_t rowEnd, void* scratch) {
    mapshuffle::Resize(plan, lattice, map, rowBegin, rowEnd, scratch, &Vertical);
}

}  // namespace

const MapResizeKernels kMapResizeAvx2 = {&Resize};

}  // namespace quillon
