// The one place that chooses kernels. Every family lists its kernel per
// instruction-set level, lowest first; a level without one of its own uses
// the next lower one that has one (the scalar entry always exists). Wiring a
// new level or family is one line in the tables below.
#include "engine/Dispatch.h"

#include "core/EngineTypes.h"
#include "kernels/Refinement.h"
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

// Upscale families.                    scalar                             sse2 avx2     avx512
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

// Refinement and sharpening families.
constexpr Family<GreyFn8> kGrey8{{&grayFrom8, nullptr, nullptr, nullptr}};
constexpr Family<GreyFn16> kGrey16{{&grayFrom16, nullptr, nullptr, nullptr}};
constexpr Family<ScaleMapVerticalFn> kMapVertical{
    {&scaleMapVerticalScalar, QUILLON_X86_ONLY(&scaleMapVerticalSse2), nullptr, nullptr}};
constexpr Family<RefineApplyFn8> kRefine8{{&refineApply8Rows, nullptr, nullptr, nullptr}};
constexpr Family<RefineApplyFn16> kRefine16{{&refineApply16Rows, nullptr, nullptr, nullptr}};
constexpr Family<SharpenPlaneFn<uint8_t>> kSharpenPlane8{
    {&sharpenPlane8Rows, nullptr, nullptr, nullptr}};
constexpr Family<SharpenPlaneFn<uint16_t>> kSharpenPlane16{
    {&sharpenPlane16Rows, nullptr, nullptr, nullptr}};
constexpr Family<SharpenApplyFn<uint8_t>> kSharpenApply8{
    {&sharpenApply8Rows, nullptr, nullptr, nullptr}};
constexpr Family<SharpenApplyFn<uint16_t>> kSharpenApply16{
    {&sharpenApply16Rows, nullptr, nullptr, nullptr}};

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
    k.grey8 = Pick(kGrey8, level);
    k.grey16 = Pick(kGrey16, level);
    k.mapVertical = Pick(kMapVertical, level);
    k.refine8 = Pick(kRefine8, level);
    k.refine16 = Pick(kRefine16, level);
    k.sharpenPlane8 = Pick(kSharpenPlane8, level);
    k.sharpenPlane16 = Pick(kSharpenPlane16, level);
    k.sharpenApply8 = Pick(kSharpenApply8, level);
    k.sharpenApply16 = Pick(kSharpenApply16, level);
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
