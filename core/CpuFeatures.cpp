// Processor detection: cpuid and xgetbv, asked once per process.
#include "core/CpuFeatures.h"

#include <cstdint>

#if defined(__x86_64__) || defined(_M_X64) || defined(__i386__) || defined(_M_IX86)
#define QUILLON_X86 1
#if defined(_MSC_VER) && !defined(__clang__)
#include <intrin.h>
#else
#include <cpuid.h>
#endif
#endif

namespace quillon {
namespace {

#ifdef QUILLON_X86

struct Registers {
    uint32_t eax = 0, ebx = 0, ecx = 0, edx = 0;
};

Registers Cpuid(uint32_t leaf, uint32_t subleaf) {
    Registers r;
#if defined(_MSC_VER) && !defined(__clang__)
    int v[4];
    __cpuidex(v, static_cast<int>(leaf), static_cast<int>(subleaf));
    r.eax = static_cast<uint32_t>(v[0]);
    r.ebx = static_cast<uint32_t>(v[1]);
    r.ecx = static_cast<uint32_t>(v[2]);
    r.edx = static_cast<uint32_t>(v[3]);
#else
    __cpuid_count(leaf, subleaf, r.eax, r.ebx, r.ecx, r.edx);
#endif
    return r;
}

// The register state the operating system saves on a switch (XCR0). Only
// called once cpuid has reported OSXSAVE.
uint64_t EnabledRegisterState() {
#if defined(_MSC_VER) && !defined(__clang__)
    return _xgetbv(0);
#else
    uint32_t low = 0;
    uint32_t high = 0;
    __asm__ volatile("xgetbv" : "=a"(low), "=d"(high) : "c"(0));
    return (uint64_t{high} << 32) | low;
#endif
}

bool Bit(uint32_t word, int bit) {
    return ((word >> bit) & 1u) != 0;
}

CpuLevel Detect() {
    const Registers basic = Cpuid(0, 0);
    if (basic.eax < 1) {
        return CpuLevel::Scalar;
    }
    const Registers one = Cpuid(1, 0);
    if (!Bit(one.edx, 26)) {  // SSE2
        return CpuLevel::Scalar;
    }
    const bool osxsave = Bit(one.ecx, 27);
    const bool avx = Bit(one.ecx, 28);
    const bool fma = Bit(one.ecx, 12);
    if (basic.eax < 7 || !osxsave || !avx || !fma) {
        return CpuLevel::Sse2;
    }
    const uint64_t xcr0 = EnabledRegisterState();
    constexpr uint64_t kVectorState = 0x6;   // XMM and YMM
    constexpr uint64_t kAvx512State = 0xE0;  // opmask, ZMM0-15 upper, ZMM16-31
    if ((xcr0 & kVectorState) != kVectorState) {
        return CpuLevel::Sse2;
    }
    const Registers seven = Cpuid(7, 0);
    const bool avx2 = Bit(seven.ebx, 5) && Bit(seven.ebx, 3) && Bit(seven.ebx, 8);  // + BMI1/2
    if (!avx2) {
        return CpuLevel::Sse2;
    }
    const bool avx512 = Bit(seven.ebx, 16) && Bit(seven.ebx, 17) && Bit(seven.ebx, 28) &&
                        Bit(seven.ebx, 30) && Bit(seven.ebx, 31);  // F, DQ, CD, BW, VL
    if (!avx512 || (xcr0 & kAvx512State) != kAvx512State) {
        return CpuLevel::Avx2;
    }
    return CpuLevel::Avx512;
}

#else

CpuLevel Detect() {
    return CpuLevel::Scalar;
}

#endif

}  // namespace

CpuLevel MachineCpuLevel() {
    static const CpuLevel level = Detect();
    return level;
}

}  // namespace quillon
