// Resizing a min/max lattice map to the destination size, scalar form.
#include <cstddef>

#include "engine/Refinement.h"
#include "engine/ScaleMapPasses.h"

namespace quillon {

bool scaleMapBilinear(const uint8_t* lattice, uint8_t* destination, const uint32_t* rowIndex,
                      const uint32_t* columnIndex, const double* columnFrac, const double* rowFrac,
                      uint32_t srcWidth, uint32_t srcHeight, uint32_t dstWidth,
                      uint32_t dstHeight) {
    using namespace mapresize;
    if (const auto early = EarlyResult(lattice, destination, rowIndex, columnIndex, columnFrac,
                                       rowFrac, dstWidth, dstHeight)) {
        return *early;
    }
    HorizontalStage stage(srcHeight, dstWidth);
    if (!stage || !stage.Run(lattice, rowIndex, columnIndex, columnFrac, rowFrac, srcWidth,
                             srcHeight, dstHeight)) {
        return false;
    }

    for (uint32_t r = 0; r < dstHeight; ++r) {
        MapTap tap{};
        MakeTap(rowFrac[r], rowIndex[r], tap);
        const int16_t* upper = stage.Row(tap.lattice);
        const int16_t* lower = upper + dstWidth;
        uint8_t* out = destination + std::size_t{r} * dstWidth;
        for (uint32_t k = 0; k < dstWidth; ++k) {
            out[k] = VerticalSample(upper[k], lower[k], tap.weight);
        }
    }
    return true;
}

// KERNEL_NONE: the destination map keeps whatever it held.
bool scaleMapNone(const uint8_t*, uint8_t*, const uint32_t*, const uint32_t*, const double*,
                  const double*, uint32_t, uint32_t, uint32_t, uint32_t) {
    return true;
}

}  // namespace quillon
