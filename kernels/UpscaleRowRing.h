// What every level of the band upscale kernels shares: the three families'
// arithmetic, the band's scratch layout and the rolling ring of horizontal
// rows.
//
// A band walks its destination rows in order. Each row needs the horizontal
// results of taps source rows starting at its interval - (taps / 2 - 1); the
// ring keeps the last taps of them, slot t % taps for source row t (rows off
// the frame hold the border row's results), so each is computed once a band
// and only the rows a band's first destination row needs are computed twice
// across a band seam.
#ifndef QUILLON_KERNELS_UPSCALEROWRING_H
#define QUILLON_KERNELS_UPSCALEROWRING_H

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "core/FixedPoint.h"
#include "core/UpscalePlan.h"

// Everything here sits in an unnamed namespace: the level files compile it
// with different instruction sets, and one shared out-of-line copy picked by
// the linker could carry instructions a lower level's processor lacks. For
// the same reason it uses no standard-library templates.
namespace quillon::upscale {
namespace {

inline int64_t ClampRow(int64_t v, int64_t last) {
    return v < 0 ? 0 : (v > last ? last : v);
}

// The three families differ in the sample type, the type horizontal results
// are held in, how a result becomes that type and the output ceiling.
struct TwoPass8Family {
    using Sample = uint8_t;
    using Held = int16_t;
    static constexpr bool kWrapHeld = false;  // saturate to signed 16 bits
    static int32_t Ceiling(int32_t) { return 255; }
    static Held Hold(int32_t v) {
        return static_cast<Held>(v < -32768 ? -32768 : (v > 32767 ? 32767 : v));
    }
};

struct Cell8Family {
    using Sample = uint8_t;
    using Held = int16_t;
    static constexpr bool kWrapHeld = true;  // keep the low 16 bits
    static int32_t Ceiling(int32_t ceiling) { return ceiling; }
    static Held Hold(int32_t v) { return static_cast<Held>(v); }
};

struct Cell16Family {
    using Sample = uint16_t;
    using Held = int32_t;
    static constexpr bool kWrapHeld = false;
    static int32_t Ceiling(int32_t ceiling) { return ceiling; }
    static Held Hold(int32_t v) { return v; }
};

inline constexpr std::size_t kScratchAlign = 64;
// Destination rows are held padded to a whole number of this many pixels,
// the widest vector step of any level.
inline constexpr uint32_t kPixelBlock = 16;

// Pair rows are built this many entries a step (the widest level's).
inline constexpr std::size_t kPairBlock = 8;

inline std::size_t RoundUp(std::size_t n, std::size_t to) {
    return (n + to - 1) / to * to;
}

// One band's scratch: the ring (taps rows of padded destination width), the
// source row with replicated border pixels the scalar level filters from,
// and the row of interleaved column pairs the vector levels filter from.
template <typename Family>
struct BandLayout {
    using Sample = typename Family::Sample;
    using Held = typename Family::Held;

    explicit BandLayout(const UpscalePlan& plan)
        : taps(plan.taps),
          reach(plan.taps / 2 - 1),
          ringPitch(RoundUp(plan.dstWidth, kPixelBlock) * 4),
          pairEntries(RoundUp(std::size_t{plan.srcWidth} + plan.taps - 3, kPairBlock)),
          paddedPixels(pairEntries + 2) {}

    std::size_t RingBytes() const {
        return RoundUp(taps * ringPitch * sizeof(Held), kScratchAlign);
    }
    std::size_t PaddedBytes() const {
        return RoundUp(paddedPixels * 4 * sizeof(Sample), kScratchAlign);
    }
    std::size_t PairBytes() const {
        return RoundUp(pairEntries * 8 * sizeof(int16_t), kScratchAlign);
    }
    std::size_t TotalBytes() const {
        return kScratchAlign + RingBytes() + PaddedBytes() + PairBytes();
    }

