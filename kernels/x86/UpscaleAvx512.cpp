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
    static __m128i Entry(const int16_t* row, uint32_t entry) {
        return _mm_loadu_si128(reinterpret_cast<const __m128i*>(row + std::size_t{entry} * 8));
    }
    static R LoadLanes(const int16_t* row, const uint32_t* entries, uint32_t add) {
        const __m256i low = _mm256_inserti128_si256(
            _mm256_castsi128_si256(Entry(row, entries[0] + add)), Entry(row, entries[1] + add), 1);
        const __m256i high = _mm256_inserti128_si256(
            _mm256_castsi128_si256(Entry(row, entries[2] + add)), Entry(row, entries[3] + add), 1);
        return _mm512_inserti64x4(_mm512_castsi256_si512(low), high, 1);
    }
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
