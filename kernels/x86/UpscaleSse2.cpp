// SSE2 band upscale kernels: one destination pixel a register in the
// horizontal step, four a step in the vertical one. 8-bit families only.
#include <emmintrin.h>

#include <cstdint>
#include <cstring>

#include "kernels/Upscale8Cell.h"
#include "kernels/Upscale8TwoPass.h"
#include "kernels/x86/UpscaleVector.h"

namespace quillon {
namespace {

struct Sse2 {
    using R = __m128i;
    static constexpr int kLanes = 1;

    static R Load(const void* p) { return _mm_loadu_si128(static_cast<const R*>(p)); }
    static void Store(void* p, R v) { _mm_storeu_si128(static_cast<R*>(p), v); }
    static void StoreBytes(void* p, R v, std::size_t bytes) {
        uint8_t all[16];
        _mm_storeu_si128(reinterpret_cast<R*>(all), v);
        std::memcpy(p, all, bytes);
    }
    // Sums of one destination pixel: its Pairs pairs side by side at
    // pairs + offsets[0], its weights at weights.
    template <int Pairs>
    static R FilterPixels(const int16_t* pairs, const uint32_t* offsets, const int16_t* weights) {
        const int16_t* at = pairs + offsets[0];
        R sum = Madd16(Load(at), Load(weights));
        for (int p = 1; p < Pairs; ++p) {
            sum = Add32(sum, Madd16(Load(at + 8 * p), Load(weights + 8 * p)));
        }
        return sum;
    }
    // 2 * kLanes pixels of 8-bit samples, widened to 16 bits.
    static R WidenBytes(const void* p) {
        return _mm_unpacklo_epi8(_mm_loadl_epi64(static_cast<const R*>(p)), _mm_setzero_si128());
    }
    static R Xor(R a, R b) { return _mm_xor_si128(a, b); }
    static R Set16(int16_t v) { return _mm_set1_epi16(v); }
    static R Set8(int8_t v) { return _mm_set1_epi8(v); }
    static R Set32(int32_t v) { return _mm_set1_epi32(v); }
    static R Add32(R a, R b) { return _mm_add_epi32(a, b); }
    static R Madd16(R a, R b) { return _mm_madd_epi16(a, b); }
    static R Srai13(R v) { return _mm_srai_epi32(v, 13); }
    static R Wrap16(R v) { return _mm_srai_epi32(_mm_slli_epi32(v, 16), 16); }
    static R Packs32(R a, R b) { return _mm_packs_epi32(a, b); }
    static R Unpacklo16(R a, R b) { return _mm_unpacklo_epi16(a, b); }
    static R Unpackhi16(R a, R b) { return _mm_unpackhi_epi16(a, b); }
    static R PackBytes(R a, R b) { return _mm_packus_epi16(a, b); }
    static R MinU8(R a, R b) { return _mm_min_epu8(a, b); }
};

}  // namespace

const Upscale8Kernels kUpscale8TwoPassSse2 = upscale::kVectorKernels<Sse2, upscale::TwoPass8Family>;
const Upscale8Kernels kUpscale8CellSse2 = upscale::kVectorKernels<Sse2, upscale::Cell8Family>;

}  // namespace quillon