    // Carves an unaligned scratch block.
    void Bind(void* scratch) {
        auto address = reinterpret_cast<std::uintptr_t>(scratch);
        address = (address + kScratchAlign - 1) / kScratchAlign * kScratchAlign;
        auto* base = reinterpret_cast<unsigned char*>(address);
        ring = reinterpret_cast<Held*>(base);
        padded = reinterpret_cast<Sample*>(base + RingBytes());
        pairs = reinterpret_cast<int16_t*>(base + RingBytes() + PaddedBytes());
    }

    std::size_t taps;
    std::size_t reach;
    std::size_t ringPitch;  // Held values a ring row
    std::size_t pairEntries;
    std::size_t paddedPixels;
    Held* ring = nullptr;
    Sample* padded = nullptr;
    int16_t* pairs = nullptr;
};

template <typename Family>
std::size_t BandScratchBytes(const UpscalePlan& plan, uint32_t) {
    return BandLayout<Family>(plan).TotalBytes();
}

// Source row y with `reach` copies of its first pixel before it and copies
// of its last pixel after it, paddedPixels pixels in all: padded pixel i is
// source column i - reach, clamped into the row.
template <typename Family>
void PadSourceRow(const UpscalePlan& plan, const typename Family::Sample* source, uint32_t y,
                  BandLayout<Family>& band) {
    using Sample = typename Family::Sample;
    const std::size_t width = plan.srcWidth;
    const Sample* row = source + std::size_t{y} * width * 4;
    Sample* out = band.padded;
    for (std::size_t i = 0; i < band.reach; ++i, out += 4) {
        std::memcpy(out, row, 4 * sizeof(Sample));
    }
    std::memcpy(out, row, width * 4 * sizeof(Sample));
    out += width * 4;
    for (std::size_t i = band.reach + width; i < band.paddedPixels; ++i, out += 4) {
        std::memcpy(out, row + (width - 1) * 4, 4 * sizeof(Sample));
    }
}

// Walks destination rows [rowBegin, rowEnd): keeps the ring filled with the
// rows each one needs (horizontal(sourceRow, ringRow)), then calls
// vertical(rows, dy, count) with the taps ring rows in tap order for
// destination rows dy .. dy + count - 1: two when the next row of the band
// has the same interval (and so the same ring rows), else one.
template <int Taps, typename Held, typename Horizontal, typename Vertical>
void RollRows(const UpscalePlan& plan, Held* ring, std::size_t ringPitch, uint32_t rowBegin,
              uint32_t rowEnd, Horizontal&& horizontal, Vertical&& vertical) {
    constexpr int64_t kReach = Taps / 2 - 1;
    const int64_t lastRow = int64_t{plan.srcHeight} - 1;
    int64_t haveTop = INT64_MIN / 2;  // ring holds rows haveTop .. haveTop + Taps - 1
    for (uint32_t dy = rowBegin; dy < rowEnd;) {
        const uint32_t interval = plan.rowInterval[dy];
        const int64_t top = int64_t{interval} - kReach;
        if (top != haveTop) {
            const bool overlaps = top > haveTop && top < haveTop + Taps;
            for (int64_t t = overlaps ? haveTop + Taps : top; t < top + Taps; ++t) {
                horizontal(static_cast<uint32_t>(ClampRow(t, lastRow)),
                           ring + static_cast<std::size_t>(t & (Taps - 1)) * ringPitch);
            }
            haveTop = top;
        }
        const Held* rows[Taps];
        for (int j = 0; j < Taps; ++j) {
            rows[j] = ring + static_cast<std::size_t>((top + j) & (Taps - 1)) * ringPitch;
        }
        const uint32_t count = dy + 1 < rowEnd && plan.rowInterval[dy + 1] == interval ? 2 : 1;
        vertical(rows, dy, count);
        dy += count;
    }
}

}  // namespace
}  // namespace quillon::upscale

#endif  // QUILLON_KERNELS_UPSCALEROWRING_H
