// Upscale kernels enlarging HD and SD frames to 3840 x 2160 (kernels alone:
// one thread), whole engine frames and context creation (the level and
// threads in force), beside OpenCV's and zimg's resamplers on the same
// 4-channel 8-bit frames (one thread).
// Time is per frame (also as "frame_time"); "out_MPix/s" counts destination
// pixels per second.
#include <benchmark/benchmark.h>

#include "bench/support/BenchMain.h"

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <functional>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "core/CpuLevel.h"
#include "engine/Engine.h"
#include "engine/ScaleContext.h"
#include "engine/TableCache.h"
#include "kernels/Upscale16.h"
#include "kernels/Upscale16Cell.h"
#include "kernels/Upscale8.h"
#include "kernels/Upscale8Cell.h"
#include "kernels/Upscale8TwoPass.h"
#include "tests/support/PlanHolder.h"

#ifdef QUILLON_BENCH_WITH_OPENCV
#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>
#endif
#ifdef QUILLON_BENCH_WITH_ZIMG
#include <zimg.h>
#endif

namespace {

constexpr uint32_t kDstWidth = 3840;
constexpr uint32_t kDstHeight = 2160;

// A deterministic textured frame: gradients, a fine pattern, hard-edged
// blocks and hashed noise, different in each channel.
template <typename Sample>
std::vector<Sample> TexturedFrame(uint32_t width, uint32_t height, uint32_t maxSample) {
    std::vector<Sample> frame(static_cast<std::size_t>(width) * height * 4);
    uint32_t hash = 2166136261u;
    for (uint32_t y = 0; y < height; ++y) {
        for (uint32_t x = 0; x < width; ++x) {
            for (uint32_t ch = 0; ch < 4; ++ch) {
                hash = (hash ^ (x * 31 + y * 17 + ch)) * 16777619u;
                uint32_t v = (x * (ch + 1) + y * 2) % 256;
                v = (v + ((x ^ y) & 15) * 4) % 256;
                if (((x / 24) + (y / 16) + ch) % 3 == 0) {
                    v = 255 - v / 4;
                }
                v = (v + (hash >> 28)) % 256;
                frame[(static_cast<std::size_t>(y) * width + x) * 4 + ch] =
                    static_cast<Sample>(v * maxSample / 255);
            }
        }
    }
    return frame;
}

void SetCounters(benchmark::State& state) {
    state.counters["out_MPix/s"] =
        benchmark::Counter(static_cast<double>(kDstWidth) * kDstHeight * 1e-6,
                           benchmark::Counter::kIsIterationInvariantRate);
    // Seconds per iteration, i.e. per frame.
    state.counters["frame_time"] = benchmark::Counter(
        1.0, benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}

struct ContextDeleter {
    void operator()(ScaleContext* c) const { DestroyScaleContext(c); }
};
using ContextPtr = std::unique_ptr<ScaleContext, ContextDeleter>;

ContextPtr MakeContext(uint32_t srcWidth, uint32_t srcHeight, uint32_t options, uint32_t depth,
                       uint32_t variant) {
    ScaleContext* c = nullptr;
    if (CreateScaleContext(srcWidth, srcHeight, kDstWidth, kDstHeight, kDstWidth, kDstHeight,
                           options, depth, variant, 0, 0, 0, &c) != 0) {
        return nullptr;
    }
    return ContextPtr(c);
}

// One kernel at the source size given by the case's arguments; 16-bit
// frames use the host's range 0..32768.
template <typename Sample, typename Kernel>
void RunKernel(benchmark::State& state, Kernel kernel, uint32_t variant, uint32_t options) {
    const auto srcWidth = static_cast<uint32_t>(state.range(0));
    const auto srcHeight = static_cast<uint32_t>(state.range(1));
    const uint32_t depth = sizeof(Sample) == 1 ? DEPTH_8 : DEPTH_16;
    const ContextPtr context = MakeContext(srcWidth, srcHeight, options, depth, variant);
    if (!context) {
        state.SkipWithError("context creation failed");
        return;
    }
    const auto src = TexturedFrame<Sample>(srcWidth, srcHeight, sizeof(Sample) == 1 ? 255 : 32768);
    std::vector<Sample> dst(static_cast<std::size_t>(kDstWidth) * kDstHeight * 4);
    for (auto _ : state) {
        if (!kernel(src.data(), dst.data(), context.get())) {
            state.SkipWithError("kernel failed");
            break;
        }
        benchmark::DoNotOptimize(dst.data());
        benchmark::ClobberMemory();
    }
    SetCounters(state);
}

using Upscale8Fn = bool (*)(const uint8_t*, uint8_t*, const quillon::FramePlan*);
using Upscale16Fn = bool (*)(const uint16_t*, uint16_t*, const quillon::FramePlan*);

void Quillon8(benchmark::State& state, Upscale8Fn kernel, uint32_t variant, uint32_t options) {
    RunKernel<uint8_t>(state, kernel, variant, options);
}

void Quillon16(benchmark::State& state, Upscale16Fn kernel, uint32_t options) {
    RunKernel<uint16_t>(state, kernel, KERNEL_CELL, options);
}

void SourceSizes(benchmark::internal::Benchmark* b) {
    b->Args({1920, 1080})->Args({720, 480})->Unit(benchmark::kMillisecond)->UseRealTime();
}

BENCHMARK_CAPTURE(Quillon8, CubicCell, &quillon::upscale8Cubic, KERNEL_CELL, 0)->Apply(SourceSizes);
BENCHMARK_CAPTURE(Quillon8, LanczosCell, &quillon::upscale8Lanczos, KERNEL_CELL, OPT_LANCZOS)
    ->Apply(SourceSizes);
BENCHMARK_CAPTURE(Quillon8, CubicTwoPass, &quillon::upscale8CubicTwoPassSse2, KERNEL_TWO_PASS, 0)
    ->Apply(SourceSizes);
BENCHMARK_CAPTURE(Quillon8, LanczosTwoPass, &quillon::upscale8LanczosTwoPassSse2, KERNEL_TWO_PASS,
                  OPT_LANCZOS)
    ->Apply(SourceSizes);
BENCHMARK_CAPTURE(Quillon16, Cubic16Cell, &quillon::upscale16Cubic, 0)
    ->Args({1920, 1080})
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();
BENCHMARK_CAPTURE(Quillon16, Lanczos16Cell, &quillon::upscale16Lanczos, OPT_LANCZOS)
    ->Args({1920, 1080})
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();

// Whole frames through the engine's boundary, 1920 x 1080 -> 3840 x 2160,
// with the level and threads in force (--cpu, --threads). Draft: cubic,
// Quick: Lanczos, Best: Lanczos with refinement, sharpening and
// anti-aliasing (Sharpness 2, Quality 8, Anti-aliasing 6). args: filter
// (0 Draft, 1 Quick, 2 Best), bits.
constexpr uint32_t kFilterOptions[3] = {0, OPT_LANCZOS,
                                        OPT_LANCZOS | OPT_REFINE | OPT_SHARPEN | OPT_ANTIALIAS};

struct FrameCase {
    uint32_t options;
    uint32_t depth;
    uint32_t variant;
};

FrameCase CaseOf(const benchmark::State& state) {
    const bool wide = state.range(1) == 16;
    return {kFilterOptions[state.range(0)], wide ? uint32_t{DEPTH_16} : uint32_t{DEPTH_8},
            wide ? uint32_t{KERNEL_CELL} : uint32_t{KERNEL_TWO_PASS}};
}

int32_t Create(const FrameCase& k, ScaleContext** c) {
    return CreateScaleContext(1920, 1080, kDstWidth, kDstHeight, kDstWidth, kDstHeight, k.options,
                              k.depth, k.variant, 2, 8, 6, c);
}

template <typename Sample>
void RunFrames(benchmark::State& state, const FrameCase& k) {
    ScaleContext* raw = nullptr;
    if (Create(k, &raw) != 0) {
        state.SkipWithError("context creation failed");
        return;
    }
    const ContextPtr context(raw);
    const auto src = TexturedFrame<Sample>(1920, 1080, sizeof(Sample) == 1 ? 255 : 32768);
    std::vector<Sample> dst(static_cast<std::size_t>(kDstWidth) * kDstHeight * 4);
    for (auto _ : state) {
        if (ProcessFrame(src.data(), dst.data(), context.get()) != 0) {
            state.SkipWithError("ProcessFrame failed");
            break;
        }
        benchmark::DoNotOptimize(dst.data());
        benchmark::ClobberMemory();
    }
    SetCounters(state);
}

void QuillonFrame(benchmark::State& state) {
    SetMaxValue16(32768);
    const FrameCase k = CaseOf(state);
    k.depth == DEPTH_16 ? RunFrames<uint16_t>(state, k) : RunFrames<uint8_t>(state, k);
}

BENCHMARK(QuillonFrame)
    ->ArgNames({"filter", "bits"})
    ->ArgsProduct({{0, 1, 2}, {8, 16}})
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();

// CreateScaleContext, as the plug-in pays it every frame: "warm" after a
// first context with the same settings (tables from the cache), "cold" with
// the cache emptied each time.
void CreateContext(benchmark::State& state) {
    const FrameCase k = CaseOf(state);
    const bool cold = state.range(2) != 0;
    for (auto _ : state) {
        if (cold) {
            state.PauseTiming();
            quillon::ClearTableCache();
            state.ResumeTiming();
        }
        ScaleContext* c = nullptr;
        if (Create(k, &c) != 0) {
            state.SkipWithError("context creation failed");
            break;
        }
        DestroyScaleContext(c);
    }
}

BENCHMARK(CreateContext)
    ->ArgNames({"filter", "bits", "cold"})
    ->ArgsProduct({{0, 1, 2}, {8, 16}, {0, 1}})
    ->Unit(benchmark::kMicrosecond);

// The engine's own answer: levels above the machine's are skipped.
bool MachineHas(quillon::CpuLevel level) {
    return static_cast<int32_t>(level) <= GetMachineCpuLevel();
}

// One band kernel over the whole destination as a single band, its column
// layout prepared and its scratch taken before timing.
template <typename Sample>
void Band(benchmark::State& state, const quillon::UpscaleKernels<Sample>* kernels,
          quillon::CpuLevel level, uint32_t variant, uint32_t options) {
    if (!MachineHas(level)) {
        state.SkipWithError("the processor lacks this level");
        return;
    }
    const auto srcWidth = static_cast<uint32_t>(state.range(0));
    const auto srcHeight = static_cast<uint32_t>(state.range(1));
    const bool wide = sizeof(Sample) == 2;
    const ContextPtr context =
        MakeContext(srcWidth, srcHeight, options, wide ? DEPTH_16 : DEPTH_8, variant);
    if (!context) {
        state.SkipWithError("context creation failed");
        return;
    }
    quillon::support::PlanHolder holder(*context);
    holder.Prepare(*kernels);
    const auto src = TexturedFrame<Sample>(srcWidth, srcHeight, wide ? 32768 : 255);
    std::vector<Sample> dst(static_cast<std::size_t>(kDstWidth) * kDstHeight * 4);
    std::vector<unsigned char> scratch(kernels->scratchBytes(holder.plan(), kDstHeight));
    for (auto _ : state) {
        kernels->run(holder.plan(), src.data(), dst.data(), 0, kDstHeight, scratch.data(),
                     wide ? 32768 : 255);
        benchmark::DoNotOptimize(dst.data());
        benchmark::ClobberMemory();
    }
    state.SetLabel(std::string(quillon::CpuLevelName(level)));
    SetCounters(state);
}

#define QUILLON_BAND_LEVELS(Name, Kernels8Or16, Prefix, Variant, Options)                        \
    BENCHMARK_CAPTURE(Kernels8Or16, Name##Scalar, &quillon::Prefix##Scalar,                      \
                      quillon::CpuLevel::Scalar, Variant, Options)                               \
        ->Apply(SourceSizes);                                                                    \
    BENCHMARK_CAPTURE(Kernels8Or16, Name##Avx2, &quillon::Prefix##Avx2, quillon::CpuLevel::Avx2, \
                      Variant, Options)                                                          \
        ->Apply(SourceSizes);                                                                    \
    BENCHMARK_CAPTURE(Kernels8Or16, Name##Avx512, &quillon::Prefix##Avx512,                      \
                      quillon::CpuLevel::Avx512, Variant, Options)                               \
        ->Apply(SourceSizes)

#define QUILLON_BAND_SSE2(Name, Prefix, Variant, Options)                                          \
    BENCHMARK_CAPTURE(Band8, Name##Sse2, &quillon::Prefix##Sse2, quillon::CpuLevel::Sse2, Variant, \
                      Options)                                                                     \
        ->Apply(SourceSizes)

void Band8(benchmark::State& state, const quillon::Upscale8Kernels* kernels,
           quillon::CpuLevel level, uint32_t variant, uint32_t options) {
    Band<uint8_t>(state, kernels, level, variant, options);
}

void Band16(benchmark::State& state, const quillon::Upscale16Kernels* kernels,
            quillon::CpuLevel level, uint32_t variant, uint32_t options) {
    Band<uint16_t>(state, kernels, level, variant, options);
}

QUILLON_BAND_LEVELS(CubicTwoPass, Band8, kUpscale8TwoPass, KERNEL_TWO_PASS, 0);
QUILLON_BAND_SSE2(CubicTwoPass, kUpscale8TwoPass, KERNEL_TWO_PASS, 0);
QUILLON_BAND_LEVELS(LanczosTwoPass, Band8, kUpscale8TwoPass, KERNEL_TWO_PASS, OPT_LANCZOS);
QUILLON_BAND_SSE2(LanczosTwoPass, kUpscale8TwoPass, KERNEL_TWO_PASS, OPT_LANCZOS);
QUILLON_BAND_LEVELS(CubicCell, Band8, kUpscale8Cell, KERNEL_CELL, 0);
QUILLON_BAND_SSE2(CubicCell, kUpscale8Cell, KERNEL_CELL, 0);
QUILLON_BAND_LEVELS(LanczosCell, Band8, kUpscale8Cell, KERNEL_CELL, OPT_LANCZOS);
QUILLON_BAND_SSE2(LanczosCell, kUpscale8Cell, KERNEL_CELL, OPT_LANCZOS);
QUILLON_BAND_LEVELS(Cubic16, Band16, kUpscale16Cell, KERNEL_CELL, 0);
QUILLON_BAND_LEVELS(Lanczos16, Band16, kUpscale16Cell, KERNEL_CELL, OPT_LANCZOS);

#ifdef QUILLON_BENCH_WITH_OPENCV
void OpenCvResize(benchmark::State& state, int interpolation) {
    cv::setNumThreads(1);
    const int srcWidth = static_cast<int>(state.range(0));
    const int srcHeight = static_cast<int>(state.range(1));
    auto pixels = TexturedFrame<uint8_t>(static_cast<uint32_t>(srcWidth),
                                         static_cast<uint32_t>(srcHeight), 255);
    const cv::Mat src(srcHeight, srcWidth, CV_8UC4, pixels.data());
    cv::Mat dst(static_cast<int>(kDstHeight), static_cast<int>(kDstWidth), CV_8UC4);
    for (auto _ : state) {
        cv::resize(src, dst, dst.size(), 0, 0, interpolation);
        benchmark::DoNotOptimize(dst.data);
        benchmark::ClobberMemory();
    }
    SetCounters(state);
}

BENCHMARK_CAPTURE(OpenCvResize, InterCubic, cv::INTER_CUBIC)->Apply(SourceSizes);
BENCHMARK_CAPTURE(OpenCvResize, InterLanczos4, cv::INTER_LANCZOS4)->Apply(SourceSizes);
#endif

#ifdef QUILLON_BENCH_WITH_ZIMG
struct AlignedFree {
    void operator()(void* p) const { std::free(p); }
};
using AlignedBlock = std::unique_ptr<uint8_t, AlignedFree>;

AlignedBlock AllocateAligned(std::size_t bytes) {
    const std::size_t rounded = (bytes + 63) / 64 * 64;
    return AlignedBlock(static_cast<uint8_t*>(std::aligned_alloc(64, rounded)));
}

std::size_t PlaneStride(uint32_t width) {
    return (width + 63) / 64 * 64;
}

// One grey plane per channel (8 bits, or 16 with the host's range
// 0..32768); the planes are split before timing and the same graphs run once
// per plane. With `bands` > 1 the destination rows
// are cut into that many bands, each with its own graph (the source's active
// region the band's share of it) run on its own thread: the peer for the
// engine's own row bands.
template <typename Sample>
void ZimgResizeOf(benchmark::State& state, zimg_resample_filter_e filter, double a, double b,
                  uint32_t bands) {
    const auto srcWidth = static_cast<uint32_t>(state.range(0));
    const auto srcHeight = static_cast<uint32_t>(state.range(1));
    struct Band {
        uint32_t first = 0;
        uint32_t rows = 0;
        zimg_filter_graph* graph = nullptr;
        AlignedBlock tmp;
    };
    std::vector<Band> parts(bands);
    bool built = true;
    for (uint32_t i = 0; i < bands; ++i) {
        Band& band = parts[i];
        band.first = kDstHeight * i / bands;
        band.rows = kDstHeight * (i + 1) / bands - band.first;
        zimg_image_format srcFormat;
        zimg_image_format dstFormat;
        zimg_image_format_default(&srcFormat, ZIMG_API_VERSION);
        zimg_image_format_default(&dstFormat, ZIMG_API_VERSION);
        srcFormat.width = srcWidth;
        srcFormat.height = srcHeight;
        srcFormat.pixel_type = sizeof(Sample) == 1 ? ZIMG_PIXEL_BYTE : ZIMG_PIXEL_WORD;
        srcFormat.depth = sizeof(Sample) == 1 ? 8 : 16;
        srcFormat.color_family = ZIMG_COLOR_GREY;
        srcFormat.active_region.left = 0;
        srcFormat.active_region.width = srcWidth;
        srcFormat.active_region.top = static_cast<double>(srcHeight) * band.first / kDstHeight;
        srcFormat.active_region.height = static_cast<double>(srcHeight) * band.rows / kDstHeight;
        dstFormat = srcFormat;
        dstFormat.width = kDstWidth;
        dstFormat.height = band.rows;
        dstFormat.active_region.left = NAN;
        dstFormat.active_region.top = NAN;
        dstFormat.active_region.width = NAN;
        dstFormat.active_region.height = NAN;
        zimg_graph_builder_params params;
        zimg_graph_builder_params_default(&params, ZIMG_API_VERSION);
        params.resample_filter = filter;
        params.filter_param_a = a;
        params.filter_param_b = b;
        band.graph = zimg_filter_graph_build(&srcFormat, &dstFormat, &params);
        if (band.graph == nullptr) {
            built = false;
            continue;
        }
        std::size_t tmpSize = 0;
        zimg_filter_graph_get_tmp_size(band.graph, &tmpSize);
        band.tmp = AllocateAligned(tmpSize);
    }
    if (!built) {
        for (Band& band : parts) {
            zimg_filter_graph_free(band.graph);
        }
        state.SkipWithError("zimg graph build failed");
        return;
    }

    const auto pixels =
        TexturedFrame<Sample>(srcWidth, srcHeight, sizeof(Sample) == 1 ? 255 : 32768);
    const std::size_t srcStride = PlaneStride(srcWidth * sizeof(Sample));
    const std::size_t dstStride = PlaneStride(kDstWidth * sizeof(Sample));
    std::vector<AlignedBlock> srcPlanes;
    std::vector<AlignedBlock> dstPlanes;
    for (uint32_t ch = 0; ch < 4; ++ch) {
        srcPlanes.push_back(AllocateAligned(srcStride * srcHeight));
        dstPlanes.push_back(AllocateAligned(dstStride * kDstHeight));
        for (uint32_t y = 0; y < srcHeight; ++y) {
            for (uint32_t x = 0; x < srcWidth; ++x) {
                reinterpret_cast<Sample*>(srcPlanes[ch].get() + y * srcStride)[x] =
                    pixels[(static_cast<std::size_t>(y) * srcWidth + x) * 4 + ch];
            }
        }
    }
    const auto runBand = [&](const Band& band) {
        for (uint32_t ch = 0; ch < 4; ++ch) {
            zimg_image_buffer_const in{};
            in.version = ZIMG_API_VERSION;
            in.plane[0].data = srcPlanes[ch].get();
            in.plane[0].stride = static_cast<ptrdiff_t>(srcStride);
            in.plane[0].mask = ZIMG_BUFFER_MAX;
            zimg_image_buffer out{};
            out.version = ZIMG_API_VERSION;
            out.plane[0].data = dstPlanes[ch].get() + band.first * dstStride;
            out.plane[0].stride = static_cast<ptrdiff_t>(dstStride);
            out.plane[0].mask = ZIMG_BUFFER_MAX;
            zimg_filter_graph_process(band.graph, &in, &out, band.tmp.get(), nullptr, nullptr,
                                      nullptr, nullptr);
        }
    };
    for (auto _ : state) {
        std::vector<std::thread> helpers;
        for (uint32_t i = 1; i < bands; ++i) {
            helpers.emplace_back(runBand, std::cref(parts[i]));
        }
        runBand(parts[0]);
        for (std::thread& t : helpers) {
            t.join();
        }
        benchmark::ClobberMemory();
    }
    for (Band& band : parts) {
        zimg_filter_graph_free(band.graph);
    }
    SetCounters(state);
}

void ZimgResize(benchmark::State& state, zimg_resample_filter_e filter, double a, double b,
                uint32_t bands) {
    ZimgResizeOf<uint8_t>(state, filter, a, b, bands);
}

void ZimgResize16(benchmark::State& state, zimg_resample_filter_e filter, double a, double b) {
    ZimgResizeOf<uint16_t>(state, filter, a, b, 1);
}

BENCHMARK_CAPTURE(ZimgResize, BicubicB0C075, ZIMG_RESIZE_BICUBIC, 0.0, 0.75, 1)->Apply(SourceSizes);
BENCHMARK_CAPTURE(ZimgResize, Lanczos4, ZIMG_RESIZE_LANCZOS, 4.0, 0.0, 1)->Apply(SourceSizes);
BENCHMARK_CAPTURE(ZimgResize16, BicubicB0C075, ZIMG_RESIZE_BICUBIC, 0.0, 0.75)->Apply(SourceSizes);
BENCHMARK_CAPTURE(ZimgResize16, Lanczos4, ZIMG_RESIZE_LANCZOS, 4.0, 0.0)->Apply(SourceSizes);
// 8-bit bicubic on two bands, two threads: the peer of the engine's bands.
BENCHMARK_CAPTURE(ZimgResize, BicubicB0C075TwoBands, ZIMG_RESIZE_BICUBIC, 0.0, 0.75, 2)
    ->Args({1920, 1080})
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();
#endif

}  // namespace

QUILLON_BENCHMARK_MAIN()
