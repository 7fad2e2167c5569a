// Refinement and sharpening: the plain band kernels (the reference every
// level is bound to) against models written from their rules: refinement
// apply, sharpen, grey conversion, the min/max lattice and the lattice-map
// resize; and both passes through CreateScaleContext / ProcessFrame.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <random>
#include <utility>
#include <vector>

#include "core/CurveTables.h"
#include "core/EngineSettings.h"
#include "core/MapTables.h"
#include "core/PositionTables.h"
#include "core/RefinePlan.h"
#include "core/SharpenPlan.h"
#include "engine/Engine.h"
#include "engine/ScaleContext.h"
#include "kernels/GreyConversion.h"
#include "kernels/Lattice.h"
#include "kernels/MapResize.h"
#include "kernels/RefineApply.h"
#include "kernels/Sharpen.h"
#include "tests/support/Photos.h"
#include "tests/support/TestSupport.h"

namespace quillon::refinetest {
namespace {

using support::CeilingGuard;
using support::Context;
using support::RandomFrame;
using support::Request;

// The plans and maps the refinement apply and the sharpen pass read, backed
// by vectors owned here. shape: the refinement curve's shape, 0.1 + Quality /
// 20; sharpness: the Sharpness slider value 1..25.
struct HandContext {
    RefinePlan refine{};
    SharpenPlan sharpen{};
    std::vector<uint8_t> refineMin, refineMax;
    std::vector<int16_t> refineCurve = std::vector<int16_t>(kRefineCurveRows * kRefineCurveColumns);
    std::vector<uint16_t> sharpenCurve = std::vector<uint16_t>(kSharpenCurveSize);

