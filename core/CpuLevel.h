// Instruction-set levels the engine has kernels for, lowest first. A level
// includes everything below it; a kernel family that has no kernel of its own
// at some level uses the next lower one that it has.
#ifndef QUILLON_CORE_CPULEVEL_H
#define QUILLON_CORE_CPULEVEL_H

#include <cstdint>
#include <string_view>

namespace quillon {

enum class CpuLevel : uint8_t {
    Scalar = 0,  // plain C++, no intrinsics
    Sse2 = 1,    // 128-bit integer vectors (every x86-64 processor)
    Avx2 = 2,    // 256-bit integer vectors, with FMA, BMI1 and BMI2
    Avx512 = 3,  // 512-bit vectors: AVX-512 F, BW, VL, DQ and CD
};

inline constexpr int kCpuLevelCount = 4;

inline constexpr std::string_view CpuLevelName(CpuLevel level) {
    switch (level) {
        case CpuLevel::Scalar:
            return "scalar";
        case CpuLevel::Sse2:
            return "sse2";
        case CpuLevel::Avx2:
            return "avx2";
        case CpuLevel::Avx512:
            return "avx512";
    }
    return "scalar";
}

}  // namespace quillon

#endif  // QUILLON_CORE_CPULEVEL_H
