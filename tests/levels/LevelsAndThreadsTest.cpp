// Whole ProcessFrame outputs at every level the machine has and at 1, 2, 3
// and 7 threads, on awkward sizes, both depths and every option set of every
// kernel variant, each equal byte for byte to the scalar single-thread
// frame. A band seam, a lane mix-up in one level's kernel or a race between
// bands shows up as a difference.
#include <gtest/gtest.h>

#include <cstdint>
#include <map>
#include <string>
#include <tuple>
#include <vector>

#include "engine/Engine.h"
#include "tests/support/TestSupport.h"

namespace {

using quillon::support::CeilingGuard;
using quillon::support::RandomFrame;

struct Size {
    uint32_t srcW, srcH, dstW, dstH, outW, outH;
};

// 4-pixel sources, odd widths, non-integer ratios, fewer rows than threads,
// tall thin frames, a canvas larger than the image.
const Size kSizes[] = {
    {4, 4, 4, 4, 4, 4},       {4, 4, 9, 7, 9, 7},        {5, 4, 13, 11, 13, 11},
    {17, 13, 61, 47, 61, 47}, {33, 7, 101, 29, 101, 29}, {6, 4, 11, 5, 11, 5},
    {4, 40, 5, 161, 5, 161},  {9, 6, 20, 14, 25, 17},    {23, 17, 64, 45, 64, 45},
};

struct Setting {
    uint32_t options, depth, variant;
};

// Every option set of every variant at each depth.
std::vector<Setting> AllSettings() {
    std::vector<Setting> settings;
    for (uint32_t options = 0; options < 16; ++options) {
        for (uint32_t variant : {KERNEL_CELL, KERNEL_TWO_PASS, KERNEL_NONE}) {
            settings.push_back({options, DEPTH_8, variant});
        }
        settings.push_back({options, DEPTH_16, KERNEL_CELL});
    }
    return settings;
}

// Hard-edged blocks over noise: edges for the anti-aliasing and refinement,
// overshoot for the clamps.
template <typename T>
std::vector<T> EdgyFrame(uint32_t w, uint32_t h, uint32_t maxValue, uint32_t seed) {
    auto frame = RandomFrame<T>(w, h, maxValue / 8, seed);
    for (std::size_t i = 0; i < frame.size(); ++i) {
        const std::size_t x = i / 4 % w;
        const std::size_t y = i / 4 / w;
        if ((x * 3 + y * 2) % 11 < 5 && i % 4 != 3) {
            frame[i] = static_cast<T>(maxValue - frame[i]);
        }
    }
    return frame;
}

template <typename T>
std::vector<T> Render(const Size& s, const Setting& k, const std::vector<T>& src) {
    ScaleContext* c = nullptr;
    std::vector<T> out(std::size_t{s.outW} * s.outH * 4, 0x2B);
    if (CreateScaleContext(s.srcW, s.srcH, s.dstW, s.dstH, s.outW, s.outH, k.options, k.depth,
                           k.variant, 5, 12, 6, &c) != 0 ||
        ProcessFrame(src.data(), out.data(), c) != 0) {
        out.clear();
    }
    DestroyScaleContext(c);
    return out;
}

// Level and threads in force for one scope.
class Execution {
public:
    Execution(int32_t level, uint32_t threads) {
        EXPECT_EQ(SetEngineCpuCap(level), 0);
        EXPECT_EQ(SetEngineThreads(threads), 0);
    }
    ~Execution() {
        SetEngineCpuCap(-1);
        SetEngineThreads(0);
    }
    Execution(const Execution&) = delete;
    Execution& operator=(const Execution&) = delete;
};

// The scalar single-thread frames, made once for every parameter.
template <typename T>
const std::vector<T>& Reference(std::size_t size, std::size_t setting, const std::vector<T>& src) {
    static std::map<std::pair<std::size_t, std::size_t>, std::vector<T>> cache;
    auto it = cache.find({size, setting});
    if (it == cache.end()) {
        const Execution scalar(ENGINE_CPU_SCALAR, 1);
        it = cache
                 .emplace(std::pair{size, setting},
                          Render(kSizes[size], AllSettings()[setting], src))
                 .first;
    }
    return it->second;
}

class LevelsAndThreads : public testing::TestWithParam<std::tuple<int32_t, uint32_t>> {};

TEST_P(LevelsAndThreads, EveryFrameEqualsTheScalarSingleThreadFrame) {
    const auto [level, threads] = GetParam();
    if (level > GetMachineCpuLevel()) {
        GTEST_SKIP() << "the machine has no level " << level;
    }
    const CeilingGuard ceilings(255, 32768);
    const auto settings = AllSettings();
    for (std::size_t si = 0; si < std::size(kSizes); ++si) {
        const Size& s = kSizes[si];
        const auto src8 = EdgyFrame<uint8_t>(s.srcW, s.srcH, 255, static_cast<uint32_t>(si) + 1);
        const auto src16 =
            EdgyFrame<uint16_t>(s.srcW, s.srcH, 32768, static_cast<uint32_t>(si) + 101);
        for (std::size_t ki = 0; ki < settings.size(); ++ki) {
            const Setting& k = settings[ki];
            SCOPED_TRACE(testing::Message()
                         << s.srcW << "x" << s.srcH << " -> " << s.dstW << "x" << s.dstH << " in "
                         << s.outW << "x" << s.outH << ", options " << k.options << ", depth "
                         << k.depth << ", variant " << k.variant);
            if (k.depth == DEPTH_8) {
                const auto& want = Reference(si, ki, src8);
                ASSERT_FALSE(want.empty());
                const Execution execution(level, threads);
                ASSERT_TRUE(Render(s, k, src8) == want);
            } else {
                const auto& want = Reference(si, ki, src16);
                ASSERT_FALSE(want.empty());
                const Execution execution(level, threads);
                ASSERT_TRUE(Render(s, k, src16) == want);
            }
        }
    }
}

// One Ultra HD frame per depth through the heaviest setting and the plain
// two-pass one (optimised builds only: the sanitizers make it minutes).
TEST_P(LevelsAndThreads, UltraHdFramesEqualTheScalarSingleThreadFrame) {
#ifndef NDEBUG
    GTEST_SKIP() << "optimised builds only";
#else
    const auto [level, threads] = GetParam();
    if (level > GetMachineCpuLevel()) {
        GTEST_SKIP() << "the machine has no level " << level;
    }
    const CeilingGuard ceilings(255, 32768);
    const Size uhd{960, 540, 3840, 2160, 3840, 2160};
    const Setting best8{OPT_LANCZOS | OPT_REFINE | OPT_SHARPEN, DEPTH_8, KERNEL_TWO_PASS};
    const Setting draft8{0, DEPTH_8, KERNEL_TWO_PASS};
    const Setting best16{OPT_LANCZOS | OPT_REFINE | OPT_SHARPEN, DEPTH_16, KERNEL_CELL};
    static const auto src8 = RandomFrame<uint8_t>(960, 540, 255, 9);
    static const auto src16 = RandomFrame<uint16_t>(960, 540, 32768, 10);
    static const auto want = [&] {
        const Execution scalar(ENGINE_CPU_SCALAR, 1);
        return std::tuple{Render(uhd, best8, src8), Render(uhd, draft8, src8),
                          Render(uhd, best16, src16)};
    }();
    const Execution execution(level, threads);
    EXPECT_TRUE(Render(uhd, best8, src8) == std::get<0>(want));
    EXPECT_TRUE(Render(uhd, draft8, src8) == std::get<1>(want));
    EXPECT_TRUE(Render(uhd, best16, src16) == std::get<2>(want));
#endif
}

std::string Name(const testing::TestParamInfo<std::tuple<int32_t, uint32_t>>& info) {
    static const char* const kNames[] = {"Scalar", "Sse2", "Avx2", "Avx512"};
    return std::string(kNames[std::get<0>(info.param)]) + "_" +
           std::to_string(std::get<1>(info.param)) + "Threads";
}

INSTANTIATE_TEST_SUITE_P(All, LevelsAndThreads,
                         testing::Combine(testing::Values(ENGINE_CPU_SCALAR, ENGINE_CPU_SSE2,
                                                          ENGINE_CPU_AVX2, ENGINE_CPU_AVX512),
                                          testing::Values(1u, 2u, 3u, 7u)),
                         Name);

}  // namespace
