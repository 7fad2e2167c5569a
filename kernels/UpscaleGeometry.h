// Geometry and fixed-point helpers shared by the upscale kernels.
#ifndef QUILLON_KERNELS_UPSCALEGEOMETRY_H
#define QUILLON_KERNELS_UPSCALEGEOMETRY_H

#include <cstddef>
#include <cstdint>

#include "core/FixedPoint.h"
#include "core/FramePlan.h"
#include "core/UpscalePlan.h"

namespace quillon::upscale {

using quillon::ClampToRange;
using quillon::Q13Step;
using quillon::SpanEnd;

// Source index i clamped into 0..count-1: replicates the border sample.
inline uint32_t ClampIndex(int64_t i, uint32_t count) {
    if (i < 0) {
        return 0;
    }
    if (i >= static_cast<int64_t>(count)) {
        return count - 1;
    }
    return static_cast<uint32_t>(i);
}

// A context the kernels can run on: frames and tables present, at least two
// samples a source axis (one interval) and a non-empty destination.
inline bool KernelInputsUsable(const void* source, const void* destination,
                               const FramePlan* context) {
    return source != nullptr && destination != nullptr && context != nullptr &&
           context->columnSpanEnd != nullptr && context->rowSpanEnd != nullptr &&
           context->columnWeights != nullptr && context->rowWeights != nullptr &&
           context->srcWidth >= 2 && context->srcHeight >= 2 && context->dstWidth >= 1 &&
           context->dstHeight >= 1;
}

// The source rows [first, last] that destination rows [rowBegin, rowEnd)
// read through a vertical filter of `taps` taps; empty (first > last) when no
// source interval's span meets the band.
struct SourceRows {
    uint32_t first = 1;
    uint32_t last = 0;
    uint32_t count() const { return last >= first ? last - first + 1 : 0; }
};

inline SourceRows BandSourceRows(const FramePlan& plan, int taps, uint32_t rowBegin,
                                 uint32_t rowEnd) {
    SourceRows rows;
    if (plan.rowSpanEnd == nullptr) {
        return rows;
    }
    const int reach = taps / 2 - 1;
    bool any = false;
    uint32_t r0 = 0;
    for (uint32_t sy = 0; sy + 1 < plan.srcHeight && r0 < rowEnd; ++sy) {
        const uint32_t r1 = SpanEnd(plan.rowSpanEnd, sy, plan.srcHeight - 1, plan.dstHeight, r0);
        if (r1 > r0 && r1 > rowBegin) {
            const uint32_t lo = ClampIndex(static_cast<int64_t>(sy) - reach, plan.srcHeight);
            const uint32_t hi =
                ClampIndex(static_cast<int64_t>(sy) + taps - 1 - reach, plan.srcHeight);
            rows.first = any && rows.first < lo ? rows.first : lo;
            rows.last = any && rows.last > hi ? rows.last : hi;
            any = true;
        }
        r0 = r1;
    }
    return rows;
}

// Carves consecutive 16-byte-aligned pieces out of one scratch block.
class ScratchCarver {
public:
    explicit ScratchCarver(void* base) : next_(static_cast<unsigned char*>(base)) {}
    template <typename T>
    T* Take(std::size_t count) {
        T* p = reinterpret_cast<T*>(next_);
        next_ += Rounded(count * sizeof(T));
        return p;
    }
    static std::size_t Rounded(std::size_t bytes) { return (bytes + 15) & ~std::size_t{15}; }

private:
    unsigned char* next_;
};

}  // namespace quillon::upscale

#endif  // QUILLON_KERNELS_UPSCALEGEOMETRY_H
