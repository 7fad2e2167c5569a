// Edge classification: every step to the pixel below (row-edge map) or to the
// right (column-edge map) that exceeds the threshold is coded 1 when the
// neighbour is brighter and 2 when it is darker. Both maps skip the last row
// and the last column, which therefore read as "no edge".
#include <cstring>

#include "antialias/AntiAliasStages.h"

namespace quillon::aa {

namespace {

inline uint8_t codeOf(int difference) {
    if (difference > kEdgeThreshold) {
        return kBrighter;
    }
    if (difference < -kEdgeThreshold) {
        return kDarker;
    }
    return kNoEdge;
}

}  // namespace

void classifyEdges(const uint8_t* grey, uint8_t* rowEdges, uint8_t* columnEdges, int32_t width,
                   int32_t height) {
    if (width <= 0 || height <= 0) {
        return;
    }
    const std::size_t w = static_cast<std::size_t>(width);
    const std::size_t count = w * static_cast<std::size_t>(height);
    std::memset(rowEdges, 0, count);
    std::memset(columnEdges, 0, count);
    for (int32_t y = 0; y + 1 < height; ++y) {
        const uint8_t* g = grey + static_cast<std::size_t>(y) * w;
        const uint8_t* below = g + w;
        uint8_t* rowLine = rowEdges + static_cast<std::size_t>(y) * w;
        uint8_t* columnLine = columnEdges + static_cast<std::size_t>(y) * w;
        for (int32_t x = 0; x + 1 < width; ++x) {
            columnLine[x] = codeOf(int{g[x + 1]} - int{g[x]});
            rowLine[x] = codeOf(int{below[x]} - int{g[x]});
        }
    }
}

}  // namespace quillon::aa
