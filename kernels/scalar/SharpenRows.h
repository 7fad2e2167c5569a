// The sharpen pass's plain row steps and band loop; every level runs the same
// loop and uses these steps for the columns its vectors leave over.
#ifndef QUILLON_KERNELS_SCALAR_SHARPENROWS_H
#define QUILLON_KERNELS_SCALAR_SHARPENROWS_H

#include <cstddef>
#include <cstdint>

#include "core/SharpenPlan.h"

// Internal linkage: the levels' files include this header under their own
// instruction-set flags, and their copies must never stand in for each other.
namespace quillon::sharpenrows {
namespace {

struct Sample8 {
    using Type = uint8_t;
    static uint8_t Apply(uint8_t s, uint32_t gain, int32_t ceiling) {
        int32_t v = (static_cast<int32_t>(s) * static_cast<int32_t>(gain) + 8192) >> 14;
        if (v > ceiling) {
            v = ceiling;
        }
        return static_cast<uint8_t>(v);
    }
};

struct Sample16 {
    using Type = uint16_t;
    // s * g + 8192 follows signed 32-bit arithmetic: with a ceiling above
    // 64886 and a gain above 2.0 it wraps negative, slips under the ceiling
    // and is stored as its low 16 bits. Computed in 64 bits and narrowed
    // modulo 2^32 so the wrap is well defined.
    static uint16_t Apply(uint16_t s, uint32_t gain, int32_t ceiling) {
        const int64_t wide = int64_t{s} * gain + 8192;
        int32_t v = static_cast<int32_t>(wide) >> 14;
        if (v > ceiling) {
            v = ceiling;
        }
        return static_cast<uint16_t>(v);
    }
};

// Column sums of the 1 4 6 4 1 blur over plane rows y..y + 4, columns [x0, x1).
inline void ColumnSums(const uint8_t* p0, std::size_t width, uint16_t* v, std::size_t x0,
                       std::size_t x1) {
    const uint8_t* p1 = p0 + width;
    const uint8_t* p2 = p1 + width;
    const uint8_t* p3 = p2 + width;
    const uint8_t* p4 = p3 + width;
    for (std::size_t x = x0; x < x1; ++x) {
        v[x] = static_cast<uint16_t>(p0[x] + 4 * p1[x] + 6 * p2[x] + 4 * p3[x] + p4[x]);
    }
}

// The row blur of neighbourhood x (columns x..x + 4), rounded, for x in [x0, x1).
inline void RowBlur(const uint16_t* v, uint8_t* blurred, std::size_t x0, std::size_t x1) {
    for (std::size_t x = x0; x < x1; ++x) {
        const uint32_t blur =
            uint32_t{v[x]} + 4u * v[x + 1] + 6u * v[x + 2] + 4u * v[x + 3] + v[x + 4];
        blurred[x] = static_cast<uint8_t>((blur + 128u) >> 8);
    }
}

// Gains on pixels x + 2 of one frame row for neighbourhoods x in [x0, x1);
// `centre` is the plane row of that frame row.
template <typename Traits>
void ApplyGains(const uint16_t* curve, const uint8_t* centre, const uint8_t* blurred,
                typename Traits::Type* row, int32_t ceiling, std::size_t x0, std::size_t x1) {
    for (std::size_t x = x0; x < x1; ++x) {
        const uint32_t gain = curve[uint32_t{centre[x + 2]} * 256u + blurred[x]];
        typename Traits::Type* px = row + (x + 2) * 4;
        px[0] = Traits::Apply(px[0], gain, ceiling);
        px[1] = Traits::Apply(px[1], gain, ceiling);
        px[2] = Traits::Apply(px[2], gain, ceiling);
    }
}

inline uint8_t* Align64(void* p) {
    const auto at = reinterpret_cast<std::uintptr_t>(p);
    return reinterpret_cast<uint8_t*>((at + 63) & ~std::uintptr_t{63});
}

// Frame rows max(rowBegin, 2)..min(rowEnd, H - 3) - 1; frames of five rows or
// columns or fewer have no neighbourhood to write. row(planeTop, sums,
// blurred, frameRow) does one row; planeTop is plane row y - 2.
template <typename Sample, typename RowFn>
void RunBand(const SharpenPlan& plan, const uint8_t* plane, Sample* frame, uint32_t rowBegin,
             uint32_t rowEnd, void* scratch, RowFn row) {
    const std::size_t width = plan.width;
    if (plan.height < 6 || width < 6) {
        return;
    }
    auto* sums = reinterpret_cast<uint16_t*>(Align64(scratch));
    uint8_t* blurred = reinterpret_cast<uint8_t*>(sums) + ((width * 2 + 63) & ~std::size_t{63});
    const uint32_t first = rowBegin > 2 ? rowBegin : 2;
    const uint32_t last = rowEnd < plan.height - 3 ? rowEnd : plan.height - 3;
    for (uint32_t y = first; y < last; ++y) {
        row(plane + (y - 2) * width, sums, blurred, frame + std::size_t{y} * width * 4);
    }
}

}  // namespace
}  // namespace quillon::sharpenrows

#endif  // QUILLON_KERNELS_SCALAR_SHARPENROWS_H
