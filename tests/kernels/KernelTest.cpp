// Every upscale kernel (cell and two-pass, 8 and 16 bits) against plain
// per-pixel models written from the filter rules, where traversal, border and
// lane mistakes show up as differences; then the properties every kernel must
// have: exact corners, replicated borders, the output ceilings, the empty
// variant, the widest axis and refused scratch.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <random>
#include <type_traits>
#include <vector>

#include "engine/Engine.h"
#include "engine/ScaleContext.h"
#include "kernels/Upscale16.h"
#include "kernels/Upscale8.h"
#include "tests/support/TestSupport.h"

namespace quillon::test {
namespace {

using support::CeilingGuard;
using support::Context;
using support::RandomFrame;
using support::Request;

// Random blocks of flat colour with hard edges: plenty of overshoot.
template <typename Sample>
std::vector<Sample> BlockyFrame(uint32_t width, uint32_t height, uint32_t maxSample,
                                uint32_t seed) {
    std::mt19937 rng(seed);
    std::vector<Sample> frame(std::size_t{width} * height * 4);
    for (std::size_t i = 0; i < frame.size(); ++i) {
        const std::size_t x = i / 4 % width;
        const bool on =
            ((x / 3 + i / 4 / width / 2 + i % 4) % 2 == 0) != (rng() % 2 == 0 && x % 5 == 0);
        frame[i] = static_cast<Sample>(on ? maxSample : 0);
    }
    return frame;
}

int32_t Step(int32_t sum) {
    return (sum + 4096) >> 13;
}

int32_t Saturate16(int32_t v) {
    return std::clamp(v, -32768, 32767);
}

// Indices off an axis of n samples read the nearest border sample.
std::size_t Edge(int64_t i, uint32_t n) {
    return static_cast<std::size_t>(std::clamp<int64_t>(i, 0, n - 1));
}

// Cell kernels, one destination sample at a time: the taps start Taps / 2 - 1
// samples before the source interval named by the index tables (not by the
// span ends the kernels walk). Held: int16_t at 8 bits, int32_t at 16 bits.
template <typename Sample, typename Held, int Taps>
std::vector<Sample> CellModel(const std::vector<Sample>& src, const ScaleContext& c,
                              int32_t maxValue) {
    std::vector<Sample> out(std::size_t{c.dstWidth} * c.dstHeight * 4);
    for (std::size_t i = 0; i < out.size(); ++i) {
        const std::size_t dx = i / 4 % c.dstWidth;
        const std::size_t dy = i / 4 / c.dstWidth;
        int32_t vertical = 0;
        for (int j = 0; j < Taps; ++j) {
            const std::size_t y = Edge(int64_t{c.rowIndex[dy]} - Taps / 2 + 1 + j, c.srcHeight);
            int32_t horizontal = 0;
            for (int k = 0; k < Taps; ++k) {
                const std::size_t x =
                    Edge(int64_t{c.columnIndex[dx]} - Taps / 2 + 1 + k, c.srcWidth);
                horizontal +=
                    src[(y * c.srcWidth + x) * 4 + i % 4] * c.columnWeights[dx * Taps + k];
            }
            vertical += static_cast<Held>(Step(horizontal)) * c.rowWeights[dy * Taps + j];
        }
        out[i] = static_cast<Sample>(std::clamp(Step(vertical), 0, maxValue));
    }
    return out;
}

// Two-pass kernels: a full horizontal pass into 16-bit scratch, then the
// vertical one. Column weights come four lanes a tap (one a channel), row
// weights eight (channel c of an even pixel in lane c, of an odd one in lane
// 4 + c). Only every rowStep-th destination row and the last are evaluated.
template <int Taps>
std::vector<uint8_t> TwoPassModel(const std::vector<uint8_t>& src, const ScaleContext& c,
                                  uint32_t rowStep) {
    const std::size_t wd = c.dstWidth;
    std::vector<int16_t> scratch(wd * c.srcHeight * 4);
    for (std::size_t i = 0; i < scratch.size(); ++i) {
        const std::size_t dx = i / 4 % wd;
        int32_t sum = 0;
        for (int k = 0; k < Taps; ++k) {
            const std::size_t x = Edge(int64_t{c.columnIndex[dx]} - Taps / 2 + 1 + k, c.srcWidth);
            sum += src[(i / 4 / wd * c.srcWidth + x) * 4 + i % 4] *
                   c.columnWeights[(dx * Taps + k) * 4 + i % 4];
        }
        scratch[i] = static_cast<int16_t>(Saturate16(Step(sum)));
    }
    std::vector<uint8_t> out(wd * c.dstHeight * 4, 0);
    for (std::size_t i = 0; i < out.size(); ++i) {
        const std::size_t dx = i / 4 % wd;
        const std::size_t dy = i / 4 / wd;
        if (dy % rowStep != 0 && dy + 1 != c.dstHeight) {
            continue;
        }
        int32_t sum = 0;
        for (int j = 0; j < Taps; ++j) {
            const std::size_t y = Edge(int64_t{c.rowIndex[dy]} - Taps / 2 + 1 + j, c.srcHeight);
            sum += scratch[(y * wd + dx) * 4 + i % 4] *
                   c.rowWeights[(dy * Taps + j) * 8 + dx % 2 * 4 + i % 4];
        }
        out[i] = static_cast<uint8_t>(std::clamp(Saturate16(Step(sum)), 0, 255));
    }
    return out;
}

using Upscale8Fn = bool (*)(const uint8_t*, uint8_t*, const FramePlan*);
using Upscale16Fn = bool (*)(const uint16_t*, uint16_t*, const FramePlan*);

// Every upscale kernel with the options and variant that select it.
struct KernelCase {
    const char* name;
    Upscale8Fn fn8;  // one of the two is set
    Upscale16Fn fn16;
    uint32_t variant;
    uint32_t options;

