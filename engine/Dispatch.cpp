// The one place that chooses kernels. Every family lists its kernel per
// instruction-set level, lowest first; a level without one of its own uses
// the next lower one that has one (the scalar entry always exists). Wiring a
// new level or family is one line in the tables below.
#include "engine/Dispatch.h"

#include "core/EngineTypes.h"
#include "kernels/GreyConversion.h"
#include "kernels/Lattice.h"
#include "kernels/MapResize.h"
#include "kernels/RefineApply.h"
#include "kernels/Sharpen.h"
#include "kernels/Upscale16.h"
#include "kernels/Upscale16Cell.h"
#include "kernels/Upscale8.h"
#include "kernels/Upscale8Cell.h"
#include "kernels/Upscale8TwoPass.h"

#ifdef QUILLON_X86_KERNELS
#define QUILLON_X86_ONLY(kernel) kernel
#else
#define QUILLON_X86_ONLY(kernel) nullptr
#endif

namespace quillon {
namespace {

// One family: [scalar, sse2, avx2, avx512].
template <typename Fn>
struct Family {
    Fn at[kCpuLevelCount];
};

template <typename Fn>
Fn Pick(const Family<Fn>& family, CpuLevel level) {
    for (int l = static_cast<int>(level); l >= 0; --l) {
        if (family.at[l] != nullptr) {
            return family.at[l];
        }
    }
    return nullptr;
}

using Up8 = UpscaleBandFn<uint8_t>;
using Up16 = UpscaleBandFn<uint16_t>;

// Upscale families adapted from the whole-frame kernels: {scalar, sse2, avx2, avx512}.
constexpr Family<Up8> kCubicCell8{{&upscale8CubicRows, nullptr, nullptr, nullptr}};
constexpr Family<Up8> kLanczosCell8{{&upscale8LanczosRows, nullptr, nullptr, nullptr}};
constexpr Family<Up8> kNone8{{&upscaleNoneRows, nullptr, nullptr, nullptr}};
constexpr Family<Up8> kCubicTwoPass8{{&upscale8CubicTwoPassScalarRows,
                                      QUILLON_X86_ONLY(&upscale8CubicTwoPassSse2Rows), nullptr,
                                      nullptr}};
constexpr Family<Up8> kLanczosTwoPass8{{&upscale8LanczosTwoPassScalarRows,
                                        QUILLON_X86_ONLY(&upscale8LanczosTwoPassSse2Rows), nullptr,
                                        nullptr}};
constexpr Family<Up16> kCubicCell16{{&upscale16CubicRows, nullptr, nullptr, nullptr}};
constexpr Family<Up16> kLanczosCell16{{&upscale16LanczosRows, nullptr, nullptr, nullptr}};

// Band kernels with rolling rows (kernels/UpscaleKernels.h).
using Rolling8 = const Upscale8Kernels*;
using Rolling16 = const Upscale16Kernels*;
constexpr Family<Rolling8> kTwoPassRolling8{
    {&kUpscale8TwoPassScalar, QUILLON_X86_ONLY(&kUpscale8TwoPassSse2),
     QUILLON_X86_ONLY(&kUpscale8TwoPassAvx2), QUILLON_X86_ONLY(&kUpscale8TwoPassAvx512)}};
constexpr Family<Rolling8> kCellRolling8{
    {&kUpscale8CellScalar, QUILLON_X86_ONLY(&kUpscale8CellSse2),
     QUILLON_X86_ONLY(&kUpscale8CellAvx2), QUILLON_X86_ONLY(&kUpscale8CellAvx512)}};
constexpr Family<Rolling16> kCellRolling16{{&kUpscale16CellScalar, nullptr,
                                            QUILLON_X86_ONLY(&kUpscale16CellAvx2),
                                            QUILLON_X86_ONLY(&kUpscale16CellAvx512)}};

// Refinement and sharpening families (each entry one level's kernels).
constexpr Family<const GreyKernels*> kGrey{{&kGreyScalar, QUILLON_X86_ONLY(&kGreySse2),
                                            QUILLON_X86_ONLY(&kGreyAvx2),
                                            QUILLON_X86_ONLY(&kGreyAvx512)}};
constexpr Family<const LatticeKernels*> kLattice{{&kLatticeScalar, QUILLON_X86_ONLY(&kLatticeSse2),
                                                  QUILLON_X86_ONLY(&kLatticeAvx2),
                                                  QUILLON_X86_ONLY(&kLatticeAvx512)}};
constexpr Family<const MapResizeKernels*> kMapResize{{&kMapResizeScalar, nullptr,
                                                      QUILLON_X86_ONLY(&kMapResizeAvx2),
                                                      QUILLON_X86_ONLY(&kMapResizeAvx512)}};
constexpr Family<const RefineApplyKernels*> kRefineApply{{&kRefineApplyScalar, nullptr,
                                                          QUILLON_X86_ONLY(&kRefineApplyAvx2),
                                                          QUILLON_X86_ONLY(&kRefineApplyAvx512)}};
constexpr Family<const SharpenKernels*> kSharpen{{&kSharpenScalar, QUILLON_X86_ONLY(&kSharpenSse2),
                                                  QUILLON_X86_ONLY(&kSharpenAvx2),
                                                  QUILLON_X86_ONLY(&kSharpenAvx512)}};

// Anti-aliasing spot blend (the AVX2 kernels serve AVX-512 too: wider
// division gains nothing per channel).
constexpr Family<const aa::BlendKernels*> kAntiAliasBlend{
    {&aa::kBlendScalar, QUILLON_X86_ONLY(&aa::kBlendSse2), QUILLON_X86_ONLY(&aa::kBlendAvx2),
     nullptr}};

struct Upscale8Row {
    const Family<Up8>* family;
    BandScratchFn scratch;
    WeightLayout columns;
    WeightLayout rows;
};

// [kernelVariant][lanczos]
constexpr Upscale8Row kUpscale8[3][2] = {
    // KERNEL_CELL
    {{&kCubicCell8, &NoScratch, WeightLayout::Cubic, WeightLayout::Cubic},
     {&kLanczosCell8, &NoScratch, WeightLayout::Lanczos, WeightLayout::Lanczos}},
    // KERNEL_NONE
    {{&kNone8, &NoScratch, WeightLayout::Cubic, WeightLayout::Cubic},
     {&kNone8, &NoScratch, WeightLayout::Lanczos, WeightLayout::Lanczos}},
    // KERNEL_TWO_PASS
    {{&kCubicTwoPass8, &upscale8TwoPassScratchBytes4, WeightLayout::CubicX4, WeightLayout::CubicX8},
     {&kLanczosTwoPass8, &upscale8TwoPassScratchBytes8, WeightLayout::LanczosX4,
      WeightLayout::LanczosX8}},
};

}  // namespace

KernelTable ChooseKernels(uint32_t depthMode, uint32_t kernelVariant, bool lanczos,
                          CpuLevel level) {
    KernelTable k;
    k.grey = Pick(kGrey, level);
    k.lattice = Pick(kLattice, level);
    k.mapResize = Pick(kMapResize, level);
    k.refineApply = Pick(kRefineApply, level);
    k.sharpen = Pick(kSharpen, level);
    k.antiAliasBlend = Pick(kAntiAliasBlend, level);
    const int filter = lanczos ? 1 : 0;
    if (depthMode == DEPTH_8 && kernelVariant < 3) {
        const Upscale8Row& row = kUpscale8[kernelVariant][filter];
        k.upscale8 = {Pick(*row.family, level), row.scratch};
        k.columnLayout = row.columns;
        k.rowLayout = row.rows;
        k.mapsKept = kernelVariant == KERNEL_NONE;
        if (kernelVariant != KERNEL_NONE) {
            k.rolling8 =
                Pick(kernelVariant == KERNEL_CELL ? kCellRolling8 : kTwoPassRolling8, level);
        }
    } else if (depthMode == DEPTH_16) {
        k.upscale16 = {Pick(lanczos ? kLanczosCell16 : kCubicCell16, level), &NoScratch};
        k.rolling16 = Pick(kCellRolling16, level);
        k.columnLayout = k.rowLayout = lanczos ? WeightLayout::Lanczos : WeightLayout::Cubic;
    }
    return k;
}

}  // namespace quillon
