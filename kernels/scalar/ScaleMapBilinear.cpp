// Resizing a min/max lattice map to the destination size: the horizontal
// pass, the scalar vertical pass, and the whole-frame forms.
#include <cstddef>

#include "core/EngineMemory.h"
#include "kernels/Refinement.h"
#include "kernels/ScaleMapPasses.h"

namespace quillon {

// T = L0 + ((L1 - L0) * fx + 32) >> 6 (arithmetic shift), kept in 16 bits.
void scaleMapHorizontalRows(const MapPlan& map, const uint8_t* lattice, uint32_t srcWidth,
                            int16_t* intermediate, uint32_t dstWidth, uint32_t rowBegin,
                            uint32_t rowEnd) {
    const std::size_t latticeWidth = std::size_t{srcWidth} + 1;
    for (std::size_t row = rowBegin; row < rowEnd; ++row) {
        const uint8_t* in = lattice + row * latticeWidth;
        int16_t* out = intermediate + row * dstWidth;
        for (uint32_t k = 0; k < dstWidth; ++k) {
            const int32_t left = in[map.columns[k]];
            const int32_t right = in[map.columns[k] + 1];
            out[k] =
                static_cast<int16_t>(left + (((right - left) * map.columnWeights[k] + 32) >> 6));
        }
    }
}

void scaleMapVerticalScalar(const MapPlan& map, const int16_t* intermediate, uint8_t* destination,
                            uint32_t dstWidth, uint32_t rowBegin, uint32_t rowEnd) {
    for (uint32_t r = rowBegin; r < rowEnd; ++r) {
        const int16_t* upper = intermediate + std::size_t{map.rows[r]} * dstWidth;
        const int16_t* lower = upper + dstWidth;
        uint8_t* out = destination + std::size_t{r} * dstWidth;
        const int32_t weight = map.rowWeights[r];
        for (uint32_t k = 0; k < dstWidth; ++k) {
            out[k] = mapresize::VerticalSample(upper[k], lower[k], weight);
        }
    }
}

namespace {

// The whole-frame form: taps checked and built here, then both passes.
bool ResizeWhole(ScaleMapVerticalFn vertical, const uint8_t* lattice, uint8_t* destination,
                 const uint32_t* rowIndex, const uint32_t* columnIndex, const double* columnFrac,
                 const double* rowFrac, uint32_t srcWidth, uint32_t srcHeight, uint32_t dstWidth,
                 uint32_t dstHeight) {
    using namespace mapresize;
    if (const auto early = EarlyResult(lattice, destination, rowIndex, columnIndex, columnFrac,
                                       rowFrac, dstWidth, dstHeight)) {
        return *early;
    }
    ScratchBuffer<int16_t> intermediate((std::size_t{srcHeight} + 1) * dstWidth);
    ScratchBuffer<uint32_t> columns(dstWidth);
    ScratchBuffer<uint16_t> columnWeights(dstWidth);
    ScratchBuffer<uint32_t> rows(dstHeight);
    ScratchBuffer<uint16_t> rowWeights(dstHeight);
    if (!intermediate || !columns || !columnWeights || !rows || !rowWeights) {
        return false;
    }
    if (!SetupColumns(columnIndex, columnFrac, srcWidth, dstWidth, columns.get(),
                      columnWeights.get()) ||
        !SetupRows(rowIndex, rowFrac, srcHeight, dstHeight, rows.get(), rowWeights.get())) {
        return false;
    }
    MapPlan map;
    map.columns = columns.get();
    map.columnWeights = columnWeights.get();
    map.rows = rows.get();
    map.rowWeights = rowWeights.get();
    map.usable = true;
    scaleMapHorizontalRows(map, lattice, srcWidth, intermediate.get(), dstWidth, 0, srcHeight + 1);
    vertical(map, intermediate.get(), destination, dstWidth, 0, dstHeight);
    return true;
}

}  // namespace

bool scaleMapBilinear(const uint8_t* lattice, uint8_t* destination, const uint32_t* rowIndex,
                      const uint32_t* columnIndex, const double* columnFrac, const double* rowFrac,
                      uint32_t srcWidth, uint32_t srcHeight, uint32_t dstWidth,
                      uint32_t dstHeight) {
    return ResizeWhole(&scaleMapVerticalScalar, lattice, destination, rowIndex, columnIndex,
                       columnFrac, rowFrac, srcWidth, srcHeight, dstWidth, dstHeight);
}

bool scaleMapSse2(const uint8_t* lattice, uint8_t* destination, const uint32_t* rowIndex,
                  const uint32_t* columnIndex, const double* columnFrac, const double* rowFrac,
                  uint32_t srcWidth, uint32_t srcHeight, uint32_t dstWidth, uint32_t dstHeight) {
    return ResizeWhole(&scaleMapVerticalSse2, lattice, destination, rowIndex, columnIndex,
                       columnFrac, rowFrac, srcWidth, srcHeight, dstWidth, dstHeight);
}

}  // namespace quillon
