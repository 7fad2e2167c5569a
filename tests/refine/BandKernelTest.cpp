// The refinement and sharpen band kernels at every level the machine has,
// against the whole-frame reference (the plain twin over one band), for band
// splits that put seams everywhere (1, 2, 3, 7 bands, bands of one row, more
// bands than rows) on awkward sizes and one UHD frame. Random data is heavy on
// extremes, and random curves force the 16-bit target, the 8-bit gain and the
// 16-bit products to wrap.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <random>
#include <string>
#include <vector>

#include "core/CpuFeatures.h"
#include "core/CpuLevel.h"
#include "core/CurveTables.h"
#include "core/MapTables.h"
#include "core/PositionTables.h"
#include "core/RefinePlan.h"
#include "core/SharpenPlan.h"
#include "kernels/GreyConversion.h"
#include "kernels/Lattice.h"
#include "kernels/MapResize.h"
#include "kernels/RefineApply.h"
#include "kernels/Sharpen.h"

namespace quillon::bandtest {
namespace {

bool MachineHas(CpuLevel level) {
    return static_cast<int>(level) <= static_cast<int>(MachineCpuLevel());
}

// Each family's kernels by level; a level a family has no kernel of its own
// for is left out (dispatch uses the next lower one).
template <typename Kernels>
struct Level {
    CpuLevel level;
    const Kernels* kernels;
};

#ifdef QUILLON_X86_KERNELS
const std::vector<Level<GreyKernels>> kGreyLevels = {
    {CpuLevel::Sse2, &kGreySse2}, {CpuLevel::Avx2, &kGreyAvx2}, {CpuLevel::Avx512, &kGreyAvx512}};
const std::vector<Level<LatticeKernels>> kLatticeLevels = {{CpuLevel::Sse2, &kLatticeSse2},
                                                           {CpuLevel::Avx2, &kLatticeAvx2},
                                                           {CpuLevel::Avx512, &kLatticeAvx512}};
const std::vector<Level<MapResizeKernels>> kMapLevels = {{CpuLevel::Avx2, &kMapResizeAvx2},
                                                         {CpuLevel::Avx512, &kMapResizeAvx512}};
const std::vector<Level<RefineApplyKernels>> kApplyLevels = {
    {CpuLevel::Avx2, &kRefineApplyAvx2}, {CpuLevel::Avx512, &kRefineApplyAvx512}};
const std::vector<Level<SharpenKernels>> kSharpenLevels = {{CpuLevel::Sse2, &kSharpenSse2},
                                                           {CpuLevel::Avx2, &kSharpenAvx2},
                                                           {CpuLevel::Avx512, &kSharpenAvx512}};
#else
const std::vector<Level<GreyKernels>> kGreyLevels;
const std::vector<Level<LatticeKernels>> kLatticeLevels;
const std::vector<Level<MapResizeKernels>> kMapLevels;
const std::vector<Level<RefineApplyKernels>> kApplyLevels;
const std::vector<Level<SharpenKernels>> kSharpenLevels;
#endif

// Runs fn(rowBegin, rowEnd) over `rows` split into `bands` bands, in reverse
// order so that a band reading rows another band writes shows up.
template <typename Fn>
void InBands(uint32_t rows, uint32_t bands, Fn fn) {
    for (uint32_t b = bands; b-- > 0;) {
        fn(static_cast<uint32_t>(uint64_t{rows} * b / bands),
           static_cast<uint32_t>(uint64_t{rows} * (b + 1) / bands));
    }
}

std::vector<uint32_t> Splits(uint32_t rows) {
    return {1, 2, 3, 7, rows, rows + 3};
}

// Bytes drawn with plenty of extremes.
template <typename T>
std::vector<T> Noise(std::size_t count, uint32_t top, std::mt19937& rng) {
    std::vector<T> v(count);
    for (T& x : v) {
        const uint32_t pick = rng() % 4;
        x = static_cast<T>(pick == 0 ? 0 : pick == 1 ? top : rng() % (top + 1));
    }
    return v;
}

struct Size {
    uint32_t srcW, srcH, dstW, dstH;
};

std::string Name(const Size& s) {
    return std::to_string(s.srcW) + "x" + std::to_string(s.srcH) + "->" + std::to_string(s.dstW) +
           "x" + std::to_string(s.dstH);
}

// 4 x 4 sources, 1:1 axes, odd widths, non-integer ratios, tall and thin,
// wide and flat, column indices past 8 bits, ratios near 1 (sixteen columns
// that span more lattice columns than one 16-byte window holds), and UHD.
const std::vector<Size> kSizes = {{4, 4, 4, 4},
                                  {4, 4, 9, 13},
                                  {5, 4, 8, 4},
                                  {7, 6, 15, 11},
                                  {13, 9, 13, 9},
                                  {33, 17, 100, 50},
                                  {31, 9, 250, 61},
                                  {4, 90, 7, 301},
                                  {301, 5, 603, 11},
                                  {97, 41, 293, 97},
                                  {40, 6, 40, 13},
                                  {90, 9, 97, 20},
                                  {1920, 1080, 3840, 2160}};

bool IsLarge(const Size& s) {
    return s.dstW * s.dstH > 1000000;
}

// The refinement plan of a size, with the engine's own position tables.
struct PlanTables {
    std::vector<uint32_t> columns, rows;
    std::vector<uint16_t> columnWeights, rowWeights;
    std::vector<int16_t> curve = std::vector<int16_t>(kRefineCurveRows * kRefineCurveColumns);
    RefinePlan plan;

