// AVX-512 (F + BW) band upscale kernels: four destination pixels a register
// in the horizontal step, sixteen a step in the vertical one (eight at 16
// bits); the last partial step of a row is a masked store.
#if defined(__GNUC__) && !defined(__clang__)
// GCC's AVX-512 intrinsics pass a deliberately undefined register as the
// unused merge source, which its flow analysis reports once inlined.
#pragma GCC diagnostic ignored "-Wmaybe-uninitialized"
#endif

#include <immintrin.h>

#include <cstdint>

#include "kernels/Upscale16Cell.h"
#include "kernels/Upscale8Cell.h"
#include "kernels/Upscale8TwoPass.h"
#include "kernels/x86/UpscaleVector.h"

namespace quillon {
namespace {

struct Avx512 {
    using R = __m512i;
    static constexpr int kLanes = 4;

    static R Load(const void* p) { return _mm512_loadu_si512(p); }
    static void Store(void* p, R v) { _mm512_storeu_si512(p, v); }
    static void StoreBytes(void* p, R v, std::size_t bytes) {
        const __mmask64 mask = bytes >= 64 ? ~__mmask64{0} : (__mmask64{1} << bytes) - 1;
        _mm512_mask_storeu_epi8(p, mask, v);
    }
    // Sums of four destination pixels, one a 128-bit lane: each pixel's
    // Pairs pairs side by side at pairs + offsets[i], its weights after the
    // previous pixel's. Eight taps: one register a pixel, its four partial
    // sums added across lanes; four taps: two pixels a register.
    template <int Pairs>
    static R FilterPixels(const int16_t* pairs, const uint32_t* offsets, const int16_t* weights) {
        if constexpr (Pairs == 4) {
            R pixel[4];
            for (int i = 0; i < 4; ++i) {
                pixel[i] = Madd16(Load(pairs + offsets[i]), Load(weights + i * 32));
            }
            const R ab = Add32(_mm512_shuffle_i32x4(pixel[0], pixel[1], _MM_SHUFFLE(1, 0, 1, 0)),
                               _mm512_shuffle_i32x4(pixel[0], pixel[1], _MM_SHUFFLE(3, 2, 3, 2)));
            const R cd = Add32(_mm512_shuffle_i32x4(pixel[2], pixel[3], _MM_SHUFFLE(1, 0, 1, 0)),
                               _mm512_shuffle_i32x4(pixel[2], pixel[3], _MM_SHUFFLE(3, 2, 3, 2)));
            return Add32(_mm512_shuffle_i32x4(ab, cd, _MM_SHUFFLE(2, 0, 2, 0)),
                         _mm512_shuffle_i32x4(ab, cd, _MM_SHUFFLE(3, 1, 3, 1)));
        } else {
            R two[2];
            for (int i = 0; i < 2; ++i) {
                const __m256i first =
                    _mm256_loadu_si256(reinterpret_cast<const __m256i*>(pairs + offsets[2 * i]));
                const __m256i second = _mm256_loadu_si256(
                    reinterpret_cast<const __m256i*>(pairs + offsets[2 * i + 1]));
                two[i] = Madd16(_mm512_inserti64x4(_mm512_castsi256_si512(first), second, 1),
                                Load(weights + i * 32));
            }
            return Add32(_mm512_shuffle_i32x4(two[0], two[1], _MM_SHUFFLE(2, 0, 2, 0)),
                         _mm512_shuffle_i32x4(two[0], two[1], _MM_SHUFFLE(3, 1, 3, 1)));
        }
    }
    // 2 * kLanes pixels of 8-bit samples, widened to 16 bits.
    static R WidenBytes(const void* p) {
        return _mm512_cvtepu8_epi16(_mm256_loadu_si256(static_cast<const __m256i*>(p)));
    }
    static R Xor(R a, R b) { return _mm512_xor_si512(a, b); }
    static R Set16(int16_t v) { return _mm512_set1_epi16(v); }
    static R Set8(int8_t v) { return _mm512_set1_epi8(v); }
    static R Set32(int32_t v) { return _mm512_set1_epi32(v); }
    static R Add32(R a, R b) { return _mm512_add_epi32(a, b); }
    static R Madd16(R a, R b) { return _mm512_madd_epi16(a, b); }
    static R Mullo32(R a, R b) { return _mm512_mullo_epi32(a, b); }
    static R Min32(R a, R b) { return _mm512_min_epi32(a, b); }
    static R Max32(R a, R b) { return _mm512_max_epi32(a, b); }
    static R Srai13(R v) { return _mm512_srai_epi32(v, 13); }
    static R Wrap16(R v) { return _mm512_srai_epi32(_mm512_slli_epi32(v, 16), 16); }
    static R Packs32(R a, R b) { return _mm512_packs_epi32(a, b); }
    static R PackU16(R a, R b) { return _mm512_packus_epi32(a, b); }
    static R Unpacklo16(R a, R b) { return _mm512_unpacklo_epi16(a, b); }
    static R Unpackhi16(R a, R b) { return _mm512_unpackhi_epi16(a, b); }
    // The in-lane pack leaves the two registers' 64-bit quarters interleaved.
    static R PackBytes(R a, R b) {
        return _mm512_permutexvar_epi64(_mm512_set_epi64(7, 5, 3, 1, 6, 4, 2, 0),
                                        _mm512_packus_epi16(a, b));
    }
    static R MinU8(R a, R b) { return _mm512_min_epu8(a, b); }
};

}  // namespace

const Upscale8Kernels kUpscale8TwoPassAvx512 =
    upscale::kVectorKernels<Avx512, upscale::TwoPass8Family>;
const Upscale8Kernels kUpscale8CellAvx512 = upscale::kVectorKernels<Avx512, upscale::Cell8Family>;
const Upscale16Kernels kUpscale16CellAvx512 =
    upscale::kVectorKernels<Avx512, upscale::Cell16Family>;

}  // namespace quillon
