// ProcessFrame: argument checks, the centring copy, and contexts that live
// side by side.
#include <gtest/gtest.h>

#include <cstdint>
#include <random>
#include <vector>

#include "engine/Engine.h"
#include "engine/ScaleEngine.hpp"

namespace {

using quillon::ScaleEngine;
using quillon::ScaleRequest;

std::vector<uint8_t> Noise(std::size_t bytes, unsigned seed) {
    std::mt19937 rng(seed);
    std::vector<uint8_t> v(bytes);
    for (auto& b : v)
        b = static_cast<uint8_t>(rng());
    return v;
}

TEST(Pipeline, NullArgumentsAreRejectedAndNothingIsTouched) {
    auto engine =
        ScaleEngine::Create({.srcWidth = 8, .srcHeight = 8, .dstWidth = 16, .dstHeight = 16});
    ASSERT_TRUE(engine);
    std::vector<uint8_t> src(8 * 8 * 4, 9), out(16 * 16 * 4, 77);
    EXPECT_EQ(ProcessFrame(nullptr, out.data(), engine->get()), -1);
    EXPECT_EQ(ProcessFrame(src.data(), nullptr, engine->get()), -1);
    EXPECT_EQ(ProcessFrame(src.data(), out.data(), nullptr), -1);
    EXPECT_EQ(out, std::vector<uint8_t>(16 * 16 * 4, 77));
}

// A 1:1 "enlargement" reproduces the source (every weight is the identity),
// which makes the placement inside the canvas directly visible.
template <typename Sample>
void ExpectCentred(uint32_t depth, uint32_t w, uint32_t h, uint32_t outW, uint32_t outH) {
    const std::size_t px = 4;
    std::vector<Sample> src(std::size_t{w} * h * px);
    std::mt19937 rng(w * 131 + h);
    for (auto& s : src)
        s = static_cast<Sample>(rng() % (depth == DEPTH_16 ? 32769 : 256));
    std::vector<Sample> out(std::size_t{outW} * outH * px, 0x55);
    auto engine = ScaleEngine::Create({.srcWidth = w,
                                       .srcHeight = h,
                                       .dstWidth = w,
                                       .dstHeight = h,
                                       .outWidth = outW,
                                       .outHeight = outH,
                                       .depthMode = depth,
                                       .kernelVariant = KERNEL_CELL});
    ASSERT_TRUE(engine);
    ASSERT_TRUE(engine->Process(src.data(), out.data()));
    const uint32_t x0 = (outW - w) / 2, y0 = (outH - h) / 2;
    for (uint32_t y = 0; y < outH; ++y) {
        for (uint32_t x = 0; x < outW; ++x) {
            const bool inside = x >= x0 && x < x0 + w && y >= y0 && y < y0 + h;
            for (std::size_t c = 0; c < px; ++c) {
                const Sample got = out[(std::size_t{y} * outW + x) * px + c];
                const Sample want =
                    inside ? src[(std::size_t{y - y0} * w + (x - x0)) * px + c] : Sample{0};
                ASSERT_EQ(got, want) << "x=" << x << " y=" << y << " c=" << c;
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
    const uint32_t w = 23, h = 17, dw = 61, dh = 40;
    const auto src = Noise(std::size_t{w} * h * 4, 5);
    auto run = [&](const ScaleRequest& r, ScaleEngine* e) {
        std::vector<uint8_t> out(std::size_t{dw} * dh * 4, 0);
        if (e != nullptr) {
            EXPECT_TRUE(e->Process(src.data(), out.data()));
        } else {
            auto fresh = ScaleEngine::Create(r);
            EXPECT_TRUE(fresh && fresh->Process(src.data(), out.data()));
        }
        return out;
    };
    const ScaleRequest cubicCell{.srcWidth = w,
                                 .srcHeight = h,
                                 .dstWidth = dw,
                                 .dstHeight = dh,
                                 .kernelVariant = KERNEL_CELL};
    const ScaleRequest lanczosTwoPass{.srcWidth = w,
                                      .srcHeight = h,
                                      .dstWidth = dw,
                                      .dstHeight = dh,
                                      .options = OPT_LANCZOS,
                                      .kernelVariant = KERNEL_TWO_PASS};
    const auto aloneA = run(cubicCell, nullptr);
    const auto aloneB = run(lanczosTwoPass, nullptr);
    EXPECT_NE(aloneA, aloneB);
    // Both created first, then processed in the other order: each keeps the
    // kernels chosen at its own creation.
    auto a = ScaleEngine::Create(cubicCell);
    auto b = ScaleEngine::Create(lanczosTwoPass);
    ASSERT_TRUE(a && b);
    EXPECT_EQ(run(lanczosTwoPass, &*b), aloneB);
    EXPECT_EQ(run(cubicCell, &*a), aloneA);
}

TEST(Pipeline, KernelNoneKeepsTheOutputAndAnOwnedCanvasIsBlack) {
    const auto src = Noise(8 * 8 * 4, 3);
    std::vector<uint8_t> out(16 * 16 * 4, 200);
    auto keep = ScaleEngine::Create({.srcWidth = 8,
                                     .srcHeight = 8,
                                     .dstWidth = 16,
                                     .dstHeight = 16,
                                     .kernelVariant = KERNEL_NONE});
    ASSERT_TRUE(keep && keep->Process(src.data(), out.data()));
    EXPECT_EQ(out, std::vector<uint8_t>(16 * 16 * 4, 200));

    std::vector<uint8_t> canvas(18 * 16 * 4, 200);
    auto owned = ScaleEngine::Create({.srcWidth = 8,
                                      .srcHeight = 8,
                                      .dstWidth = 16,
                                      .dstHeight = 16,
                                      .outWidth = 18,
                                      .outHeight = 16,
                                      .kernelVariant = KERNEL_NONE});
    ASSERT_TRUE(owned && owned->Process(src.data(), canvas.data()));
    EXPECT_EQ(canvas, std::vector<uint8_t>(18 * 16 * 4, 0));
}

TEST(Pipeline, UnknownDepthRunsNoPass) {
    ScaleContext* c = nullptr;
    ASSERT_EQ(CreateScaleContext(8, 8, 16, 16, 16, 16, 15, 5, 0, 3, 3, 3, &c), 0);
    std::vector<uint8_t> src(8 * 8 * 8, 1), out(16 * 16 * 8, 42);
    EXPECT_EQ(ProcessFrame(src.data(), out.data(), c), 0);
    EXPECT_EQ(out, std::vector<uint8_t>(16 * 16 * 8, 42));
    DestroyScaleContext(c);
}

}  // namespace
