// The min/max lattice, AVX-512: 64 points at a time in the interior of middle rows.
#include <immintrin.h>

#include "kernels/Lattice.h"
#include "kernels/x86/LatticeInterior.h"

namespace quillon {
namespace {

struct Bytes {
    static constexpr std::size_t N = 64;
    static __m512i Load(const uint8_t* p) { return _mm512_loadu_si512(p); }
    static __m512i Min(__m512i a, __m512i b) { return _mm512_min_epu8(a, b); }
    static __m512i Max(__m512i a, __m512i b) { return _mm512_max_epu8(a, b); }
    static void Store(uint8_t* p, __m512i v) { _mm512_storeu_si512(p, v); }
};

}  // namespace

const LatticeKernels kLatticeAvx512 = {&latticeinterior::Build<Bytes>};

}  // namespace quillon
