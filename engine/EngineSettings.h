// Process-wide engine settings: allocation hooks and channel ceilings.
#ifndef QUILLON_ENGINE_ENGINESETTINGS_H
#define QUILLON_ENGINE_ENGINESETTINGS_H

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

}  // namespace quillon

#endif  // QUILLON_ENGINE_ENGINESETTINGS_H
