// Resizing a min/max lattice map, vertical pass eight columns at a time.
//
// Same setup and horizontal pass as scaleMapBilinear. The vertical pass runs
// in 16-bit lanes: difference with signed saturation, product kept to its low
// 16 bits, +32 with saturation, arithmetic shift by 6, saturating add of the
// upper row, and the result saturated to 0..255. For byte-valued lattices
// every step stays in range, so the bytes equal the scalar form's; the
// columns after the last multiple of eight use the scalar step.
#include <cstddef>

#include "engine/EngineMemory.h"
#include "engine/Refinement.h"
#include "engine/ScaleMapPasses.h"
#include "engine/VectorSupport.h"

#ifdef QUILLON_HAVE_SSE2
#include <emmintrin.h>
#endif

namespace quillon {

bool scaleMapVector(const uint8_t* lattice, uint8_t* destination, const uint32_t* rowIndex,
                    const uint32_t* columnIndex, const double* columnFrac, const double* rowFrac,
                    uint32_t srcWidth, uint32_t srcHeight, uint32_t dstWidth, uint32_t dstHeight) {
    using namespace mapresize;
    if (const auto early = EarlyResult(lattice, destination, rowIndex, columnIndex, columnFrac,
                                       rowFrac, dstWidth, dstHeight)) {
        return *early;
    }
    HorizontalStage stage(srcHeight, dstWidth);
    ScratchBuffer<uint16_t> rowWeights(dstHeight);
    ScratchBuffer<uint32_t> rowStarts(dstHeight);
    if (!stage || !rowWeights || !rowStarts ||
        !stage.Run(lattice, rowIndex, columnIndex, columnFrac, rowFrac, srcWidth, srcHeight,
                   dstHeight)) {
        return false;
    }

    // The intermediate fits the 32-bit allocation hook, so its offsets fit 32 bits.
    for (uint32_t r = 0; r < dstHeight; ++r) {
        MapTap tap{};
        MakeTap(rowFrac[r], rowIndex[r], tap);
        rowWeights[r] = tap.weight;
        rowStarts[r] = static_cast<uint32_t>(std::size_t{tap.lattice} * dstWidth);
    }

#ifdef QUILLON_HAVE_SSE2
    const uint32_t vectorColumns = dstWidth & ~7u;
    const __m128i rounding = _mm_set1_epi16(32);
#else
    const uint32_t vectorColumns = 0;
#endif
    for (uint32_t r = 0; r < dstHeight; ++r) {
        const int16_t* upper = stage.Row(0) + rowStarts[r];
        const int16_t* lower = upper + dstWidth;
        uint8_t* out = destination + std::size_t{r} * dstWidth;
        const int32_t weight = rowWeights[r];
#ifdef QUILLON_HAVE_SSE2
        const __m128i fy = _mm_set1_epi16(static_cast<int16_t>(weight));
        for (uint32_t k = 0; k < vectorColumns; k += 8) {
            const __m128i a = _mm_loadu_si128(reinterpret_cast<const __m128i*>(upper + k));
            const __m128i b = _mm_loadu_si128(reinterpret_cast<const __m128i*>(lower + k));
            __m128i v = _mm_mullo_epi16(_mm_subs_epi16(b, a), fy);
            v = _mm_srai_epi16(_mm_adds_epi16(v, rounding), 6);
            v = _mm_adds_epi16(v, a);
            _mm_storel_epi64(reinterpret_cast<__m128i*>(out + k), _mm_packus_epi16(v, v));
        }
#endif
        for (uint32_t k = vectorColumns; k < dstWidth; ++k) {
            out[k] = VerticalSample(upper[k], lower[k], weight);
        }
    }
    return true;
}

}  // namespace quillon