    int taps() const { return (options & OPT_LANCZOS) != 0 ? 8 : 4; }
    Request request(uint32_t sw, uint32_t sh, uint32_t dw, uint32_t dh) const {
        return {sw, sh, dw, dh, options, fn8 != nullptr ? DEPTH_8 : DEPTH_16, variant, 0, 0};
    }
};

const KernelCase kKernels[] = {
    {"cubic cell", &upscale8Cubic, nullptr, KERNEL_CELL, 0},
    {"lanczos cell", &upscale8Lanczos, nullptr, KERNEL_CELL, OPT_LANCZOS},
#ifdef QUILLON_X86_KERNELS
    {"cubic two-pass sse2", &upscale8CubicTwoPassSse2, nullptr, KERNEL_TWO_PASS, 0},
    {"lanczos two-pass sse2", &upscale8LanczosTwoPassSse2, nullptr, KERNEL_TWO_PASS, OPT_LANCZOS},
#endif
    {"cubic two-pass scalar", &upscale8CubicTwoPassScalar, nullptr, KERNEL_TWO_PASS, 0},
    {"lanczos two-pass scalar", &upscale8LanczosTwoPassScalar, nullptr, KERNEL_TWO_PASS,
     OPT_LANCZOS},
    {"cubic 16", nullptr, &upscale16Cubic, KERNEL_CELL, 0},
    {"lanczos 16", nullptr, &upscale16Lanczos, KERNEL_CELL, OPT_LANCZOS},
};

// Calls check(kernel, function, Sample{}) for every kernel, traced by name.
template <typename Check>
void ForEachKernel(Check&& check) {
    for (const KernelCase& k : kKernels) {
        SCOPED_TRACE(k.name);
        k.fn8 != nullptr ? check(k, k.fn8, uint8_t{0}) : check(k, k.fn16, uint16_t{0});
    }
}

// What the model says a kernel writes; maxValue is the ceiling the cell
// kernels clamp to (the two-pass kernels always clamp to 255).
template <typename Sample>
std::vector<Sample> ModelOutput(const KernelCase& k, const std::vector<Sample>& src,
                                const ScaleContext& c, int32_t maxValue, uint32_t rowStep = 1) {
    using Held = std::conditional_t<sizeof(Sample) == 1, int16_t, int32_t>;
    if constexpr (sizeof(Sample) == 1) {
        if (k.variant == KERNEL_TWO_PASS) {
            return k.taps() == 8 ? TwoPassModel<8>(src, c, rowStep)
                                 : TwoPassModel<4>(src, c, rowStep);
        }
    }
    return k.taps() == 8 ? CellModel<Sample, Held, 8>(src, c, maxValue)
                         : CellModel<Sample, Held, 4>(src, c, maxValue);
}

// Runs a kernel on a destination of zeros and one of all ones: both must
// come out equal (every sample written).
template <typename Sample, typename Kernel>
std::vector<Sample> RunKernel(Kernel kernel, const std::vector<Sample>& src, const Context& c) {
    const std::size_t n = std::size_t{c->dstWidth} * c->dstHeight * 4;
    std::vector<Sample> zeros(n, 0);
    std::vector<Sample> ones(n, static_cast<Sample>(~0u));
    EXPECT_TRUE(kernel(src.data(), zeros.data(), c.get()));
    EXPECT_TRUE(kernel(src.data(), ones.data(), c.get()));
    EXPECT_TRUE(zeros == ones) << "a destination sample was not written";
    return zeros;
}

template <typename Sample>
constexpr uint32_t kFull = sizeof(Sample) == 1 ? 255 : 65535;

// Smallest sources, odd destination widths (the lone last pixel), widths of
// 1, 2 and 3 mod 4 lanes, 1:1 axes, non-integer ratios. Random and blocky
// frames at full range (16-bit horizontal results beyond 0..65535 must
// survive into the vertical step), at the default ceilings and at lowered
// ones, which the cell kernels must read at every call.
TEST(KernelModel, AwkwardSizes) {
    const std::array<uint32_t, 4> sizes[] = {
        {4, 4, 4, 4},       {4, 4, 5, 7},      {4, 4, 9, 9},     {4, 4, 11, 9},    {4, 5, 6, 13},
        {5, 4, 13, 11},     {7, 6, 7, 19},     {9, 5, 31, 5},    {6, 9, 6, 9},     {8, 8, 16, 16},
        {17, 13, 61, 47},   {33, 7, 101, 29},  {12, 10, 41, 23}, {11, 10, 12, 33}, {10, 11, 39, 12},
        {45, 30, 240, 160}, {64, 48, 203, 151}};
    uint32_t seed = 1;
    for (const auto& [sw, sh, dw, dh] : sizes) {
        for (const bool lowered : {false, true}) {
            const int32_t max8 = lowered ? 200 : 255;
            const int32_t max16 = lowered ? 32768 : 65535;
            CeilingGuard guard(max8, max16);
            ForEachKernel([&](const KernelCase& k, auto fn, auto zero) {
                using Sample = decltype(zero);
                Context c(k.request(sw, sh, dw, dh));
                ASSERT_TRUE(c.ok());
                for (const bool blocky : {false, true}) {
                    const auto src = blocky ? BlockyFrame<Sample>(sw, sh, kFull<Sample>, ++seed)
                                            : RandomFrame<Sample>(sw, sh, kFull<Sample>, ++seed);
                    EXPECT_EQ(RunKernel(fn, src, c),
                              ModelOutput(k, src, *c, sizeof(Sample) == 1 ? max8 : max16))
                        << sw << "x" << sh << " -> " << dw << "x" << dh << (blocky ? " blocky" : "")
                        << " ceilings " << max8 << "/" << max16;
                }
            });
        }
    }
}

// Debug and sanitizer builds check every 13th row (all scratch rows still
// feed them); optimised builds check every row.
TEST(KernelModel, TwoPassFullFrameSdToUhd) {
#ifdef NDEBUG
    const uint32_t rowStep = 1;
#else
    const uint32_t rowStep = 13;
#endif
    const auto src = RandomFrame<uint8_t>(720, 480, 255, 99);
    for (const KernelCase& k : kKernels) {
        if (k.variant == KERNEL_TWO_PASS) {
            Context c(k.request(720, 480, 3840, 2160));
            ASSERT_TRUE(c.ok());
            std::vector<uint8_t> out(3840u * 2160u * 4u, 0);
            ASSERT_TRUE(k.fn8(src.data(), out.data(), c.get()));
            for (std::size_t i = 0; i < out.size(); ++i) {
                const std::size_t y = i / (3840 * 4);
                out[i] = y % rowStep == 0 || y == 2159 ? out[i] : 0;
            }
            EXPECT_TRUE(out == ModelOutput(k, src, *c, 255, rowStep)) << k.name;
        }
    }
}

// Whichever scratch block is refused, the two-pass kernel reports it and
// writes nothing; once every block is granted it runs.
TEST(KernelModel, RefusedScratchLeavesDestinationUntouched) {
    const auto src = RandomFrame<uint8_t>(40, 30, 255, 5);
    const std::vector<uint8_t> untouched(97u * 71u * 4u, 0x5a);
    for (const KernelCase& k : kKernels) {
        if (k.variant != KERNEL_TWO_PASS) {
            continue;
        }
        Context c(k.request(40, 30, 97, 71));
        bool succeeded = false;
        for (int grants = 0; grants < 16 && !succeeded; ++grants) {
            std::vector<uint8_t> dst = untouched;
            {
                support::AllocationLimit limit(grants);
                succeeded = k.fn8(src.data(), dst.data(), c.get());
            }
            EXPECT_TRUE(succeeded ? grants > 0 && dst == ModelOutput(k, src, *c, 255)
                                  : dst == untouched)
                << k.name << ", " << grants << " grants";
        }
        EXPECT_TRUE(succeeded);
    }
}

template <typename Sample>
Sample At(const std::vector<Sample>& f, uint32_t width, uint32_t x, uint32_t y, uint32_t ch) {
    return f[(std::size_t{y} * width + x) * 4 + ch];
}

TEST(UpscaleProperties, CornersAreTheSourceCorners) {
    ForEachKernel([](const KernelCase& k, auto fn, auto zero) {
        using Sample = decltype(zero);
        Context c(k.request(13, 9, 50, 37));
        const auto src = RandomFrame<Sample>(13, 9, kFull<Sample>, 31);
        const auto out = RunKernel(fn, src, c);
        for (uint32_t ch = 0; ch < 4; ++ch) {
            EXPECT_EQ(At(out, 50, 0, 0, ch), At(src, 13, 0, 0, ch));
            EXPECT_EQ(At(out, 50, 49, 0, ch), At(src, 13, 12, 0, ch));
            EXPECT_EQ(At(out, 50, 0, 36, ch), At(src, 13, 0, 8, ch));
            EXPECT_EQ(At(out, 50, 49, 36, ch), At(src, 13, 12, 8, ch));
        }
    });
}

// A one-pixel line down the source's left edge. Destination column 0 has the
// taps of source column 0 alone, and with replicated border rows every
// vertical tap sees the line too, so the column carries it at the strength
// the row's weights give a flat field: the level itself at 8 bits (the
// weights' small departure from 8192 rounds away), level x sum / 8192 at 16
// bits, in the edge rows as in the middle. At 8 bits all rows are alike.
TEST(UpscaleProperties, LeftEdgeLineIsReplicatedWithoutDarkening) {
    ForEachKernel([](const KernelCase& k, auto fn, auto zero) {
        using Sample = decltype(zero);
        Context c(k.request(12, 8, 40, 27));
        const int32_t level = sizeof(Sample) == 1 ? 180 : 46000;
        std::vector<Sample> src(12u * 8u * 4u, 0);
        for (uint32_t i = 0; i < src.size(); i += 12 * 4) {
            std::fill_n(src.begin() + i, 4, static_cast<Sample>(level));
        }
        const auto out = RunKernel(fn, src, c);
        for (uint32_t y = 0; y < 27; ++y) {
            int32_t expected = level;
            if constexpr (sizeof(Sample) == 2) {
                int32_t weightSum = 0;
                for (int j = 0; j < k.taps(); ++j) {
                    weightSum += c->rowWeights[std::size_t{y} * k.taps() + j];
                }
                expected = std::clamp(Step(level * weightSum), 0, 65535);
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
TEST(UpscaleProperties, OvershootStopsAtTheCeilingUndershootAtZero) {
    CeilingGuard guard(235, 32768);
    ForEachKernel([](const KernelCase& k, auto fn, auto zero) {
        using Sample = decltype(zero);
        Context c(k.request(16, 12, 53, 41));
        const bool wide = sizeof(Sample) == 2;
        const auto src = BlockyFrame<Sample>(16, 12, wide ? 32768 : 255, 51);
        const auto out = RunKernel(fn, src, c);
        const auto [low, high] = std::minmax_element(out.begin(), out.end());
        EXPECT_EQ(*low, 0);
        EXPECT_EQ(*high, wide ? 32768 : (k.variant == KERNEL_TWO_PASS ? 255 : 235));
        if (wide) {  // the edges do ring: without the ceiling the model exceeds it
            const auto unclipped = ModelOutput(k, src, *c, 65535);
            EXPECT_GT(*std::max_element(unclipped.begin(), unclipped.end()), 32768);
        }
    });
}

TEST(UpscaleProperties, NoneVariantKeepsTheDestination) {
    for (const uint32_t options : {0u, uint32_t{OPT_LANCZOS}}) {
        Context c({8, 6, 21, 17, options, DEPTH_8, KERNEL_NONE});
        const auto src = RandomFrame<uint8_t>(8, 6, 255, 61);
        const auto before = RandomFrame<uint8_t>(21, 17, 255, 62);
        auto dst = before;
        EXPECT_TRUE(upscaleNone(src.data(), dst.data(), c.get()));
        EXPECT_EQ(ProcessFrame(src.data(), dst.data(), c.get()), 0);
        EXPECT_EQ(dst, before);
    }
}

// 65536 destination samples on one axis: the last span end is stored as 0.
// The whole frame is still written, exactly as the models say.
TEST(UpscaleProperties, WidestAxisOf65536Samples) {
    for (const auto& [dw, dh] : {std::pair{65536u, 4u}, std::pair{4u, 65536u}}) {
        ForEachKernel([&](const KernelCase& k, auto fn, auto zero) {
            using Sample = decltype(zero);
            Context c(k.request(4, 4, dw, dh));
            ASSERT_TRUE(c.ok());
            const auto src = RandomFrame<Sample>(4, 4, kFull<Sample>, 71);
            EXPECT_EQ(RunKernel(fn, src, c), ModelOutput(k, src, *c, kFull<Sample>)) << dw;
        });
    }
}

// Every band kernel run as random bands of rows (one row, seams inside and
// at the edge of a source interval's span, the whole frame at once) writes
// the bytes of one band over the whole frame.
template <typename Sample>
struct BandKernel {
    const char* name;
    UpscaleBandFn<Sample> run;
    BandScratchFn scratch;
    uint32_t variant;
    uint32_t options;
};

template <typename Sample>
void ExpectBandsMatchWholeFrame(const BandKernel<Sample>& k, uint32_t seed) {
    SCOPED_TRACE(k.name);
    std::mt19937 rng(seed);
    const uint32_t depth = sizeof(Sample) == 1 ? DEPTH_8 : DEPTH_16;
    for (const auto& [sw, sh, dw, dh] :
         {std::array<uint32_t, 4>{4, 4, 9, 7}, std::array<uint32_t, 4>{13, 9, 50, 37},
          std::array<uint32_t, 4>{9, 31, 20, 100}}) {
        Context c({sw, sh, dw, dh, k.options, depth, k.variant});
        ASSERT_TRUE(c.ok());
        const auto src = RandomFrame<Sample>(sw, sh, kFull<Sample>, seed++);
        const std::size_t n = std::size_t{dw} * dh * 4;
        std::vector<Sample> whole(n, 0);
        std::vector<unsigned char> scratch(k.scratch(*c, 0, dh) + 1);
        ASSERT_TRUE(k.run(*c, src.data(), whole.data(), 0, dh, scratch.data()));
        for (int split = 0; split < 8; ++split) {
            std::vector<Sample> banded(n, static_cast<Sample>(~0u));
            for (uint32_t begin = 0; begin < dh;) {
                const uint32_t end = std::min(dh, begin + 1 + static_cast<uint32_t>(rng() % 9));
                std::vector<unsigned char> band(k.scratch(*c, begin, end) + 1);
                ASSERT_TRUE(k.run(*c, src.data(), banded.data(), begin, end, band.data()));
                begin = end;
            }
            ASSERT_TRUE(banded == whole) << sw << "x" << sh << " -> " << dw << "x" << dh;
        }
    }
}

TEST(BandKernels, AnySplitIntoBandsWritesTheWholeFrameBytes) {
    const BandKernel<uint8_t> kernels8[] = {
        {"cubic cell", &upscale8CubicRows, &NoScratch, KERNEL_CELL, 0},
        {"lanczos cell", &upscale8LanczosRows, &NoScratch, KERNEL_CELL, OPT_LANCZOS},
        {"cubic two-pass scalar", &upscale8CubicTwoPassScalarRows, &upscale8TwoPassScratchBytes4,
         KERNEL_TWO_PASS, 0},
        {"lanczos two-pass scalar", &upscale8LanczosTwoPassScalarRows,
         &upscale8TwoPassScratchBytes8, KERNEL_TWO_PASS, OPT_LANCZOS},
#ifdef QUILLON_X86_KERNELS
        {"cubic two-pass sse2", &upscale8CubicTwoPassSse2Rows, &upscale8TwoPassScratchBytes4,
         KERNEL_TWO_PASS, 0},
        {"lanczos two-pass sse2", &upscale8LanczosTwoPassSse2Rows, &upscale8TwoPassScratchBytes8,
         KERNEL_TWO_PASS, OPT_LANCZOS},
#endif
    };
    uint32_t seed = 500;
    for (const auto& k : kernels8) {
        ExpectBandsMatchWholeFrame(k, seed += 10);
    }
    for (const auto& k :
         {BandKernel<uint16_t>{"cubic 16", &upscale16CubicRows, &NoScratch, KERNEL_CELL, 0},
          BandKernel<uint16_t>{"lanczos 16", &upscale16LanczosRows, &NoScratch, KERNEL_CELL,
                               OPT_LANCZOS}}) {
        ExpectBandsMatchWholeFrame(k, seed += 10);
    }
}

}  // namespace
}  // namespace quillon::test
