// Every band upscale kernel (8-bit two-pass, 8-bit cell, 16-bit cell) at
// every level this machine has, bound byte for byte to the whole-frame
// kernels (the two-pass family to the plain whole-frame twin): the
// destination cut into 1, 2, 3 and 7 bands and into bands of one row (more
// bands than rows on the short frames), each band run alone with its own
// unaligned scratch of exactly the size asked for. Sizes: 4 x 4 sources, odd
// widths, 1:1 axes, non-integer ratios, a tall thin frame, 65536-sample axes,
// SD and HD to UHD. Tables: the real ones, and random weights and span ends
// (out of order, wrapped, past the end), which drive every sum through its
// 32-bit wrap and every clamp.
#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <ostream>
#include <random>
#include <string>
#include <tuple>
#include <vector>

#include "core/CpuLevel.h"
#include "engine/Engine.h"
#include "engine/ScaleContext.h"
#include "kernels/Upscale16.h"
#include "kernels/Upscale16Cell.h"
#include "kernels/Upscale8.h"
#include "kernels/Upscale8Cell.h"
#include "kernels/Upscale8TwoPass.h"
#include "tests/support/PlanHolder.h"
#include "tests/support/TestSupport.h"

namespace quillon {

// Test names and messages print levels by name.
inline void PrintTo(CpuLevel level, std::ostream* out) {
    *out << CpuLevelName(level);
}

namespace test {
namespace {

using support::CeilingGuard;
using support::Context;
using support::PlanHolder;

enum class Family { TwoPass8, Cell8, Cell16 };
const char* const kFamilyNames[] = {"TwoPass8", "Cell8", "Cell16"};

void PrintTo(Family family, std::ostream* out) {
    *out << kFamilyNames[static_cast<int>(family)];
}

// The engine's own answer: levels above the machine's are skipped.
bool MachineHas(CpuLevel level) {
    return static_cast<int32_t>(level) <= GetMachineCpuLevel();
}

const Upscale8Kernels* Kernels8(Family family, CpuLevel level) {
    static const Upscale8Kernels* const kTwoPass[] = {&kUpscale8TwoPassScalar,
                                                      &kUpscale8TwoPassSse2, &kUpscale8TwoPassAvx2,
                                                      &kUpscale8TwoPassAvx512};
    static const Upscale8Kernels* const kCell[] = {&kUpscale8CellScalar, &kUpscale8CellSse2,
                                                   &kUpscale8CellAvx2, &kUpscale8CellAvx512};
    return (family == Family::TwoPass8 ? kTwoPass : kCell)[static_cast<int>(level)];
}

// No 128-bit 16-bit kernel: that level uses the scalar one.
const Upscale16Kernels* Kernels16(CpuLevel level) {
    static const Upscale16Kernels* const kCell16[] = {&kUpscale16CellScalar, nullptr,
                                                      &kUpscale16CellAvx2, &kUpscale16CellAvx512};
    return kCell16[static_cast<int>(level)];
}

struct Size {
    uint32_t sw, sh, dw, dh;
};

// Random samples with a quarter of them at 0 or full scale.
template <typename Sample>
std::vector<Sample> Pixels(const Size& s, uint32_t seed) {
    constexpr uint32_t kFull = sizeof(Sample) == 1 ? 255 : 65535;
    std::mt19937 rng(seed);
    std::vector<Sample> frame(std::size_t{s.sw} * s.sh * 4);
    for (Sample& v : frame) {
        const uint32_t r = rng();
        v = static_cast<Sample>(r % 8 == 0 ? 0 : r % 8 == 1 ? kFull : (r >> 8) % (kFull + 1));
    }
    return frame;
}

// Random weights (every copy of a replicated layout alike) and span ends in
// place of a context's own: the context is copied and the copy pointed at
// them, the shared tables stay as they are.
struct Scrambled {
    Scrambled(const ScaleContext& c, uint32_t seed) : context(c) {
        std::mt19937 rng(seed);
        const int taps = (c.options & OPT_LANCZOS) != 0 ? 8 : 4;
        for (const bool rows : {false, true}) {
            const int copies = support::WeightCopies(c, rows);
            const uint32_t dst = rows ? c.dstHeight : c.dstWidth;
            std::vector<int16_t>& table = rows ? rowWeights : columnWeights;
            for (std::size_t i = 0; i < std::size_t{dst} * taps; ++i) {
                table.insert(table.end(), copies, static_cast<int16_t>(rng()));
            }
            std::vector<uint16_t>& spans = rows ? rowSpans : columnSpans;
            for (uint32_t i = 0; i + 1 < (rows ? c.srcHeight : c.srcWidth); ++i) {
                spans.push_back(static_cast<uint16_t>(rng() % 4 == 0 ? rng() : rng() % (dst + 3)));
            }
        }
        context.columnWeights = columnWeights.data();
        context.rowWeights = rowWeights.data();
        context.columnSpanEnd = columnSpans.data();
        context.rowSpanEnd = rowSpans.data();
    }

