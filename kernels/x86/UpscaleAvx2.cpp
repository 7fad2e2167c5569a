// AVX2 band upscale kernels: two destination pixels a register in the
// horizontal step, eight a step in the vertical one (four at 16 bits).
#include <immintrin.h>

#include <cstdint>
#include <cstring>

#include "kernels/Upscale16Cell.h"
#include "kernels/Upscale8Cell.h"
#include "kernels/Upscale8TwoPass.h"
#include "kernels/x86/UpscaleVector.h"

namespace quillon {
namespace {

struct Avx2 {
    using R = __m256i;
    static constexpr int kLanes = 2;

    static R Load(const void* p) { return _mm256_loadu_si256(static_cast<const R*>(p)); }
    static void Store(void* p, R v) { _mm256_storeu_si256(static_cast<R*>(p), v); }
    static void StoreBytes(void* p, R v, std::size_t bytes) {
        uint8_t all[32];
        _mm256_storeu_si256(reinterpret_cast<R*>(all), v);
        std::memcpy(p, all, bytes);
    }
    // Sums of two destination pixels, one a 128-bit lane: each pixel's Pairs
    // pairs side by side at pairs + offsets[i], its weights after the
    // previous pixel's; the per-pixel partial sums are added across lanes.
    template <int Pairs>
    static R FilterPixels(const int16_t* pairs, const uint32_t* offsets, const int16_t* weights) {
        R pixel[2];
        for (int i = 0; i < 2; ++i) {
            const int16_t* at = pairs + offsets[i];
            const int16_t* w = weights + i * Pairs * 8;
            pixel[i] = Madd16(Load(at), Load(w));
            if constexpr (Pairs == 4) {
                pixel[i] = Add32(pixel[i], Madd16(Load(at + 16), Load(w + 16)));
            }
        }
        return Add32(_mm256_permute2x128_si256(pixel[0], pixel[1], 0x20),
                     _mm256_permute2x128_si256(pixel[0], pixel[1], 0x31));
    }
    // 2 * kLanes pixels of 8-bit samples, widened to 16 bits.
    static R WidenBytes(const void* p) {
        return _mm256_cvtepu8_epi16(_mm_loadu_si128(static_cast<const __m128i*>(p)));
    }
    static R Xor(R a, R b) { return _mm256_xor_si256(a, b); }
    static R Set16(int16_t v) { return _mm256_set1_epi16(v); }
    static R Set8(int8_t v) { return _mm256_set1_epi8(v); }
    static R Set32(int32_t v) { return _mm256_set1_epi32(v); }
    static R Add32(R a, R b) { return _mm256_add_epi32(a, b); }
    static R Madd16(R a, R b) { return _mm256_madd_epi16(a, b); }
    static R Mullo32(R a, R b) { return _mm256_mullo_epi32(a, b); }
    static R Min32(R a, R b) { return _mm256_min_epi32(a, b); }
    static R Max32(R a, R b) { return _mm256_max_epi32(a, b); }
    static R Srai13(R v) { return _mm256_srai_epi32(v, 13); }
    static R Wrap16(R v) { return _mm256_srai_epi32(_mm256_slli_epi32(v, 16), 16); }
    static R Packs32(R a, R b) { return _mm256_packs_epi32(a, b); }
    static R PackU16(R a, R b) { return _mm256_packus_epi32(a, b); }
    static R Unpacklo16(R a, R b) { return _mm256_unpacklo_epi16(a, b); }
    static R Unpackhi16(R a, R b) { return _mm256_unpackhi_epi16(a, b); }
    // The in-lane pack leaves the two registers' 64-bit halves interleaved.
    static R PackBytes(R a, R b) {
        return _mm256_permute4x64_epi64(_mm256_packus_epi16(a, b), 0xd8);
    }
    static R MinU8(R a, R b) { return _mm256_min_epu8(a, b); }
};

}  // namespace

const Upscale8Kernels kUpscale8TwoPassAvx2 = upscale::kVectorKernels<Avx2, upscale::TwoPass8Family>;
const Upscale8Kernels kUpscale8CellAvx2 = upscale::kVectorKernels<Avx2, upscale::Cell8Family>;
const Upscale16Kernels kUpscale16CellAvx2 = upscale::kVectorKernels<Avx2, upscale::Cell16Family>;

}  // namespace quillon
