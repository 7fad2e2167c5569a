// Process-wide engine settings: allocation hooks and channel ceilings.
#ifndef QUILLON_CORE_ENGINESETTINGS_H
#define QUILLON_CORE_ENGINESETTINGS_H

#include <atomic>
#include <cstdint>

namespace quillon {

// Kernels read the ceilings at every call, so a change takes effect at once.
// Relaxed atomics: no ordering is promised, only that a concurrent read never
// tears.
extern std::atomic<int32_t> gMaxValue8;
extern std::atomic<int32_t> gMaxValue16;

inline int32_t MaxValue8() {
    return gMaxValue8.load(std::memory_order_relaxed);
}
inline int32_t MaxValue16() {
    return gMaxValue16.load(std::memory_order_relaxed);
}

// Ceilings 2..255 and 2..65535; false (and nothing changes) outside them.
bool SetMaxValue8Checked(int32_t value);
bool SetMaxValue16Checked(int32_t value);

}  // namespace quillon

#endif  // QUILLON_CORE_ENGINESETTINGS_H