    std::vector<int16_t> columnWeights;
    std::vector<int16_t> rowWeights;
    std::vector<uint16_t> columnSpans;
    std::vector<uint16_t> rowSpans;
    ScaleContext context;
};

// Runs the kernel over `bands` bands, first to last, each into a frame whose
// later rows must still hold the fill when the band returns.
template <typename Sample>
std::vector<Sample> RunBands(const UpscaleKernels<Sample>& kernels, const UpscalePlan& plan,
                             const std::vector<Sample>& source, uint32_t bands, int32_t ceiling) {
    const std::size_t rowSamples = std::size_t{plan.dstWidth} * 4;
    const auto fill = static_cast<Sample>(0x5a5a);
    std::vector<Sample> out(rowSamples * plan.dstHeight, fill);
    for (uint32_t b = 0; b < bands; ++b) {
        const auto begin = static_cast<uint32_t>(uint64_t{plan.dstHeight} * b / bands);
        const auto end = static_cast<uint32_t>(uint64_t{plan.dstHeight} * (b + 1) / bands);
        std::vector<unsigned char> scratch(kernels.scratchBytes(plan, end - begin) + 1, 0xa5);
        kernels.run(plan, source.data(), out.data(), begin, end, scratch.data() + 1, ceiling);
        for (std::size_t i = rowSamples * end; i < out.size(); ++i) {
            if (out[i] != fill) {
                ADD_FAILURE() << "band " << begin << ".." << end << " wrote row " << i / rowSamples;
                return out;
            }
        }
    }
    return out;
}

struct Case {
    Size size;
    bool lanczos;
    bool scramble;
    std::vector<uint32_t> bandCounts;  // 0: bands of one row
};

template <typename Sample, typename Reference>
void CheckFamily(const UpscaleKernels<Sample>& kernels, Family family, Reference reference,
                 const Case& k, uint32_t seed) {
    const Size& s = k.size;
    const uint32_t options = k.lanczos ? OPT_LANCZOS : 0;
    const uint32_t depth = family == Family::Cell16 ? DEPTH_16 : DEPTH_8;
    const uint32_t variant = family == Family::TwoPass8 ? KERNEL_TWO_PASS : KERNEL_CELL;
    Context made({s.sw, s.sh, s.dw, s.dh, options, depth, variant});
    ASSERT_TRUE(made.ok());
    const Scrambled scrambled(*made, seed);
    const ScaleContext* c = k.scramble ? &scrambled.context : made.get();
    PlanHolder holder(*c);
    holder.Prepare(kernels);
    const auto source = Pixels<Sample>(s, seed);
    for (const int32_t ceiling :
         sizeof(Sample) == 1 ? std::array{255, 200} : std::array{65535, 32768}) {
        CeilingGuard guard(sizeof(Sample) == 1 ? ceiling : 255,
                           sizeof(Sample) == 2 ? ceiling : 65535);
        std::vector<Sample> expected(std::size_t{s.dw} * s.dh * 4);
        ASSERT_TRUE(reference(source.data(), expected.data(), c));
        for (const uint32_t bands : k.bandCounts) {
            const auto out =
                RunBands(kernels, holder.plan(), source, bands == 0 ? s.dh : bands, ceiling);
            ASSERT_TRUE(out == expected)
                << s.sw << "x" << s.sh << " -> " << s.dw << "x" << s.dh
                << (k.lanczos ? " lanczos" : " cubic") << (k.scramble ? " scrambled" : "") << ", "
                << bands << " bands, ceiling " << ceiling;
        }
        if (family == Family::TwoPass8) {
            break;  // the ceiling does not apply
        }
    }
}

std::vector<Case> Cases() {
    const std::vector<uint32_t> all = {1, 2, 3, 7, 0};
    const Size small[] = {{4, 4, 4, 4},     {4, 4, 5, 7},    {4, 4, 9, 9},      {5, 4, 13, 11},
                          {7, 6, 7, 19},    {9, 5, 31, 5},   {17, 13, 61, 47},  {33, 7, 101, 29},
                          {11, 10, 12, 33}, {6, 40, 7, 300}, {64, 48, 203, 151}};
    std::vector<Case> cases;
    for (const Size& s : small) {
        for (const bool lanczos : {false, true}) {
            for (const bool scramble : {false, true}) {
                cases.push_back({s, lanczos, scramble, all});
            }
        }
    }
    // 65536 samples on one axis: the last span end is stored as 0.
    for (const Size& s : {Size{4, 4, 65536, 4}, Size{4, 4, 4, 65536}}) {
        cases.push_back({s, true, false, {1, 3, 7}});
    }
#ifdef NDEBUG
    for (const bool lanczos : {false, true}) {
        cases.push_back({{720, 480, 3840, 2160}, lanczos, false, {3}});
        cases.push_back({{1920, 1080, 3840, 2160}, lanczos, false, {7}});
    }
#else
    cases.push_back({{45, 30, 640, 360}, true, false, {3}});
#endif
    return cases;
}

class UpscaleBands : public ::testing::TestWithParam<std::tuple<Family, CpuLevel>> {};

TEST_P(UpscaleBands, EqualWholeFrameKernels) {
    const auto [family, level] = GetParam();
    if (!MachineHas(level)) {
        GTEST_SKIP() << "the processor lacks " << CpuLevelName(level);
    }
    if (family == Family::Cell16 && Kernels16(level) == nullptr) {
        GTEST_SKIP() << "no 16-bit kernel of its own at " << CpuLevelName(level);
    }
    uint32_t seed = 11;
    for (const Case& k : Cases()) {
        ++seed;
        if (family == Family::Cell16) {
            CheckFamily(*Kernels16(level), family, k.lanczos ? &upscale16Lanczos : &upscale16Cubic,
                        k, seed);
        } else if (family == Family::Cell8) {
            CheckFamily(*Kernels8(family, level), family,
                        k.lanczos ? &upscale8Lanczos : &upscale8Cubic, k, seed);
        } else {
            CheckFamily(*Kernels8(family, level), family,
                        k.lanczos ? &upscale8LanczosTwoPassScalar : &upscale8CubicTwoPassScalar, k,
                        seed);
        }
        if (HasFatalFailure()) {
            return;
        }
    }
}

std::string Name(const ::testing::TestParamInfo<std::tuple<Family, CpuLevel>>& info) {
    return std::string(kFamilyNames[static_cast<int>(std::get<0>(info.param))]) + "_" +
           std::string(CpuLevelName(std::get<1>(info.param)));
}

INSTANTIATE_TEST_SUITE_P(FamiliesAndLevels, UpscaleBands,
                         ::testing::Combine(::testing::Values(Family::TwoPass8, Family::Cell8,
                                                              Family::Cell16),
                                            ::testing::Values(CpuLevel::Scalar, CpuLevel::Sse2,
                                                              CpuLevel::Avx2, CpuLevel::Avx512)),
                         Name);

}  // namespace
}  // namespace test
}  // namespace quillon
