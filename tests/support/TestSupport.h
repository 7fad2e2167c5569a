// Support shared by the engine's test suites: contexts made through the
// public entry points, random frames, channel ceilings and a rationed
// allocation hook.
#ifndef QUILLON_TESTS_SUPPORT_TESTSUPPORT_H
#define QUILLON_TESTS_SUPPORT_TESTSUPPORT_H

#include <cstddef>
#include <cstdint>
#include <memory>
#include <new>
#include <random>
#include <vector>

#include "engine/Engine.h"
#include "engine/ScaleContext.h"
#include "engine/ScaleEngine.hpp"

namespace quillon::support {

// Sets the channel ceilings for one scope and restores the defaults, even
// when a test fails early.
class CeilingGuard {
public:
    explicit CeilingGuard(int32_t max8 = 255, int32_t max16 = 65535) {
        SetMaxValue8(max8);
        SetMaxValue16(max16);
    }
    ~CeilingGuard() {
        SetMaxValue8(255);
        SetMaxValue16(65535);
    }
    CeilingGuard(const CeilingGuard&) = delete;
    CeilingGuard& operator=(const CeilingGuard&) = delete;
};

// The arguments of CreateScaleContext; the output size is the destination's.
struct Request {
    uint32_t srcWidth, srcHeight, dstWidth, dstHeight;
    uint32_t options = 0;
    uint32_t depth = DEPTH_8;
    uint32_t variant = KERNEL_CELL;
    uint32_t sharpness = 0;
    uint32_t quality = 10;
    uint32_t antiAlias = 0;
};

// Owns one context made from a Request (through the engine's own wrapper).
class Context {
public:
    explicit Context(const Request& r) {
        auto engine = ScaleEngine::Create({.srcWidth = r.srcWidth,
                                           .srcHeight = r.srcHeight,
                                           .dstWidth = r.dstWidth,
                                           .dstHeight = r.dstHeight,
                                           .options = r.options,
                                           .depthMode = r.depth,
                                           .kernelVariant = r.variant,
                                           .sharpness = r.sharpness,
                                           .refineStrength = r.quality,
                                           .antiAliasAmount = r.antiAlias});
        if (engine) {
            engine_ = std::make_unique<ScaleEngine>(std::move(*engine));
        }
    }

    bool ok() const { return engine_ != nullptr; }
    ScaleContext* get() const { return engine_ ? engine_->get() : nullptr; }
    ScaleContext& operator*() const { return *get(); }
    ScaleContext* operator->() const { return get(); }

private:
    std::unique_ptr<ScaleEngine> engine_;
};

// ProcessFrame on a fresh context; an empty frame when either step fails.
template <typename T>
std::vector<T> RunFrame(const Request& r, const std::vector<T>& source) {
    Context c(r);
    std::vector<T> out(std::size_t{r.dstWidth} * r.dstHeight * 4);
    if (!c.ok() || ProcessFrame(source.data(), out.data(), c.get()) != 0) {
        out.clear();
    }
    return out;
}

// Four channels a pixel, every value uniform in 0..maxValue.
template <typename T>
std::vector<T> RandomFrame(uint32_t width, uint32_t height, uint32_t maxValue, uint32_t seed) {
    std::mt19937 rng(seed);
    std::uniform_int_distribution<uint32_t> dist(0, maxValue);
    std::vector<T> frame(std::size_t{width} * height * 4);
    for (T& v : frame) {
        v = static_cast<T>(dist(rng));
    }
    return frame;
}

// Installs an allocation hook that grants `grants` blocks and then refuses
// (a negative count grants everything); the default hook returns at scope end.
class AllocationLimit {
public:
    explicit AllocationLimit(int grants) {
        Remaining() = grants;
        SetEngineAllocator(&Allocate, &Release);
    }
    ~AllocationLimit() { SetEngineAllocator(nullptr, nullptr); }
    AllocationLimit(const AllocationLimit&) = delete;
    AllocationLimit& operator=(const AllocationLimit&) = delete;

private:
    static int& Remaining() {
        static int remaining = -1;
        return remaining;
    }
    static void* Allocate(uint32_t bytes) {
        if (Remaining() == 0) {
            return nullptr;
        }
        if (Remaining() > 0) {
            --Remaining();
        }
        return ::operator new (bytes == 0 ? 1 : bytes, std::align_val_t{16}, std::nothrow);
    }
    static void Release(void* block) {
        if (block != nullptr) {
            ::operator delete (block, std::align_val_t{16});
        }
    }
};

}  // namespace quillon::support

#endif  // QUILLON_TESTS_SUPPORT_TESTSUPPORT_H
