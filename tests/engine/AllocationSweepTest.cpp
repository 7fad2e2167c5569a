// Engine memory under test hooks. Allocation failure at every site of a
// render, through the engine's hooks:
// for several configurations at both depths, with every pass and with and
// without a canvas, the n-th allocation is refused for n = 1, 2, ... until a
// run needs no refusal. Creation then returns -1 without writing the context
// pointer, or the frame returns -1; either way every granted block comes
// back, a canvas is left untouched by a failed frame, and the same context
// renders the reference frame once memory is there again.
#include <gtest/gtest.h>

#include <cstdint>
#include <new>
#include <vector>

#include "engine/Engine.h"
#include "tests/support/TestSupport.h"

namespace quillon::test {
namespace {

// Hooks that count live blocks and refuse exactly one call (1-based).
struct CountingHooks {
    static inline long live = 0;
    static inline long calls = 0;
    static inline long refuse = 0;

    static void* Allocate(uint32_t bytes) {
        if (++calls == refuse) {
            return nullptr;
        }
        void* block = ::operator new (bytes == 0 ? 1 : bytes, std::align_val_t{16}, std::nothrow);
        live += block != nullptr ? 1 : 0;
        return block;
    }
    static void Release(void* block) {
        if (block != nullptr) {
            --live;
            ::operator delete (block, std::align_val_t{16});
        }
    }
};

class HooksInstalled {
public:
    explicit HooksInstalled(long refuse) {
        CountingHooks::live = 0;
        CountingHooks::calls = 0;
        CountingHooks::refuse = refuse;
        SetEngineAllocator(&CountingHooks::Allocate, &CountingHooks::Release);
    }
    ~HooksInstalled() { SetEngineAllocator(nullptr, nullptr); }
    HooksInstalled(const HooksInstalled&) = delete;
    HooksInstalled& operator=(const HooksInstalled&) = delete;
};

struct Config {
    const char* name;
    uint32_t options, depth, variant, sharpness, quality, antiAlias;
};

constexpr uint32_t kAll = OPT_LANCZOS | OPT_SHARPEN | OPT_REFINE | OPT_ANTIALIAS;
const Config kConfigs[] = {
    {"best 8 two-pass", kAll, DEPTH_8, KERNEL_TWO_PASS, 2, 8, 10},
    {"best 8 cell", kAll, DEPTH_8, KERNEL_CELL, 5, 12, 6},
    {"better 8 none", OPT_REFINE | OPT_SHARPEN | OPT_ANTIALIAS, DEPTH_8, KERNEL_NONE, 1, 3, 2},
    {"draft 8 two-pass", OPT_SHARPEN, DEPTH_8, KERNEL_TWO_PASS, 7, 0, 0},
    {"quick 8 two-pass aa", OPT_LANCZOS | OPT_ANTIALIAS, DEPTH_8, KERNEL_TWO_PASS, 0, 0, 25},
    {"best 16", kAll, DEPTH_16, KERNEL_CELL, 2, 8, 10},
    {"better 16", OPT_REFINE | OPT_ANTIALIAS, DEPTH_16, KERNEL_CELL, 0, 20, 4},
    {"quick 16 sharpen", OPT_LANCZOS | OPT_SHARPEN, DEPTH_16, KERNEL_CELL, 9, 0, 0},
};

// Slanted bands: edges at every pass, so the anti-aliasing finds chains.
template <typename T>
std::vector<T> Bands(uint32_t w, uint32_t h, uint32_t full) {
    std::vector<T> f(std::size_t{w} * h * 4);
    for (std::size_t i = 0; i < f.size(); ++i) {
        const auto p = static_cast<int32_t>(i / 4);
        const int32_t x = p % static_cast<int32_t>(w);
        const int32_t y = p / static_cast<int32_t>(w);
        const bool bright = ((10 * y - 3 * x) % 40 + 40) % 40 < 20;
        f[i] = static_cast<T>(i % 4 == 3 ? full / 3 : (bright ? full * 4 / 5 : full / 6) + i % 7);
    }
    return f;
}

template <typename T>
void Sweep(const Config& cfg, uint32_t canvas, uint32_t full) {
    constexpr uint32_t kW = 37, kH = 29, kDw = 83, kDh = 61;
    const uint32_t outW = kDw + canvas;
    const uint32_t outH = kDh + canvas;
    const std::vector<T> src = Bands<T>(kW, kH, full);
    const auto create = [&](ScaleContext** ctx) {
        return CreateScaleContext(kW, kH, kDw, kDh, outW, outH, cfg.options, cfg.depth, cfg.variant,
                                  cfg.sharpness, cfg.quality, cfg.antiAlias, ctx);
    };
    const std::vector<T> sentinel(std::size_t{outW} * outH * 4, static_cast<T>(0x5A));
    std::vector<T> reference = sentinel;  // the "none" kernel keeps what the frame held
    {
        ScaleContext* ctx = nullptr;
        ASSERT_EQ(create(&ctx), 0);
        ASSERT_EQ(ProcessFrame(src.data(), reference.data(), ctx), 0);
        DestroyScaleContext(ctx);
    }
    int refusedCreations = 0;
    int refusedFrames = 0;
    for (long refuse = 1;; ++refuse) {
        ASSERT_LT(refuse, 500) << "no run without a refusal";
        HooksInstalled hooks(refuse);
        auto* const untouched = reinterpret_cast<ScaleContext*>(uintptr_t{0x10});
        ScaleContext* ctx = untouched;
        if (create(&ctx) != 0) {
            EXPECT_EQ(ctx, untouched) << refuse;
            EXPECT_EQ(CountingHooks::live, 0) << "creation, refusal " << refuse;
            ++refusedCreations;
            continue;
        }
        std::vector<T> out = sentinel;
        const bool frameRefused = ProcessFrame(src.data(), out.data(), ctx) != 0;
        const bool anyRefused = CountingHooks::calls >= refuse;
        EXPECT_TRUE(!frameRefused || anyRefused) << refuse;
        if (frameRefused) {
            ++refusedFrames;
            if (canvas > 0) {
                EXPECT_EQ(out, sentinel) << "refusal " << refuse;
            }
            CountingHooks::refuse = 0;  // memory is back: the context still renders
            out = sentinel;
            EXPECT_EQ(ProcessFrame(src.data(), out.data(), ctx), 0) << refuse;
        }
        EXPECT_EQ(out, reference) << "refusal " << refuse;
        DestroyScaleContext(ctx);
        EXPECT_EQ(CountingHooks::live, 0) << "refusal " << refuse;
        if (!anyRefused) {
            break;  // this run needed no refusal: every site has been failed
        }
    }
    EXPECT_GT(refusedCreations, 0);
    // The anti-aliasing takes its work memory per frame.
    EXPECT_TRUE((cfg.options & OPT_ANTIALIAS) == 0 || refusedFrames > 0);
}

TEST(AllocationSweep, EverySiteOfARenderFailsCleanly) {
    support::CeilingGuard ceiling(255, 32768);
    for (const Config& cfg : kConfigs) {
        for (const uint32_t canvas : {0u, 6u}) {
            SCOPED_TRACE(testing::Message() << cfg.name << ", canvas +" << canvas);
            if (cfg.depth == DEPTH_16) {
                Sweep<uint16_t>(cfg, canvas, 32768);
            } else {
                Sweep<uint8_t>(cfg, canvas, 255);
            }
        }
    }
}

// Hooks that hand out blocks filled from one running pseudo-random sequence
// (every block different), started by a seed; seed 0 gives zeros.
struct FillingHooks {
    static inline uint32_t seed = 0;
    static inline uint32_t state = 0;
    static void* Allocate(uint32_t bytes) {
        auto* block = static_cast<uint8_t*>(
            ::operator new (bytes == 0 ? 1 : bytes, std::align_val_t{16}, std::nothrow));
        for (uint32_t i = 0; block != nullptr && i < bytes; ++i) {
            state = state * 1664525u + 1013904223u;
            block[i] = static_cast<uint8_t>(seed == 0 ? 0 : state >> 24);
        }
        return block;
    }
    static void Release(void* block) {
        if (block != nullptr) {
            ::operator delete (block, std::align_val_t{16});
        }
    }
};

// No pass reads engine memory before writing it: the same frame comes out
// whatever the allocator left in its blocks (the "none" variant's refinement
// maps once did not).
TEST(AllocationSweep, FramesDoNotDependOnWhatTheAllocatorLeft) {
    support::CeilingGuard ceiling(255, 32768);
    for (const Config& cfg : kConfigs) {
        for (const uint32_t canvas : {0u, 6u}) {
            SCOPED_TRACE(testing::Message() << cfg.name << ", canvas +" << canvas);
            const bool wide = cfg.depth == DEPTH_16;
            const std::vector<uint8_t> src8 = Bands<uint8_t>(37, 29, 255);
            const std::vector<uint16_t> src16 = Bands<uint16_t>(37, 29, 32768);
            std::vector<std::vector<uint8_t>> outputs;
            for (const uint32_t seed : {0u, 7u, 1234567u}) {
                FillingHooks::seed = seed;
                FillingHooks::state = seed;
                SetEngineAllocator(&FillingHooks::Allocate, &FillingHooks::Release);
                ScaleContext* ctx = nullptr;
                ASSERT_EQ(CreateScaleContext(37, 29, 83, 61, 83 + canvas, 61 + canvas, cfg.options,
                                             cfg.depth, cfg.variant, cfg.sharpness, cfg.quality,
                                             cfg.antiAlias, &ctx),
                          0);
                std::vector<uint8_t> out(std::size_t{83 + canvas} * (61 + canvas) * (wide ? 8 : 4),
                                         0x5A);
                EXPECT_EQ(ProcessFrame(wide ? static_cast<const void*>(src16.data()) : src8.data(),
                                       out.data(), ctx),
                          0);
                DestroyScaleContext(ctx);
                SetEngineAllocator(nullptr, nullptr);
                outputs.push_back(std::move(out));
            }
            EXPECT_EQ(outputs[1], outputs[0]);
            EXPECT_EQ(outputs[2], outputs[0]);
        }
    }
}

}  // namespace
}  // namespace quillon::test
