// Edge refinement: grey maps, the min/max lattice, map resizing and the
// S-curve apply. Band forms take rows [rowBegin, rowEnd) of their output and
// never allocate; the whole-frame forms run one band.
#ifndef QUILLON_KERNELS_REFINEMENT_H
#define QUILLON_KERNELS_REFINEMENT_H

#include <cstdint>

#include "core/FramePlan.h"

namespace quillon {

// Any run of whole pixels (a band of rows is one run).
void grayFrom8(uint8_t* grey, const uint8_t* frame, int32_t pixelCount);
void grayFrom16(uint8_t* grey, const uint16_t* frame, int32_t pixelCount);
using GreyFn8 = void (*)(uint8_t* grey, const uint8_t* frame, int32_t pixelCount);
using GreyFn16 = void (*)(uint8_t* grey, const uint16_t* frame, int32_t pixelCount);

// Whole frame, on the calling thread.
void buildLattice(const uint8_t* grey, uint8_t* latticeMin, uint8_t* latticeMax, uint32_t srcWidth,
                  uint32_t srcHeight);

// Map resize, first pass: lattice rows [rowBegin, rowEnd) of a
// (srcWidth + 1)-wide lattice into 16-bit rows of map.columns' width.
void scaleMapHorizontalRows(const MapPlan& map, const uint8_t* lattice, uint32_t srcWidth,
                            int16_t* intermediate, uint32_t dstWidth, uint32_t rowBegin,
                            uint32_t rowEnd);
// Second pass: destination rows [rowBegin, rowEnd) from the intermediate.
using ScaleMapVerticalFn = void (*)(const MapPlan& map, const int16_t* intermediate,
                                    uint8_t* destination, uint32_t dstWidth, uint32_t rowBegin,
                                    uint32_t rowEnd);
void scaleMapVerticalScalar(const MapPlan& map, const int16_t* intermediate, uint8_t* destination,
                            uint32_t dstWidth, uint32_t rowBegin, uint32_t rowEnd);
// 16-bit lanes: difference with signed saturation, product kept to its low
// 16 bits, +32 with saturation, arithmetic shift by 6, saturating add of the
// upper row, result saturated to 0..255. For byte lattices every step stays
// in range, so the bytes equal the scalar form's.
void scaleMapVerticalSse2(const MapPlan& map, const int16_t* intermediate, uint8_t* destination,
                          uint32_t dstWidth, uint32_t rowBegin, uint32_t rowEnd);

// Whole-frame resize of a (srcWidth + 1) x (srcHeight + 1) lattice map to
// dstWidth x dstHeight, tables checked and scratch taken from the hook.
bool scaleMapBilinear(const uint8_t* lattice, uint8_t* destination, const uint32_t* rowIndex,
                      const uint32_t* columnIndex, const double* columnFrac, const double* rowFrac,
                      uint32_t srcWidth, uint32_t srcHeight, uint32_t dstWidth, uint32_t dstHeight);
bool scaleMapSse2(const uint8_t* lattice, uint8_t* destination, const uint32_t* rowIndex,
                  const uint32_t* columnIndex, const double* columnFrac, const double* rowFrac,
                  uint32_t srcWidth, uint32_t srcHeight, uint32_t dstWidth, uint32_t dstHeight);

// Rows [rowBegin, rowEnd) of the destination frame; nothing happens without
// maps or curve.
using RefineApplyFn8 = void (*)(const FramePlan& plan, const RefineMaps& maps, uint8_t* frame,
                                uint32_t rowBegin, uint32_t rowEnd);
using RefineApplyFn16 = void (*)(const FramePlan& plan, const RefineMaps& maps, uint16_t* frame,
                                 uint32_t rowBegin, uint32_t rowEnd);
void refineApply8Rows(const FramePlan& plan, const RefineMaps& maps, uint8_t* frame,
                      uint32_t rowBegin, uint32_t rowEnd);
void refineApply16Rows(const FramePlan& plan, const RefineMaps& maps, uint16_t* frame,
                       uint32_t rowBegin, uint32_t rowEnd);
void refineApply8(uint8_t* frame, const FramePlan* plan, const RefineMaps& maps);
void refineApply16(uint16_t* frame, const FramePlan* plan, const RefineMaps& maps);

}  // namespace quillon

#endif  // QUILLON_KERNELS_REFINEMENT_H
