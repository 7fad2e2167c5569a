// Refinement and sharpen at 1920 x 1080 -> 3840 x 2160, one thread, on a real
// photograph. Per-pass cases run each band kernel family at every level the
// machine has (argument: 0 scalar, 1 SSE2, 2 AVX2, 3 AVX-512; a family without
// a kernel of its own at a level runs the next lower one) over the whole frame
// as one band, on the plan and maps of a context that has processed the frame
// once; in-place passes (apply, sharpen) run repeatedly on the same frame.
// Pipeline cases time ProcessFrame for "Better" (refine) and "Best" (refine +
// Lanczos), both with Sharpness 2 and Quality 8.
#include <benchmark/benchmark.h>

#include "bench/support/BenchMain.h"

#include <array>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "core/CpuFeatures.h"
#include "core/CpuLevel.h"
#include "core/EngineSettings.h"
#include "engine/Engine.h"
#include "engine/ScaleContext.h"
#include "kernels/GreyConversion.h"
#include "kernels/Lattice.h"
#include "kernels/MapResize.h"
#include "kernels/RefineApply.h"
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

// One processed frame, so every map and table a pass reads is filled.
template <typename Sample>
struct Prepared {
    ContextPtr context;
    std::vector<Sample> frame;
    // The refinement's buffers for the source, made by the plain kernels.
    std::vector<uint8_t> grey, latticeMin, latticeMax, refineMin, refineMax;
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
    const quillon::GreyPlan greyPlan{kSrcWidth, kSrcHeight};
    if constexpr (sizeof(Sample) == 1) {
        quillon::kGreyScalar.from8(greyPlan, Source<Sample>().data(), p.grey.data(), 0, kSrcHeight,
                                   nullptr);
    } else {
        quillon::kGreyScalar.from16(greyPlan, Source<Sample>().data(), p.grey.data(), 0, kSrcHeight,
                                    nullptr);
    }
    quillon::kLatticeScalar.build(greyPlan, p.grey.data(), p.latticeMin.data(), p.latticeMax.data(),
                                  0, kSrcHeight + 1, nullptr);
    const quillon::RefinePlan& plan = p.context->refine;
    std::vector<uint8_t> scratch(quillon::MapResizeScratchBytes(plan, kDstHeight));
    quillon::kMapResizeScalar.resize(plan, p.latticeMin.data(), p.refineMin.data(), 0, kDstHeight,
                                     scratch.data());
    quillon::kMapResizeScalar.resize(plan, p.latticeMax.data(), p.refineMax.data(), 0, kDstHeight,
                                     scratch.data());
    return true;
}

bool MachineHas(quillon::CpuLevel level) {
    return static_cast<int>(level) <= static_cast<int>(quillon::MachineCpuLevel());
}

#ifdef QUILLON_X86_KERNELS
#define QUILLON_X86(kernel) kernel
#else
#define QUILLON_X86(kernel) nullptr
#endif

// A family's kernels by level, lowest first; null: the next lower level's.
template <typename Kernels>
using ByLevel = std::array<const Kernels*, quillon::kCpuLevelCount>;

const ByLevel<quillon::GreyKernels> kGrey = {
    &quillon::kGreyScalar, QUILLON_X86(&quillon::kGreySse2), QUILLON_X86(&quillon::kGreyAvx2),
    QUILLON_X86(&quillon::kGreyAvx512)};
const ByLevel<quillon::LatticeKernels> kLattice = {
    &quillon::kLatticeScalar, QUILLON_X86(&quillon::kLatticeSse2),
    QUILLON_X86(&quillon::kLatticeAvx2), QUILLON_X86(&quillon::kLatticeAvx512)};
const ByLevel<quillon::MapResizeKernels> kMapResize = {&quillon::kMapResizeScalar, nullptr,
                                                       QUILLON_X86(&quillon::kMapResizeAvx2),
                                                       QUILLON_X86(&quillon::kMapResizeAvx512)};
const ByLevel<quillon::RefineApplyKernels> kRefineApply = {
    &quillon::kRefineApplyScalar, nullptr, QUILLON_X86(&quillon::kRefineApplyAvx2),
    QUILLON_X86(&quillon::kRefineApplyAvx512)};
const ByLevel<quillon::SharpenKernels> kSharpen = {
    &quillon::kSharpenScalar, QUILLON_X86(&quillon::kSharpenSse2),
    QUILLON_X86(&quillon::kSharpenAvx2), QUILLON_X86(&quillon::kSharpenAvx512)};

// The kernels of the level in state.range(0), or null (case skipped) when the
// machine lacks it.
template <typename Kernels>
const Kernels* AtLevel(benchmark::State& state, const ByLevel<Kernels>& levels) {
    const auto level = static_cast<quillon::CpuLevel>(state.range(0));
    if (!MachineHas(level)) {
        state.SkipWithError("level not on this machine");
        return nullptr;
    }
    state.SetLabel(std::string(quillon::CpuLevelName(level)));
    for (int at = static_cast<int>(level); at >= 0; --at) {
        if (levels[static_cast<std::size_t>(at)] != nullptr) {
            return levels[static_cast<std::size_t>(at)];
        }
    }
    return nullptr;
}

