// Refinement and sharpen at 1920 x 1080 -> 3840 x 2160, one thread, on a real
// photograph. Per-pass cases run on the tables and maps of a context that has
// processed the frame once; in-place passes (apply, sharpen) run repeatedly on
// the same frame. Pipeline cases time ProcessFrame for "Better" (refine) and
// "Best" (refine + Lanczos), both with Sharpness 2 and Quality 8.
#include <benchmark/benchmark.h>

#include "bench/support/BenchMain.h"

#include <cstdint>
#include <memory>
#include <vector>

#include "engine/Engine.h"
#include "engine/ScaleContext.h"
#include "kernels/Refinement.h"
#include "kernels/Sharpen.h"
#include "tests/support/Photos.h"

namespace {

using quillon::support::LoadPicture;
using quillon::support::Picture;

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

template <typename Sample>
const std::vector<Sample>& Source() {
    if constexpr (sizeof(Sample) == 1) {
        static const std::vector<uint8_t> frame = quillon::support::ToWorking8(Photo());
        return frame;
    } else {
        static const std::vector<uint16_t> frame = quillon::support::ToWorking16(Photo());
        return frame;
    }
}

template <typename Sample>
constexpr uint32_t kDepth = sizeof(Sample) == 1 ? DEPTH_8 : DEPTH_16;

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

// One processed frame and the refinement maps of its source, so every map
// and table a pass reads is filled.
template <typename Sample>
struct Prepared {
    ContextPtr context;
    std::vector<Sample> frame;
    std::vector<uint8_t> grey, latticeMin, latticeMax, refineMin, refineMax;
    quillon::RefineMaps maps() const { return {refineMin.data(), refineMax.data()}; }
};

// False (the case skipped) when the photo or the context is missing.
template <typename Sample>
bool Prepare(benchmark::State& state, Prepared<Sample>& p, uint32_t variant = KERNEL_CELL) {
    if (!Ready(state)) {
        return false;
    }
    p.context = MakeContext(kBetter | OPT_SHARPEN, kDepth<Sample>, variant);
    if (!p.context) {
        state.SkipWithError("context");
        return false;
    }
    p.frame.assign(std::size_t{kDstWidth} * kDstHeight * 4, 0);
    ProcessFrame(Source<Sample>().data(), p.frame.data(), p.context.get());
    const std::size_t lattice = std::size_t{kSrcWidth + 1} * (kSrcHeight + 1);
    p.grey.resize(std::size_t{kSrcWidth} * kSrcHeight);
    p.latticeMin.resize(lattice);
    p.latticeMax.resize(lattice);
    p.refineMin.resize(std::size_t{kDstWidth} * kDstHeight);
    p.refineMax.resize(p.refineMin.size());
    if constexpr (sizeof(Sample) == 1) {
        quillon::grayFrom8(p.grey.data(), Source<Sample>().data(), kSrcWidth * kSrcHeight);
    } else {
        quillon::grayFrom16(p.grey.data(), Source<Sample>().data(), kSrcWidth * kSrcHeight);
    }
    quillon::buildLattice(p.grey.data(), p.latticeMin.data(), p.latticeMax.data(), kSrcWidth,
                          kSrcHeight);
    const ScaleContext& c = *p.context;
    quillon::scaleMapBilinear(p.latticeMin.data(), p.refineMin.data(), c.rowIndex, c.columnIndex,
                              c.columnFrac, c.rowFrac, kSrcWidth, kSrcHeight, kDstWidth,
                              kDstHeight);
    quillon::scaleMapBilinear(p.latticeMax.data(), p.refineMax.data(), c.rowIndex, c.columnIndex,
                              c.columnFrac, c.rowFrac, kSrcWidth, kSrcHeight, kDstWidth,
                              kDstHeight);
    return true;
}

template <typename Sample, void (*Grey)(uint8_t*, const Sample*, int32_t)>
void BM_Grey(benchmark::State& state) {
    if (!Ready(state)) {
        return;
    }
    std::vector<uint8_t> grey(std::size_t{kSrcWidth} * kSrcHeight);
    for (auto _ : state) {
        Grey(grey.data(), Source<Sample>().data(), kSrcWidth * kSrcHeight);
        benchmark::DoNotOptimize(grey.data());
    }
    SetCounters(state, double{kSrcWidth} * kSrcHeight);
}

void BM_Lattice(benchmark::State& state) {
    Prepared<uint8_t> p;
    if (!Prepare(state, p)) {
        return;
    }
    for (auto _ : state) {
        quillon::buildLattice(p.grey.data(), p.latticeMin.data(), p.latticeMax.data(), kSrcWidth,
                              kSrcHeight);
        benchmark::DoNotOptimize(p.latticeMax.data());
    }
    SetCounters(state, double{kSrcWidth + 1} * (kSrcHeight + 1));
}

// Both maps, as the pipeline resizes them.
template <bool kVector>
void BM_ScaleMaps(benchmark::State& state) {
    Prepared<uint8_t> p;
    if (!Prepare(state, p)) {
        return;
    }
    const ScaleContext& c = *p.context;
    const auto fn = kVector ? &quillon::scaleMapSse2 : &quillon::scaleMapBilinear;
    for (auto _ : state) {
        fn(p.latticeMin.data(), p.refineMin.data(), c.rowIndex, c.columnIndex, c.columnFrac,
           c.rowFrac, kSrcWidth, kSrcHeight, kDstWidth, kDstHeight);
        fn(p.latticeMax.data(), p.refineMax.data(), c.rowIndex, c.columnIndex, c.columnFrac,
           c.rowFrac, kSrcWidth, kSrcHeight, kDstWidth, kDstHeight);
        benchmark::DoNotOptimize(p.refineMax.data());
    }
    SetCounters(state, double{kDstWidth} * kDstHeight);
}

// An in-place pass (refinement apply, sharpen) run again and again on one frame.
template <typename Sample, auto Pass>
void BM_InPlace(benchmark::State& state) {
    Prepared<Sample> p;
    if (!Prepare(state, p)) {
        return;
    }
    for (auto _ : state) {
        Pass(p);
        benchmark::DoNotOptimize(p.frame.data());
    }
    SetCounters(state, double{kDstWidth} * kDstHeight);
}

// args: options, kernel variant (8 bits only; 16 bits has the cell kernels).
// Context creation (tables) is timed too, as the plug-in creates one per frame.
template <typename Sample>
void BM_Pipeline(benchmark::State& state) {
    if (!Ready(state)) {
        return;
    }
    const auto options = static_cast<uint32_t>(state.range(0));
    const auto variant =
        sizeof(Sample) == 1 ? static_cast<uint32_t>(state.range(1)) : uint32_t{KERNEL_CELL};
    std::vector<Sample> out(std::size_t{kDstWidth} * kDstHeight * 4);
    for (auto _ : state) {
        ContextPtr c = MakeContext(options, kDepth<Sample>, variant);
        if (!c || ProcessFrame(Source<Sample>().data(), out.data(), c.get()) != 0) {
            state.SkipWithError("pipeline");
            break;
        }
        benchmark::DoNotOptimize(out.data());
    }
    SetCounters(state, double{kDstWidth} * kDstHeight);
}

BENCHMARK(BM_Grey<uint8_t, &quillon::grayFrom8>)
    ->Name("BM_GreyFrom8")
    ->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Grey<uint16_t, &quillon::grayFrom16>)
    ->Name("BM_GreyFrom16")
    ->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Lattice)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_ScaleMaps<false>)->Name("BM_ScaleMapsBilinear")->Unit(benchmark::kMillisecond);