    PlanTables(const Size& s, std::mt19937& rng)
        : columns(s.dstW), rows(s.dstH), columnWeights(s.dstW), rowWeights(s.dstH) {
        const auto axis = [](uint32_t n, uint32_t m, bool isColumns, uint32_t* at, uint16_t* w) {
            std::vector<double> positions(n), fraction(m);
            std::vector<uint16_t> spans(n - 1);
            std::vector<uint32_t> index(m);
            buildAxisSpans(n, m, positions.data(), spans.data());
            buildAxisIndex(n, positions.data(), fraction.data(), index.data());
            return isColumns ? mapresize::SetupColumns(index.data(), fraction.data(), n, m, at, w)
                             : mapresize::SetupRows(index.data(), fraction.data(), n, m, at, w);
        };
        EXPECT_TRUE(axis(s.srcW, s.dstW, true, columns.data(), columnWeights.data()));
        EXPECT_TRUE(axis(s.srcH, s.dstH, false, rows.data(), rowWeights.data()));
        buildRefineCurve(0.1 + 25 / 20.0, curve.data());
        for (int16_t& entry : curve) {
            const uint32_t pick = rng() % 4;
            entry = static_cast<int16_t>(pick == 1   ? rng()
                                         : pick == 2 ? 32767 - rng() % 300
                                                     : entry);
        }
        plan = {s.srcW,         s.srcH,
                s.dstW,         s.dstH,
                columns.data(), columnWeights.data(),
                rows.data(),    rowWeights.data(),
                curve.data()};
    }
};

std::vector<uint8_t> Scratch(std::size_t bytes) {
    return std::vector<uint8_t>(bytes + 1, 0xA5);
}

class BandKernels : public ::testing::TestWithParam<Size> {};

TEST_P(BandKernels, GreyAndLattice) {
    const Size s = GetParam();
    std::mt19937 rng(s.srcW * 131 + s.srcH);
    const GreyPlan plan{s.srcW, s.srcH};
    const std::size_t pixels = std::size_t{s.srcW} * s.srcH;
    const auto frame8 = Noise<uint8_t>(pixels * 4, 255, rng);
    const auto frame16 = Noise<uint16_t>(pixels * 4, 65535, rng);
    std::vector<uint8_t> want8(pixels), want16(pixels);
    kGreyScalar.from8(plan, frame8.data(), want8.data(), 0, s.srcH, nullptr);
    kGreyScalar.from16(plan, frame16.data(), want16.data(), 0, s.srcH, nullptr);
    // A grey plane with extremes, so every window's min and max is tested.
    const auto grey = Noise<uint8_t>(pixels, 255, rng);
    const std::size_t points = std::size_t{s.srcW + 1} * (s.srcH + 1);
    std::vector<uint8_t> wantMin(points, 0x5A), wantMax(points, 0x5A);
    kLatticeScalar.build(plan, grey.data(), wantMin.data(), wantMax.data(), 0, s.srcH + 1, nullptr);

    const auto check = [&](const GreyKernels& g, const LatticeKernels& l, const std::string& what) {
        for (const uint32_t bands : Splits(s.srcH + 1)) {
            std::vector<uint8_t> got8(pixels, 0x11), got16(pixels, 0x11);
            InBands(s.srcH, bands, [&](uint32_t b, uint32_t e) {
                g.from8(plan, frame8.data(), got8.data(), b, e, nullptr);
                g.from16(plan, frame16.data(), got16.data(), b, e, nullptr);
            });
            ASSERT_EQ(got8, want8) << what << " grey 8, " << bands << " bands";
            ASSERT_EQ(got16, want16) << what << " grey 16, " << bands << " bands";
            std::vector<uint8_t> gotMin(points, 0x5A), gotMax(points, 0x5A);
            InBands(s.srcH + 1, bands, [&](uint32_t b, uint32_t e) {
                l.build(plan, grey.data(), gotMin.data(), gotMax.data(), b, e, nullptr);
            });
            ASSERT_EQ(gotMin, wantMin) << what << " lattice min, " << bands << " bands";
            ASSERT_EQ(gotMax, wantMax) << what << " lattice max, " << bands << " bands";
        }
    };
    check(kGreyScalar, kLatticeScalar, "scalar");
    for (std::size_t i = 0; i < kGreyLevels.size(); ++i) {
        if (MachineHas(kGreyLevels[i].level)) {
            check(*kGreyLevels[i].kernels, *kLatticeLevels[i].kernels,
                  std::string(CpuLevelName(kGreyLevels[i].level)));
        }
    }
}

TEST_P(BandKernels, MapResize) {
    const Size s = GetParam();
    std::mt19937 rng(s.dstW * 7 + s.dstH);
    const PlanTables t(s, rng);
    const auto lattice = Noise<uint8_t>(std::size_t{s.srcW + 1} * (s.srcH + 1), 255, rng);
    const std::size_t count = std::size_t{s.dstW} * s.dstH;
    std::vector<uint8_t> want(count, 0xC3);
    auto scratch = Scratch(MapResizeScratchBytes(t.plan, s.dstH));
    kMapResizeScalar.resize(t.plan, lattice.data(), want.data(), 0, s.dstH, scratch.data());

    const auto check = [&](const MapResizeKernels& k, CpuLevel level) {
        for (const uint32_t bands : IsLarge(s) ? std::vector<uint32_t>{1, 7} : Splits(s.dstH)) {
            std::vector<uint8_t> got(count, 0xC3);
            InBands(s.dstH, bands, [&](uint32_t b, uint32_t e) {
                auto band = Scratch(MapResizeScratchBytes(t.plan, e - b));
                k.resize(t.plan, lattice.data(), got.data(), b, e, band.data());
                ASSERT_EQ(band.back(), 0xA5) << "scratch overrun";
            });
            ASSERT_EQ(got, want) << CpuLevelName(level) << ", " << bands << " bands";
        }
    };
    check(kMapResizeScalar, CpuLevel::Scalar);
    for (const auto& l : kMapLevels) {
        if (MachineHas(l.level)) {
            check(*l.kernels, l.level);
        }
    }
}

// Maps with proper and reversed ranges (the range is taken modulo 256); 8- and
// 16-bit frames at two ceilings each.
TEST_P(BandKernels, RefineApply) {
    const Size s = GetParam();
    std::mt19937 rng(s.dstW * 5 + s.dstH);
    const PlanTables t(s, rng);
    const std::size_t count = std::size_t{s.dstW} * s.dstH;
    for (const auto& [ceiling8, ceiling16] : {std::pair{255u, 65535u}, std::pair{180u, 32768u}}) {
        for (const int maxLo : {255, 128}) {
            std::vector<uint8_t> mins(count), maxs(count);
            for (std::size_t i = 0; i < count; ++i) {
                mins[i] = static_cast<uint8_t>(rng() % (maxLo + 1));
                maxs[i] =
                    rng() % 8 == 0
                        ? static_cast<uint8_t>(rng())
                        : static_cast<uint8_t>(std::min<uint32_t>(255, mins[i] + rng() % 120));
            }
            const auto frame8 = Noise<uint8_t>(count * 4, 255, rng);
            const auto frame16 = Noise<uint16_t>(count * 4, 65535, rng);
            auto want8 = frame8;
            auto want16 = frame16;
            kRefineApplyScalar.apply8(t.plan, mins.data(), maxs.data(), want8.data(), ceiling8, 0,
                                      s.dstH, nullptr);
            kRefineApplyScalar.apply16(t.plan, mins.data(), maxs.data(), want16.data(), ceiling16,
                                       0, s.dstH, nullptr);
            for (const auto& l : kApplyLevels) {
                if (!MachineHas(l.level)) {
                    continue;
                }
                for (const uint32_t bands :
                     IsLarge(s) ? std::vector<uint32_t>{7} : Splits(s.dstH)) {
                    auto got8 = frame8;
                    auto got16 = frame16;
                    InBands(s.dstH, bands, [&](uint32_t b, uint32_t e) {
                        l.kernels->apply8(t.plan, mins.data(), maxs.data(), got8.data(), ceiling8,
                                          b, e, nullptr);
                        l.kernels->apply16(t.plan, mins.data(), maxs.data(), got16.data(),
                                           ceiling16, b, e, nullptr);
                    });
                    ASSERT_EQ(got8, want8) << CpuLevelName(l.level) << ", " << bands << " bands";
                    ASSERT_EQ(got16, want16) << CpuLevelName(l.level) << ", " << bands << " bands";
                }
            }
        }
    }
}

// Phase one (brightness) over all bands, then phase two; built and random
// gain tables (large gains wrap the 16-bit product), two ceilings.
TEST_P(BandKernels, Sharpen) {
    const Size s = GetParam();
    std::mt19937 rng(s.dstW * 3 + s.dstH);
    std::vector<uint16_t> curve(kSharpenCurveSize);
    SharpenPlan plan{s.dstW, s.dstH, curve.data()};
    const GreyPlan greyPlan{s.dstW, s.dstH};
    const std::size_t count = std::size_t{s.dstW} * s.dstH;
    for (const int table : {0, 1}) {
        buildSharpenCurve((25 - 0.52) / 24.0, curve.data());
        if (table == 1) {
            const auto noise = Noise<uint16_t>(curve.size(), 65535, rng);
            std::copy(noise.begin(), noise.end(), curve.begin());
        }
        // The built table lets the levels skip look-ups near the diagonal.
        plan.unitGainBand = HasUnitGainBand(curve.data());
        EXPECT_EQ(plan.unitGainBand, table == 0);
        for (const auto& [ceiling8, ceiling16] :
             {std::pair{255u, 65535u}, std::pair{200u, 32768u}}) {
            const auto frame8 = Noise<uint8_t>(count * 4, 255, rng);
            const auto frame16 = Noise<uint16_t>(count * 4, 65535, rng);
            std::vector<uint8_t> plane8(count), plane16(count);
            kGreyScalar.from8(greyPlan, frame8.data(), plane8.data(), 0, s.dstH, nullptr);
            kGreyScalar.from16(greyPlan, frame16.data(), plane16.data(), 0, s.dstH, nullptr);
            auto want8 = frame8;
            auto want16 = frame16;
            auto scratch = Scratch(SharpenScratchBytes(plan, s.dstH));
            kSharpenScalar.apply8(plan, plane8.data(), want8.data(), ceiling8, 0, s.dstH,
                                  scratch.data());
            kSharpenScalar.apply16(plan, plane16.data(), want16.data(), ceiling16, 0, s.dstH,
                                   scratch.data());
            for (const auto& l : kSharpenLevels) {
                if (!MachineHas(l.level)) {
                    continue;
                }
                for (const uint32_t bands :
                     IsLarge(s) ? std::vector<uint32_t>{7} : Splits(s.dstH)) {
                    auto got8 = frame8;
                    auto got16 = frame16;
                    InBands(s.dstH, bands, [&](uint32_t b, uint32_t e) {
                        auto band = Scratch(SharpenScratchBytes(plan, e - b));
                        l.kernels->apply8(plan, plane8.data(), got8.data(), ceiling8, b, e,
                                          band.data());
                        l.kernels->apply16(plan, plane16.data(), got16.data(), ceiling16, b, e,
                                           band.data());
                        ASSERT_EQ(band.back(), 0xA5) << "scratch overrun";
                    });
                    ASSERT_EQ(got8, want8) << CpuLevelName(l.level) << ", " << bands << " bands";
                    ASSERT_EQ(got16, want16) << CpuLevelName(l.level) << ", " << bands << " bands";
                }
            }
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Sizes, BandKernels, ::testing::ValuesIn(kSizes),
                         [](const ::testing::TestParamInfo<Size>& param) {
                             std::string n = Name(param.param);
                             std::replace(n.begin(), n.end(), '-', '_');
                             std::replace(n.begin(), n.end(), '>', 't');
                             return n;
                         });

}  // namespace
}  // namespace quillon::bandtest
