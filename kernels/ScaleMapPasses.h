// Shared setup and horizontal pass of the lattice-map resizers
// (kernels/scalar/ScaleMapBilinear.cpp, kernels/x86/ScaleMapSse2.cpp).
#ifndef QUILLON_KERNELS_SCALEMAPPASSES_H
#define QUILLON_KERNELS_SCALEMAPPASSES_H

#include <cstddef>
#include <cstdint>
#include <optional>

#include "core/FramePlan.h"
#include "core/MapTables.h"

namespace quillon::mapresize {

// The scalar vertical step for one sample.
inline uint8_t VerticalSample(int16_t upper, int16_t lower, int32_t weight) {
    return static_cast<uint8_t>(upper + (((lower - upper) * weight + 32) >> 6));
}

// The result of a call with nothing to resize: false for a missing pointer,
// true for an empty destination. Empty for a call that has work to do.
inline std::optional<bool> EarlyResult(const uint8_t* lattice, const uint8_t* destination,
                                       const uint32_t* rowIndex, const uint32_t* columnIndex,
                                       const double* columnFrac, const double* rowFrac,
                                       uint32_t dstWidth, uint32_t dstHeight) {
    if (lattice == nullptr || destination == nullptr || rowIndex == nullptr ||
        columnIndex == nullptr || columnFrac == nullptr || rowFrac == nullptr) {
        return false;
    }
    if (dstWidth == 0 || dstHeight == 0) {
        return true;
    }
    return std::nullopt;
}

}  // namespace quillon::mapresize

#endif  // QUILLON_KERNELS_SCALEMAPPASSES_H
