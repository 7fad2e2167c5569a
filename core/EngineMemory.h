// Engine buffers: every one comes from the installed allocation hook.
#ifndef QUILLON_CORE_ENGINEMEMORY_H
#define QUILLON_CORE_ENGINEMEMORY_H

#include <cstddef>
#include <cstdint>

#include "core/EngineTypes.h"

namespace quillon {

// Returns null when the hook fails or when byteCount does not fit the hook's
// 32-bit size argument. Callers check the result.
void* EngineAllocate(std::size_t byteCount);
void EngineRelease(void* block);

// Installs a pair of hooks; both null restores the defaults. False (and
// nothing changes) when exactly one is null.
bool InstallEngineHooks(EngineAllocFn alloc, EngineFreeFn release);

// The default allocator itself (16-byte aligned, plain heap), for memory that
// outlives any one render: the process-wide table cache. Null on failure.
void* AlignedAllocate(std::size_t byteCount);
void AlignedRelease(void* block);

// Scratch memory of one pass, returned to the hook when the pass ends.
template <typename T>
class ScratchBuffer {
public:
    explicit ScratchBuffer(std::size_t count)
        : data_(count <= SIZE_MAX / sizeof(T) ? static_cast<T*>(EngineAllocate(count * sizeof(T)))
                                              : nullptr) {}
    ~ScratchBuffer() { EngineRelease(data_); }
    ScratchBuffer(const ScratchBuffer&) = delete;
    ScratchBuffer& operator=(const ScratchBuffer&) = delete;

    explicit operator bool() const { return data_ != nullptr; }
    T* get() const { return data_; }
    T& operator[](std::size_t i) const { return data_[i]; }

private:
    T* data_;
};

}  // namespace quillon

#endif  // QUILLON_CORE_ENGINEMEMORY_H
