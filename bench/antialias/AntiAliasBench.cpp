// The anti-aliasing pass enlarging 1920 x 1080 to 3840 x 2160, one thread:
// the pass alone (on a frame the upscale has already filled) on a
// photo-like frame and on a dense worst case, at 8 and 16 bits, and the
// whole "Best" pipeline (Lanczos + refinement + anti-aliasing, amount 6).
// "segments" and "chains" count what detection found in the frame.
//
// Hostile pictures: "Best" with Sharpness 2, Quality 8 and Anti-aliasing 10
// on dense-edge frames (stairs of slopes 1/2 to 1/1000, rings, a spiral,
// noise, checkerboards, blocky noise) beside the same on a photograph, and
// the pass alone on each at every blend level. Compare each pattern's
// ProcessFrame time with the photo's (BM_Hostile8/photo).
#include <benchmark/benchmark.h>

#include "bench/support/BenchMain.h"

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "antialias/AntiAlias.h"
#include "antialias/AntiAliasStages.h"
#include "engine/Engine.h"
#include "engine/ScaleContext.h"
#include "tests/support/Photos.h"

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

// ---- hostile pictures -------------------------------------------------

uint32_t Hash(uint32_t x, uint32_t y) {
    uint32_t h = x * 0x9E3779B1u ^ (y + 0x7F4A7C15u) * 0x85EBCA77u;
    h ^= h >> 15;
    h *= 0x2C1B3C6Du;
    h ^= h >> 12;
    return h;
}

// Bands two rows thick whose edges climb one row every `run` columns: a
// stair in every other row.
template <int32_t Run>
uint32_t Stairs(uint32_t x, uint32_t y, uint32_t) {
    const int64_t t = int64_t{Run} * y - x;
    const int64_t period = 4 * int64_t{Run};
    return ((t % period) + period) % period < 2 * Run ? 220 : 30;
}

// Concentric rings two pixels wide around the centre.
uint32_t Rings(uint32_t x, uint32_t y, uint32_t) {
    const double dx = x - 960.0;
    const double dy = y - 540.0;
    return static_cast<uint32_t>(std::sqrt(dx * dx + dy * dy) / 2.0) % 2 == 0 ? 220 : 30;
}

// An Archimedean spiral with eight arms, arms three pixels apart.
uint32_t Spiral(uint32_t x, uint32_t y, uint32_t) {
    const double dx = x - 960.0;
    const double dy = y - 540.0;
    const double turn = std::atan2(dy, dx) / (2.0 * 3.14159265358979) * 8.0;
    const double r = std::sqrt(dx * dx + dy * dy) / 3.0;
    return static_cast<int64_t>(std::floor(r + turn)) % 2 == 0 ? 220 : 30;
}

uint32_t Noise(uint32_t x, uint32_t y, uint32_t ch) {
    return Hash(x * 3 + ch, y) >> 24;
}

uint32_t BinaryNoise(uint32_t x, uint32_t y, uint32_t) {
    return (Hash(x, y) >> 31) != 0 ? 220 : 30;
}

template <uint32_t Cell>
uint32_t Checkers(uint32_t x, uint32_t y, uint32_t) {
    return ((x / Cell) + (y / Cell)) % 2 == 0 ? 220 : 30;
}

template <uint32_t Cell>
uint32_t BlockyNoise(uint32_t x, uint32_t y, uint32_t) {
    return (Hash(x / Cell, y / Cell) >> 31) != 0 ? 220 : 30;
}

struct Pattern {
    const char* name;
    uint32_t (*shade)(uint32_t, uint32_t, uint32_t);  // null: the photograph
};

const Pattern kPatterns[] = {
    {"photo", nullptr},
    {"stairs_1_2", Stairs<2>},
    {"stairs_1_3", Stairs<3>},
    {"stairs_1_5", Stairs<5>},
    {"stairs_1_10", Stairs<10>},
    {"stairs_1_37", Stairs<37>},
    {"stairs_1_100", Stairs<100>},
    {"stairs_1_211", Stairs<211>},
    {"stairs_1_1000", Stairs<1000>},
    {"rings", Rings},
    {"spiral", Spiral},
    {"noise", Noise},
    {"binary_noise", BinaryNoise},
    {"checkers_1", Checkers<1>},
    {"checkers_3", Checkers<3>},
    {"checkers_8", Checkers<8>},
    {"blocky_noise_2", BlockyNoise<2>},
    {"blocky_noise_5", BlockyNoise<5>},
    {"dense", Dense},
    {"dense_crossed", DenseCrossed},
};

