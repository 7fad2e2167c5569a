// Allocation hooks that count live blocks and can fail on demand.
#ifndef QUILLON_TESTS_ENGINE_COUNTINGALLOCATOR_H
#define QUILLON_TESTS_ENGINE_COUNTINGALLOCATOR_H

#include <cstdint>
#include <cstdlib>
#include <set>

#include "engine/Engine.h"

namespace quillon::test {

struct AllocationLog {
    int calls = 0;
    int failAtCall = -1;  // the call number (0-based) that returns null; -1: none
    std::set<void*> live;
};

inline AllocationLog& Log() {
    static AllocationLog log;
    return log;
}

inline void* CountingAlloc(uint32_t bytes) {
    AllocationLog& log = Log();
    const int call = log.calls++;
    if (call == log.failAtCall) {
        return nullptr;
    }
    void* p = std::aligned_alloc(16, (bytes + 15u) / 16u * 16u + 16u);
    log.live.insert(p);
    return p;
}

inline void CountingFree(void* p) {
    if (p == nullptr) {
        return;
    }
    if (Log().live.erase(p) == 1) {
        std::free(p);
    } else {
        std::abort();  // freed twice, or never allocated here
    }
}

// Installs the counting hooks for one scope and restores the defaults after.
class CountingScope {
public:
    explicit CountingScope(int failAtCall = -1) {
        Log() = AllocationLog{};
        Log().failAtCall = failAtCall;
        SetEngineAllocator(&CountingAlloc, &CountingFree);
    }
    ~CountingScope() { SetEngineAllocator(nullptr, nullptr); }
    CountingScope(const CountingScope&) = delete;
    CountingScope& operator=(const CountingScope&) = delete;

    int calls() const { return Log().calls; }
    std::size_t live() const { return Log().live.size(); }
};

}  // namespace quillon::test

#endif  // QUILLON_TESTS_ENGINE_COUNTINGALLOCATOR_H
