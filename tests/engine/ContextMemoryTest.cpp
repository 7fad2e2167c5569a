// What a context allocates, that it frees all of it, and that a failed
// allocation anywhere in creation is cleaned up and reported.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <vector>

#include "CountingAllocator.h"
#include "engine/Engine.h"
#include "engine/ScaleContext.h"

namespace {

using quillon::test::CountingScope;

struct Case {
    uint32_t options, depth, variant, outExtra;
};

const Case kCases[] = {
    {0, DEPTH_8, KERNEL_CELL, 0},      {1, DEPTH_8, KERNEL_TWO_PASS, 0},
    {15, DEPTH_8, KERNEL_TWO_PASS, 3}, {6, DEPTH_8, KERNEL_NONE, 1},
    {15, DEPTH_16, KERNEL_CELL, 2},    {5, DEPTH_16, KERNEL_CELL, 0},
};

// Allocation count: 8 tables + 2 position arrays + context, plus weights,
// refinement maps and curve, the sharpen curve and an owned work frame.
int ExpectedAllocations(const Case& k) {
    int n = 1 + 6 + 2 + 2;
    if (k.options & OPT_REFINE)
        n += 6;
    if (k.options & OPT_SHARPEN)
        n += 1;
    if (k.outExtra != 0)
        n += 1;
    return n;
}

TEST(ContextMemory, DestroyFreesEverythingCreationAllocated) {
    for (const Case& k : kCases) {
        CountingScope scope;
        ScaleContext* c = nullptr;
        ASSERT_EQ(CreateScaleContext(20, 10, 50, 31, 50 + k.outExtra, 31, k.options, k.depth,
                                     k.variant, 3, 10, 6, &c),
                  0);
        EXPECT_EQ(scope.calls(), ExpectedAllocations(k)) << k.options;
        // The two temporary position arrays are already gone.
        EXPECT_EQ(scope.live(), static_cast<std::size_t>(ExpectedAllocations(k) - 2));
        EXPECT_EQ(c->ownsWorkFrame, k.outExtra != 0 ? 1 : 0);
        DestroyScaleContext(c);
        EXPECT_EQ(scope.live(), 0u);
    }
    DestroyScaleContext(nullptr);  // ignored
}

TEST(ContextMemory, EveryFailedAllocationIsReportedAndCleanedUp) {
    for (const Case& k : kCases) {
        const int total = ExpectedAllocations(k);
        for (int failAt = 0; failAt < total; ++failAt) {
            CountingScope scope(failAt);
            ScaleContext* c = nullptr;
            EXPECT_EQ(CreateScaleContext(20, 10, 50, 31, 50 + k.outExtra, 31, k.options, k.depth,
                                         k.variant, 3, 10, 6, &c),
                      -1)
                << "options " << k.options << " failing call " << failAt;
            EXPECT_EQ(c, nullptr);
            EXPECT_EQ(scope.live(), 0u);
        }
    }
}

TEST(ContextMemory, BuffersBeyondTheHooksSizeArgumentAreRefused) {
    // 65536 x 65536 x 8 bytes cannot be asked for through a 32-bit size.
    ScaleContext* c = nullptr;
    EXPECT_EQ(
        CreateScaleContext(4, 4, 65536, 65536, 65536, 65536, 0, DEPTH_16, KERNEL_CELL, 0, 0, 0, &c),
        0);  // no owned frame: the tables alone fit
    DestroyScaleContext(c);
    c = nullptr;
    EXPECT_EQ(CreateScaleContext(4, 4, 65536, 65536, 65536, 65536, OPT_REFINE, DEPTH_16,
                                 KERNEL_CELL, 0, 0, 0, &c),
              -1);  // each refinement map would be 4 GiB
    EXPECT_EQ(c, nullptr);
    EXPECT_EQ(
        CreateScaleContext(4, 4, 65535, 65535, 65536, 65536, 0, DEPTH_16, KERNEL_CELL, 0, 0, 0, &c),
        -1);  // the owned work frame would be 32 GiB
    EXPECT_EQ(c, nullptr);
}

TEST(ContextMemory, SettingsRejectBadArgumentsAndKeepThePreviousValue) {
    EXPECT_EQ(SetMaxValue8(1), -1);
    EXPECT_EQ(SetMaxValue8(256), -1);
    EXPECT_EQ(SetMaxValue16(1), -1);
    EXPECT_EQ(SetMaxValue16(65536), -1);
    EXPECT_EQ(SetMaxValue8(2), 0);
    EXPECT_EQ(SetMaxValue8(255), 0);
    EXPECT_EQ(SetMaxValue16(65535), 0);

    EXPECT_EQ(SetEngineAllocator(&quillon::test::CountingAlloc, nullptr), -1);
    EXPECT_EQ(SetEngineAllocator(nullptr, &quillon::test::CountingFree), -1);
    // The defaults are still in force: nothing reaches the counting hooks.
    quillon::test::Log() = {};
    ScaleContext* c = nullptr;
    ASSERT_EQ(CreateScaleContext(8, 8, 8, 8, 8, 8, 0, 0, 0, 0, 0, 0, &c), 0);
    DestroyScaleContext(c);
    EXPECT_EQ(quillon::test::Log().calls, 0);
    EXPECT_EQ(SetEngineAllocator(nullptr, nullptr), 0);
}

TEST(ContextMemory, DefaultAllocationsAreSixteenByteAligned) {
    ScaleContext* c = nullptr;
    ASSERT_EQ(CreateScaleContext(7, 5, 23, 9, 25, 9, 15, 0, KERNEL_TWO_PASS, 1, 1, 1, &c), 0);
    const void* blocks[] = {c, c->columnWeights, c->rowWeights, c->refineCurve, c->workFrame};
    for (const void* p : blocks) {
        EXPECT_EQ(reinterpret_cast<uintptr_t>(p) % 16, 0u);
    }
    DestroyScaleContext(c);
}

}  // namespace
