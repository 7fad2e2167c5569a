// The min/max lattice, SSE2: sixteen points at a time in the interior of middle rows.
#include <emmintrin.h>

#include "kernels/Lattice.h"
#include "kernels/x86/LatticeInterior.h"

namespace quillon {
namespace {

struct Bytes {
    static constexpr std::size_t N = 16;
    static __m128i Load(const uint8_t* p) {
        return _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
    }
    static __m128i Min(__m128i a, __m128i b) { return _mm_min_epu8(a, b); }
    static __m128i Max(__m128i a, __m128i b) { return _mm_max_epu8(a, b); }
    static void Store(uint8_t* p, __m128i v) { _mm_storeu_si128(reinterpret_cast<__m128i*>(p), v); }
};

}  // namespace

const LatticeKernels kLatticeSse2 = {&latticeinterior::Build<Bytes>};

}  // namespace quillon
