// Properties every upscale kernel must have: exact corners and identity,
// replicated borders, the output ceilings, the empty variant, the widest
// destination an axis can have, and bad arguments.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <string>
#include <vector>

#include "KernelTestSupport.h"

namespace quillon::test {
namespace {

template <typename Sample>
Sample At(const std::vector<Sample>& f, uint32_t width, uint32_t x, uint32_t y, uint32_t ch) {
    return f[(static_cast<std::size_t>(y) * width + x) * 4 + ch];
}

template <typename Sample>
constexpr uint32_t kFull = sizeof(Sample) == 1 ? 255 : 65535;

// The four destination corners are the source corners; equal sizes give
// every destination sample the taps of one source sample.
TEST(UpscaleExactness, CornersAndEqualSizes) {
    ForEachKernel([](const KernelCase& k, auto fn, auto zero) {
        using Sample = decltype(zero);
        Context c(RequestFor(k, 13, 9, 50, 37));
        ASSERT_TRUE(c.ok());
        const auto src = RandomFrame<Sample>(13, 9, kFull<Sample>, 31);
        const auto out = RunKernel(fn, src, c.get());
        for (uint32_t ch = 0; ch < 4; ++ch) {
            EXPECT_EQ(At(out, 50, 0, 0, ch), At(src, 13, 0, 0, ch));
            EXPECT_EQ(At(out, 50, 49, 0, ch), At(src, 13, 12, 0, ch));
            EXPECT_EQ(At(out, 50, 0, 36, ch), At(src, 13, 0, 8, ch));
            EXPECT_EQ(At(out, 50, 49, 36, ch), At(src, 13, 12, 8, ch));
        }
        Context same(RequestFor(k, 11, 7, 11, 7));
        ASSERT_TRUE(same.ok());
        const auto frame = RandomFrame<Sample>(11, 7, kFull<Sample>, 41);
        EXPECT_EQ(FirstDifference(RunKernel(fn, frame, same.get()), frame), -1);
    });
}

// A one-pixel line down the source's left edge. Destination column 0 has
// the taps of source column 0 alone, and with replicated border rows every
// vertical tap sees the line too, so the column carries it at the strength
// the row's weights give a flat field: the level itself at 8 bits (the
// weights' small departure from 8192 rounds away), level x sum / 8192 at 16
// bits, in the edge rows as in the middle. At 8 bits the source rows are all
// alike, so all destination rows must be too.
TEST(UpscaleBorders, LeftEdgeLineIsReplicatedWithoutDarkening) {
    ForEachKernel([](const KernelCase& k, auto fn, auto zero) {
        using Sample = decltype(zero);
        Context c(RequestFor(k, 12, 8, 40, 27));
        ASSERT_TRUE(c.ok());
        const int32_t level = sizeof(Sample) == 1 ? 180 : 46000;
        std::vector<Sample> src(12u * 8u * 4u, 0);
        for (uint32_t i = 0; i < src.size(); i += 12 * 4) {
            std::fill_n(src.begin() + i, 4, static_cast<Sample>(level));
        }
        const auto out = RunKernel(fn, src, c.get());
        for (uint32_t y = 0; y < 27; ++y) {
            int32_t expected = level;
            if constexpr (sizeof(Sample) == 2) {
                int32_t weightSum = 0;
                for (int j = 0; j < k.taps(); ++j) {
                    weightSum += c->rowWeights[static_cast<std::size_t>(y) * k.taps() + j];
                }
                expected = ModelClamp(ModelStep(level * weightSum), 65535);
                ASSERT_NEAR(expected, level, level / 100);
            } else {
                ASSERT_TRUE(std::equal(out.begin(), out.begin() + 40 * 4, out.begin() + y * 40 * 4))
                    << "row " << y;
            }
            for (uint32_t ch = 0; ch < 4; ++ch) {
                ASSERT_EQ(At(out, 40, 0, y, ch), expected) << "row " << y;
            }
        }
    });
}

// Hard edges ring beyond the range: undershoot is clipped to 0 (a wrapped
// value would be large), overshoot to the ceiling: maxValue8 for the 8-bit
// cell kernels, always 255 for the two-pass kernels, maxValue16 at 16 bits.
TEST(UpscaleCeiling, OvershootStopsAtTheCeilingUndershootAtZero) {
    CeilingGuard guard(235, 32768);
    ForEachKernel([](const KernelCase& k, auto fn, auto zero) {
        using Sample = decltype(zero);
        Context c(RequestFor(k, 16, 12, 53, 41));
        ASSERT_TRUE(c.ok());
        const bool wide = sizeof(Sample) == 2;
        const auto src = BlockyFrame<Sample>(16, 12, wide ? 32768 : 255, 51);
        const auto out = RunKernel(fn, src, c.get());
        const auto [low, high] = std::minmax_element(out.begin(), out.end());
        EXPECT_EQ(*low, 0);
        EXPECT_EQ(*high, wide ? 32768 : (k.variant == KERNEL_TWO_PASS ? 255 : 235));
        if (wide) {  // the edges do ring: without the ceiling the model exceeds it
            const auto unclipped = ModelOutput(k, src, *c, 65535);
            EXPECT_GT(*std::max_element(unclipped.begin(), unclipped.end()), 32768);
        }
    });
}

TEST(UpscaleNoneVariant, DestinationKeepsItsContents) {
    for (const uint32_t options : {0u, static_cast<uint32_t>(OPT_LANCZOS)}) {
        Request r{8, 6, 21, 17, options};
        r.variant = KERNEL_NONE;
        Context c(r);
        ASSERT_TRUE(c.ok());
        const auto src = RandomFrame<uint8_t>(8, 6, 255, 61);
        const auto before = RandomFrame<uint8_t>(21, 17, 255, 62);
        auto dst = before;
        EXPECT_TRUE(upscaleNone(src.data(), dst.data(), c.get()));
        EXPECT_EQ(FirstDifference(dst, before), -1);
        EXPECT_EQ(ProcessFrame(src.data(), dst.data(), c.get()), 0);
        EXPECT_EQ(FirstDifference(dst, before), -1);
    }
}

// 65536 destination samples on one axis: the last span end is stored as 0.
// The whole frame is still written, exactly as the per-pixel models say.
TEST(UpscaleWidestAxis, SixtyFiveThousandFiveHundredThirtySixSamples) {
    for (const auto& [dstWidth, dstHeight] : {std::pair{65536u, 4u}, std::pair{4u, 65536u}}) {
        SCOPED_TRACE(std::to_string(dstWidth) + "x" + std::to_string(dstHeight));
        ForEachKernel([&](const KernelCase& k, auto fn, auto zero) {
            using Sample = decltype(zero);
            Context c(RequestFor(k, 4, 4, dstWidth, dstHeight));
            ASSERT_TRUE(c.ok());
            const auto src = RandomFrame<Sample>(4, 4, kFull<Sample>, 71);
            const auto out = RunKernel(fn, src, c.get());
            EXPECT_EQ(FirstDifference(out, ModelOutput(k, src, *c, kFull<Sample>)), -1);
        });
    }
}

TEST(UpscaleArguments, NullPointersAreRefusedWithoutTouchingAnything) {
    ForEachKernel([](const KernelCase& k, auto fn, auto zero) {
        using Sample = decltype(zero);
        Context c(RequestFor(k, 6, 6, 9, 9));
        ASSERT_TRUE(c.ok());
        const auto src = RandomFrame<Sample>(6, 6, kFull<Sample>, 81);
        const std::vector<Sample> untouched(9 * 9 * 4, 7);
        auto dst = untouched;
        EXPECT_FALSE(fn(nullptr, dst.data(), c.get()));
        EXPECT_FALSE(fn(src.data(), nullptr, c.get()));
        EXPECT_FALSE(fn(src.data(), dst.data(), nullptr));
        EXPECT_EQ(FirstDifference(dst, untouched), -1);
    });
}

}  // namespace
}  // namespace quillon::test
