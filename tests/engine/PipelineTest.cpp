// ProcessFrame: argument checks, the centring copy, and contexts that live
// side by side.
#include <gtest/gtest.h>

#include <cstdint>
#include <vector>

#include "engine/Engine.h"
#include "tests/support/TestSupport.h"

namespace {

using quillon::support::Context;
using quillon::support::RandomFrame;
using quillon::support::Request;

TEST(Pipeline, NullArgumentsAreRejectedAndNothingIsTouched) {
    const Context c({8, 8, 16, 16});
    ASSERT_TRUE(c.ok());
    std::vector<uint8_t> src(8 * 8 * 4, 9), out(16 * 16 * 4, 77);
    EXPECT_EQ(ProcessFrame(nullptr, out.data(), c.get()), -1);
    EXPECT_EQ(ProcessFrame(src.data(), nullptr, c.get()), -1);
    EXPECT_EQ(ProcessFrame(src.data(), out.data(), nullptr), -1);
    EXPECT_EQ(out, std::vector<uint8_t>(16 * 16 * 4, 77));
}

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
    for (uint32_t y = 0; y < outH; ++y) {
        for (uint32_t x = 0; x < outW; ++x) {
            const bool inside = x >= x0 && x < x0 + w && y >= y0 && y < y0 + h;
            for (std::size_t ch = 0; ch < 4; ++ch) {
                const T want = inside ? src[(std::size_t{y - y0} * w + (x - x0)) * 4 + ch] : T{0};
                ASSERT_EQ(out[(std::size_t{y} * outW + x) * 4 + ch], want) << x << "," << y;
            }
        }
    }
}

TEST(Pipeline, CentringCopyPlacesTheImageAndBlacksTheRest) {
    ExpectCentred<uint8_t>(DEPTH_8, 6, 5, 6, 5);    // same size: no copy needed
    ExpectCentred<uint8_t>(DEPTH_8, 6, 5, 7, 5);    // one column more: offset 0
    ExpectCentred<uint8_t>(DEPTH_8, 6, 5, 11, 10);  // odd slack both ways
    ExpectCentred<uint16_t>(DEPTH_16, 5, 4, 9, 7);
}

TEST(Pipeline, ContextsWithDifferentSettingsRunSideBySide) {
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
    EXPECT_EQ(out, aloneA);
}

TEST(Pipeline, KernelNoneKeepsTheOutputAnOwnedCanvasIsBlackUnknownDepthRunsNothing) {
    const auto src = RandomFrame<uint8_t>(8, 8 * 2, 255, 3);  // room for 16-bit samples
    const struct {
        uint32_t outW, depth, variant, options;
        uint8_t expected;
    } cases[] = {{16, DEPTH_8, KERNEL_NONE, 0, 200},
                 {18, DEPTH_8, KERNEL_NONE, 0, 0},
                 {16, 5, KERNEL_CELL, 15, 200}};
    for (const auto& k : cases) {
        ScaleContext* c = nullptr;
        ASSERT_EQ(CreateScaleContext(8, 8, 16, 16, k.outW, 16, k.options, k.depth, k.variant, 3, 3,
                                     3, &c),
                  0);
        std::vector<uint8_t> out(k.outW * 16 * 8, 200);  // room for 16-bit samples
        EXPECT_EQ(ProcessFrame(src.data(), out.data(), c), 0);
        DestroyScaleContext(c);
        out.resize(k.depth == DEPTH_8 ? k.outW * 16 * 4 : out.size());
        EXPECT_EQ(out, std::vector<uint8_t>(out.size(), k.expected)) << k.outW << " " << k.depth;
    }
}

}  // namespace
