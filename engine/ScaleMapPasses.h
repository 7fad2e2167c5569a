// Shared setup and horizontal pass of the two lattice-map resizers
// (ScaleMapBilinear.cpp and ScaleMapVector.cpp). Internal to the engine.
#ifndef QUILLON_ENGINE_SCALEMAPPASSES_H
#define QUILLON_ENGINE_SCALEMAPPASSES_H

#include <cstddef>
#include <cstdint>
#include <optional>

#include "engine/EngineMemory.h"

namespace quillon::mapresize {

// One destination sample's lattice sample and its 1/64 weight toward the next.
// The map is sampled half a step further on than the frame (a lattice point
// sits half a pixel before a source pixel), hence the + 0.5.
struct MapTap {
    uint32_t lattice;
    uint16_t weight;  // 0..64
};

// False for a fraction outside 0..1 (only a damaged table gives one).
inline bool MakeTap(double fraction, uint32_t index, MapTap& tap) {
    if (!(fraction >= 0.0 && fraction <= 1.0)) {
        return false;
    }
    const double u = fraction + 0.5;
    const int whole = static_cast<int>(u);  // 0 or 1
    const double rest = (u - static_cast<double>(whole)) * 64.0 + 0.5;
    tap.lattice = index + static_cast<uint32_t>(whole);
    tap.weight = static_cast<uint16_t>(static_cast<int>(rest));
    return true;
}

// Column setup: lattice column from the low 16 bits of the column index.
// False when a column would read beyond lattice column srcWidth.
inline bool SetupColumns(const uint32_t* columnIndex, const double* columnFrac, uint32_t srcWidth,
                         uint32_t dstWidth, uint16_t* columns, uint16_t* weights) {
    for (uint32_t k = 0; k < dstWidth; ++k) {
        MapTap tap{};
        if (!MakeTap(columnFrac[k], columnIndex[k] & 0xFFFFu, tap) || tap.lattice >= srcWidth) {
            return false;
        }
        columns[k] = static_cast<uint16_t>(tap.lattice);
        weights[k] = tap.weight;
    }
    return true;
}

// True when every destination row reads lattice rows inside 0..srcHeight.
inline bool RowsInRange(const uint32_t* rowIndex, const double* rowFrac, uint32_t srcHeight,
                        uint32_t dstHeight) {
    for (uint32_t r = 0; r < dstHeight; ++r) {
        MapTap tap{};
        if (rowIndex[r] >= srcHeight || !MakeTap(rowFrac[r], rowIndex[r], tap) ||
            tap.lattice >= srcHeight) {
            return false;
        }
    }
    return true;
}

// Horizontal pass over all srcHeight + 1 lattice rows into 16-bit
// intermediates: T = L0 + ((L1 - L0) * fx + 32) >> 6 (arithmetic shift).
inline void HorizontalPass(const uint8_t* lattice, int16_t* intermediate, uint32_t srcWidth,
                           uint32_t srcHeight, uint32_t dstWidth, const uint16_t* columns,
                           const uint16_t* weights) {
    const std::size_t latticeWidth = std::size_t{srcWidth} + 1;
    for (std::size_t row = 0; row <= srcHeight; ++row) {
        const uint8_t* in = lattice + row * latticeWidth;
        int16_t* out = intermediate + row * dstWidth;
        for (uint32_t k = 0; k < dstWidth; ++k) {
            const int32_t left = in[columns[k]];
            const int32_t right = in[columns[k] + 1];
            out[k] = static_cast<int16_t>(left + (((right - left) * weights[k] + 32) >> 6));
        }
    }
}

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

// The part both resizers share: the intermediate and the two per-column
// arrays, taken from the engine's hook when constructed, and Run(), which
// sets up the columns, checks the rows and fills the intermediate. The
// vertical pass then reads lattice row R of the intermediate at Row(R).
class HorizontalStage {
public:
    HorizontalStage(uint32_t srcHeight, uint32_t dstWidth)
        : intermediate_((std::size_t{srcHeight} + 1) * dstWidth),
          columns_(dstWidth),
          weights_(dstWidth),
          dstWidth_(dstWidth) {}

    explicit operator bool() const { return intermediate_ && columns_ && weights_; }

    // False when a table would read outside the lattice; nothing is written then.
    bool Run(const uint8_t* lattice, const uint32_t* rowIndex, const uint32_t* columnIndex,
             const double* columnFrac, const double* rowFrac, uint32_t srcWidth, uint32_t srcHeight,
             uint32_t dstHeight) {
        if (!SetupColumns(columnIndex, columnFrac, srcWidth, dstWidth_, columns_.get(),
                          weights_.get()) ||
            !RowsInRange(rowIndex, rowFrac, srcHeight, dstHeight)) {
            return false;
        }
        HorizontalPass(lattice, intermediate_.get(), srcWidth, srcHeight, dstWidth_, columns_.get(),
                       weights_.get());
        return true;
    }

    const int16_t* Row(uint32_t lattice) const {
        return intermediate_.get() + std::size_t{lattice} * dstWidth_;
    }

private:
    ScratchBuffer<int16_t> intermediate_;
    ScratchBuffer<uint16_t> columns_;
    ScratchBuffer<uint16_t> weights_;
    uint32_t dstWidth_;
};

}  // namespace quillon::mapresize

#endif  // QUILLON_ENGINE_SCALEMAPPASSES_H