template <typename Sample>
void BM_Grey(benchmark::State& state) {
    const quillon::GreyKernels* k = AtLevel(state, kGrey);
    if (k == nullptr || !Ready(state)) {
        return;
    }
    std::vector<uint8_t> grey(std::size_t{kSrcWidth} * kSrcHeight);
    const quillon::GreyPlan plan{kSrcWidth, kSrcHeight};
    for (auto _ : state) {
        if constexpr (sizeof(Sample) == 1) {
            k->from8(plan, Source<Sample>().data(), grey.data(), 0, kSrcHeight, nullptr);
        } else {
            k->from16(plan, Source<Sample>().data(), grey.data(), 0, kSrcHeight, nullptr);
        }
        benchmark::DoNotOptimize(grey.data());
    }
    SetCounters(state, double{kSrcWidth} * kSrcHeight);
}

void BM_Lattice(benchmark::State& state) {
    const quillon::LatticeKernels* k = AtLevel(state, kLattice);
    Prepared<uint8_t> p;
    if (k == nullptr || !Prepare(state, p)) {
        return;
    }
    const quillon::GreyPlan plan{kSrcWidth, kSrcHeight};
    for (auto _ : state) {
        k->build(plan, p.grey.data(), p.latticeMin.data(), p.latticeMax.data(), 0, kSrcHeight + 1,
                 nullptr);
        benchmark::DoNotOptimize(p.latticeMax.data());
    }
    SetCounters(state, double{kSrcWidth + 1} * (kSrcHeight + 1));
}

// Both maps, as the pipeline resizes them.
void BM_MapResize(benchmark::State& state) {
    const quillon::MapResizeKernels* k = AtLevel(state, kMapResize);
    Prepared<uint8_t> p;
    if (k == nullptr || !Prepare(state, p)) {
        return;
    }
    ScaleContext& c = *p.context;
    std::vector<uint8_t> scratch(quillon::MapResizeScratchBytes(c.refine, kDstHeight));
    for (auto _ : state) {
        k->resize(c.refine, p.latticeMin.data(), p.refineMin.data(), 0, kDstHeight, scratch.data());
        k->resize(c.refine, p.latticeMax.data(), p.refineMax.data(), 0, kDstHeight, scratch.data());
        benchmark::DoNotOptimize(p.refineMax.data());
    }
    SetCounters(state, double{kDstWidth} * kDstHeight);
}

// Applied again and again to one frame.
template <typename Sample>
void BM_RefineApply(benchmark::State& state) {
    const quillon::RefineApplyKernels* k = AtLevel(state, kRefineApply);
    Prepared<Sample> p;
    if (k == nullptr || !Prepare(state, p)) {
        return;
    }
    const ScaleContext& c = *p.context;
    for (auto _ : state) {
        if constexpr (sizeof(Sample) == 1) {
            k->apply8(c.refine, p.refineMin.data(), p.refineMax.data(), p.frame.data(),
                      static_cast<uint32_t>(quillon::MaxValue8()), 0, kDstHeight, nullptr);
        } else {
            k->apply16(c.refine, p.refineMin.data(), p.refineMax.data(), p.frame.data(),
                       static_cast<uint32_t>(quillon::MaxValue16()), 0, kDstHeight, nullptr);
        }
        benchmark::DoNotOptimize(p.frame.data());
    }
    SetCounters(state, double{kDstWidth} * kDstHeight);
}

// Both phases (brightness plane, then blur and gains), again and again on one frame.
template <typename Sample>
void BM_Sharpen(benchmark::State& state) {
    const quillon::SharpenKernels* k = AtLevel(state, kSharpen);
    const quillon::GreyKernels* grey = AtLevel(state, kGrey);
    Prepared<Sample> p;
    if (k == nullptr || grey == nullptr || !Prepare(state, p)) {
        return;
    }
    const quillon::SharpenPlan& plan = p.context->sharpen;
    const quillon::GreyPlan greyPlan{kDstWidth, kDstHeight};
    std::vector<uint8_t> plane(std::size_t{kDstWidth} * kDstHeight);
    std::vector<uint8_t> scratch(quillon::SharpenScratchBytes(plan, kDstHeight));
    for (auto _ : state) {
        if constexpr (sizeof(Sample) == 1) {
            grey->from8(greyPlan, p.frame.data(), plane.data(), 0, kDstHeight, nullptr);
            k->apply8(plan, plane.data(), p.frame.data(),
                      static_cast<uint32_t>(quillon::MaxValue8()), 0, kDstHeight, scratch.data());
        } else {
            grey->from16(greyPlan, p.frame.data(), plane.data(), 0, kDstHeight, nullptr);
            k->apply16(plan, plane.data(), p.frame.data(),
                       static_cast<uint32_t>(quillon::MaxValue16()), 0, kDstHeight, scratch.data());
        }
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

#define QUILLON_LEVELS(name) \
    ->Name(name)->ArgName("level")->DenseRange(0, 3)->Unit(benchmark::kMillisecond)

BENCHMARK(BM_Grey<uint8_t>) QUILLON_LEVELS("BM_GreyFrom8");
BENCHMARK(BM_Grey<uint16_t>) QUILLON_LEVELS("BM_GreyFrom16");
BENCHMARK(BM_Lattice) QUILLON_LEVELS("BM_Lattice");
BENCHMARK(BM_MapResize) QUILLON_LEVELS("BM_MapResize");
BENCHMARK(BM_RefineApply<uint8_t>) QUILLON_LEVELS("BM_RefineApply8");
BENCHMARK(BM_RefineApply<uint16_t>) QUILLON_LEVELS("BM_RefineApply16");
BENCHMARK(BM_Sharpen<uint8_t>) QUILLON_LEVELS("BM_Sharpen8");
BENCHMARK(BM_Sharpen<uint16_t>) QUILLON_LEVELS("BM_Sharpen16");

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