    HandContext(uint32_t width, uint32_t height, double shape, uint32_t sharpness = 25)
        : refineMin(std::size_t{width} * height), refineMax(refineMin.size()) {
        buildRefineCurve(shape, refineCurve.data());
        buildSharpenCurve(static_cast<float>((sharpness - 0.52) / 24.0), sharpenCurve.data());
        refine.dstWidth = width;
        refine.dstHeight = height;
        refine.curve = refineCurve.data();
        sharpen = SharpenPlan{width, height, sharpenCurve.data()};
    }
};

// The grey the refinement sees: a rounded third of the colour sum at 8 bits,
// of the 16-bit sum scaled to 0..255 of 65535 at 16 bits (0..128 on the
// host's range), kept to 8 bits.
int Grey(const uint8_t* px) {
    return static_cast<int>(((px[0] + px[1] + px[2]) * 21844u + 32768u) >> 16);
}
int Grey(const uint16_t* px) {
    return static_cast<int>((((px[0] + px[1] + px[2]) * 85u + 32768u) >> 16) & 0xFF);
}

using support::RunFrame;

constexpr double kShape = 0.1 + 10.0 / 20.0;  // Quality slider at 10

// v reduced to its low `bits` bits, read as a signed number.
int64_t Signed(int64_t v, int bits) {
    const int64_t span = int64_t{1} << bits;
    const int64_t low = ((v % span) + span) % span;
    return low >= span / 2 ? low - span : low;
}

int64_t FloorShift(int64_t v, int bits) {
    const int64_t d = int64_t{1} << bits;
    return v >= 0 ? v / d : -((-v + d - 1) / d);
}

// One pixel after the apply, straight from the rule.
template <typename T>
void ModelPixel(T* px, int lo, int hi, const std::vector<int16_t>& curve, int64_t ceiling) {
    const bool wide = sizeof(T) == 2;
    const int64_t range = ((hi - lo) % 256 + 256) % 256;
    const int64_t sum = int64_t{px[0]} + px[1] + px[2];
    const int64_t grey = ((sum * (wide ? 85 : 21844) + 32768) >> 16) % 256;
    if (range < 20 || grey == 0) {
        return;
    }
    const int64_t target = Signed(curve[range * 511 + (grey - lo) + 255] + lo, 16);
    int64_t gain = target * (wide ? 32768 : 128) / grey;  // toward zero
    gain = wide ? gain : Signed(gain, 16);
    if (gain <= 0) {
        return;
    }
    for (int c = 0; c < 3; ++c) {
        const int64_t product = px[c] * gain + (wide ? 16384 : 64);
        const int64_t v = wide ? FloorShift(Signed(product, 32), 15) : FloorShift(product, 7);
        const int64_t compared = wide ? (v < 0 ? v + (int64_t{1} << 32) : v) : (v & 0xFFFF);
        px[c] = static_cast<T>(compared > ceiling ? ceiling : v);
    }
}

// Random maps (mostly proper ranges, some reversed: the range is taken
// modulo 256) and a curve whose entries are partly the built ones, partly
// any 16-bit value and partly near the top, so that the 16-bit target, the
// 8-bit gain and the 16-bit channel product all wrap somewhere.
void Randomise(HandContext& h, uint32_t seed, int maxLo) {
    std::mt19937 rng(seed);
    for (std::size_t i = 0; i < h.refineMin.size(); ++i) {
        h.refineMin[i] = static_cast<uint8_t>(rng() % (maxLo + 1));
        h.refineMax[i] =
            rng() % 8 == 0
                ? static_cast<uint8_t>(rng())
                : static_cast<uint8_t>(std::min<uint32_t>(255, h.refineMin[i] + rng() % 120));
    }
    for (int16_t& entry : h.refineCurve) {
        const uint32_t pick = rng() % 4;
        entry = static_cast<int16_t>(pick == 1 ? rng() : (pick == 2 ? 32767 - rng() % 300 : entry));
    }
}

void Apply(uint8_t* frame, const HandContext& h) {
    kRefineApplyScalar.apply8(h.refine, h.refineMin.data(), h.refineMax.data(), frame,
                              static_cast<uint32_t>(MaxValue8()), 0, h.refine.dstHeight, nullptr);
}

void Apply(uint16_t* frame, const HandContext& h) {
    kRefineApplyScalar.apply16(h.refine, h.refineMin.data(), h.refineMax.data(), frame,
                               static_cast<uint32_t>(MaxValue16()), 0, h.refine.dstHeight, nullptr);
}

// Both phases over the whole frame: brightness plane, then the gains.
template <typename T>
void Sharpen(T* frame, const HandContext& h) {
    const SharpenPlan& plan = h.sharpen;
    std::vector<uint8_t> plane(std::size_t{plan.width} * plan.height);
    std::vector<uint8_t> scratch(SharpenScratchBytes(plan, plan.height));
    const GreyPlan greyPlan{plan.width, plan.height};
    if constexpr (sizeof(T) == 1) {
        kGreyScalar.from8(greyPlan, frame, plane.data(), 0, plan.height, nullptr);
        kSharpenScalar.apply8(plan, plane.data(), frame, static_cast<uint32_t>(MaxValue8()), 0,
                              plan.height, scratch.data());
    } else {
        kGreyScalar.from16(greyPlan, frame, plane.data(), 0, plan.height, nullptr);
        kSharpenScalar.apply16(plan, plane.data(), frame, static_cast<uint32_t>(MaxValue16()), 0,
                               plan.height, scratch.data());
    }
}

TEST(RefineApply, MatchesModelOnRandomMapsFramesAndCurves) {
    uint32_t seed = 10;
    for (const auto& [max8, max16] : {std::pair{255, 65535}, std::pair{180, 32768}}) {
        CeilingGuard guard(max8, max16);
        HandContext h(67, 23, kShape);
        const auto check = [&h, &seed](auto frame, int maxLo, int64_t ceiling) {
            Randomise(h, ++seed, maxLo);
            auto want = frame;
            for (std::size_t p = 0; p < h.refineMin.size(); ++p) {
                ModelPixel(&want[p * 4], h.refineMin[p], h.refineMax[p], h.refineCurve, ceiling);
            }
            Apply(frame.data(), h);
            EXPECT_EQ(frame, want) << "ceiling " << ceiling;
        };
        check(RandomFrame<uint8_t>(67, 23, 255, ++seed), 255, max8);
        // On the 16-bit grey scale lo stays within 0..128.
        check(RandomFrame<uint16_t>(67, 23, 65535, ++seed), 128, max16);
    }
}

// Flat areas (ranges of 0..19), pixels whose grey equals lo (gain exactly
// one) and black pixels (grey 0: at 8 bits a colour sum of up to 1, at 16
// bits any sum below 386) are left bit for bit.
TEST(RefineApply, FlatRangesPixelsAtLoAndBlackPixelsAreUnchanged) {
    HandContext h(64, 16, 1.35);
    std::mt19937 rng(5);
    const auto check = [&h, &rng](auto frame, int kind) {
        using T = typename decltype(frame)::value_type;
        const bool wide = sizeof(T) == 2;
        for (std::size_t p = 0; p < h.refineMin.size(); ++p) {
            T* px = &frame[p * 4];
            const uint32_t lo = kind == 0 ? rng() % 230 : (kind == 1 ? Grey(px) : 0);
            if (kind == 2) {
                px[0] = 0;
                px[1] = static_cast<T>(px[1] % (wide ? 193 : 1));
                px[2] = static_cast<T>(px[2] % (wide ? 193 : 2));
            }
            h.refineMin[p] = static_cast<uint8_t>(lo);
            h.refineMax[p] = static_cast<uint8_t>(
                kind == 0 ? lo + rng() % 20 : std::min<uint32_t>(255, lo + 20 + rng() % 100));
        }
        const auto before = frame;
        Apply(frame.data(), h);
        EXPECT_EQ(frame, before) << "kind " << kind << (wide ? ", 16 bits" : ", 8 bits");
    };
    for (const int kind : {0, 1, 2}) {
        check(RandomFrame<uint8_t>(64, 16, 200, 41), kind);
        check(RandomFrame<uint16_t>(64, 16, 32768, 42), kind);
    }
}

// One pixel of grey 105 at the low side of a range starting at 100.
TEST(RefineApply, RangeOfTwentyIsRefinedNineteenIsNot) {
    HandContext h(1, 1, kShape);
    h.refineMin[0] = 100;
    for (const uint8_t hi : {119, 120}) {
        h.refineMax[0] = hi;
        std::vector<uint8_t> px = {105, 105, 105, 17};
        Apply(px.data(), h);
        EXPECT_EQ(px[0] < 105, hi == 120);  // pushed toward the nearer end, lo
        EXPECT_EQ(px[3], 17);
    }
}

// ---------------------------------------------------------------- sharpen

// Blurred brightness of the 5 x 5 neighbourhood whose top-left is (x, y).
uint32_t Blurred(const std::vector<uint8_t>& plane, uint32_t width, uint32_t x, uint32_t y) {
    static const uint32_t b[5] = {1, 4, 6, 4, 1};
    uint32_t sum = 0;
    for (uint32_t i = 0; i < 5; ++i) {
        for (uint32_t j = 0; j < 5; ++j) {
            sum += b[i] * b[j] * plane[(y + i) * width + x + j];
        }
    }
    return (sum + 128) >> 8;
}

template <typename T>
std::vector<T> ModelSharpen(const std::vector<T>& frame, uint32_t w, uint32_t h,
                            const std::vector<uint16_t>& curve, int64_t ceiling) {
    std::vector<T> out = frame;
    std::vector<uint8_t> plane(frame.size() / 4);  // brightness of the high bytes
    for (std::size_t i = 0; i < plane.size(); ++i) {
        const int shift = sizeof(T) == 2 ? 8 : 0;
        const uint32_t sum =
            (frame[i * 4] >> shift) + (frame[i * 4 + 1] >> shift) + (frame[i * 4 + 2] >> shift);
        plane[i] = static_cast<uint8_t>((sum * 21844 + 32768) >> 16);
    }
    for (uint32_t y = 0; y + 6 <= h; ++y) {
        for (uint32_t x = 0; x + 6 <= w; ++x) {
            const std::size_t centre = std::size_t{y + 2} * w + x + 2;
            const uint32_t gain = curve[plane[centre] * 256 + Blurred(plane, w, x, y)];
            for (std::size_t at = centre * 4; at < centre * 4 + 3; ++at) {
                // s * g + 8192 wraps as signed 32 bits before the shift.
                const int64_t v = FloorShift(Signed(frame[at] * int64_t{gain} + 8192, 32), 14);
                out[at] = static_cast<T>(std::min(v, ceiling) & (sizeof(T) == 2 ? 0xFFFF : 0xFF));
            }
        }
    }
    return out;
}

// The model on random frames and on random gain tables (whose large gains
// make s * g + 8192 pass 2^31 and wrap, which no built table reaches), at
// several ceilings and sizes: frames of five rows or columns stay as they
// are, six rows sharpen row 2 only, borders and channel 3 are never written.
TEST(Sharpen, MatchesDirectModel) {
    const std::vector<std::pair<uint32_t, uint32_t>> sizes = {
        {6, 6}, {7, 9}, {13, 6}, {6, 13}, {5, 9}, {9, 5}, {33, 17}, {17, 33}, {64, 8}, {71, 40}};
    uint32_t seed = 1;
    for (const auto& [max8, max16] : {std::pair{255, 65535}, std::pair{200, 32768}}) {
        CeilingGuard guard(max8, max16);
        for (const uint32_t sharpness : {1u, 10u, 25u, 0u}) {
            for (const auto& [w, h] : sizes) {
                HandContext hc(w, h, 0.6, sharpness == 0 ? 25 : sharpness);
                if (sharpness == 0) {
                    std::mt19937 rng(seed);
                    for (uint16_t& g : hc.sharpenCurve) {
                        g = static_cast<uint16_t>(rng());
                    }
                }
                const auto check = [&](auto frame, int64_t ceiling) {
                    const auto want = ModelSharpen(frame, w, h, hc.sharpenCurve, ceiling);
                    Sharpen(frame.data(), hc);
                    EXPECT_EQ(frame, want) << w << "x" << h << " S=" << sharpness;
                };
                check(RandomFrame<uint8_t>(w, h, 255, seed++), max8);
                check(RandomFrame<uint16_t>(w, h, static_cast<uint32_t>(max16), seed++), max16);
            }
        }
    }
}

// The centre of an 11 x 11 frame of `background` after sharpening one spot.
std::vector<uint8_t> SharpenedSpot(uint32_t sharpness, uint8_t background,
                                   std::vector<uint8_t> spot) {
    HandContext hc(11, 11, 0.6, sharpness);
    std::vector<uint8_t> frame(11 * 11 * 4, background);  // channel 3 too
    std::copy(spot.begin(), spot.end(), frame.begin() + (5 * 11 + 5) * 4);
    Sharpen(frame.data(), hc);
    return {frame.begin() + (5 * 11 + 5) * 4, frame.begin() + (5 * 11 + 6) * 4};
}

// The built table leaves differences of up to five levels alone, keeps a black centre (brightness
// 0, colour sum 1: row 0 of the table) and drives brightness 1 in bright surroundings to black.
TEST(Sharpen, SmallDifferencesAndBlackCentreKeepTheirValue) {
    // Spot 105 on 100: blurred 101, difference 4; 140: difference 34, brightened.
    EXPECT_EQ(SharpenedSpot(25, 100, {105, 105, 105, 100}),
              (std::vector<uint8_t>{105, 105, 105, 100}));
    EXPECT_GT(SharpenedSpot(25, 100, {140, 140, 140, 100})[0], 140);
    EXPECT_EQ(SharpenedSpot(10, 250, {1, 0, 0, 0}), (std::vector<uint8_t>{1, 0, 0, 0}));
    EXPECT_EQ(SharpenedSpot(10, 250, {2, 1, 0, 0}), (std::vector<uint8_t>{0, 0, 0, 0}));
}

// ------------------------------------------------------------- grey, maps

// 8 bits: the colour sum's third rounded half up. 16 bits: only the high
// bytes count, host white (32768) is 128.
TEST(GreyConversion, RoundedThirdOfColourSum) {
    const auto frame = RandomFrame<uint8_t>(4096, 1, 255, 11);
    std::vector<uint8_t> grey(4096);
    kGreyScalar.from8(GreyPlan{4096, 1}, frame.data(), grey.data(), 0, 1, nullptr);
    for (std::size_t i = 0; i < grey.size(); ++i) {
        ASSERT_EQ(grey[i], (2 * (frame[i * 4] + frame[i * 4 + 1] + frame[i * 4 + 2]) + 3) / 6);
    }
    const std::vector<uint16_t> wide = {0x12FF, 0x3400, 0xFFFF, 0x7777, 0x00FF, 0x00FF,
                                        0x00FF, 0xFFFF, 0x8000, 0x8000, 0x8000, 0x0000};
    kGreyScalar.from16(GreyPlan{3, 1}, wide.data(), grey.data(), 0, 1, nullptr);
    EXPECT_EQ(std::vector<uint8_t>(grey.begin(), grey.begin() + 3),
              (std::vector<uint8_t>{(2 * (0x12 + 0x34 + 0xFF) + 3) / 6, 0, 128}));
}

// ------------------------------------------------------------------ lattice

// The window of lattice point (x, y) written out from the border table, one
// case per table row. Returns (column, row) pairs.
std::vector<std::pair<int, int>> WindowOf(int x, int y, int w, int h) {
    std::vector<std::pair<int, int>> px;
    auto block = [&px](int c0, int c1, int r0, int r1) {
        for (int r = r0; r <= r1; ++r) {
            for (int c = c0; c <= c1; ++c) {
                px.emplace_back(c, r);
            }
        }
    };
    const int bandX = x <= 1 ? 0 : (x >= w - 1 ? 2 : 1);
    const int bandY = y <= 1 ? 0 : (y >= h - 1 ? 2 : 1);
    if (bandX == 1 && bandY == 1) {
        block(x - 1, x, y - 2, y + 1);
        block(x - 2, x - 2, y - 1, y);
        block(x + 1, x + 1, y - 1, y);
    } else if (bandX == 1 && bandY == 0) {
        block(x - 1, x, 0, 2);
        block(x - 2, x - 2, 0, 1);
        block(x + 1, x + 1, 0, 1);
    } else if (bandX == 1 && bandY == 2) {
        block(x - 1, x, h - 3, h - 1);
        block(x - 2, x - 2, h - 2, h - 1);
        block(x + 1, x + 1, h - 2, h - 1);
    } else if (bandX == 0 && bandY == 1) {
        block(1, 2, y - 2, y + 1);
        block(3, 3, y - 1, y);
    } else if (bandX == 2 && bandY == 1) {
        block(w - 2, w - 1, y - 2, y + 1);
        block(w - 3, w - 3, y - 1, y);
    } else if (bandX == 0 && bandY == 0) {
        block(0, 2, 0, 1);
        block(0, 1, 2, 2);
    } else if (bandX == 2 && bandY == 0) {
        block(w - 3, w - 1, 0, 1);
        block(w - 2, w - 2, 2, 2);
        px.emplace_back(0, 3);  // linear position 3 * W
    } else if (bandX == 0 && bandY == 2) {
        block(0, 2, h - 2, h - 1);
        block(0, 1, h - 3, h - 3);
    } else {
        block(w - 3, w - 1, h - 2, h - 1);
        block(w - 2, w - 1, h - 3, h - 3);
    }
    return px;
}

// Every grey pixel in turn is made the only bright and the only dark one:
// the lattice points that see it are exactly those whose window holds it.
TEST(Lattice, EachGreyReachesExactlyTheWindowsHoldingIt) {
    for (auto [w, h] : {std::pair{4, 4}, std::pair{5, 4}, std::pair{4, 6}, std::pair{7, 5},
                        std::pair{9, 8}, std::pair{6, 11}, std::pair{16, 9}, std::pair{33, 17}}) {
        const std::size_t points = std::size_t(w + 1) * (h + 1);
        for (int probe = 0; probe < w * h; ++probe) {
            std::vector<uint8_t> grey(std::size_t(w) * h, 100);
            std::vector<uint8_t> min(points, 0x5A), max = min, darkMin = min, darkMax = min;
            grey[probe] = 200;
            const GreyPlan plan{static_cast<uint32_t>(w), static_cast<uint32_t>(h)};
            kLatticeScalar.build(plan, grey.data(), min.data(), max.data(), 0, h + 1, nullptr);
            grey[probe] = 3;
            kLatticeScalar.build(plan, grey.data(), darkMin.data(), darkMax.data(), 0, h + 1,
                                 nullptr);
            for (std::size_t at = 0; at < points; ++at) {
                const int x = static_cast<int>(at % (w + 1));
                const int y = static_cast<int>(at / (w + 1));
                const auto window = WindowOf(x, y, w, h);
                const bool holds = std::find(window.begin(), window.end(),
                                             std::pair{probe % w, probe / w}) != window.end();
                ASSERT_TRUE(max[at] == (holds ? 200 : 100) && darkMin[at] == (holds ? 3 : 100) &&
                            min[at] == 100 && darkMax[at] == 100)
                    << w << "x" << h << " grey " << probe << " lattice " << x << "," << y;
            }
        }
    }
}

// --------------------------------------------------------------- map resize

struct AxisTables {
    std::vector<double> frac;
    std::vector<uint32_t> index;
};

AxisTables Axis(uint32_t n, uint32_t m) {
    std::vector<double> positions(n);
    std::vector<uint16_t> spans(n - 1);
    buildAxisSpans(n, m, positions.data(), spans.data());
    AxisTables t{std::vector<double>(m), std::vector<uint32_t>(m)};
    buildAxisIndex(n, positions.data(), t.frac.data(), t.index.data());
    return t;
}

// A lattice map of srcW x srcH pixels and the engine's tables for its resize.
struct MapInputs {
    uint32_t srcW, srcH, dstW, dstH;
    AxisTables cols = Axis(srcW, dstW);
    AxisTables rows = Axis(srcH, dstH);
    std::vector<uint8_t> lattice = std::vector<uint8_t>(std::size_t(srcW + 1) * (srcH + 1));

