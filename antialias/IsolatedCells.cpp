// Removal of isolated edge cells.
//
// Along rows (row-edge map) a run of exactly one cell is cleared when it
// ends, i.e. when the next cell is 0 or the other code. The run counters
// follow the map as it was before the sweep, so a clearing does not shorten
// the next run. A run still open at the last classified column is kept.
//
// Along columns (column-edge map) the rows are examined in a fixed order:
// row 0 against row 1, then pairs (r - 1, r) for r = 3, 5, 7, ... against
// their neighbours, then the last classified row against the one above it.
// Row 1 is never examined itself; each test sees the clearings before it.
#include "antialias/AntiAliasStages.h"

namespace quillon::aa {

void dropIsolatedInRows(uint8_t* rowEdges, int32_t width, int32_t height) {
    for (int32_t y = 0; y + 1 < height; ++y) {
        uint8_t* line = rowEdges + static_cast<std::size_t>(y) * static_cast<std::size_t>(width);
        int32_t brighterRun = 0;
        int32_t darkerRun = 0;
        for (int32_t x = 0; x + 1 < width; ++x) {
            // Cell x is still unmodified here: only cell x - 1 is ever cleared.
            const uint8_t code = line[x];
            if (code == kBrighter) {
                if (darkerRun == 1) {
                    line[x - 1] = kNoEdge;
                }
                darkerRun = 0;
                ++brighterRun;
            } else if (code == kDarker) {
                if (brighterRun == 1) {
                    line[x - 1] = kNoEdge;
                }
                brighterRun = 0;
                ++darkerRun;
            } else {
                if (brighterRun == 1 || darkerRun == 1) {
                    line[x - 1] = kNoEdge;
                }
                brighterRun = 0;
                darkerRun = 0;
            }
        }
    }
}

void dropIsolatedInColumns(uint8_t* columnEdges, int32_t width, int32_t height) {
    if (width < 2 || height < 2) {
        return;
    }
    const std::size_t w = static_cast<std::size_t>(width);
    auto cell = [columnEdges, w](int32_t x, int32_t y) -> uint8_t& {
        return columnEdges[static_cast<std::size_t>(y) * w + static_cast<std::size_t>(x)];
    };
    for (int32_t x = 0; x + 1 < width; ++x) {
        if (cell(x, 0) != cell(x, 1)) {
            cell(x, 0) = kNoEdge;
        }
    }
    if (height > 5) {
        const int32_t pairCount = ((height - 6) >> 1) + 1;
        for (int32_t p = 0; p < pairCount; ++p) {
            const int32_t r = 3 + 2 * p;
            for (int32_t x = 0; x + 1 < width; ++x) {
                if (cell(x, r - 1) != cell(x, r) && cell(x, r - 1) != cell(x, r - 2)) {
                    cell(x, r - 1) = kNoEdge;
                }
                if (cell(x, r) != cell(x, r + 1) && cell(x, r) != cell(x, r - 1)) {
                    cell(x, r) = kNoEdge;
                }
            }
        }
    }
    if (height >= 3) {
        for (int32_t x = 0; x + 1 < width; ++x) {
            if (cell(x, height - 3) != cell(x, height - 2)) {
                cell(x, height - 2) = kNoEdge;
            }
        }
    }
}

}  // namespace quillon::aa
