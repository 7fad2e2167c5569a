// The engine's memory lives in host handles, so the host accounts for it.
//
// Every render brackets its work with EnterHostMemoryScope / LeaveHostMemoryScope.
// Inside, AllocateHostBlock hands out 16-byte aligned blocks, each backed by
// a locked host handle, and FreeHostBlock returns them. When the outermost
// scope ends, blocks nobody freed are unlocked and disposed.
//
// The record behind these functions (the bound callbacks, the scope count and
// the map of live blocks) is process-wide and guarded by a mutex, so a host
// that renders on more than one thread cannot corrupt it. The lock is held
// only for a handle call and a map update: a few of them per frame.
#ifndef QUILLON_HOST_HOSTMEMORY_H
#define QUILLON_HOST_HOSTMEMORY_H

#include <cstddef>
#include <cstdint>

#include "host/ae/PluginTypes.h"

namespace quillon::host {

// Extra bytes requested for each block so that it can be moved to a 16-byte
// boundary inside its handle.
inline constexpr uint64_t kHostBlockSlack = 16;

// A block of `size` bytes inside a new locked host handle, or null when no
// callbacks were ever bound, size is 0, or the host refuses. Never throws.
void* AllocateHostBlock(uint32_t size) noexcept;

// Unlocks and disposes the handle behind a block. Pointers that are not live
// blocks (null included) are ignored. Never throws.
void FreeHostBlock(void* block) noexcept;

// Binds the allocator to in_data's handle callbacks and opens a scope.
// Returns false, and opens nothing, when in_data lacks any of the five handle
// callbacks. Never throws.
bool EnterHostMemoryScope(const PF_InData* in_data) noexcept;

// Closes a scope; the outermost one disposes every block still live.
void LeaveHostMemoryScope() noexcept;

// Blocks currently recorded and the open scope count, for diagnostics.
std::size_t LiveHostBlockCount() noexcept;
int HostMemoryScopeDepth() noexcept;

// Opens a scope for the life of the object.
class HostMemoryScope {
public:
    explicit HostMemoryScope(const PF_InData* in_data) noexcept
        : entered_(EnterHostMemoryScope(in_data)) {}
    ~HostMemoryScope() {
        if (entered_) {
            LeaveHostMemoryScope();
        }
    }
    HostMemoryScope(const HostMemoryScope&) = delete;
    HostMemoryScope& operator=(const HostMemoryScope&) = delete;

    bool entered() const { return entered_; }

private:
    bool entered_;
};

}  // namespace quillon::host

#endif  // QUILLON_HOST_HOSTMEMORY_H
