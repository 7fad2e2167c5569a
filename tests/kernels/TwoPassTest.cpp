// The SSE2 two-pass kernels against their plain per-pixel model.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstdlib>
#include <new>
#include <ostream>
#include <string>
#include <vector>

#include "KernelTestSupport.h"
#include "kernels/Upscale8.h"

namespace quillon::test {
namespace {

struct Sizes {
    uint32_t srcWidth;
    uint32_t srcHeight;
    uint32_t dstWidth;
    uint32_t dstHeight;
};

std::string SizeName(const ::testing::TestParamInfo<Sizes>& param) {
    const Sizes& s = param.param;
    return std::to_string(s.srcWidth) + "x" + std::to_string(s.srcHeight) + "_to_" +
           std::to_string(s.dstWidth) + "x" + std::to_string(s.dstHeight);
}

// Awkward sizes: smallest sources, odd destination widths (the lone last
// pixel), widths of 1, 2 and 3 mod 4 lanes, 1:1 axes, non-integer ratios.
const Sizes kAwkwardSizes[] = {
    {4, 4, 4, 4},       {4, 4, 5, 7},     {4, 4, 9, 9},     {4, 5, 6, 13},    {5, 4, 13, 11},
    {7, 6, 7, 19},      {9, 5, 31, 5},    {6, 9, 6, 9},     {17, 13, 61, 47}, {33, 7, 101, 29},
    {64, 48, 203, 151}, {11, 10, 12, 33}, {10, 11, 39, 12},
};

class TwoPassSizes : public ::testing::TestWithParam<Sizes> {};

template <int Taps>
void ExpectMatchesModel(const Sizes& s, uint32_t seed, bool blocky) {
    const uint32_t options = Taps == 8 ? OPT_LANCZOS : 0;
    Context c(s.srcWidth, s.srcHeight, s.dstWidth, s.dstHeight, options, DEPTH_8, KERNEL_TWO_PASS);
    ASSERT_TRUE(c.ok());
    const auto src = blocky ? BlockyFrame<uint8_t>(s.srcWidth, s.srcHeight, seed, 255)
                            : RandomFrame<uint8_t>(s.srcWidth, s.srcHeight, seed, 255);
    const auto kernel = Taps == 8 ? &upscale8LanczosTwoPass : &upscale8CubicTwoPass;
    const auto out = RunKernel(kernel, src, c.get());
    const auto expected = TwoPassModel<Taps>(src, *c);
    const int64_t diff = FirstDifference(out, expected);
    EXPECT_EQ(diff, -1) << "taps " << Taps << ", pixel " << diff / 4 % s.dstWidth << ","
                        << diff / 4 / s.dstWidth << " channel " << diff % 4;
}

TEST_P(TwoPassSizes, CubicMatchesModel) {
    ExpectMatchesModel<4>(GetParam(), 11, false);
    ExpectMatchesModel<4>(GetParam(), 12, true);
}

TEST_P(TwoPassSizes, LanczosMatchesModel) {
    ExpectMatchesModel<8>(GetParam(), 21, false);
    ExpectMatchesModel<8>(GetParam(), 22, true);
}

INSTANTIATE_TEST_SUITE_P(Awkward, TwoPassSizes, ::testing::ValuesIn(kAwkwardSizes), SizeName);

// A full SD-to-UHD frame. Debug and sanitizer builds check every 13th row
// (all scratch rows still feed them); optimised builds check every row.
template <int Taps>
void ExpectLargeFrameMatches() {
    const uint32_t options = Taps == 8 ? OPT_LANCZOS : 0;
    Context c(720, 480, 3840, 2160, options, DEPTH_8, KERNEL_TWO_PASS);
    ASSERT_TRUE(c.ok());
    const auto src = RandomFrame<uint8_t>(720, 480, 99, 255);
    std::vector<uint8_t> out(3840u * 2160u * 4u, 0);
    ASSERT_TRUE((Taps == 8 ? upscale8LanczosTwoPass : upscale8CubicTwoPass)(src.data(), out.data(),
                                                                            c.get()));
#ifdef NDEBUG
    const uint32_t rowStep = 1;
#else
    const uint32_t rowStep = 13;
#endif
    const auto expected = TwoPassModel<Taps>(src, *c, rowStep);
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

TEST(TwoPassLargeFrame, Cubic720x480To3840x2160) {
    ExpectLargeFrameMatches<4>();
}
TEST(TwoPassLargeFrame, Lanczos720x480To3840x2160) {
    ExpectLargeFrameMatches<8>();
}

// With a 1:1 horizontal axis every column is filtered on its own; when all
// source columns are equal, all destination columns must be equal, the lone
// last pixel of an odd row included.
TEST(TwoPassOddWidth, LonePixelEqualsPairedPixels) {
    for (uint32_t width : {5u, 7u, 9u, 10u, 11u}) {
        for (int taps : {4, 8}) {
            SCOPED_TRACE("width " + std::to_string(width) + " taps " + std::to_string(taps));
            Context c(width, 6, width, 23, taps == 8 ? OPT_LANCZOS : 0, DEPTH_8, KERNEL_TWO_PASS);
            ASSERT_TRUE(c.ok());
            const auto column = BlockyFrame<uint8_t>(1, 6, 7, 255);
            std::vector<uint8_t> src(static_cast<std::size_t>(width) * 6 * 4);
            for (uint32_t y = 0; y < 6; ++y) {
                for (uint32_t x = 0; x < width; ++x) {
                    for (uint32_t ch = 0; ch < 4; ++ch) {
                        src[(y * width + x) * 4 + ch] = column[y * 4 + ch];
                    }
                }
            }
            const auto out = RunKernel(taps == 8 ? &upscale8LanczosTwoPass : &upscale8CubicTwoPass,
                                       src, c.get());
            for (uint32_t y = 0; y < 23; ++y) {
                for (uint32_t x = 1; x < width; ++x) {
                    for (uint32_t ch = 0; ch < 4; ++ch) {
                        ASSERT_EQ(out[(y * width + x) * 4 + ch], out[(y * width) * 4 + ch])
                            << "row " << y << " column " << x;
                    }
                }
            }
        }
    }
}

// Allocation hooks that grant a set number of blocks, then refuse.
int gGrants = -1;  // negative: grant everything
void* CountingAlloc(uint32_t bytes) {
    if (gGrants == 0) {
        return nullptr;
    }
    if (gGrants > 0) {
        --gGrants;
    }
    return ::operator new (bytes, std::align_val_t{16}, std::nothrow);
}
void CountingFree(void* block) {
    if (block != nullptr) {
        ::operator delete (block, std::align_val_t{16});
    }
}

// Whichever scratch block is refused, the kernel reports it and writes
// nothing; once every block is granted it runs.
TEST(TwoPassScratch, RefusedScratchLeavesDestinationUntouched) {
    for (int taps : {4, 8}) {
        SCOPED_TRACE("taps " + std::to_string(taps));
        ASSERT_EQ(SetEngineAllocator(&CountingAlloc, &CountingFree), 0);
        gGrants = -1;
        {
            Context c(40, 30, 97, 71, taps == 8 ? OPT_LANCZOS : 0, DEPTH_8, KERNEL_TWO_PASS);
            ASSERT_TRUE(c.ok());
            const auto kernel = taps == 8 ? &upscale8LanczosTwoPass : &upscale8CubicTwoPass;
            const auto src = RandomFrame<uint8_t>(40, 30, 5, 255);
            const std::vector<uint8_t> untouched(97u * 71u * 4u, 0x5a);
            bool succeeded = false;
            for (int grants = 0; grants < 16 && !succeeded; ++grants) {
                std::vector<uint8_t> dst = untouched;
                gGrants = grants;
                succeeded = kernel(src.data(), dst.data(), c.get());
                gGrants = -1;
                if (!succeeded) {
                    EXPECT_EQ(FirstDifference(dst, untouched), -1) << grants << " grants";
                } else {
                    EXPECT_GT(grants, 0);
                    const auto expected =
                        taps == 8 ? TwoPassModel<8>(src, *c) : TwoPassModel<4>(src, *c);
                    EXPECT_EQ(FirstDifference(dst, expected), -1);
                }
            }
            EXPECT_TRUE(succeeded);
        }
        ASSERT_EQ(SetEngineAllocator(nullptr, nullptr), 0);
    }
}

}  // namespace
}  // namespace quillon::test
