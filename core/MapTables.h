// Taps of the refinement lattice-map resize: which lattice sample each
// destination column and row starts from, and its 1/64 weight toward the next.
#ifndef QUILLON_CORE_MAPTABLES_H
#define QUILLON_CORE_MAPTABLES_H

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
                         uint32_t dstWidth, uint32_t* columns, uint16_t* weights) {
    for (uint32_t k = 0; k < dstWidth; ++k) {
        MapTap tap{};
        if (!MakeTap(columnFrac[k], columnIndex[k] & 0xFFFFu, tap) || tap.lattice >= srcWidth) {
            return false;
        }
        columns[k] = tap.lattice;
        weights[k] = tap.weight;
    }
    return true;
}

// Row setup: the upper lattice row of each destination row and its weight.
// False when a row would read outside lattice rows 0..srcHeight.
inline bool SetupRows(const uint32_t* rowIndex, const double* rowFrac, uint32_t srcHeight,
                      uint32_t dstHeight, uint32_t* rows, uint16_t* weights) {
    for (uint32_t r = 0; r < dstHeight; ++r) {
        MapTap tap{};
        if (rowIndex[r] >= srcHeight || !MakeTap(rowFrac[r], rowIndex[r], tap) ||
            tap.lattice >= srcHeight) {
            return false;
        }
        rows[r] = tap.lattice;
        weights[r] = tap.weight;
    }
    return true;
}

}  // namespace quillon::mapresize

#endif  // QUILLON_CORE_MAPTABLES_H
