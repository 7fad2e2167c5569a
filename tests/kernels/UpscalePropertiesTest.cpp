// Properties every upscale kernel must have: exact corners and identity,
// replicated borders, the output ceilings, the empty variant, the widest
// destination an axis can have, and bad arguments.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <string>
#include <vector>

#include "KernelTestSupport.h"
#include "kernels/Upscale16.h"
#include "kernels/Upscale8.h"

namespace quillon::test {
namespace {

struct Kernel8 {
    const char* name;
    Upscale8Fn fn;
    uint32_t variant;
    uint32_t options;
    bool fixedCeiling;  // clamps to 255 whatever maxValue8 says
};

const Kernel8 kKernels8[] = {
    {"cubic cell", &upscale8Cubic, KERNEL_CELL, 0, false},
    {"lanczos cell", &upscale8Lanczos, KERNEL_CELL, OPT_LANCZOS, false},
    {"cubic two-pass", &upscale8CubicTwoPass, KERNEL_TWO_PASS, 0, true},
    {"lanczos two-pass", &upscale8LanczosTwoPass, KERNEL_TWO_PASS, OPT_LANCZOS, true},
};

struct Kernel16 {
    const char* name;
    Upscale16Fn fn;
    uint32_t options;
};

const Kernel16 kKernels16[] = {
    {"cubic 16", &upscale16Cubic, 0},
    {"lanczos 16", &upscale16Lanczos, OPT_LANCZOS},
};

template <typename Sample>
Sample At(const std::vector<Sample>& f, uint32_t width, uint32_t x, uint32_t y, uint32_t ch) {
    return f[(static_cast<std::size_t>(y) * width + x) * 4 + ch];
}

template <typename Sample>
void ExpectCornersKept(const std::vector<Sample>& src, const std::vector<Sample>& out, uint32_t w,
                       uint32_t h, uint32_t wd, uint32_t hd) {
    for (uint32_t ch = 0; ch < 4; ++ch) {
        EXPECT_EQ(At(out, wd, 0, 0, ch), At(src, w, 0, 0, ch));
        EXPECT_EQ(At(out, wd, wd - 1, 0, ch), At(src, w, w - 1, 0, ch));
        EXPECT_EQ(At(out, wd, 0, hd - 1, ch), At(src, w, 0, h - 1, ch));
        EXPECT_EQ(At(out, wd, wd - 1, hd - 1, ch), At(src, w, w - 1, h - 1, ch));
    }
}

TEST(UpscaleCorners, DestinationCornersAreSourceCorners) {
    for (const auto& k : kKernels8) {
        SCOPED_TRACE(k.name);
        Context c(13, 9, 50, 37, k.options, DEPTH_8, k.variant);
        ASSERT_TRUE(c.ok());
        const auto src = RandomFrame<uint8_t>(13, 9, 31, 255);
        ExpectCornersKept(src, RunKernel(k.fn, src, c.get()), 13, 9, 50, 37);
    }
    for (const auto& k : kKernels16) {
        SCOPED_TRACE(k.name);
        Context c(13, 9, 50, 37, k.options, DEPTH_16, KERNEL_CELL);
        ASSERT_TRUE(c.ok());
        const auto src = RandomFrame<uint16_t>(13, 9, 32, 65535);
        ExpectCornersKept(src, RunKernel(k.fn, src, c.get()), 13, 9, 50, 37);
    }
}

// Equal sizes give every destination sample the taps of one source sample.
TEST(UpscaleIdentity, EqualSizesReproduceTheFrame) {
    for (const auto& k : kKernels8) {
        SCOPED_TRACE(k.name);
        Context c(11, 7, 11, 7, k.options, DEPTH_8, k.variant);
        ASSERT_TRUE(c.ok());
        const auto src = RandomFrame<uint8_t>(11, 7, 41, 255);
        EXPECT_EQ(FirstDifference(RunKernel(k.fn, src, c.get()), src), -1);
    }
    for (const auto& k : kKernels16) {
        SCOPED_TRACE(k.name);
        Context c(11, 7, 11, 7, k.options, DEPTH_16, KERNEL_CELL);
        ASSERT_TRUE(c.ok());
        const auto src = RandomFrame<uint16_t>(11, 7, 42, 65535);
        EXPECT_EQ(FirstDifference(RunKernel(k.fn, src, c.get()), src), -1);
    }
}

// A one-pixel line down the source's left edge. Destination column 0 has
// the taps of source column 0 alone, and with replicated border rows every
// vertical tap sees the line too, so the column carries it at the strength
// the row's weights give a flat field: the level itself at 8 bits (the
// weights' small departure from 8192 rounds away), level x sum / 8192 at 16
// bits, in the edge rows as in the middle. At 8 bits the source rows are all
// alike, so all destination rows must be too.
template <typename Sample, typename Kernel>
void ExpectLeftLineKept(Kernel kernel, const ScaleContext* c, Sample level, int taps) {
    const uint32_t w = c->srcWidth;
    const uint32_t wd = c->dstWidth;
    std::vector<Sample> src(static_cast<std::size_t>(w) * c->srcHeight * 4, 0);
    for (uint32_t y = 0; y < c->srcHeight; ++y) {
        for (uint32_t ch = 0; ch < 4; ++ch) {
            src[(static_cast<std::size_t>(y) * w) * 4 + ch] = level;
        }
    }
    const auto out = RunKernel(kernel, src, c);
    for (uint32_t y = 0; y < c->dstHeight; ++y) {
        int32_t expected = level;
        if (sizeof(Sample) == 2) {
            int32_t weightSum = 0;
            for (int j = 0; j < taps; ++j) {
                weightSum += c->rowWeights[static_cast<std::size_t>(y) * taps + j];
            }
            expected = ModelClamp(ModelStep(level * weightSum), 65535);
            ASSERT_NEAR(expected, level, level / 100);
        }
        for (uint32_t ch = 0; ch < 4; ++ch) {
            ASSERT_EQ(At(out, wd, 0, y, ch), expected) << "row " << y;
        }
        if (sizeof(Sample) == 1) {
            for (uint32_t i = 0; i < wd * 4; ++i) {
                ASSERT_EQ(out[static_cast<std::size_t>(y) * wd * 4 + i], out[i]) << "row " << y;
            }
        }
    }
}

TEST(UpscaleBorders, LeftEdgeLineIsReplicatedWithoutDarkening) {
    for (const auto& k : kKernels8) {
        SCOPED_TRACE(k.name);
        Context c(12, 8, 40, 27, k.options, DEPTH_8, k.variant);
        ASSERT_TRUE(c.ok());
        ExpectLeftLineKept<uint8_t>(k.fn, c.get(), 180, 0);
    }
    for (const auto& k : kKernels16) {
        SCOPED_TRACE(k.name);
        Context c(12, 8, 40, 27, k.options, DEPTH_16, KERNEL_CELL);
        ASSERT_TRUE(c.ok());
        ExpectLeftLineKept<uint16_t>(k.fn, c.get(), 46000, k.options != 0 ? 8 : 4);
    }
}

TEST(UpscaleCeiling, CellKernelsHonourMaxValue8TwoPassKernelsClampTo255) {
    MaxValue8Guard guard(235);
    for (const auto& k : kKernels8) {
        SCOPED_TRACE(k.name);
        Context c(16, 12, 53, 41, k.options, DEPTH_8, k.variant);
        ASSERT_TRUE(c.ok());
        const auto src = BlockyFrame<uint8_t>(16, 12, 51, 255);
        const auto out = RunKernel(k.fn, src, c.get());
        const auto [low, high] = std::minmax_element(out.begin(), out.end());
        EXPECT_EQ(*low, 0);  // undershoot at the edges clipped, not wrapped
        EXPECT_EQ(*high, k.fixedCeiling ? 255 : 235);
    }
}

TEST(UpscaleCeiling, SixteenBitKernelsHonourMaxValue16) {
    MaxValue16Guard guard(32768);
    for (const auto& k : kKernels16) {
        SCOPED_TRACE(k.name);
        Context c(16, 12, 53, 41, k.options, DEPTH_16, KERNEL_CELL);
        ASSERT_TRUE(c.ok());
        const auto src = BlockyFrame<uint16_t>(16, 12, 52, 32768);
        const auto out = RunKernel(k.fn, src, c.get());
        // An undershoot wrapped to a large unsigned value would exceed 32768.
        const auto [low, high] = std::minmax_element(out.begin(), out.end());
        EXPECT_EQ(*low, 0);
        EXPECT_EQ(*high, 32768);
        // The edges do ring: without the ceiling the model exceeds it.
        const auto unclipped = k.options != 0 ? CellModel<uint16_t, int32_t, 8>(src, *c, 65535)
                                              : CellModel<uint16_t, int32_t, 4>(src, *c, 65535);
        EXPECT_GT(*std::max_element(unclipped.begin(), unclipped.end()), 32768);
    }
}

TEST(UpscaleNoneVariant, DestinationKeepsItsContents) {
    for (uint32_t options : {0u, static_cast<uint32_t>(OPT_LANCZOS)}) {
        Context c(8, 6, 21, 17, options, DEPTH_8, KERNEL_NONE);
        ASSERT_TRUE(c.ok());
        const auto src = RandomFrame<uint8_t>(8, 6, 61, 255);
        const auto before = RandomFrame<uint8_t>(21, 17, 62, 255);
        auto dst = before;
        EXPECT_TRUE(upscaleNone(src.data(), dst.data(), c.get()));
        EXPECT_EQ(FirstDifference(dst, before), -1);
        EXPECT_EQ(ProcessFrame(src.data(), dst.data(), c.mutableGet()), 0);
        EXPECT_EQ(FirstDifference(dst, before), -1);
    }
}

// 65536 destination samples on one axis: the last span end is stored as 0.
// The whole frame is still written, exactly as the per-pixel models say.
TEST(UpscaleWidestAxis, SixtyFiveThousandFiveHundredThirtySixSamples) {
    struct Shape {
        uint32_t dstWidth;
        uint32_t dstHeight;
    };
    for (const Shape shape : {Shape{65536, 4}, Shape{4, 65536}}) {
        SCOPED_TRACE(std::to_string(shape.dstWidth) + "x" + std::to_string(shape.dstHeight));
        const auto src8 = RandomFrame<uint8_t>(4, 4, 71, 255);
        for (const auto& k : kKernels8) {
            SCOPED_TRACE(k.name);
            Context c(4, 4, shape.dstWidth, shape.dstHeight, k.options, DEPTH_8, k.variant);
            ASSERT_TRUE(c.ok());
            const auto out = RunKernel(k.fn, src8, c.get());
            std::vector<uint8_t> expected;
            if (k.variant == KERNEL_TWO_PASS) {
                expected = k.options != 0 ? TwoPassModel<8>(src8, *c) : TwoPassModel<4>(src8, *c);
            } else {
                expected = k.options != 0 ? CellModel<uint8_t, int16_t, 8>(src8, *c, 255)
                                          : CellModel<uint8_t, int16_t, 4>(src8, *c, 255);
            }
            EXPECT_EQ(FirstDifference(out, expected), -1);
        }
        const auto src16 = RandomFrame<uint16_t>(4, 4, 72, 65535);
        for (const auto& k : kKernels16) {
            SCOPED_TRACE(k.name);
            Context c(4, 4, shape.dstWidth, shape.dstHeight, k.options, DEPTH_16, KERNEL_CELL);
            ASSERT_TRUE(c.ok());
            const auto out = RunKernel(k.fn, src16, c.get());
            const auto expected = k.options != 0
                                      ? CellModel<uint16_t, int32_t, 8>(src16, *c, 65535)
                                      : CellModel<uint16_t, int32_t, 4>(src16, *c, 65535);
            EXPECT_EQ(FirstDifference(out, expected), -1);
        }
    }
}

TEST(UpscaleArguments, NullPointersAreRefusedWithoutTouchingAnything) {
    const auto src8 = RandomFrame<uint8_t>(6, 6, 81, 255);
    const auto src16 = RandomFrame<uint16_t>(6, 6, 82, 65535);
    for (const auto& k : kKernels8) {
        SCOPED_TRACE(k.name);
        Context c(6, 6, 9, 9, k.options, DEPTH_8, k.variant);
        ASSERT_TRUE(c.ok());
        std::vector<uint8_t> dst(9 * 9 * 4, 7);
        EXPECT_FALSE(k.fn(nullptr, dst.data(), c.get()));
        EXPECT_FALSE(k.fn(src8.data(), nullptr, c.get()));
        EXPECT_FALSE(k.fn(src8.data(), dst.data(), nullptr));
        EXPECT_EQ(FirstDifference(dst, std::vector<uint8_t>(dst.size(), 7)), -1);
    }
    for (const auto& k : kKernels16) {
        SCOPED_TRACE(k.name);
        Context c(6, 6, 9, 9, k.options, DEPTH_16, KERNEL_CELL);
        ASSERT_TRUE(c.ok());
        std::vector<uint16_t> dst(9 * 9 * 4, 7);
        EXPECT_FALSE(k.fn(nullptr, dst.data(), c.get()));
        EXPECT_FALSE(k.fn(src16.data(), nullptr, c.get()));
        EXPECT_FALSE(k.fn(src16.data(), dst.data(), nullptr));
        EXPECT_EQ(FirstDifference(dst, std::vector<uint16_t>(dst.size(), 7)), -1);
    }
}

}  // namespace
}  // namespace quillon::test
