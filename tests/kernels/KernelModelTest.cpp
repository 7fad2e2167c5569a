// Every upscale kernel (cell and two-pass, 8 and 16 bits) against the plain
// per-pixel models: traversal, border and lane mistakes show up as
// differences.
#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "KernelTestSupport.h"

namespace quillon::test {
namespace {

struct Sizes {
    uint32_t srcWidth;
    uint32_t srcHeight;
    uint32_t dstWidth;
    uint32_t dstHeight;
};

// Awkward sizes: smallest sources, odd destination widths (the lone last
// pixel), widths of 1, 2 and 3 mod 4 lanes, 1:1 axes, non-integer ratios.
const Sizes kSizes[] = {
    {4, 4, 4, 4},       {4, 4, 5, 7},       {4, 4, 9, 9},     {4, 4, 11, 9},    {4, 5, 6, 13},
    {5, 4, 13, 11},     {7, 6, 7, 19},      {9, 5, 31, 5},    {6, 9, 6, 9},     {8, 8, 16, 16},
    {17, 13, 61, 47},   {33, 7, 101, 29},   {12, 10, 41, 23}, {11, 10, 12, 33}, {10, 11, 39, 12},
    {45, 30, 240, 160}, {64, 48, 203, 151},
};

class KernelSizes : public ::testing::TestWithParam<Sizes> {};

// Random and blocky frames (full range: 16-bit horizontal results beyond
// 0..65535 must survive into the vertical step), at the default ceilings and
// at lowered ones, which the cell kernels must read at every call.
TEST_P(KernelSizes, MatchesModel) {
    const Sizes& s = GetParam();
    uint32_t seed = 1;
    for (const bool lowered : {false, true}) {
        const int32_t max8 = lowered ? 200 : 255;
        const int32_t max16 = lowered ? 32768 : 65535;
        CeilingGuard guard(max8, max16);
        ForEachKernel([&](const KernelCase& k, auto fn, auto zero) {
            using Sample = decltype(zero);
            Context c(RequestFor(k, s.srcWidth, s.srcHeight, s.dstWidth, s.dstHeight));
            ASSERT_TRUE(c.ok());
            const uint32_t full = sizeof(Sample) == 1 ? 255 : 65535;
            for (const bool blocky : {false, true}) {
                const auto src = blocky ? BlockyFrame<Sample>(s.srcWidth, s.srcHeight, full, seed)
                                        : RandomFrame<Sample>(s.srcWidth, s.srcHeight, full, seed);
                ++seed;
                const auto expected = ModelOutput(k, src, *c, sizeof(Sample) == 1 ? max8 : max16);
                const int64_t diff = FirstDifference(RunKernel(fn, src, c.get()), expected);
                EXPECT_EQ(diff, -1) << (blocky ? "blocky" : "random") << ", ceilings " << max8
                                    << "/" << max16 << ", pixel " << diff / 4 % s.dstWidth << ","
                                    << diff / 4 / s.dstWidth << " channel " << diff % 4;
            }
        });
    }
}

std::string SizeName(const ::testing::TestParamInfo<Sizes>& param) {
    const Sizes& s = param.param;
    return std::to_string(s.srcWidth) + "x" + std::to_string(s.srcHeight) + "_to_" +
           std::to_string(s.dstWidth) + "x" + std::to_string(s.dstHeight);
}

INSTANTIATE_TEST_SUITE_P(Awkward, KernelSizes, ::testing::ValuesIn(kSizes), SizeName);

// A full SD-to-UHD frame through the two-pass kernels. Debug and sanitizer
// builds check every 13th row (all scratch rows still feed them); optimised
// builds check every row.
TEST(TwoPassLargeFrame, SdToUhdMatchesModel) {
#ifdef NDEBUG
    const uint32_t rowStep = 1;
#else
    const uint32_t rowStep = 13;
#endif
    const auto src = RandomFrame<uint8_t>(720, 480, 255, 99);
    for (const KernelCase& k : kKernels) {
        if (k.variant != KERNEL_TWO_PASS) {
            continue;
        }
        SCOPED_TRACE(k.name);
        Context c(RequestFor(k, 720, 480, 3840, 2160));
        ASSERT_TRUE(c.ok());
        std::vector<uint8_t> out(3840u * 2160u * 4u, 0);
        ASSERT_TRUE(k.fn8(src.data(), out.data(), c.get()));
        const auto expected = ModelOutput(k, src, *c, 255, rowStep);
        for (uint32_t dy = 0; dy < 2160; ++dy) {
            if (dy % rowStep != 0 && dy != 2159) {
                continue;
            }
            const std::size_t begin = static_cast<std::size_t>(dy) * 3840 * 4;
            for (std::size_t i = begin; i < begin + 3840 * 4; ++i) {
                ASSERT_EQ(out[i], expected[i]) << "row " << dy << " column " << (i - begin) / 4;
            }
        }
    }
}

// Whichever scratch block is refused, the two-pass kernel reports it and
// writes nothing; once every block is granted it runs.
TEST(TwoPassScratch, RefusedScratchLeavesDestinationUntouched) {
    const auto src = RandomFrame<uint8_t>(40, 30, 255, 5);
    const std::vector<uint8_t> untouched(97u * 71u * 4u, 0x5a);
    for (const KernelCase& k : kKernels) {
        if (k.variant != KERNEL_TWO_PASS) {
            continue;
        }
        SCOPED_TRACE(k.name);
        Context c(RequestFor(k, 40, 30, 97, 71));
        ASSERT_TRUE(c.ok());
        bool succeeded = false;
        for (int grants = 0; grants < 16 && !succeeded; ++grants) {
            std::vector<uint8_t> dst = untouched;
            {
                support::AllocationLimit limit(grants);
                succeeded = k.fn8(src.data(), dst.data(), c.get());
            }
            if (succeeded) {
                EXPECT_GT(grants, 0);
                EXPECT_EQ(FirstDifference(dst, ModelOutput(k, src, *c, 255)), -1);
            } else {
                EXPECT_EQ(FirstDifference(dst, untouched), -1) << grants << " grants";
            }
        }
        EXPECT_TRUE(succeeded);
    }
}

}  // namespace
}  // namespace quillon::test
