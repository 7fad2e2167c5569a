// Shared setup and horizontal pass of the two lattice-map resizers
// (ScaleMapBilinear.cpp and ScaleMapVector.cpp). Internal to the engine.
#ifndef QUILLON_ENGINE_SCALEMAPPASSES_H
#define QUILLON_ENGINE_SCALEMAPPASSES_H

#include <cstddef>
#include <cstdint>

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

}  // namespace quillon::mapresize

#endif  // QUILLON_ENGINE_SCALEMAPPASSES_H
