// Growable and fixed work arrays of the anti-aliasing pass. All memory comes
// from the engine hooks; every allocation is checked by the caller through
// the bool results.
#ifndef QUILLON_ANTIALIAS_WORKARRAY_H
#define QUILLON_ANTIALIAS_WORKARRAY_H

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <type_traits>

#include "core/EngineMemory.h"

namespace quillon::aa {

template <typename T>
class WorkArray {
    static_assert(std::is_trivially_copyable_v<T>);

public:
    WorkArray() = default;
    ~WorkArray() { EngineRelease(data_); }
    WorkArray(const WorkArray&) = delete;
    WorkArray& operator=(const WorkArray&) = delete;
    WorkArray(WorkArray&& other) noexcept
        : data_(other.data_), size_(other.size_), capacity_(other.capacity_) {
        other.data_ = nullptr;
        other.size_ = 0;
        other.capacity_ = 0;
    }
    WorkArray& operator=(WorkArray&& other) noexcept {
        if (this != &other) {
            EngineRelease(data_);
            data_ = other.data_;
            size_ = other.size_;
            capacity_ = other.capacity_;
            other.data_ = nullptr;
            other.size_ = 0;
            other.capacity_ = 0;
        }
        return *this;
    }

    // Replaces the contents by `count` uninitialised elements (size = count).
    bool resize(std::size_t count) {
        if (!reserveExact(count)) {
            return false;
        }
        size_ = count;
        return true;
    }

    // Empties the array and makes room for at least `count` elements.
    bool reserveExact(std::size_t count) {
        EngineRelease(data_);
        data_ = nullptr;
        size_ = 0;
        capacity_ = 0;
        const std::size_t want = count == 0 ? 1 : count;
        if (want > SIZE_MAX / sizeof(T)) {
            return false;
        }
        data_ = static_cast<T*>(EngineAllocate(want * sizeof(T)));
        if (data_ == nullptr) {
            return false;
        }
        capacity_ = want;
        return true;
    }

    // Appends one element, doubling the capacity when full.
    bool push(T value) {
        if (size_ == capacity_ && !grow()) {
            return false;
        }
        data_[size_++] = value;
        return true;
    }

    void fill(T value) {
        for (std::size_t i = 0; i < size_; ++i) {
            data_[i] = value;
        }
    }

    T* data() { return data_; }
    const T* data() const { return data_; }
    std::size_t size() const { return size_; }
    T& operator[](std::size_t i) { return data_[i]; }
    const T& operator[](std::size_t i) const { return data_[i]; }

private:
    bool grow() {
        const std::size_t next = capacity_ < 16 ? 16 : capacity_ * 2;
        if (next > SIZE_MAX / sizeof(T)) {
            return false;
        }
        T* bigger = static_cast<T*>(EngineAllocate(next * sizeof(T)));
        if (bigger == nullptr) {
            return false;
        }
        if (size_ > 0) {
            std::memcpy(bigger, data_, size_ * sizeof(T));
        }
        EngineRelease(data_);
        data_ = bigger;
        capacity_ = next;
        return true;
    }

    T* data_ = nullptr;
    std::size_t size_ = 0;
    std::size_t capacity_ = 0;
};

}  // namespace quillon::aa

#endif  // QUILLON_ANTIALIAS_WORKARRAY_H