std::vector<uint8_t> PatternFrame8(const Pattern& pattern) {
    if (pattern.shade != nullptr) {
        return MakeFrame<uint8_t>(pattern.shade, 1);
    }
    const quillon::support::Picture photo = quillon::support::LoadPicture("cups_1920x1080.png");
    if (photo.width != kSrcWidth || photo.height != kSrcHeight) {
        return {};
    }
    return quillon::support::ToWorking8(photo);
}

// ProcessFrame for "Best" (Lanczos + refinement, Sharpness 2, Quality 8) with
// Anti-aliasing 10 on one context, as a host rendering a clip pays per frame.
void BM_Hostile8(benchmark::State& state, const Pattern& pattern) {
    const std::vector<uint8_t> src = PatternFrame8(pattern);
    if (src.empty()) {
        state.SkipWithError("cups_1920x1080.png missing");
        return;
    }
    ScaleContext* ctx = nullptr;
    if (CreateScaleContext(kSrcWidth, kSrcHeight, kDstWidth, kDstHeight, kDstWidth, kDstHeight,
                           OPT_LANCZOS | OPT_REFINE | OPT_SHARPEN | OPT_ANTIALIAS, DEPTH_8,
                           KERNEL_TWO_PASS, 2, 8, 10, &ctx) != 0) {
        state.SkipWithError("context creation failed");
        return;
    }
    std::vector<uint8_t> dst(static_cast<std::size_t>(kDstWidth) * kDstHeight * 4);
    for (auto _ : state) {
        if (ProcessFrame(src.data(), dst.data(), ctx) != 0) {
            state.SkipWithError("pipeline failed");
            break;
        }
        benchmark::DoNotOptimize(dst.data());
    }
    Detected(state, src);
    DestroyScaleContext(ctx);
}

// The pass alone, Anti-aliasing 10, on each pattern, with the blend kernels
// of one instruction-set level (the pipeline uses the build's baseline).
struct BlendLevel {
    const char* name;
    const quillon::aa::BlendKernels* kernels;
    bool present;
};

void BM_HostilePass8(benchmark::State& state, const Pattern& pattern, const BlendLevel& level) {
    if (!level.present) {
        state.SkipWithError("the processor lacks this level");
        return;
    }
    const std::vector<uint8_t> src = PatternFrame8(pattern);
    if (src.empty()) {
        state.SkipWithError("cups_1920x1080.png missing");
        return;
    }
    ScaleContext* ctx = nullptr;
    if (CreateScaleContext(kSrcWidth, kSrcHeight, kDstWidth, kDstHeight, kDstWidth, kDstHeight,
                           OPT_LANCZOS, DEPTH_8, KERNEL_TWO_PASS, 0, 0, 10, &ctx) != 0) {
        state.SkipWithError("context creation failed");
        return;
    }
    std::vector<uint8_t> upscaled(static_cast<std::size_t>(kDstWidth) * kDstHeight * 4);
    ProcessFrame(src.data(), upscaled.data(), ctx);
    std::vector<uint8_t> dst(upscaled.size());
    for (auto _ : state) {
        state.PauseTiming();
        std::memcpy(dst.data(), upscaled.data(), upscaled.size());
        state.ResumeTiming();
        if (!quillon::antiAlias8(src.data(), dst.data(), ctx, level.kernels)) {
            state.SkipWithError("pass could not allocate");
            break;
        }
        benchmark::DoNotOptimize(dst.data());
    }
    Detected(state, src);
    DestroyScaleContext(ctx);
}

const bool kHostileRegistered = [] {
    for (const Pattern& pattern : kPatterns) {
        benchmark::RegisterBenchmark((std::string("BM_Hostile8/") + pattern.name).c_str(),
                                     BM_Hostile8, pattern)
            ->Unit(benchmark::kMillisecond);
    }
    static const BlendLevel kLevels[] = {
        {"scalar", &quillon::aa::kBlendScalar, true},
#ifdef QUILLON_X86_KERNELS
        {"sse2", &quillon::aa::kBlendSse2, true},
        {"avx2", &quillon::aa::kBlendAvx2, GetMachineCpuLevel() >= 2},
#endif
    };
    for (const BlendLevel& level : kLevels) {
        for (const Pattern& pattern : kPatterns) {
            benchmark::RegisterBenchmark(
                (std::string("BM_HostilePass8/") + level.name + "/" + pattern.name).c_str(),
                BM_HostilePass8, pattern, level)
                ->Unit(benchmark::kMillisecond);
        }
    }
    return true;
}();

BENCHMARK(BM_AntiAlias8_PhotoLike)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_AntiAlias8_Dense)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_AntiAlias8_DenseCrossed)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_AntiAlias16_PhotoLike)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_AntiAlias16_Dense)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Best8)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Best16)->Unit(benchmark::kMillisecond);

}  // namespace

QUILLON_BENCHMARK_MAIN()