    MapInputs(uint32_t sw, uint32_t sh, uint32_t dw, uint32_t dh, uint32_t seed)
        : srcW(sw), srcH(sh), dstW(dw), dstH(dh) {
        std::mt19937 rng(seed);
        for (auto& v : lattice) {
            // Plenty of extremes, so the vector lanes meet their largest differences.
            const uint32_t pick = rng() % 4;
            v = pick == 0 ? 0 : pick == 1 ? 255 : static_cast<uint8_t>(rng());
        }
    }
};

constexpr uint8_t kUntouched = 0xC3;

// The plain kernel over the whole map, with the taps the context builds.
std::vector<uint8_t> Resize(const MapInputs& m) {
    std::vector<uint32_t> columns(m.dstW), rows(m.dstH);
    std::vector<uint16_t> columnWeights(m.dstW), rowWeights(m.dstH);
    EXPECT_TRUE(mapresize::SetupColumns(m.cols.index.data(), m.cols.frac.data(), m.srcW, m.dstW,
                                        columns.data(), columnWeights.data()));
    EXPECT_TRUE(mapresize::SetupRows(m.rows.index.data(), m.rows.frac.data(), m.srcH, m.dstH,
                                     rows.data(), rowWeights.data()));
    const RefinePlan plan{m.srcW,         m.srcH,
                          m.dstW,         m.dstH,
                          columns.data(), columnWeights.data(),
                          rows.data(),    rowWeights.data(),
                          nullptr};
    std::vector<uint8_t> out(std::size_t{m.dstW} * m.dstH, kUntouched);
    std::vector<uint8_t> scratch(MapResizeScratchBytes(plan, m.dstH));
    kMapResizeScalar.resize(plan, m.lattice.data(), out.data(), 0, m.dstH, scratch.data());
    return out;
}

// The resize as the rule states it: a lattice sample half a step on and its
// 1/64 weight per axis, the horizontal pass first, low 8 bits kept.
std::vector<uint8_t> ModelResize(const MapInputs& m) {
    auto tap = [](double frac, uint32_t index, uint32_t* at) {
        const double u = frac + 0.5;
        *at = index + static_cast<uint32_t>(std::trunc(u));
        return static_cast<int>(std::trunc((u - std::trunc(u)) * 64.0 + 0.5));
    };
    std::vector<uint8_t> out(std::size_t{m.dstW} * m.dstH);
    const std::size_t lw = m.srcW + 1;
    for (uint32_t r = 0; r < m.dstH; ++r) {
        uint32_t row = 0;
        const int fy = tap(m.rows.frac[r], m.rows.index[r], &row);
        for (uint32_t k = 0; k < m.dstW; ++k) {
            uint32_t col = 0;
            const int fx = tap(m.cols.frac[k], m.cols.index[k] & 0xFFFF, &col);
            int t[2];
            for (int i = 0; i < 2; ++i) {
                const uint8_t* l = &m.lattice[(row + i) * lw + col];
                t[i] = l[0] + FloorShift((l[1] - l[0]) * fx + 32, 6);
            }
            out[std::size_t{r} * m.dstW + k] =
                static_cast<uint8_t>((t[0] + FloorShift((t[1] - t[0]) * fy + 32, 6)) & 0xFF);
        }
    }
    return out;
}

// The resize against the model; 1:1 axes included, and a width that takes
// column indices past 8 bits.
TEST(ScaleMap, MatchesTheModelOnAwkwardSizes) {
    const std::vector<std::vector<uint32_t>> sizes = {
        {4, 4, 4, 4},     {4, 5, 9, 13},       {7, 6, 15, 11},       {5, 4, 8, 4},
        {9, 7, 16, 23},   {20, 10, 63, 37},    {33, 17, 100, 50},    {64, 36, 129, 72},
        {31, 9, 250, 61}, {100, 50, 257, 130}, {320, 180, 641, 361}, {320, 180, 640, 360},
        {13, 9, 13, 9},   {300, 6, 300, 6}};
    uint32_t seed = 100;
    for (const auto& s : sizes) {
        const MapInputs m(s[0], s[1], s[2], s[3], seed++);
        EXPECT_EQ(Resize(m), ModelResize(m))
            << s[0] << "x" << s[1] << " -> " << s[2] << "x" << s[3];
    }
}

// --------------------------------------------------------------- pipeline

TEST(RefinePipeline, FlatSourceIsBitIdenticalWithRefineAndSharpen) {
    CeilingGuard guard(255, 32768);
    for (const auto& [depth, variant] :
         {std::pair{DEPTH_8, KERNEL_CELL}, std::pair{DEPTH_8, KERNEL_TWO_PASS},
          std::pair{DEPTH_16, KERNEL_CELL}}) {
        for (const uint32_t lanczos : {0u, uint32_t{OPT_LANCZOS}}) {
            const Request plain{40, 30, 100, 75, lanczos, depth, variant};
            const Request refined{40,    30,      100, 75, lanczos | OPT_REFINE | OPT_SHARPEN,
                                  depth, variant, 25,  25};
            const auto check = [&](auto zero, std::array<uint32_t, 4> pixel) {
                std::vector<decltype(zero)> src(40 * 30 * 4);
                for (std::size_t i = 0; i < src.size(); ++i) {
                    src[i] = static_cast<decltype(zero)>(pixel[i % 4]);
                }
                const auto out = RunFrame(refined, src);
                EXPECT_FALSE(out.empty());
                EXPECT_EQ(out, RunFrame(plain, src)) << depth << " " << variant << " " << lanczos;
            };
            depth == DEPTH_8 ? check(uint8_t{0}, {90, 120, 150, 0})
                             : check(uint16_t{0}, {11000, 22000, 30000, 0});
        }
    }
}

// KERNEL_NONE resizes no maps: the refinement has no ranges to work with
// and leaves the output as the caller had it.
TEST(RefinePipeline, KernelNoneLeavesTheOutput) {
    Context c({16, 12, 40, 30, OPT_REFINE, DEPTH_8, KERNEL_NONE});
    ASSERT_TRUE(c.ok());
    const auto src = RandomFrame<uint8_t>(16, 12, 255, 5);
    const auto before = RandomFrame<uint8_t>(40, 30, 255, 6);
    auto out = before;
    ASSERT_EQ(ProcessFrame(src.data(), out.data(), c.get()), 0);
    EXPECT_EQ(out, before);
}

// Sums the 10-90 % widths of the row edges (monotone runs rising or falling
// by at least minStep in grey) of the plain upscale, measured over the same
// stretches in both images: refinement must narrow them.
template <typename T>
void ExpectNarrowerEdges(Request r, const std::vector<T>& src, int minStep, uint32_t quality,
                         double maxRatio) {
    std::vector<int> g[2];  // plain, refined
    for (std::vector<int>& grey : g) {
        const std::vector<T> frame = RunFrame(r, src);
        ASSERT_FALSE(frame.empty());
        for (std::size_t i = 0; i < frame.size(); i += 4) {
            grey.push_back(Grey(&frame[i]));
        }
        r.options |= OPT_REFINE;
        r.quality = quality;
    }
    const std::vector<int>& p = g[0];
    double width[2] = {0, 0};
    for (std::size_t i = 0, end = 0; i + 1 < p.size(); i = end) {
        const int dir = (p[i + 1] > p[i]) - (p[i + 1] < p[i]);
        for (end = i + 1;
             dir != 0 && (end + 1) % r.dstWidth != 0 && (p[end + 1] - p[end]) * dir > 0; ++end) {
        }
        const int step = (p[end] - p[i]) * dir;
        if ((i + 1) % r.dstWidth == 0 || dir == 0 || step < minStep) {
            continue;  // no rise or fall, or one across the end of a row
        }
        for (std::size_t k = i; k <= end; ++k) {
            for (int pass = 0; pass < 2; ++pass) {
                width[pass] += g[pass][k] > std::min(p[i], p[end]) + 0.1 * step &&
                               g[pass][k] < std::min(p[i], p[end]) + 0.9 * step;
            }
        }
    }
    EXPECT_GT(width[0], 100);
    EXPECT_LT(width[1], maxRatio * width[0]) << "plain " << width[0] << " refined " << width[1];
}

TEST(RefinePipeline, PhotoEdgesNarrow) {
    const support::Picture photo = support::LoadPicture("cups_320x180.png");
    ASSERT_FALSE(photo.empty());
    const auto src = support::ToWorking8(photo);
    for (uint32_t options : {0u, uint32_t{OPT_LANCZOS}}) {
        const Request r{photo.width, photo.height, photo.width * 3, photo.height * 3, options};
        ExpectNarrowerEdges(r, src, 60, 8, 0.95);  // the slider's default
        ExpectNarrowerEdges(r, src, 60, 25, 0.85);
    }
    CeilingGuard guard(255, 32768);
    const support::Picture photo16 = support::LoadPicture("pier_320x180_16bit.png");
    ASSERT_EQ(photo16.bitDepth, 16);
    const Request r{photo16.width, photo16.height, photo16.width * 3, photo16.height * 3, 0,
                    DEPTH_16};
    // The 16-bit grey spans 0..128, so steps are half as tall and ranges
    // narrower, which flattens the S-curve: the gain in width is smaller.
    ExpectNarrowerEdges(r, support::ToWorking16(photo16), 30, 8, 1.0);
    ExpectNarrowerEdges(r, support::ToWorking16(photo16), 30, 25, 0.96);
}

// Frame-time scratch (map rows, brightness plane, sharpen rows, the upscale's
// own) refused at each site in turn: ProcessFrame reports the failure, and
// once every block is granted the frame is the unrationed one.
TEST(RefinePipeline, RefusedFrameScratchFailsCleanly) {
    for (const auto& [depth, variant] :
         {std::pair{DEPTH_8, KERNEL_TWO_PASS}, std::pair{DEPTH_16, KERNEL_CELL}}) {
        const Request r{24, 16, 61, 37, OPT_REFINE | OPT_SHARPEN, depth, variant, 25, 25};
        const auto check = [&r](auto zero) {
            using T = decltype(zero);
            const auto src = RandomFrame<T>(24, 16, sizeof(T) == 1 ? 255 : 32768, 77);
            const auto want = RunFrame(r, src);
            ASSERT_FALSE(want.empty());
            Context c(r);
            ASSERT_TRUE(c.ok());
            std::vector<T> out(want.size());
            int result = -1;
            int grants = 0;
            for (; grants < 16 && result != 0; ++grants) {
                support::AllocationLimit limit(grants);
                result = ProcessFrame(src.data(), out.data(), c.get());
            }
            EXPECT_EQ(result, 0);
            EXPECT_GT(grants, 1);  // some grant counts failed first
            EXPECT_EQ(out, want);
        };
        depth == DEPTH_8 ? check(uint8_t{0}) : check(uint16_t{0});
    }
}

// At 16 bits the refinement path upscales again, which discards anti-aliasing.
TEST(RefinePipeline, SixteenBitRefineReplacesAntiAliasing) {
    CeilingGuard guard(255, 32768);
    const support::Picture photo = support::LoadPicture("pier_320x180_16bit.png");
    ASSERT_FALSE(photo.empty());
    const auto src = support::ToWorking16(photo);
    Request r{photo.width, photo.height, photo.width * 2, photo.height * 2, OPT_REFINE, DEPTH_16};
    r.antiAlias = 20;
    const auto refineOnly = RunFrame(r, src);
    r.options = OPT_REFINE | OPT_ANTIALIAS;
    EXPECT_EQ(RunFrame(r, src), refineOnly);
    // Anti-aliasing on its own does change this frame, so the equality above
    // is the second upscale at work.
    r.options = 0;
    const auto plain = RunFrame(r, src);
    r.options = OPT_ANTIALIAS;
    EXPECT_NE(RunFrame(r, src), plain);
}

}  // namespace
}  // namespace quillon::refinetest
