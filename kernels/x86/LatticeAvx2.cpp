// The min/max lattice, AVX2: 32 points at a time in the interior of middle rows.
#include <immintrin.h>

#include "kernels/Lattice.h"
#include "kernels/x86/LatticeInterior.h"

namespace quillon {
namespace {

struct Bytes {
    static constexpr std::size_t N = 32;
    static __m256i Load(const uint8_t* p) {
        return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(p));
    }
    static __m256i Min(__m256i a, __m256i b) { return _mm256_min_epu8(a, b); }
    static __m256i Max(__m256i a, __m256i b) { return _mm256_max_epu8(a, b); }
    static void Store(uint8_t* p, __m256i v) {
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(p), v);
    }
};

}  // namespace

const LatticeKernels kLatticeAvx2 = {&latticeinterior::Build<Bytes>};

}  // namespace quillon
