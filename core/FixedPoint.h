// Q13 fixed-point steps shared by the filter kernels.
#ifndef QUILLON_CORE_FIXEDPOINT_H
#define QUILLON_CORE_FIXEDPOINT_H

#include <cstdint>

namespace quillon {

// One Q13 filter step: add 4096 to the 32-bit sum, shift right by 13 with
// sign. The sum is formed wide and wrapped to 32 bits first, so the result is
// the same as in 32-bit two's-complement arithmetic (and in vector lanes),
// without undefined overflow for any table contents.
inline int32_t Q13Step(int64_t sum) {
    const auto wrapped = static_cast<int32_t>(static_cast<uint32_t>(sum + 4096));
    return wrapped >> 13;
}

// Clamped from above first, then from below.
inline int32_t ClampToRange(int32_t v, int32_t maxValue) {
    if (v > maxValue) {
        v = maxValue;
    }
    if (v < 0) {
        v = 0;
    }
    return v;
}

}  // namespace quillon

#endif  // QUILLON_CORE_FIXEDPOINT_H
