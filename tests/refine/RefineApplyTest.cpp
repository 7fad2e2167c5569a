// The refinement apply at 8 and 16 bits, on hand-made min/max maps.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <random>
#include <vector>

#include "TestFrames.h"
#include "engine/Refinement.h"

namespace quillon {
namespace {

using testing::CeilingGuard;
using testing::HandContext;
using testing::RandomFrame;

constexpr double kShape = 0.1 + 10.0 / 20.0;  // Quality slider at 10

int Grey16(const uint16_t* px) {
    return static_cast<int>((((px[0] + px[1] + px[2]) * 85u + 32768u) >> 16) & 0xFF);
}

void RandomMaps(HandContext& h, uint32_t seed) {
    std::mt19937 rng(seed);
    for (std::size_t i = 0; i < h.refineMin.size(); ++i) {
        h.refineMin[i] = static_cast<uint8_t>(rng());
        // Mostly proper ranges, some reversed ones (the range is taken modulo 256).
        const uint32_t pick = rng() % 8;
        h.refineMax[i] =
            pick == 0 ? static_cast<uint8_t>(rng())
                      : static_cast<uint8_t>(std::min<uint32_t>(255, h.refineMin[i] + rng() % 120));
    }
}

TEST(RefineApply, NarrowRangesLeaveFrameBitIdentical) {
    HandContext h(40, 30);
    h.WithRefine(kShape);
    std::mt19937 rng(5);
    for (std::size_t i = 0; i < h.refineMin.size(); ++i) {
        h.refineMin[i] = static_cast<uint8_t>(rng() % 230);
        h.refineMax[i] = static_cast<uint8_t>(h.refineMin[i] + rng() % 20);  // 0..19 wide
    }
    const auto frame8 = RandomFrame<uint8_t>(40, 30, 255, 6);
    auto work8 = frame8;
    refineApply8(work8.data(), &h.context);
    EXPECT_EQ(work8, frame8);
    const auto frame16 = RandomFrame<uint16_t>(40, 30, 32768, 7);
    auto work16 = frame16;
    refineApply16(work16.data(), &h.context);
    EXPECT_EQ(work16, frame16);
}

// One pixel of grey 105 at the low side of a range starting at 100.
TEST(RefineApply, RangeOfTwentyIsRefinedNineteenIsNot) {
    HandContext h(1, 1);
    h.WithRefine(kShape);
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
    EXPECT_EQ(wide[0], wide[1]);
    EXPECT_EQ(wide[1], wide[2]);
    EXPECT_EQ(wide[3], 17);
}

TEST(RefineApply, PixelAtLowEndKeepsItsValue) {
    HandContext h(64, 16);
    h.WithRefine(1.35);
    auto frame8 = RandomFrame<uint8_t>(64, 16, 200, 41);
    auto frame16 = RandomFrame<uint16_t>(64, 16, 32768, 42);
    std::mt19937 rng(43);
    for (std::size_t p = 0; p < h.refineMin.size(); ++p) {
        const int g = testing::Grey8(&frame8[p * 4]);
        h.refineMin[p] = static_cast<uint8_t>(g);
        h.refineMax[p] = static_cast<uint8_t>(std::min<uint32_t>(255, g + 20 + rng() % 100));
    }
    const auto before8 = frame8;
    refineApply8(frame8.data(), &h.context);
    EXPECT_EQ(frame8, before8);

    for (std::size_t p = 0; p < h.refineMin.size(); ++p) {
        const int g = Grey16(&frame16[p * 4]);
        h.refineMin[p] = static_cast<uint8_t>(g);
        h.refineMax[p] = static_cast<uint8_t>(g + 20 + rng() % 100);
    }
    const auto before16 = frame16;
    refineApply16(frame16.data(), &h.context);
    EXPECT_EQ(frame16, before16);
}

TEST(RefineApply, BlackPixelsNeverChange) {
    HandContext h(4, 1);
    h.WithRefine(kShape);
    for (int p = 0; p < 4; ++p) {
        h.refineMin[p] = 0;
        h.refineMax[p] = 255;
    }
    // Grey 0 covers more than pure black: a colour sum of 1 still rounds to 0.
    const std::vector<uint8_t> frame8 = {0, 0, 0, 0, 1, 0, 0, 255, 0, 1, 0, 9, 0, 0, 1, 0};
    auto work8 = frame8;
    refineApply8(work8.data(), &h.context);
    EXPECT_EQ(work8, frame8);
    // At 16 bits grey 0 means a colour sum below 386.
    const std::vector<uint16_t> frame16 = {0, 0,   0,   0,  385, 0,   0,   32768,
                                           0, 200, 185, 12, 100, 100, 100, 0};
    auto work16 = frame16;
    refineApply16(work16.data(), &h.context);
    EXPECT_EQ(work16, frame16);
}

TEST(RefineApply, PushesTowardNearerEndWithinRange) {
    HandContext h(2, 1);
    h.WithRefine(kShape);
    for (int p = 0; p < 2; ++p) {
        h.refineMin[p] = 40;
        h.refineMax[p] = 200;
    }
    std::vector<uint8_t> frame = {80, 80, 80, 0, 160, 160, 160, 0};
    refineApply8(frame.data(), &h.context);
    EXPECT_LT(testing::Grey8(&frame[0]), 80);
    EXPECT_GE(testing::Grey8(&frame[0]), 40 - 2);
    EXPECT_GT(testing::Grey8(&frame[4]), 160);
    EXPECT_LE(testing::Grey8(&frame[4]), 200 + 2);
}

TEST(RefineApply, TransparencyChannelUntouched) {
    HandContext h(50, 20);
    h.WithRefine(kShape);
    RandomMaps(h, 51);
    const auto frame8 = RandomFrame<uint8_t>(50, 20, 255, 52);
    auto work8 = frame8;
    refineApply8(work8.data(), &h.context);
    const auto frame16 = RandomFrame<uint16_t>(50, 20, 65535, 53);
    auto work16 = frame16;
    refineApply16(work16.data(), &h.context);
    int changed = 0;
    for (std::size_t p = 0; p < h.refineMin.size(); ++p) {
        ASSERT_EQ(work8[p * 4 + 3], frame8[p * 4 + 3]);
        ASSERT_EQ(work16[p * 4 + 3], frame16[p * 4 + 3]);
        changed += work8[p * 4] != frame8[p * 4];
    }
    EXPECT_GT(changed, 0);  // the maps did refine something
}

TEST(RefineApply, BrightenedChannelsStopAtTheCeiling) {
    CeilingGuard guard;
    HandContext h(1, 1);
    h.WithRefine(kShape);
    h.refineMin[0] = 0;
    h.refineMax[0] = 255;

    ASSERT_EQ(SetMaxValue8(180), 0);
    std::vector<uint8_t> px8 = {170, 175, 178, 3};  // grey 174, pushed up past 180
    refineApply8(px8.data(), &h.context);
    EXPECT_EQ(px8, (std::vector<uint8_t>{180, 180, 180, 3}));

    // Host scale: grey 127 in a range 60..140 is pushed up to 129.
    ASSERT_EQ(SetMaxValue16(32768), 0);
    h.refineMin[0] = 60;
    h.refineMax[0] = 140;
    std::vector<uint16_t> px16 = {32500, 32600, 32700, 5};
    refineApply16(px16.data(), &h.context);
    EXPECT_EQ(px16, (std::vector<uint16_t>{32768, 32768, 32768, 5}));
}

// The curve built from the Quality slider never reaches these entries; a
// hand-set curve shows the 16-bit steps of the 8-bit gain: t = S + lo wraps in
// 16 bits, and a gain above 32767 wraps negative, so both leave the pixel.
TEST(RefineApply, EightBitTargetAndGainWrapInSixteenBits) {
    HandContext h(1, 1);
    h.WithRefine(kShape);
    h.refineMin[0] = 10;
    h.refineMax[0] = 110;                                // r = 100
    const std::vector<uint8_t> pixel = {12, 12, 12, 0};  // grey 12, k = 2
    int16_t& entry = h.refineCurve[100 * 511 + 2 + 255];

    entry = 32767;  // t = 32777 wraps to -32759: gain negative
    auto work = pixel;
    refineApply8(work.data(), &h.context);
    EXPECT_EQ(work, pixel);

    entry = 300 - 10;  // t = 300: gain 3200, channels 12 * 25 = 300, cut to 255
    work = pixel;
    refineApply8(work.data(), &h.context);
    EXPECT_EQ(work, (std::vector<uint8_t>{255, 255, 255, 0}));

    h.refineMin[0] = 0;
    h.refineMax[0] = 100;
    const std::vector<uint8_t> dim = {1, 1, 1, 0};  // grey 1, k = 1
    int16_t& dimEntry = h.refineCurve[100 * 511 + 1 + 255];
    dimEntry = 300;  // gain 38400 wraps to -27136
    work = dim;
    refineApply8(work.data(), &h.context);
    EXPECT_EQ(work, dim);
    dimEntry = 255;  // gain 32640 stays: (32640 + 64) >> 7 = 255
    work = dim;
    refineApply8(work.data(), &h.context);
    EXPECT_EQ(work, (std::vector<uint8_t>{255, 255, 255, 0}));
}

// At 16 bits the channel product c * G + 16384 is 32-bit signed arithmetic.
// A hand-set curve entry (target 600 for grey 170) gives G = 115651, and with
// c = 43691 the product passes 2^32: the low 32 bits are small and positive,
// so a small value is stored instead of the ceiling.
TEST(RefineApply, SixteenBitChannelProductWrapsIn32Bits) {
    CeilingGuard guard;
    ASSERT_EQ(SetMaxValue16(65535), 0);
    HandContext h(1, 1);
    h.WithRefine(kShape);
    h.refineMin[0] = 100;
    h.refineMax[0] = 220;
    std::vector<uint16_t> px = {43691, 43691, 43691, 77};
    const int grey = Grey16(px.data());
    ASSERT_EQ(grey, 170);
    h.refineCurve[120 * 511 + (grey - 100) + 255] = 600 - 100;

    const int64_t gain = 600 * 32768 / grey;
    const int64_t low32 = (43691 * gain + 16384) % (int64_t{1} << 32);
    ASSERT_LT(low32, int64_t{1} << 31);  // wraps to a positive value
    const auto expected = static_cast<uint16_t>(low32 >> 15);
    refineApply16(px.data(), &h.context);
    EXPECT_EQ(px, (std::vector<uint16_t>{expected, expected, expected, 77}));
    EXPECT_LT(expected, 65535);
}

}  // namespace
}  // namespace quillon
