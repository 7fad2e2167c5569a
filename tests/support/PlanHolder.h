// An upscale plan made from a context's tables, with the memory it points
// to: the intervals from the context's span ends, plain weights read out of
// whichever layout the context's kernel uses, and the column layout one
// kernel level prepares.
#ifndef QUILLON_TESTS_SUPPORT_PLANHOLDER_H
#define QUILLON_TESTS_SUPPORT_PLANHOLDER_H

#include <cstddef>
#include <cstdint>
#include <memory>
#include <new>
#include <vector>

#include "core/UpscalePlan.h"
#include "engine/Engine.h"
#include "engine/ScaleContext.h"
#include "kernels/UpscaleKernels.h"

namespace quillon::support {

// Copies of a weight table entry: 4 (columns) or 8 (rows) in the two-pass
// kernels' layouts, 1 in the plain one.
inline int WeightCopies(const ScaleContext& c, bool rows) {
    return c.depthMode == DEPTH_8 && c.kernelVariant == KERNEL_TWO_PASS ? (rows ? 8 : 4) : 1;
}

class PlanHolder {
public:
    explicit PlanHolder(const ScaleContext& c)
        : columns_(c.dstWidth),
          rows_(c.dstHeight),
          columnWeights_(Plain(c, false)),
          rowWeights_(Plain(c, true)) {
        BuildUpscaleIntervals(c.columnSpanEnd, c.srcWidth, c.dstWidth, columns_.data());
        BuildUpscaleIntervals(c.rowSpanEnd, c.srcHeight, c.dstHeight, rows_.data());
        plan_.srcWidth = c.srcWidth;
        plan_.srcHeight = c.srcHeight;
        plan_.dstWidth = c.dstWidth;
        plan_.dstHeight = c.dstHeight;
        plan_.taps = (c.options & OPT_LANCZOS) != 0 ? 8 : 4;
        plan_.columnInterval = columns_.data();
        plan_.rowInterval = rows_.data();
        plan_.columnWeights = columnWeights_.data();
        plan_.rowWeights = rowWeights_.data();
    }

    // Prepares the level's column layout into memory of exactly its size.
    template <typename Sample>
    void Prepare(const UpscaleKernels<Sample>& kernels) {
        const std::size_t bytes = kernels.preparedBytes(plan_);
        prepared_.reset(bytes != 0 ? ::operator new (bytes, std::align_val_t{64}) : nullptr);
        kernels.prepare(plan_, prepared_.get());
        plan_.prepared = prepared_.get();
    }

    const UpscalePlan& plan() const { return plan_; }

private:
    static std::vector<int16_t> Plain(const ScaleContext& c, bool rows) {
        const std::size_t count =
            std::size_t{rows ? c.dstHeight : c.dstWidth} * ((c.options & OPT_LANCZOS) != 0 ? 8 : 4);
        const int copies = WeightCopies(c, rows);
        const int16_t* table = rows ? c.rowWeights : c.columnWeights;
        std::vector<int16_t> plain(count);
        for (std::size_t i = 0; i < count; ++i) {
            plain[i] = table[i * copies];
        }
        return plain;
    }

    struct AlignedDelete {
        void operator()(void* p) const { ::operator delete (p, std::align_val_t{64}); }
    };
    std::vector<uint32_t> columns_;
    std::vector<uint32_t> rows_;
    std::vector<int16_t> columnWeights_;
    std::vector<int16_t> rowWeights_;
    std::unique_ptr<void, AlignedDelete> prepared_;
    UpscalePlan plan_;
};

}  // namespace quillon::support

#endif  // QUILLON_TESTS_SUPPORT_PLANHOLDER_H
