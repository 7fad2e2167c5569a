#include "host/HostMemory.h"

#include <map>
#include <mutex>

namespace quillon::host {
namespace {

struct HandleCallbacks {
    PF_Handle (*newHandle)(uint64_t) = nullptr;
    void* (*lock)(PF_Handle) = nullptr;
    void (*unlock)(PF_Handle) = nullptr;
    void (*dispose)(PF_Handle) = nullptr;
    uint64_t (*size)(PF_Handle) = nullptr;
};

struct AllocatorRecord {
    std::mutex mutex;
    HandleCallbacks callbacks;
    bool bound = false;
    int scopeCount = 0;
    std::map<uintptr_t, PF_Handle> blocks;  // block address -> its handle
};

// Created on first use.
AllocatorRecord& Record() {
    static AllocatorRecord record;
    return record;
}

// A host callback may unwind; nothing the host throws gets past here.
void Release(const HandleCallbacks& callbacks, PF_Handle handle) noexcept {
    try {
        callbacks.unlock(handle);
    } catch (...) {
    }
    try {
        callbacks.dispose(handle);
    } catch (...) {
    }
}

}  // namespace

void* AllocateHostBlock(uint32_t size) noexcept {
    try {
        AllocatorRecord& record = Record();
        std::lock_guard<std::mutex> guard(record.mutex);
        if (!record.bound || size < 1) {
            return nullptr;
        }
        const HandleCallbacks& callbacks = record.callbacks;
        PF_Handle handle = callbacks.newHandle(uint64_t{size} + kHostBlockSlack);
        if (handle == nullptr) {
            return nullptr;
        }
        void* locked = nullptr;
        try {
            locked = callbacks.lock(handle);
        } catch (...) {
            locked = nullptr;
        }
        if (locked == nullptr) {
            try {
                callbacks.dispose(handle);
            } catch (...) {
            }
            return nullptr;
        }
        // Hosts hand out 8- or 16-aligned blocks: moving by p mod 16 lands on
        // a 16-byte boundary in both cases, within the slack.
        const uintptr_t address = reinterpret_cast<uintptr_t>(locked);
        const uintptr_t block = address + address % 16;
        try {
            record.blocks[block] = handle;
        } catch (...) {
            Release(callbacks, handle);
            return nullptr;
        }
        return reinterpret_cast<void*>(block);
    } catch (...) {
        return nullptr;
    }
}

void FreeHostBlock(void* block) noexcept {
    if (block == nullptr) {
        return;
    }
    try {
        AllocatorRecord& record = Record();
        std::lock_guard<std::mutex> guard(record.mutex);
        auto it = record.blocks.find(reinterpret_cast<uintptr_t>(block));
        if (it == record.blocks.end()) {
            return;
        }
        const PF_Handle handle = it->second;
        record.blocks.erase(it);
        Release(record.callbacks, handle);
    } catch (...) {
    }
}

bool EnterHostMemoryScope(const PF_InData* in_data) noexcept {
    if (in_data == nullptr || in_data->utils == nullptr) {
        return false;
    }
    const PF_UtilCallbacks* utils = in_data->utils;
    if (utils->host_new_handle == nullptr || utils->host_lock_handle == nullptr ||
        utils->host_unlock_handle == nullptr || utils->host_dispose_handle == nullptr ||
        utils->host_get_handle_size == nullptr) {
        return false;
    }
    try {
        AllocatorRecord& record = Record();
        std::lock_guard<std::mutex> guard(record.mutex);
        record.callbacks.newHandle = utils->host_new_handle;
        record.callbacks.lock = utils->host_lock_handle;
        record.callbacks.unlock = utils->host_unlock_handle;
        record.callbacks.dispose = utils->host_dispose_handle;
        record.callbacks.size = utils->host_get_handle_size;
        record.bound = true;
        ++record.scopeCount;
        return true;
    } catch (...) {
        return false;
    }
}

void LeaveHostMemoryScope() noexcept {
    try {
        AllocatorRecord& record = Record();
        std::lock_guard<std::mutex> guard(record.mutex);
        if (record.scopeCount > 0) {
            --record.scopeCount;
        }
        if (record.scopeCount == 0 && !record.blocks.empty()) {
            for (const auto& entry : record.blocks) {
                Release(record.callbacks, entry.second);
            }
            record.blocks.clear();
        }
    } catch (...) {
    }
}

std::size_t LiveHostBlockCount() noexcept {
    try {
        AllocatorRecord& record = Record();
        std::lock_guard<std::mutex> guard(record.mutex);
        return record.blocks.size();
    } catch (...) {
        return 0;
    }
}

int HostMemoryScopeDepth() noexcept {
    try {
        AllocatorRecord& record = Record();
        std::lock_guard<std::mutex> guard(record.mutex);
        return record.scopeCount;
    } catch (...) {
        return 0;
    }
}

}  // namespace quillon::host
