// Context creation: request validation, what it allocates and frees, and the
// scalar controls it derives.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <set>
#include <thread>
#include <vector>

#include "engine/Engine.h"
#include "engine/ScaleContext.h"
#include "tests/support/TestSupport.h"

namespace {

// Allocation hooks that count calls and live blocks and fail call `failAt`
// (0-based; -1: none).
// Every call must come from the thread that created the hooks: worker
// threads never allocate.
struct Counting {
    static inline int calls = 0;
    static inline int failAt = -1;
    static inline std::set<void*> live;
    static inline std::thread::id owner;
    static void* Alloc(uint32_t bytes) {
        EXPECT_EQ(std::this_thread::get_id(), owner) << "a hook called from a worker thread";
        if (calls++ == failAt) {
            return nullptr;
        }
        void* p = std::aligned_alloc(16, (bytes + 15u) / 16u * 16u + 16u);
        live.insert(p);
        return p;
    }
    static void Free(void* p) {
        EXPECT_EQ(std::this_thread::get_id(), owner) << "a hook called from a worker thread";
        EXPECT_EQ(live.erase(p), p != nullptr ? 1u : 0u) << "freed twice or never handed out";
        std::free(p);
    }
    explicit Counting(int fail = -1) {
        calls = 0;
        failAt = fail;
        live.clear();
        owner = std::this_thread::get_id();
        SetEngineAllocator(&Alloc, &Free);
    }
    ~Counting() { SetEngineAllocator(nullptr, nullptr); }
};

struct Request {
    uint32_t srcW = 16, srcH = 12, dstW = 32, dstH = 24, outW = 32, outH = 24;
    uint32_t options = 0, depth = DEPTH_8, variant = KERNEL_CELL;
    uint32_t sharpness = 0, refine = 0, aa = 0;
};

int32_t Create(const Request& r, ScaleContext** c) {
    return CreateScaleContext(r.srcW, r.srcH, r.dstW, r.dstH, r.outW, r.outH, r.options, r.depth,
                              r.variant, r.sharpness, r.refine, r.aa, c);
}

TEST(ContextValidation, LimitsAndCombinations) {
    const struct {
        Request r;
        int32_t expected;
    } cases[] = {{{}, 0},
                 {{.outW = 0}, -1},
                 {{.outW = 65537}, -1},
                 {{.outW = 0xFFFFFFFFu}, -1},
                 {{.srcH = 0}, -1},
                 {{.srcW = 3}, -1},   // a source needs four samples each way
                 {{.dstW = 15}, -1},  // the engine only enlarges, into a canvas
                 {{.outH = 23}, -1},  // at least as large
                 {{.options = 16}, -1},
                 {{.options = 0x80000000u}, 0},  // compared as a signed number
                 {{.variant = 3}, -1},
                 {{.depth = DEPTH_16, .variant = KERNEL_TWO_PASS}, -1},
                 {{.depth = DEPTH_16, .variant = KERNEL_NONE}, -1},
                 {{.depth = 7, .variant = KERNEL_TWO_PASS}, 0},  // no kernels for other depths
                 {{.sharpness = 26}, -1},
                 {{.refine = 26}, -1},
                 {{.aa = 26}, -1}};
    for (const auto& k : cases) {
        SCOPED_TRACE(&k - cases);
        Counting counting;
        ScaleContext* sentinel = reinterpret_cast<ScaleContext*>(uintptr_t{0x1234});
        ScaleContext* c = sentinel;
        ASSERT_EQ(Create(k.r, &c), k.expected);
        if (k.expected != 0) {
            EXPECT_EQ(Counting::calls, 0) << "a rejected request allocated";
            EXPECT_EQ(c, sentinel) << "a rejected request wrote the context pointer";
        }
        DestroyScaleContext(k.expected == 0 ? c : nullptr);
        EXPECT_TRUE(Counting::live.empty());
    }
    EXPECT_EQ(Create({}, nullptr), -1);
}

// A context takes one block from the hook, a frame one more (plus what the
// anti-aliasing takes, on the calling thread). Refusing any one of them,
// with or without worker threads, ends in -1 with nothing left allocated;
// once every call is granted the frame is the one the default hooks give.
TEST(ContextMemory, EveryAllocationFailureIsCleanedUpAndSuccessFreesAll) {
    const struct {
        uint32_t options, depth, variant, outExtra;
    } cases[] = {
        {0, DEPTH_8, KERNEL_CELL, 0},      {1, DEPTH_8, KERNEL_TWO_PASS, 0},
        {15, DEPTH_8, KERNEL_TWO_PASS, 3}, {6, DEPTH_8, KERNEL_NONE, 1},
        {15, DEPTH_16, KERNEL_CELL, 2},    {13, DEPTH_16, KERNEL_CELL, 0},
        {9, DEPTH_16, KERNEL_CELL, 1},
    };
    for (const uint32_t threads : {1u, 3u}) {
        ASSERT_EQ(SetEngineThreads(threads), 0);
        for (const auto& k : cases) {
            SCOPED_TRACE(testing::Message() << k.options << " " << k.depth << " " << k.variant
                                            << ", " << threads << " threads");
            const Request r{20,        10, 50, 31, 50 + k.outExtra, 31, k.options, k.depth,
                            k.variant, 3,  10, 6};
            const std::size_t outBytes =
                std::size_t{r.outW} * r.outH * (k.depth == DEPTH_16 ? 8 : 4);
            const auto src = quillon::support::RandomFrame<uint8_t>(
                20 * (k.depth == DEPTH_16 ? 2 : 1), 10, 255, 7);
            std::vector<uint8_t> want(outBytes, 0x33);
            {
                ScaleContext* c = nullptr;
                ASSERT_EQ(Create(r, &c), 0);
                ASSERT_EQ(ProcessFrame(src.data(), want.data(), c), 0);
                DestroyScaleContext(c);
            }
            bool done = false;
            for (int failAt = 0; failAt < 64 && !done; ++failAt) {
                Counting counting(failAt);
                std::vector<uint8_t> out(outBytes, 0x33);
                ScaleContext* c = nullptr;
                int32_t result = Create(r, &c);
                EXPECT_EQ(c == nullptr, result != 0);
                if (result == 0) {
                    result = ProcessFrame(src.data(), out.data(), c);
                }
                DestroyScaleContext(c);
                EXPECT_TRUE(Counting::live.empty()) << "failing call " << failAt;
                if (result == 0) {
                    done = true;
                    EXPECT_LE(Counting::calls, failAt) << "succeeded past a refused call";
                    EXPECT_EQ(out, want);
                } else {
                    EXPECT_GT(Counting::calls, failAt) << "failed without a refused call";
                }
            }
            EXPECT_TRUE(done);
        }
    }
    SetEngineThreads(0);
}

TEST(ContextMemory, SettingsOversizedBuffersAndDefaultAlignment) {
    // 65536 x 65536 x 8 bytes cannot be asked for through a 32-bit size.
    ScaleContext* c = nullptr;
    EXPECT_EQ(Create({4, 4, 65536, 65536, 65536, 65536, 0, DEPTH_16}, &c), 0);  // tables only
    DestroyScaleContext(c);
    c = nullptr;
    EXPECT_EQ(Create({4, 4, 65536, 65536, 65536, 65536, OPT_REFINE, DEPTH_16}, &c), -1);  // 4 GiB
    EXPECT_EQ(Create({4, 4, 65535, 65535, 65536, 65536, 0, DEPTH_16}, &c), -1);  // 32 GiB frame
    EXPECT_EQ(c, nullptr);
    EXPECT_EQ(SetMaxValue8(1) + SetMaxValue8(256) + SetMaxValue16(1) + SetMaxValue16(65536), -4);
    EXPECT_EQ(SetMaxValue8(2) + SetMaxValue8(255) + SetMaxValue16(65535), 0);
    EXPECT_EQ(SetEngineAllocator(&Counting::Alloc, nullptr), -1);
    EXPECT_EQ(SetEngineAllocator(nullptr, &Counting::Free), -1);
    // The defaults are still in force: nothing reaches the counting hooks.
    Counting::calls = 0;
    ASSERT_EQ(Create({7, 5, 23, 9, 25, 9, 15, DEPTH_8, KERNEL_TWO_PASS, 1, 1, 1}, &c), 0);
    EXPECT_EQ(Counting::calls, 0);
    for (const void* p : {static_cast<const void*>(c), static_cast<const void*>(c->rowWeights),
                          static_cast<const void*>(c->columnWeights)}) {
        EXPECT_EQ(reinterpret_cast<uintptr_t>(p) % 16, 0u);
    }
    DestroyScaleContext(c);
}

quillon::support::Context Make(uint32_t sharpness, uint32_t refine, uint32_t aa) {
    return quillon::support::Context(
        {8, 8, 16, 16, 0, DEPTH_8, KERNEL_CELL, sharpness, refine, aa});
}

TEST(ScalarControls, SharpenGainRefineShapeAndAntiAlias) {
    EXPECT_EQ(Make(0, 0, 0)->sharpenGain, 0.01f);
    EXPECT_EQ(Make(25, 0, 0)->sharpenGain, static_cast<float>((25 - 0.52) / 24));
    EXPECT_NEAR(Make(10, 0, 0)->sharpenGain, 0.395, 1e-6);
    for (uint32_t q : {0u, 1u, 7u, 10u, 25u}) {  // the sum is taken in float
        EXPECT_EQ(Make(0, q, 0)->refineShape, static_cast<float>(q / 20.0) + 0.1f) << q;
    }
    EXPECT_EQ(Make(0, 0, 0)->aaFollow, 0.7f);
    EXPECT_EQ(Make(0, 0, 1)->aaFollow, 0.7f);
    EXPECT_EQ(Make(0, 0, 0)->aaSpread, 1.0f);
    EXPECT_EQ(Make(0, 0, 25)->aaMix, 0.8f);
    EXPECT_EQ(Make(0, 0, 25)->aaSpread, 5.0f);
    EXPECT_EQ(Make(0, 0, 25)->aaFollow, static_cast<float>(0.7 / std::pow(25.0, 0.38)));
    EXPECT_EQ(Make(0, 0, 5)->aaSpread, 1.0f);
    EXPECT_EQ(Make(0, 0, 6)->aaSpread, 2.0f);
    EXPECT_EQ(Make(0, 0, 6)->aaMix, static_cast<float>(0.8 / std::pow(20.0, 0.25)));
}

}  // namespace
