// Edge refinement: grey maps, the min/max lattice, map resizing and the
// S-curve apply.
#ifndef QUILLON_ENGINE_REFINEMENT_H
#define QUILLON_ENGINE_REFINEMENT_H

#include <cstdint>

#include "engine/ScaleContext.h"

namespace quillon {

void grayFrom8(uint8_t* grey, const uint8_t* frame, int32_t pixelCount);
void grayFrom16(uint8_t* grey, const uint16_t* frame, int32_t pixelCount);

void buildLattice(const uint8_t* grey, uint8_t* latticeMin, uint8_t* latticeMax, uint32_t srcWidth,
                  uint32_t srcHeight);

// Resize a (srcWidth + 1) x (srcHeight + 1) lattice map to dstWidth x dstHeight.
bool scaleMapBilinear(const uint8_t* lattice, uint8_t* destination, const uint32_t* rowIndex,
                      const uint32_t* columnIndex, const double* columnFrac, const double* rowFrac,
                      uint32_t srcWidth, uint32_t srcHeight, uint32_t dstWidth, uint32_t dstHeight);
bool scaleMapVector(const uint8_t* lattice, uint8_t* destination, const uint32_t* rowIndex,
                    const uint32_t* columnIndex, const double* columnFrac, const double* rowFrac,
                    uint32_t srcWidth, uint32_t srcHeight, uint32_t dstWidth, uint32_t dstHeight);
// KERNEL_NONE: the destination map keeps its contents.
bool scaleMapNone(const uint8_t* lattice, uint8_t* destination, const uint32_t* rowIndex,
                  const uint32_t* columnIndex, const double* columnFrac, const double* rowFrac,
                  uint32_t srcWidth, uint32_t srcHeight, uint32_t dstWidth, uint32_t dstHeight);

void refineApply8(uint8_t* frame, const ScaleContext* context);
void refineApply16(uint16_t* frame, const ScaleContext* context);

}  // namespace quillon

#endif  // QUILLON_ENGINE_REFINEMENT_H
