// 8-bit upscale kernels: one geometry, several implementations. Each is a
// band kernel (kernels/UpscaleBand.h); the whole-frame names run one band
// over the frame and take their scratch from the engine's hook themselves.
#ifndef QUILLON_KERNELS_UPSCALE8_H
#define QUILLON_KERNELS_UPSCALE8_H

#include <cstddef>
#include <cstdint>

#include "core/FramePlan.h"
#include "kernels/UpscaleBand.h"

namespace quillon {

// Cell by cell, scalar, clamped to 0..maxValue8. No scratch.
bool upscale8CubicRows(const FramePlan& plan, const uint8_t* source, uint8_t* destination,
                       uint32_t rowBegin, uint32_t rowEnd, void* scratch);
bool upscale8LanczosRows(const FramePlan& plan, const uint8_t* source, uint8_t* destination,
                         uint32_t rowBegin, uint32_t rowEnd, void* scratch);

// Two passes (horizontal into 16-bit scratch rows, then vertical), clamped to
// 0..255 always. Scratch: the horizontal rows the band reads plus one
// row of interleaved source pairs and the column layout.
std::size_t upscale8TwoPassScratchBytes4(const FramePlan& plan, uint32_t rowBegin, uint32_t rowEnd);
std::size_t upscale8TwoPassScratchBytes8(const FramePlan& plan, uint32_t rowBegin, uint32_t rowEnd);
// Plain scalar twins, the reference for every other level.
bool upscale8CubicTwoPassScalarRows(const FramePlan& plan, const uint8_t* source,
                                    uint8_t* destination, uint32_t rowBegin, uint32_t rowEnd,
                                    void* scratch);
bool upscale8LanczosTwoPassScalarRows(const FramePlan& plan, const uint8_t* source,
                                      uint8_t* destination, uint32_t rowBegin, uint32_t rowEnd,
                                      void* scratch);
// 128-bit integer lanes (kernels/x86/Upscale8TwoPassSse2.cpp).
bool upscale8CubicTwoPassSse2Rows(const FramePlan& plan, const uint8_t* source,
                                  uint8_t* destination, uint32_t rowBegin, uint32_t rowEnd,
                                  void* scratch);
bool upscale8LanczosTwoPassSse2Rows(const FramePlan& plan, const uint8_t* source,
                                    uint8_t* destination, uint32_t rowBegin, uint32_t rowEnd,
                                    void* scratch);

// KERNEL_NONE: leaves the destination as it was.
bool upscaleNoneRows(const FramePlan& plan, const uint8_t* source, uint8_t* destination,
                     uint32_t rowBegin, uint32_t rowEnd, void* scratch);

// Whole-frame forms (one band over every row; scratch from the hook). Return
// false, leaving the destination untouched, when scratch cannot be had.
bool upscale8Cubic(const uint8_t* source, uint8_t* destination, const FramePlan* plan);
bool upscale8Lanczos(const uint8_t* source, uint8_t* destination, const FramePlan* plan);
bool upscale8CubicTwoPassScalar(const uint8_t* source, uint8_t* destination, const FramePlan* plan);
bool upscale8LanczosTwoPassScalar(const uint8_t* source, uint8_t* destination,
                                  const FramePlan* plan);
bool upscale8CubicTwoPassSse2(const uint8_t* source, uint8_t* destination, const FramePlan* plan);
bool upscale8LanczosTwoPassSse2(const uint8_t* source, uint8_t* destination, const FramePlan* plan);
bool upscaleNone(const uint8_t* source, uint8_t* destination, const FramePlan* plan);

}  // namespace quillon

#endif  // QUILLON_KERNELS_UPSCALE8_H
