// Sharpen pass: unsharp mask on a brightness plane, applied in place. Two
// band stages: the brightness plane of frame rows, then the apply, whose
// rows are neighbourhood origins (the row written is origin + 2); the apply
// reads only the plane, so bands never see each other's writes.
#ifndef QUILLON_KERNELS_SHARPEN_H
#define QUILLON_KERNELS_SHARPEN_H

#include <cstddef>
#include <cstdint>

#include "core/FramePlan.h"

namespace quillon {

// Neighbourhood origins of a frame: rows 0..height - 6 (none for frames of
// five rows or columns or fewer).
uint32_t SharpenOriginRows(const FramePlan& plan);
// Scratch of one apply band, whatever its height.
std::size_t SharpenScratchBytes(const FramePlan& plan);

void sharpenPlane8Rows(const FramePlan& plan, const uint8_t* frame, uint8_t* plane,
                       uint32_t rowBegin, uint32_t rowEnd);
void sharpenPlane16Rows(const FramePlan& plan, const uint16_t* frame, uint8_t* plane,
                        uint32_t rowBegin, uint32_t rowEnd);
void sharpenApply8Rows(const FramePlan& plan, const uint8_t* plane, uint8_t* frame,
                       uint32_t originBegin, uint32_t originEnd, void* scratch);
void sharpenApply16Rows(const FramePlan& plan, const uint8_t* plane, uint16_t* frame,
                        uint32_t originBegin, uint32_t originEnd, void* scratch);

template <typename Sample>
using SharpenPlaneFn = void (*)(const FramePlan& plan, const Sample* frame, uint8_t* plane,
                                uint32_t rowBegin, uint32_t rowEnd);
template <typename Sample>
using SharpenApplyFn = void (*)(const FramePlan& plan, const uint8_t* plane, Sample* frame,
                                uint32_t originBegin, uint32_t originEnd, void* scratch);

// Whole frame, scratch from the hook. Return false, leaving the frame
// untouched, when the brightness plane cannot be allocated.
bool sharpen8(uint8_t* frame, const FramePlan* plan);
bool sharpen16(uint16_t* frame, const FramePlan* plan);

}  // namespace quillon

#endif  // QUILLON_KERNELS_SHARPEN_H