BENCHMARK(BM_ScaleMaps<true>)->Name("BM_ScaleMapsSse2")->Unit(benchmark::kMillisecond);
void RefineApply8(Prepared<uint8_t>& p) {
    quillon::refineApply8(p.frame.data(), p.context.get(), p.maps());
}
void RefineApply16(Prepared<uint16_t>& p) {
    quillon::refineApply16(p.frame.data(), p.context.get(), p.maps());
}
void Sharpen8(Prepared<uint8_t>& p) {
    quillon::sharpen8(p.frame.data(), p.context.get());
}
void Sharpen16(Prepared<uint16_t>& p) {
    quillon::sharpen16(p.frame.data(), p.context.get());
}

BENCHMARK(BM_InPlace<uint8_t, &RefineApply8>)
    ->Name("BM_RefineApply8")
    ->Unit(benchmark::kMillisecond);
BENCHMARK(BM_InPlace<uint16_t, &RefineApply16>)
    ->Name("BM_RefineApply16")
    ->Unit(benchmark::kMillisecond);
BENCHMARK(BM_InPlace<uint8_t, &Sharpen8>)->Name("BM_Sharpen8")->Unit(benchmark::kMillisecond);
BENCHMARK(BM_InPlace<uint16_t, &Sharpen16>)->Name("BM_Sharpen16")->Unit(benchmark::kMillisecond);

// Upscale alone (Quick, 1) for reference, then Better and Best with Sharpness.
BENCHMARK(BM_Pipeline<uint8_t>)
    ->Name("BM_Pipeline8")
    ->ArgNames({"options", "variant"})
    ->Args({OPT_LANCZOS, KERNEL_TWO_PASS})
    ->Args({kBetter | OPT_SHARPEN, KERNEL_TWO_PASS})
    ->Args({kBest | OPT_SHARPEN, KERNEL_TWO_PASS})
    ->Args({kBetter | OPT_SHARPEN, KERNEL_CELL})
    ->Args({kBest | OPT_SHARPEN, KERNEL_CELL})
    ->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Pipeline<uint16_t>)
    ->Name("BM_Pipeline16")
    ->ArgNames({"options"})
    ->Arg(OPT_LANCZOS)
    ->Arg(kBetter | OPT_SHARPEN)
    ->Arg(kBest | OPT_SHARPEN)
    ->Unit(benchmark::kMillisecond);

}  // namespace

QUILLON_BENCHMARK_MAIN()
