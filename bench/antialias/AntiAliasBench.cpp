// The anti-aliasing pass enlarging 1920 x 1080 to 3840 x 2160, one thread:
// the pass alone (on a frame the upscale has already filled) on a
// photo-like frame and on a dense worst case, at 8 and 16 bits, and the
// whole "Best" pipeline (Lanczos + refinement + anti-aliasing, amount 6).
// "segments" and "chains" count what detection found in the frame.
#include <benchmark/benchmark.h>

#include "bench/support/BenchMain.h"

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <vector>

#include "antialias/AntiAlias.h"
#include "antialias/AntiAliasStages.h"
#include "engine/Engine.h"
#include "engine/ScaleContext.h"

namespace {

constexpr uint32_t kSrcWidth = 1920;
constexpr uint32_t kSrcHeight = 1080;
constexpr uint32_t kDstWidth = 3840;
constexpr uint32_t kDstHeight = 2160;

// Smooth colour gradients with hard-edged discs, slanted bars and a rotated
// square, a little hashed grain: edges at every angle, as in footage.
uint32_t PhotoLike(uint32_t x, uint32_t y, uint32_t ch) {
    const double fx = x / static_cast<double>(kSrcWidth);
    const double fy = y / static_cast<double>(kSrcHeight);
    double v = 60.0 + 80.0 * fx + 50.0 * fy * (ch + 1) / 3.0;
    const double dx = x - 600.0;
    const double dy = y - 500.0;
    if (dx * dx + dy * dy < 300.0 * 300.0) {
        v += 90.0;
    }
    if (std::fabs(0.45 * x - y + 200.0 + 40.0 * ch) < 60.0) {
        v = 230.0 - 40.0 * fy;
    }
    const double rx = 0.8 * (x - 1400.0) - 0.6 * (y - 600.0);
    const double ry = 0.6 * (x - 1400.0) + 0.8 * (y - 600.0);
    if (std::fabs(rx) < 220.0 && std::fabs(ry) < 220.0) {
        v = 25.0 + 20.0 * ch;
    }
    const uint32_t grain = ((x * 2654435761u) ^ (y * 40503u)) >> 29;
    const double clamped = std::fmin(255.0, std::fmax(0.0, v + grain));
    return static_cast<uint32_t>(clamped);
}

// Slanted bands two rows thick: a stair in every other row, the densest
// segment lists found (about 0.15 segments a pixel, in long chains).
uint32_t Dense(uint32_t x, uint32_t y, uint32_t) {
    const int32_t v = ((10 * static_cast<int32_t>(y) - 3 * static_cast<int32_t>(x)) % 40 + 40) % 40;
    return v < 20 ? 210 : 40;
}

// Two crossing sets of such bands: thousands of short chains both ways.
uint32_t DenseCrossed(uint32_t x, uint32_t y, uint32_t) {
    const int32_t sx = static_cast<int32_t>(x);
    const int32_t sy = static_cast<int32_t>(y);
    const bool v = ((10 * sy - 3 * sx) % 40 + 40) % 40 < 20;
    const bool u = ((10 * sx - 3 * sy) % 40 + 40) % 40 < 20;
    return v != u ? 210 : 40;
}

template <typename Sample>
std::vector<Sample> MakeFrame(uint32_t (*shade)(uint32_t, uint32_t, uint32_t), uint32_t scale) {
    std::vector<Sample> f(static_cast<std::size_t>(kSrcWidth) * kSrcHeight * 4);
    for (uint32_t y = 0; y < kSrcHeight; ++y) {
        for (uint32_t x = 0; x < kSrcWidth; ++x) {
            for (uint32_t ch = 0; ch < 4; ++ch) {
                const uint32_t v = ch == 3 ? 0 : shade(x, y, ch);
                f[(static_cast<std::size_t>(y) * kSrcWidth + x) * 4 + ch] =
                    static_cast<Sample>(v * scale);
            }
        }
    }
    return f;
}

template <typename Sample>
void Detected(benchmark::State& state, const std::vector<Sample>& src) {
    std::vector<uint8_t> grey(static_cast<std::size_t>(kSrcWidth) * kSrcHeight);
    if constexpr (sizeof(Sample) == 1) {
        quillon::aa::makeGrey8(src.data(), grey.data(), grey.size());
    } else {
        quillon::aa::makeGrey16(src.data(), grey.data(), grey.size());
    }
    quillon::aa::Detection d;
    if (!quillon::aa::detectChains(grey.data(), kSrcWidth, kSrcHeight, d)) {
        state.SkipWithError("detection could not allocate");
        return;
    }
    state.counters["segments"] =
        static_cast<double>(d.rowSegments.size() / 2 + d.columnSegments.size() / 2);
    state.counters["chains"] = static_cast<double>(d.rowChains.count + d.columnChains.count);
}

// The pass alone: the upscale runs once; every iteration restores its
// output (outside the timing) and runs the pass on it.
template <typename Sample>
void PassAlone(benchmark::State& state, uint32_t (*shade)(uint32_t, uint32_t, uint32_t)) {
    constexpr bool wide = sizeof(Sample) == 2;
    const std::vector<Sample> src = MakeFrame<Sample>(shade, wide ? 128 : 1);
    ScaleContext* ctx = nullptr;
    if (CreateScaleContext(kSrcWidth, kSrcHeight, kDstWidth, kDstHeight, kDstWidth, kDstHeight,
                           OPT_LANCZOS, wide ? DEPTH_16 : DEPTH_8,
                           wide ? KERNEL_CELL : KERNEL_TWO_PASS, 0, 0, 6, &ctx) != 0) {
        state.SkipWithError("context creation failed");
        return;
    }
    std::vector<Sample> upscaled(static_cast<std::size_t>(kDstWidth) * kDstHeight * 4);
    ProcessFrame(src.data(), upscaled.data(), ctx);
    std::vector<Sample> dst(upscaled.size());
    for (auto _ : state) {
        state.PauseTiming();
        std::memcpy(dst.data(), upscaled.data(), upscaled.size() * sizeof(Sample));
        state.ResumeTiming();
        bool ok;
        if constexpr (wide) {
            ok = quillon::antiAlias16(src.data(), dst.data(), ctx);
        } else {
            ok = quillon::antiAlias8(src.data(), dst.data(), ctx);
        }
        if (!ok) {
            state.SkipWithError("pass could not allocate");
            break;
        }
        benchmark::DoNotOptimize(dst.data());
    }
    Detected(state, src);
    DestroyScaleContext(ctx);
}

void BM_AntiAlias8_PhotoLike(benchmark::State& s) {
    PassAlone<uint8_t>(s, PhotoLike);
}
void BM_AntiAlias8_Dense(benchmark::State& s) {
    PassAlone<uint8_t>(s, Dense);
}
void BM_AntiAlias8_DenseCrossed(benchmark::State& s) {
    PassAlone<uint8_t>(s, DenseCrossed);
}
void BM_AntiAlias16_PhotoLike(benchmark::State& s) {
    PassAlone<uint16_t>(s, PhotoLike);
}
void BM_AntiAlias16_Dense(benchmark::State& s) {
    PassAlone<uint16_t>(s, Dense);
}

// The "Best" pipeline (options 5 | 8 = 13) with anti-aliasing 6, context
// creation and destruction included, as the render handler does per frame.
template <typename Sample>
void BestPipeline(benchmark::State& state) {
    constexpr bool wide = sizeof(Sample) == 2;
    const std::vector<Sample> src = MakeFrame<Sample>(PhotoLike, wide ? 128 : 1);
    std::vector<Sample> dst(static_cast<std::size_t>(kDstWidth) * kDstHeight * 4);
    for (auto _ : state) {
        ScaleContext* ctx = nullptr;
        if (CreateScaleContext(kSrcWidth, kSrcHeight, kDstWidth, kDstHeight, kDstWidth, kDstHeight,
                               OPT_LANCZOS | OPT_REFINE | OPT_ANTIALIAS, wide ? DEPTH_16 : DEPTH_8,
                               wide ? KERNEL_CELL : KERNEL_TWO_PASS, 0, 10, 6, &ctx) != 0) {
            state.SkipWithError("context creation failed");
            break;
        }
        if (ProcessFrame(src.data(), dst.data(), ctx) != 0) {
            state.SkipWithError("pipeline failed");
        }
        DestroyScaleContext(ctx);
        benchmark::DoNotOptimize(dst.data());
    }
}

void BM_Best8(benchmark::State& s) {
    BestPipeline<uint8_t>(s);
}
void BM_Best16(benchmark::State& s) {
    BestPipeline<uint16_t>(s);
}

BENCHMARK(BM_AntiAlias8_PhotoLike)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_AntiAlias8_Dense)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_AntiAlias8_DenseCrossed)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_AntiAlias16_PhotoLike)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_AntiAlias16_Dense)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Best8)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Best16)->Unit(benchmark::kMillisecond);

}  // namespace

QUILLON_BENCHMARK_MAIN()
