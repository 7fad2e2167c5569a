// The refinement apply at 8 and 16 bits, on hand-made min/max maps: a model
// written from the rule on random maps, frames and curves, then the cases
// the rule singles out.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <random>
#include <vector>

#include "RefineTestSupport.h"
#include "engine/Refinement.h"

namespace quillon::refinetest {
namespace {

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
        if (pick == 1) {
            entry = static_cast<int16_t>(rng());
        } else if (pick == 2) {
            entry = static_cast<int16_t>(32767 - static_cast<int>(rng() % 300));
        }
    }
}

TEST(RefineApply, MatchesModelOnRandomMapsFramesAndCurves) {
    const int32_t ceilings8[] = {255, 180};
    const int32_t ceilings16[] = {65535, 32768};
    for (int i = 0; i < 2; ++i) {
        CeilingGuard guard(ceilings8[i], ceilings16[i]);
        HandContext h(67, 23, kShape);
        Randomise(h, 10 + i, 255);
        auto frame8 = RandomFrame<uint8_t>(67, 23, 255, 20 + i);
        auto want8 = frame8;
        for (std::size_t p = 0; p < h.refineMin.size(); ++p) {
            ModelPixel(&want8[p * 4], h.refineMin[p], h.refineMax[p], h.refineCurve, ceilings8[i]);
        }
        refineApply8(frame8.data(), &h.context);
        EXPECT_EQ(frame8, want8) << "ceiling " << ceilings8[i];

        // On the 16-bit grey scale lo stays within 0..128.
        Randomise(h, 30 + i, 128);
        auto frame16 = RandomFrame<uint16_t>(67, 23, 65535, 40 + i);
        auto want16 = frame16;
        for (std::size_t p = 0; p < h.refineMin.size(); ++p) {
            ModelPixel(&want16[p * 4], h.refineMin[p], h.refineMax[p], h.refineCurve,
                       ceilings16[i]);
        }
        refineApply16(frame16.data(), &h.context);
        EXPECT_EQ(frame16, want16) << "ceiling " << ceilings16[i];
    }
}

// Flat areas (ranges of 0..19), pixels whose grey equals lo (gain exactly
// one) and black pixels (grey 0, which at 8 bits includes a colour sum of 1
// and at 16 bits any sum below 386) are left bit for bit.
TEST(RefineApply, FlatRangesPixelsAtLoAndBlackPixelsAreUnchanged) {
    HandContext h(64, 16, 1.35);
    std::mt19937 rng(5);
    auto check = [&h, &rng](const auto& frame) {
        const bool wide = sizeof(frame[0]) == 2;
        for (const char* kind : {"flat", "at lo", "black"}) {
            auto f = frame;
            for (std::size_t p = 0; p < h.refineMin.size(); ++p) {
                uint8_t& lo = h.refineMin[p];
                uint8_t& hi = h.refineMax[p];
                auto* px = &f[p * 4];
                if (kind[0] == 'f') {
                    lo = static_cast<uint8_t>(rng() % 230);
                    hi = static_cast<uint8_t>(lo + rng() % 20);
                } else if (kind[0] == 'a') {
                    lo = static_cast<uint8_t>(Grey(px));
                    hi = static_cast<uint8_t>(std::min<uint32_t>(255, lo + 20 + rng() % 100));
                } else {
                    lo = 0;
                    hi = 255;
                    px[0] = 0;
                    px[1] = static_cast<std::decay_t<decltype(px[0])>>(wide ? px[1] % 193 : 0);
                    px[2] = static_cast<std::decay_t<decltype(px[0])>>(px[2] % (wide ? 193 : 2));
                }
            }
            const auto before = f;
            if constexpr (sizeof(frame[0]) == 1) {
                refineApply8(f.data(), &h.context);
            } else {
                refineApply16(f.data(), &h.context);
            }
            EXPECT_EQ(f, before) << kind << (wide ? " 16" : " 8");
        }
    };
    check(RandomFrame<uint8_t>(64, 16, 200, 41));
    check(RandomFrame<uint16_t>(64, 16, 32768, 42));
}

// One pixel of grey 105 at the low side of a range starting at 100.
TEST(RefineApply, RangeOfTwentyIsRefinedNineteenIsNot) {
    HandContext h(1, 1, kShape);
    h.refineMin[0] = 100;
    const std::vector<uint8_t> pixel = {105, 105, 105, 17};
    auto narrow = pixel;
    h.refineMax[0] = 119;
    refineApply8(narrow.data(), &h.context);
    EXPECT_EQ(narrow, pixel);
    auto wide = pixel;
    h.refineMax[0] = 120;
    refineApply8(wide.data(), &h.context);
    EXPECT_LT(wide[0], 105);  // pushed toward the nearer end, lo
    EXPECT_EQ(wide, (std::vector<uint8_t>{wide[0], wide[0], wide[0], 17}));
}

// Host scale: grey 127 in a range 60..140 is pushed up past the 16-bit
// ceiling, and 174 in 0..255 past a lowered 8-bit one.
TEST(RefineApply, BrightenedChannelsStopAtTheCeiling) {
    CeilingGuard guard(180, 32768);
    HandContext h(1, 1, kShape);
    h.refineMax[0] = 255;
    std::vector<uint8_t> px8 = {170, 175, 178, 3};
    refineApply8(px8.data(), &h.context);
    EXPECT_EQ(px8, (std::vector<uint8_t>{180, 180, 180, 3}));
    h.refineMin[0] = 60;
    h.refineMax[0] = 140;
    std::vector<uint16_t> px16 = {32500, 32600, 32700, 5};
    refineApply16(px16.data(), &h.context);
    EXPECT_EQ(px16, (std::vector<uint16_t>{32768, 32768, 32768, 5}));
}

}  // namespace
}  // namespace quillon::refinetest
