// The whole pass: edge cases on whole frames, stress pictures, the effect on
// a staircase, the 16-bit detection, allocation failure, and the pass inside
// ProcessFrame.
#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>

#include "AntiAliasTestSupport.h"
#include "antialias/AntiAlias.h"
#include "engine/Engine.h"
#include "engine/EngineSettings.h"

namespace quillon::aatest {
namespace {

// Source, its nearest enlargement (the destination before the pass) and a
// context for the pair.
struct Scene8 {
    int32_t w, h, dw;
    std::vector<uint8_t> src;
    std::vector<uint8_t> before;
    support::Context ctx;

    template <typename Shade>
    Scene8(int32_t w_, int32_t h_, int32_t dw_, int32_t dh, uint32_t amount, Shade shade)
        : w(w_),
          h(h_),
          dw(dw_),
          src(makeFrame<uint8_t>(w_, h_, shade)),
          before(enlargeNearest(src, w_, h_, dw_, dh)),
          ctx(aaRequest(w_, h_, dw_, dh, amount)) {}

    std::vector<uint8_t> run() const {
        std::vector<uint8_t> dst = before;
        EXPECT_TRUE(antiAlias8(src.data(), dst.data(), ctx.get()));
        return dst;
    }

    aa::Detection detect() const {
        std::vector<uint8_t> grey(static_cast<std::size_t>(w * h));
        aa::makeGrey8(src.data(), grey.data(), grey.size());
        aa::Detection d;
        EXPECT_TRUE(aa::detectChains(grey.data(), w, h, d));
        return d;
    }
};

TEST(AntiAliasPass, FlatOrGentleFramesAreUnchanged) {
    Scene8 flat(40, 30, 80, 60, 10, [](int, int) { return 90; });
    EXPECT_EQ(flat.run(), flat.before);
    // Neighbours never differ by more than 20 (a ramp of 20 a pixel).
    Scene8 ramp(12, 12, 24, 24, 25, [](int x, int y) { return 10 * x + 10 * y; });
    const aa::Detection d = ramp.detect();
    EXPECT_EQ(std::count(d.rowEdges.data(), d.rowEdges.data() + 144, 0), 144);
    EXPECT_EQ(std::count(d.columnEdges.data(), d.columnEdges.data() + 144, 0), 144);
    EXPECT_EQ(d.rowSegments.size() + d.columnSegments.size(), 0u);
    EXPECT_EQ(ramp.run(), ramp.before);
}

// A bright wedge between a shallow and a steep edge: one row chain and one
// column chain. Chain 0 is never traced, so nothing is smoothed.
TEST(AntiAliasPass, OneChainPerDirectionMeansNoSmoothing) {
    Scene8 s(48, 48, 96, 96, 10,
             [](int x, int y) { return (10 * y > 3 * x + 40 && 10 * x > 3 * y + 40) ? 220 : 30; });
    const aa::Detection d = s.detect();
    ASSERT_EQ(d.rowChains.count, 1);
    ASSERT_EQ(d.columnChains.count, 1);
    EXPECT_EQ(s.run(), s.before);
    // A single straight edge: one row chain, no column chain, no smoothing.
    Scene8 edge(40, 24, 80, 48, 10, [](int x, int y) { return y < 4 + (3 * x) / 10 ? 210 : 40; });
    ASSERT_EQ(edge.detect().rowChains.count, 1);
    EXPECT_EQ(edge.run(), edge.before);
}

// Sub-pixel position of one bright-to-dark edge of `bands` in each destination
// column of a 2x enlargement (the edge lies near Y = 0.3 X + 48), from the
// brightness summed over a window around it, and the staircase measure: the
// sum of absolute second differences of that position along the edge.
double staircase(const std::vector<uint8_t>& f, int32_t dw, int32_t x0, int32_t x1) {
    std::vector<double> pos;
    for (int32_t x = x0; x < x1; ++x) {
        const int32_t centre = static_cast<int32_t>(std::lround(0.3 * x + 48.0));
        double sum = centre - 7;
        for (int32_t y = centre - 7; y <= centre + 7; ++y) {
            sum += (f[(static_cast<std::size_t>(y) * dw + x) * 4 + 1] - 40) / 170.0;
        }
        pos.push_back(sum);
    }
    double total = 0.0;
    for (std::size_t i = 1; i + 1 < pos.size(); ++i) {
        total += std::fabs(pos[i + 1] - 2.0 * pos[i] + pos[i - 1]);
    }
    return total;
}

TEST(AntiAliasPass, ReducesTheStaircaseOfShallowDiagonalEdges) {
    for (uint32_t amount : {1u, 6u, 10u}) {
        Scene8 s(64, 48, 128, 96, amount, bands);
        const std::vector<uint8_t> after = s.run();
        const double plain = staircase(s.before, s.dw, 8, 120);
        const double smoothed = staircase(after, s.dw, 8, 120);
        // Small amounts follow the frame closely and smooth less.
        EXPECT_LT(smoothed, (amount < 6 ? 0.95 : 0.8) * plain) << "amount " << amount;
        RecordProperty("staircase_amount_" + std::to_string(amount),
                       std::to_string(smoothed / plain));
        // Channel 3 is never touched.
        for (std::size_t i = 3; i < after.size(); i += 4) {
            ASSERT_EQ(after[i], s.before[i]);
        }
    }
}

// ------------------------------------------------------------------ stress --

struct Pattern {
    const char* name;
    int (*shade)(int x, int y);
};

const Pattern kPatterns[] = {
    {"checker1", [](int x, int y) { return ((x + y) & 1) ? 250 : 0; }},
    {"checker2", [](int x, int y) { return (((x >> 1) + (y >> 1)) & 1) ? 250 : 0; }},
    {"noise",
     [](int x, int y) {
         uint32_t v = static_cast<uint32_t>(x) * 2654435761u ^ static_cast<uint32_t>(y) * 40503u;
         v ^= v >> 13;
         v *= 0x5bd1e995u;
         return static_cast<int>((v >> 15) % 251);
     }},
    {"hatching", [](int x, int y) { return ((x + 2 * y) % 3 == 0) ? 250 : 10; }},
    // The densest segment lists found: slanted bands two rows thick, and
    // two crossing band sets (many short chains in both directions).
    {"fine bands", [](int x, int y) { return ((10 * y - 3 * x) % 40 + 40) % 40 < 20 ? 210 : 40; }},
    {"crossed bands",
     [](int x, int y) {
         const bool v = ((10 * y - 3 * x) % 40 + 40) % 40 < 20;
         const bool u = ((10 * x - 3 * y) % 40 + 40) % 40 < 20;
         return v != u ? 210 : 40;
     }},
};

void checkStress(const Pattern& p, int32_t w, int32_t h, int32_t dw, int32_t dh, uint32_t amount) {
    SCOPED_TRACE(testing::Message() << p.name << " " << w << "x" << h << " -> " << dw << "x" << dh
                                    << " amount " << amount);
    const Scene8 s(w, h, dw, dh, amount, p.shade);
    const std::vector<uint8_t> dst = s.run();
    for (std::size_t i = 0; i < dst.size(); ++i) {
        ASSERT_LE(dst[i], i % 4 == 3 ? 77 : 250);  // the ceiling is set to 250
        ASSERT_TRUE(i % 4 != 3 || dst[i] == 77);
    }
    // Same result on a second run: no state is kept between calls.
    ASSERT_EQ(s.run(), dst);
}

using support::CeilingGuard;

TEST(AntiAliasStress, DensePicturesAtManySizes) {
    CeilingGuard ceiling(250);
    for (const Pattern& p : kPatterns) {
        for (auto [w, h] : {std::pair{6, 6}, std::pair{7, 9}, std::pair{13, 6}, std::pair{31, 17},
                            std::pair{64, 64}}) {
            checkStress(p, w, h, 2 * w, 2 * h, 6);
            checkStress(p, w, h, 3 * w + 1, 2 * h + 3, 25);
            checkStress(p, w, h, w, h, 0);
        }
    }
    // Large frames of the densest kinds that survive the noise removal.
    checkStress(kPatterns[4], 1920, 1080, 2400, 1350, 6);
    checkStress(kPatterns[5], 480, 270, 960, 540, 10);
}

// ----------------------------------------------------------------- 16 bits --

// Two frames alike in their high bytes: a diagonal edge and a step of
// exactly 20 (no edge), which the low bytes of one frame would push above 20.
// Detection sees only the high bytes, so the passes write the same pixels.
TEST(AntiAlias16, LowBytesDoNotTakePartInDetection) {
    const int32_t w = 48;
    const int32_t h = 40;
    std::mt19937 rng(9);
    const auto high = [](int x, int y) { return bands(x, y) > 100 ? 200 : (x > 30 ? 80 : 60); };
    const auto a = makeFrame<uint16_t>(
        w, h, [&](int x, int y) { return high(x, y) << 8 | static_cast<int>(rng() & 0xFF); });
    const auto b = makeFrame<uint16_t>(
        w, h, [&](int x, int y) { return high(x, y) << 8 | (x > 30 ? 0xFF : 0x00); });
    const support::Context ctx(aaRequest(w, h, 2 * w, 2 * h, 8));
    const std::vector<uint16_t> before = enlargeNearest(a, w, h, 2 * w, 2 * h);
    std::vector<uint16_t> outA = before;
    std::vector<uint16_t> outB = before;
    ASSERT_TRUE(antiAlias16(a.data(), outA.data(), ctx.get()));
    ASSERT_TRUE(antiAlias16(b.data(), outB.data(), ctx.get()));
    EXPECT_EQ(outA, outB);
    EXPECT_NE(outA, before);
}

TEST(AntiAlias16, MatchesTheEightBitPassOnWidenedFrames) {
    // A frame whose 16-bit channels are the 8-bit values times 256: the same
    // detection, the same spots, and a blend that differs only by the scale
    // (within the rounding of each depth).
    const Scene8 s(40, 32, 80, 64, 10, bands);
    const auto widen = [](const std::vector<uint8_t>& f) {
        std::vector<uint16_t> out(f.begin(), f.end());
        for (uint16_t& v : out) {
            v = static_cast<uint16_t>(v << 8);
        }
        return out;
    };
    const std::vector<uint16_t> src16 = widen(s.src);
    std::vector<uint16_t> dst16 = widen(s.before);
    const std::vector<uint8_t> out8 = s.run();
    ASSERT_TRUE(antiAlias16(src16.data(), dst16.data(), s.ctx.get()));
    // Pixels under several spots accumulate the 8-bit truncations, so allow
    // a few levels per pixel but little on average.
    int changed = 0;
    double totalError = 0.0;
    for (std::size_t i = 0; i < out8.size(); ++i) {
        EXPECT_NEAR(dst16[i] / 256.0, out8[i], 4.0) << i;
        totalError += std::fabs(dst16[i] / 256.0 - out8[i]);
        changed += out8[i] != s.before[i];
    }
    EXPECT_GT(changed, 100);
    EXPECT_LT(totalError / static_cast<double>(changed), 1.0);
}

// -------------------------------------------- allocation failure, arguments --

TEST(AntiAliasPass, FailedAllocationLeavesTheDestinationAlone) {
    const Scene8 s(40, 30, 80, 60, 10, bands);
    const std::vector<uint8_t> reference = s.run();
    ASSERT_NE(reference, s.before);
    bool succeeded = false;
    for (int allowed = 0; allowed < 200 && !succeeded; ++allowed) {
        std::vector<uint8_t> dst = s.before;
        {
            support::AllocationLimit limit(allowed);
            succeeded = antiAlias8(s.src.data(), dst.data(), s.ctx.get());
        }
        EXPECT_EQ(dst, succeeded ? reference : s.before) << "allowed " << allowed;
    }
    EXPECT_TRUE(succeeded);
    // Missing arguments are refused.
    std::vector<uint8_t> dst = s.before;
    EXPECT_FALSE(antiAlias8(nullptr, dst.data(), s.ctx.get()));
    EXPECT_FALSE(antiAlias8(s.src.data(), nullptr, s.ctx.get()));
    EXPECT_FALSE(antiAlias8(s.src.data(), dst.data(), nullptr));
    EXPECT_FALSE(antiAlias16(nullptr, nullptr, nullptr));
    EXPECT_EQ(dst, s.before);
}

// ------------------------------------------------------------ end to end --

// The pipeline with the pass equals the pass run, with the same context, on
// the pipeline's plain upscale; the pass does change it and never touches
// channel 3.
template <typename Channel>
void expectPassAfterUpscale(const std::vector<Channel>& src, support::Request r, int32_t ceiling) {
    support::Context withPass(r);
    ASSERT_TRUE(withPass.ok());
    std::vector<Channel> out(std::size_t{r.dstWidth} * r.dstHeight * 4);
    ASSERT_EQ(ProcessFrame(src.data(), out.data(), withPass.get()), 0);
    r.options &= ~uint32_t{OPT_ANTIALIAS};
    const std::vector<Channel> upscaled = support::RunFrame(r, src);
    std::vector<Channel> manual = upscaled;
    if constexpr (sizeof(Channel) == 1) {
        ASSERT_TRUE(antiAlias8(src.data(), manual.data(), withPass.get()));
        EXPECT_LT(staircase(out, 128, 8, 120), staircase(upscaled, 128, 8, 120));
    } else {
        ASSERT_TRUE(antiAlias16(src.data(), manual.data(), withPass.get()));
    }
    EXPECT_EQ(out, manual);
    EXPECT_NE(out, upscaled);
    for (std::size_t i = 0; i < out.size(); ++i) {
        ASSERT_LE(out[i], ceiling);
        ASSERT_TRUE(i % 4 != 3 || out[i] == upscaled[i]);
    }
}

TEST(AntiAliasEndToEnd, ProcessFrameRunsThePassAfterTheUpscale) {
    const std::vector<uint8_t> src = makeFrame<uint8_t>(64, 48, bands);
    for (const uint32_t variant : {uint32_t{KERNEL_CELL}, uint32_t{KERNEL_TWO_PASS}}) {
        support::Request r = aaRequest(64, 48, 128, 96, 6);
        r.options |= OPT_LANCZOS;
        r.variant = variant;
        expectPassAfterUpscale(src, r, 255);
    }
    const auto src16 = makeFrame<uint16_t>(
        40, 30, [](int x, int y) { return bands(x, y) > 100 ? 30000 : 4000; }, 1234);
    CeilingGuard ceiling(255, 32768);
    support::Request r = aaRequest(40, 30, 80, 60, 10);
    r.depth = DEPTH_16;
    expectPassAfterUpscale(src16, r, 32768);
}

}  // namespace
}  // namespace quillon::aatest
