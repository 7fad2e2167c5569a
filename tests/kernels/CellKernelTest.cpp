// The cell-by-cell kernels (8 and 16 bits) against a model that evaluates
// every destination pixel on its own: traversal or border mistakes of the
// cell walk show up as differences.
#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "KernelTestSupport.h"
#include "kernels/Upscale16.h"
#include "kernels/Upscale8.h"

namespace quillon::test {
namespace {

struct Sizes {
    uint32_t srcWidth;
    uint32_t srcHeight;
    uint32_t dstWidth;
    uint32_t dstHeight;
};

const Sizes kSizes[] = {
    {4, 4, 4, 4},     {4, 4, 5, 7},   {4, 4, 11, 9},    {5, 4, 13, 11},
    {7, 6, 7, 19},    {9, 5, 31, 5},  {6, 9, 6, 9},     {17, 13, 61, 47},
    {33, 7, 101, 29}, {8, 8, 16, 16}, {12, 10, 41, 23}, {45, 30, 240, 160},
};

class CellSizes : public ::testing::TestWithParam<Sizes> {};

template <typename Sample, typename Held, int Taps, typename Kernel>
void ExpectMatchesModel(Kernel kernel, const Sizes& s, uint32_t seed, int32_t maxValue,
                        uint32_t depth) {
    Context c(s.srcWidth, s.srcHeight, s.dstWidth, s.dstHeight, Taps == 8 ? OPT_LANCZOS : 0, depth,
              KERNEL_CELL);
    ASSERT_TRUE(c.ok());
    const uint32_t maxSample = sizeof(Sample) == 1 ? 255 : 65535;
    for (bool blocky : {false, true}) {
        const auto src = blocky ? BlockyFrame<Sample>(s.srcWidth, s.srcHeight, seed, maxSample)
                                : RandomFrame<Sample>(s.srcWidth, s.srcHeight, seed, maxSample);
        const auto out = RunKernel(kernel, src, c.get());
        const auto expected = CellModel<Sample, Held, Taps>(src, *c, maxValue);
        const int64_t diff = FirstDifference(out, expected);
        EXPECT_EQ(diff, -1) << (blocky ? "blocky" : "random") << " pixel " << diff / 4 % s.dstWidth
                            << "," << diff / 4 / s.dstWidth << " channel " << diff % 4;
    }
}

TEST_P(CellSizes, Cubic8MatchesModel) {
    ExpectMatchesModel<uint8_t, int16_t, 4>(&upscale8Cubic, GetParam(), 1, 255, DEPTH_8);
}

TEST_P(CellSizes, Lanczos8MatchesModel) {
    ExpectMatchesModel<uint8_t, int16_t, 8>(&upscale8Lanczos, GetParam(), 2, 255, DEPTH_8);
}

// Full 16-bit range: horizontal results beyond 0..65535 must survive into
// the vertical step.
TEST_P(CellSizes, Cubic16MatchesModel) {
    ExpectMatchesModel<uint16_t, int32_t, 4>(&upscale16Cubic, GetParam(), 3, 65535, DEPTH_16);
}

TEST_P(CellSizes, Lanczos16MatchesModel) {
    ExpectMatchesModel<uint16_t, int32_t, 8>(&upscale16Lanczos, GetParam(), 4, 65535, DEPTH_16);
}

TEST_P(CellSizes, CeilingsAreReadAtEveryCall) {
    {
        MaxValue8Guard guard(200);
        ExpectMatchesModel<uint8_t, int16_t, 4>(&upscale8Cubic, GetParam(), 5, 200, DEPTH_8);
        ExpectMatchesModel<uint8_t, int16_t, 8>(&upscale8Lanczos, GetParam(), 6, 200, DEPTH_8);
    }
    {
        MaxValue16Guard guard(32768);
        ExpectMatchesModel<uint16_t, int32_t, 4>(&upscale16Cubic, GetParam(), 7, 32768, DEPTH_16);
        ExpectMatchesModel<uint16_t, int32_t, 8>(&upscale16Lanczos, GetParam(), 8, 32768, DEPTH_16);
    }
}

std::string SizeName(const ::testing::TestParamInfo<Sizes>& param) {
    const Sizes& s = param.param;
    return std::to_string(s.srcWidth) + "x" + std::to_string(s.srcHeight) + "_to_" +
           std::to_string(s.dstWidth) + "x" + std::to_string(s.dstHeight);
}

INSTANTIATE_TEST_SUITE_P(Awkward, CellSizes, ::testing::ValuesIn(kSizes), SizeName);

}  // namespace
}  // namespace quillon::test
