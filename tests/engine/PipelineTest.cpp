// ProcessFrame: argument checks, the centring copy, and contexts that live
// side by side.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <vector>

#include "engine/Engine.h"
#include "tests/support/TestSupport.h"

namespace {

using quillon::support::Context;
using quillon::support::RandomFrame;
using quillon::support::Request;

// A 1:1 "enlargement" reproduces the source (every weight is the identity),
// which makes the placement inside the canvas directly visible.
template <typename T>
void ExpectCentred(uint32_t depth, uint32_t w, uint32_t h, uint32_t outW, uint32_t outH) {
    SCOPED_TRACE(testing::Message() << w << "x" << h << " in " << outW << "x" << outH);
    const auto src = RandomFrame<T>(w, h, depth == DEPTH_16 ? 32768 : 255, w * 131 + h);
    ScaleContext* c = nullptr;
    ASSERT_EQ(CreateScaleContext(w, h, w, h, outW, outH, 0, depth, KERNEL_CELL, 0, 0, 0, &c), 0);
    std::vector<T> out(std::size_t{outW} * outH * 4, 0x55);
    EXPECT_EQ(ProcessFrame(src.data(), out.data(), c), 0);
    DestroyScaleContext(c);
    const uint32_t x0 = (outW - w) / 2, y0 = (outH - h) / 2;
    std::vector<T> want(out.size(), 0);
    for (uint32_t y = 0; y < h; ++y) {
        std::copy_n(&src[std::size_t{y} * w * 4], w * 4,
                    &want[(std::size_t{y + y0} * outW + x0) * 4]);
    }
    EXPECT_EQ(out, want);
}

TEST(Pipeline, CentringCopyPlacesTheImageAndBlacksTheRest) {
    ExpectCentred<uint8_t>(DEPTH_8, 6, 5, 6, 5);    // same size: no copy needed
    ExpectCentred<uint8_t>(DEPTH_8, 6, 5, 7, 5);    // one column more: offset 0
    ExpectCentred<uint8_t>(DEPTH_8, 6, 5, 11, 10);  // odd slack both ways
    ExpectCentred<uint16_t>(DEPTH_16, 5, 4, 9, 7);
}

TEST(Pipeline, ContextsRunSideBySideAndNullArgumentsAreRejected) {
    const Request cubicCell{23, 17, 61, 40};
    const Request lanczosTwoPass{23, 17, 61, 40, OPT_LANCZOS, DEPTH_8, KERNEL_TWO_PASS};
    const auto src = RandomFrame<uint8_t>(23, 17, 255, 5);
    const auto aloneA = quillon::support::RunFrame(cubicCell, src);
    const auto aloneB = quillon::support::RunFrame(lanczosTwoPass, src);
    ASSERT_FALSE(aloneA.empty());
    EXPECT_NE(aloneA, aloneB);
    // Both created first, then processed in the other order: each keeps the
    // kernels chosen at its own creation.
    const Context a(cubicCell);
    const Context b(lanczosTwoPass);
    std::vector<uint8_t> out(aloneA.size());
    ASSERT_EQ(ProcessFrame(src.data(), out.data(), b.get()), 0);
    EXPECT_EQ(out, aloneB);
    ASSERT_EQ(ProcessFrame(src.data(), out.data(), a.get()), 0);
    // Null arguments are rejected and leave the output alone.
    EXPECT_EQ(ProcessFrame(nullptr, out.data(), a.get()), -1);
    EXPECT_EQ(ProcessFrame(src.data(), nullptr, a.get()), -1);
    EXPECT_EQ(ProcessFrame(src.data(), out.data(), nullptr), -1);
    EXPECT_EQ(out, aloneA);
}

TEST(Pipeline, KernelNoneLeavesTheOutputAndAnOwnedCanvasBlack) {
    const auto src = RandomFrame<uint8_t>(8, 8, 255, 3);
    for (uint32_t outW : {16u, 18u}) {
        ScaleContext* c = nullptr;
        ASSERT_EQ(CreateScaleContext(8, 8, 16, 16, outW, 16, 0, DEPTH_8, KERNEL_NONE, 3, 3, 3, &c),
                  0);
        std::vector<uint8_t> out(outW * 16 * 4, 200);
        EXPECT_EQ(ProcessFrame(src.data(), out.data(), c), 0);
        DestroyScaleContext(c);
        EXPECT_EQ(out, std::vector<uint8_t>(out.size(), outW == 16 ? 200 : 0)) << outW;
    }
}

}  // namespace
