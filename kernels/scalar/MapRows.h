// The band loop shared by every level of the lattice-map resize: the scratch
// layout and the rolling pair of horizontal intermediates. A level supplies
// its horizontal and vertical row steps; the plain steps are here too.
#ifndef QUILLON_KERNELS_SCALAR_MAPROWS_H
#define QUILLON_KERNELS_SCALAR_MAPROWS_H

#include <cstddef>
#include <cstdint>

#include "core/RefinePlan.h"

// Internal linkage: the levels' files include this header under their own
// instruction-set flags, and their copies must never stand in for each other.
namespace quillon::maprows {
namespace {

inline uint8_t* Align64(void* p) {
    const auto at = reinterpret_cast<std::uintptr_t>(p);
    return reinterpret_cast<uint8_t*>((at + 63) & ~std::uintptr_t{63});
}

inline std::size_t Round64(std::size_t bytes) {
    return (bytes + 63) & ~std::size_t{63};
}

// Lattice row L of the horizontal pass lives in slot L & 1. `padded` holds
// srcWidth + 17 bytes for levels that copy a lattice row before reading it
// four bytes at a time.
struct Scratch {
    int16_t* slot[2];
    uint8_t* padded;
};

inline Scratch Carve(const RefinePlan& plan, void* scratch) {
    uint8_t* p = Align64(scratch);
    const std::size_t rowBytes = Round64(std::size_t{plan.dstWidth} * sizeof(int16_t));
    Scratch s{};
    s.slot[0] = reinterpret_cast<int16_t*>(p);
    s.slot[1] = reinterpret_cast<int16_t*>(p + rowBytes);
    s.padded = p + 2 * rowBytes;
    return s;
}

// T = L0 + ((L1 - L0) * fx + 32) >> 6 (arithmetic shift), for destination
// columns [k0, k1).
inline void HorizontalSteps(const RefinePlan& plan, const uint8_t* in, int16_t* out, uint32_t k0,
                            uint32_t k1) {
    for (uint32_t k = k0; k < k1; ++k) {
        const uint32_t c = plan.mapColumns[k];
        const int32_t left = in[c];
        const int32_t right = in[c + 1];
        out[k] =
            static_cast<int16_t>(left + (((right - left) * plan.mapColumnWeights[k] + 32) >> 6));
    }
}

inline void VerticalSteps(const int16_t* upper, const int16_t* lower, int32_t weight, uint8_t* out,
                          uint32_t k0, uint32_t k1) {
    for (uint32_t k = k0; k < k1; ++k) {
        out[k] = static_cast<uint8_t>(upper[k] + (((lower[k] - upper[k]) * weight + 32) >> 6));
    }
}

// horizontal(plan, latticeRow, out, padded); vertical(upper, lower, weight, out, width).
template <typename Horizontal, typename Vertical>
void RunBand(const RefinePlan& plan, const uint8_t* lattice, uint8_t* map, uint32_t rowBegin,
             uint32_t rowEnd, void* scratch, Horizontal horizontal, Vertical vertical) {
    const Scratch s = Carve(plan, scratch);
    const std::size_t latticeWidth = std::size_t{plan.srcWidth} + 1;
    uint32_t held[2] = {UINT32_MAX, UINT32_MAX};
    const auto row = [&](uint32_t at) -> const int16_t* {
        const uint32_t slot = at & 1u;
        if (held[slot] != at) {
            horizontal(plan, lattice + at * latticeWidth, s.slot[slot], s.padded);
            held[slot] = at;
        }
        return s.slot[slot];
    };
    for (uint32_t r = rowBegin; r < rowEnd; ++r) {
        const uint32_t at = plan.mapRows[r];
        const int16_t* upper = row(at);
        const int16_t* lower = row(at + 1);
        vertical(upper, lower, plan.mapRowWeights[r], map + std::size_t{r} * plan.dstWidth,
                 plan.dstWidth);
    }
}

}  // namespace
}  // namespace quillon::maprows

#endif  // QUILLON_KERNELS_SCALAR_MAPROWS_H
