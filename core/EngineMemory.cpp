// The allocation hooks every engine buffer goes through.
#include "core/EngineMemory.h"

#include <atomic>
#include <cstdint>
#include <new>

namespace quillon {
namespace {

constexpr std::align_val_t kDefaultAlignment{16};

void* DefaultAlloc(uint32_t byteCount) {
    return ::operator new(byteCount, kDefaultAlignment, std::nothrow);
}

void DefaultFree(void* block) {
    if (block != nullptr) {
        ::operator delete(block, kDefaultAlignment);
    }
}

// The hooks are set once, before any context exists (the plug-in does it at
// load). Changing them while a context is alive would free its blocks with
// the wrong hook; that is the caller's contract, not something checked here.
std::atomic<EngineAllocFn> gAlloc{&DefaultAlloc};
std::atomic<EngineFreeFn> gFree{&DefaultFree};

}  // namespace

void* EngineAllocate(std::size_t byteCount) {
    if (byteCount > UINT32_MAX) {
        return nullptr;  // the hook's size argument cannot express it
    }
    return gAlloc.load(std::memory_order_relaxed)(static_cast<uint32_t>(byteCount));
}

void EngineRelease(void* block) {
    gFree.load(std::memory_order_relaxed)(block);
}

bool InstallEngineHooks(EngineAllocFn alloc, EngineFreeFn release) {
    if ((alloc == nullptr) != (release == nullptr)) {
        return false;
    }
    if (alloc == nullptr) {
        alloc = &DefaultAlloc;
        release = &DefaultFree;
    }
    gAlloc.store(alloc, std::memory_order_relaxed);
    gFree.store(release, std::memory_order_relaxed);
    return true;
}

void* AlignedAllocate(std::size_t byteCount) {
    return ::operator new(byteCount == 0 ? 1 : byteCount, kDefaultAlignment, std::nothrow);
}

void AlignedRelease(void* block) {
    DefaultFree(block);
}

}  // namespace quillon
