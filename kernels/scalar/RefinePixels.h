// The refinement's per-pixel rule, plain form; every level uses it for the
// pixels its vectors leave over.
#ifndef QUILLON_KERNELS_SCALAR_REFINEPIXELS_H
#define QUILLON_KERNELS_SCALAR_REFINEPIXELS_H

#include <cstddef>
#include <cstdint>

#include "core/RefinePlan.h"

// Internal linkage: the levels' files include this header under their own
// instruction-set flags, and their copies must never stand in for each other.
namespace quillon::refinepixels {
namespace {

// Ranges narrower than this are left alone (flat areas stay bit-exact).
inline constexpr uint32_t kMinimumRange = 20;

// 8 bits: grey by 21844/65536 of the channel sum, Q7 gain cut to 16 signed
// bits, channels clamped on the low 16 bits of the product.
struct Depth8 {
    using Sample = uint8_t;
    static constexpr uint32_t kGreyFactor = 21844;
    static int32_t Gain(int32_t target, int32_t grey) {
        return static_cast<int16_t>((target * 128) / grey);
    }
    static Sample Scale(Sample channel, int32_t gain, uint32_t ceiling) {
        const int32_t v = (channel * gain + 64) >> 7;
        const uint32_t low = static_cast<uint32_t>(v) & 0xFFFFu;
        return low > ceiling ? static_cast<Sample>(ceiling) : static_cast<Sample>(v);
    }
};

// 16 bits: grey, lo and hi are on the 16-bit grey map's scale (high bytes,
// 0..128 for the host's range); the gain is Q15 in 32 bits. The channel
// product follows 32-bit signed arithmetic, wrap included, done in 64 bits
// and brought back.
struct Depth16 {
    using Sample = uint16_t;
    static constexpr uint32_t kGreyFactor = 85;
    static int32_t Gain(int32_t target, int32_t grey) {
        return (target * 32768) / grey;  // |target| < 2^15: no overflow
    }
    static Sample Scale(Sample channel, int32_t gain, uint32_t ceiling) {
        const int64_t wide = int64_t{channel} * gain + 16384;
        const int32_t v = static_cast<int32_t>(wide) >> 15;  // modular narrowing
        return static_cast<uint32_t>(v) > ceiling ? static_cast<Sample>(ceiling)
                                                  : static_cast<Sample>(v);
    }
};

// Target grey t = S + lo in 16 bits, sign-extended; S comes from row r of the
// curve at k = g - lo.
inline int32_t TargetGrey(const int16_t* curve, uint32_t range, int32_t grey, int32_t lo) {
    const int32_t s = curve[std::size_t{range} * 511 + static_cast<std::size_t>(grey - lo + 255)];
    return static_cast<int16_t>(s + lo);
}

// Pixels [p0, p1) of the frame, counted from its first pixel.
template <typename Depth>
void ApplyPixels(const RefinePlan& plan, const uint8_t* mins, const uint8_t* maxs,
                 typename Depth::Sample* frame, uint32_t ceiling, std::size_t p0, std::size_t p1) {
    for (std::size_t p = p0; p < p1; ++p) {
        const int32_t lo = mins[p];
        const uint32_t range = static_cast<uint32_t>(maxs[p] - lo) & 0xFFu;
        if (range < kMinimumRange) {
            continue;
        }
        typename Depth::Sample* px = frame + p * 4;
        const uint32_t sum = uint32_t{px[0]} + px[1] + px[2];
        const int32_t grey =
            static_cast<int32_t>(((sum * Depth::kGreyFactor + 32768u) >> 16) & 0xFFu);
        if (grey == 0) {
            continue;
        }
        const int32_t gain = Depth::Gain(TargetGrey(plan.curve, range, grey, lo), grey);
        if (gain <= 0) {
            continue;
        }
        for (int c = 0; c < 3; ++c) {
            px[c] = Depth::Scale(px[c], gain, ceiling);
        }
    }
}

}  // namespace
}  // namespace quillon::refinepixels

#endif  // QUILLON_KERNELS_SCALAR_REFINEPIXELS_H
