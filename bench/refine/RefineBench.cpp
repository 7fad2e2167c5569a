// Refinement and sharpen at 1920 x 1080 -> 3840 x 2160, one thread, on a real
// photograph. Per-pass cases run on the tables and maps of a context that has
// processed the frame once; in-place passes (apply, sharpen) run repeatedly on
// the same frame. Pipeline cases time ProcessFrame for "Better" (refine) and
// "Best" (refine + Lanczos), both with Sharpness 2 and Quality 8.
#include <benchmark/benchmark.h>

#include <cstdint>
#include <memory>
#include <vector>

#include "engine/Engine.h"
#include "engine/Refinement.h"
#include "engine/ScaleContext.h"
#include "kernels/Sharpen.h"
#include "tests/refine/TestFrames.h"

namespace {

using quillon::testing::LoadPicture;
using quillon::testing::Picture;

constexpr uint32_t kSrcWidth = 1920;
constexpr uint32_t kSrcHeight = 1080;
constexpr uint32_t kDstWidth = 3840;
constexpr uint32_t kDstHeight = 2160;
constexpr uint32_t kBetter = OPT_REFINE;
constexpr uint32_t kBest = OPT_REFINE | OPT_LANCZOS;

const Picture& Photo() {
    static const Picture photo = LoadPicture("cups_1920x1080.png");
    return photo;
}

const std::vector<uint8_t>& Source8() {
    static const std::vector<uint8_t> frame = quillon::testing::ToWorking8(Photo());
    return frame;
}

const std::vector<uint16_t>& Source16() {
    static const std::vector<uint16_t> frame = quillon::testing::ToWorking16(Photo());
    return frame;
}

struct ContextDeleter {
    void operator()(ScaleContext* c) const { DestroyScaleContext(c); }
};
using ContextPtr = std::unique_ptr<ScaleContext, ContextDeleter>;

ContextPtr MakeContext(uint32_t options, uint32_t depth, uint32_t variant) {
    ScaleContext* c = nullptr;
    if (CreateScaleContext(kSrcWidth, kSrcHeight, kDstWidth, kDstHeight, kDstWidth, kDstHeight,
                           options, depth, variant, 2, 8, 0, &c) != 0) {
        return nullptr;
    }
    return ContextPtr(c);
}

bool Ready(benchmark::State& state) {
    if (Photo().width != kSrcWidth || Photo().height != kSrcHeight) {
        state.SkipWithError("cups_1920x1080.png missing");
        return false;
    }
    SetMaxValue16(32768);  // the host's 16-bit range, as the plug-in sets it
    return true;
}

void SetCounters(benchmark::State& state, double pixels) {
    state.counters["MPix/s"] =
        benchmark::Counter(pixels * 1e-6, benchmark::Counter::kIsIterationInvariantRate);
}

// One processed frame, so every map and table a pass reads is filled.
struct Prepared8 {
    ContextPtr context;
    std::vector<uint8_t> frame;
};

Prepared8 Prepare8(uint32_t variant) {
    Prepared8 p{MakeContext(kBetter | OPT_SHARPEN, DEPTH_8, variant),
                std::vector<uint8_t>(std::size_t{kDstWidth} * kDstHeight * 4)};
    if (p.context) {
        ProcessFrame(Source8().data(), p.frame.data(), p.context.get());
    }
    return p;
}

struct Prepared16 {
    ContextPtr context;
    std::vector<uint16_t> frame;
};

Prepared16 Prepare16() {
    Prepared16 p{MakeContext(kBetter | OPT_SHARPEN, DEPTH_16, KERNEL_CELL),
                 std::vector<uint16_t>(std::size_t{kDstWidth} * kDstHeight * 4)};
    if (p.context) {
        ProcessFrame(Source16().data(), p.frame.data(), p.context.get());
    }
    return p;
}

void BM_GreyFrom8(benchmark::State& state) {
    if (!Ready(state)) {
        return;
    }
    std::vector<uint8_t> grey(std::size_t{kSrcWidth} * kSrcHeight);
    for (auto _ : state) {
        quillon::grayFrom8(grey.data(), Source8().data(), kSrcWidth * kSrcHeight);
        benchmark::DoNotOptimize(grey.data());
    }
    SetCounters(state, double{kSrcWidth} * kSrcHeight);
}

void BM_GreyFrom16(benchmark::State& state) {
    if (!Ready(state)) {
        return;
    }
    std::vector<uint8_t> grey(std::size_t{kSrcWidth} * kSrcHeight);
    for (auto _ : state) {
        quillon::grayFrom16(grey.data(), Source16().data(), kSrcWidth * kSrcHeight);
        benchmark::DoNotOptimize(grey.data());
    }
    SetCounters(state, double{kSrcWidth} * kSrcHeight);
}

void BM_Lattice(benchmark::State& state) {
    if (!Ready(state)) {
        return;
    }
    const Prepared8 p = Prepare8(KERNEL_CELL);
    if (!p.context) {
        state.SkipWithError("context");
        return;
    }
    ScaleContext& c = *p.context;
    for (auto _ : state) {
        quillon::buildLattice(c.grayMap, c.latticeMin, c.latticeMax, kSrcWidth, kSrcHeight);
        benchmark::DoNotOptimize(c.latticeMax);
    }
    SetCounters(state, double{kSrcWidth + 1} * (kSrcHeight + 1));
}

// Both maps, as the pipeline resizes them.
template <bool kVector>
void BM_ScaleMaps(benchmark::State& state) {
    if (!Ready(state)) {
        return;
    }
    const Prepared8 p = Prepare8(KERNEL_CELL);
    if (!p.context) {
        state.SkipWithError("context");
        return;
    }
    ScaleContext& c = *p.context;
    const auto fn = kVector ? &quillon::scaleMapVector : &quillon::scaleMapBilinear;
    for (auto _ : state) {
        fn(c.latticeMin, c.refineMin, c.rowIndex, c.columnIndex, c.columnFrac, c.rowFrac, kSrcWidth,
           kSrcHeight, kDstWidth, kDstHeight);
        fn(c.latticeMax, c.refineMax, c.rowIndex, c.columnIndex, c.columnFrac, c.rowFrac, kSrcWidth,
           kSrcHeight, kDstWidth, kDstHeight);
        benchmark::DoNotOptimize(c.refineMax);
    }
    SetCounters(state, double{kDstWidth} * kDstHeight);
}

void BM_RefineApply8(benchmark::State& state) {
    if (!Ready(state)) {
        return;
    }
    Prepared8 p = Prepare8(KERNEL_CELL);
    if (!p.context) {
        state.SkipWithError("context");
        return;
    }
    for (auto _ : state) {
        quillon::refineApply8(p.frame.data(), p.context.get());
        benchmark::DoNotOptimize(p.frame.data());
    }
    SetCounters(state, double{kDstWidth} * kDstHeight);
}

void BM_RefineApply16(benchmark::State& state) {
    if (!Ready(state)) {
        return;
    }
    Prepared16 p = Prepare16();
    if (!p.context) {
        state.SkipWithError("context");
        return;
    }
    for (auto _ : state) {
        quillon::refineApply16(p.frame.data(), p.context.get());
        benchmark::DoNotOptimize(p.frame.data());
    }
    SetCounters(state, double{kDstWidth} * kDstHeight);
}

void BM_Sharpen8(benchmark::State& state) {
    if (!Ready(state)) {
        return;
    }
    Prepared8 p = Prepare8(KERNEL_CELL);
    if (!p.context) {
        state.SkipWithError("context");
        return;
    }
    for (auto _ : state) {
        quillon::sharpen8(p.frame.data(), p.context.get());
        benchmark::DoNotOptimize(p.frame.data());
    }
    SetCounters(state, double{kDstWidth} * kDstHeight);
}

void BM_Sharpen16(benchmark::State& state) {
    if (!Ready(state)) {
        return;
    }
    Prepared16 p = Prepare16();
    if (!p.context) {
        state.SkipWithError("context");
        return;
    }
    for (auto _ : state) {
        quillon::sharpen16(p.frame.data(), p.context.get());
        benchmark::DoNotOptimize(p.frame.data());
    }
    SetCounters(state, double{kDstWidth} * kDstHeight);
}

// args: options, kernel variant. Context creation (tables) is timed too, as
// the plug-in creates one per frame.
void BM_Pipeline8(benchmark::State& state) {
    if (!Ready(state)) {
        return;
    }
    const auto options = static_cast<uint32_t>(state.range(0));
    const auto variant = static_cast<uint32_t>(state.range(1));
    std::vector<uint8_t> out(std::size_t{kDstWidth} * kDstHeight * 4);
    for (auto _ : state) {
        ContextPtr c = MakeContext(options, DEPTH_8, variant);
        if (!c || ProcessFrame(Source8().data(), out.data(), c.get()) != 0) {
            state.SkipWithError("pipeline");
            break;
        }
        benchmark::DoNotOptimize(out.data());
    }
    SetCounters(state, double{kDstWidth} * kDstHeight);
}

void BM_Pipeline16(benchmark::State& state) {
    if (!Ready(state)) {
        return;
    }
    const auto options = static_cast<uint32_t>(state.range(0));
    std::vector<uint16_t> out(std::size_t{kDstWidth} * kDstHeight * 4);
    for (auto _ : state) {
        ContextPtr c = MakeContext(options, DEPTH_16, KERNEL_CELL);
        if (!c || ProcessFrame(Source16().data(), out.data(), c.get()) != 0) {
            state.SkipWithError("pipeline");
            break;
        }
        benchmark::DoNotOptimize(out.data());
    }
    SetCounters(state, double{kDstWidth} * kDstHeight);
}

BENCHMARK(BM_GreyFrom8)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_GreyFrom16)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Lattice)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_ScaleMaps<false>)->Name("BM_ScaleMapsBilinear")->Unit(benchmark::kMillisecond);
BENCHMARK(BM_ScaleMaps<true>)->Name("BM_ScaleMapsVector")->Unit(benchmark::kMillisecond);
BENCHMARK(BM_RefineApply8)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_RefineApply16)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Sharpen8)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Sharpen16)->Unit(benchmark::kMillisecond);

// Upscale alone (Quick, 1) for reference, then Better and Best with Sharpness.
BENCHMARK(BM_Pipeline8)
    ->ArgNames({"options", "variant"})
    ->Args({OPT_LANCZOS, KERNEL_TWO_PASS})
    ->Args({kBetter | OPT_SHARPEN, KERNEL_TWO_PASS})
    ->Args({kBest | OPT_SHARPEN, KERNEL_TWO_PASS})
    ->Args({kBetter | OPT_SHARPEN, KERNEL_CELL})
    ->Args({kBest | OPT_SHARPEN, KERNEL_CELL})
    ->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Pipeline16)
    ->ArgNames({"options"})
    ->Arg(OPT_LANCZOS)
    ->Arg(kBetter | OPT_SHARPEN)
    ->Arg(kBest | OPT_SHARPEN)
    ->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
