// Sharpen apply, plain form. The blur is taken as a column pass then a row
// pass; the integer sum is the same as the direct 25-term one.
#include "kernels/Sharpen.h"
#include "kernels/scalar/SharpenRows.h"

namespace quillon {
namespace {

template <typename Traits>
void Apply(const SharpenPlan& plan, const uint8_t* plane, typename Traits::Type* frame,
           uint32_t ceiling, uint32_t rowBegin, uint32_t rowEnd, void* scratch) {
    const std::size_t width = plan.width;
    sharpenrows::RunBand(
        plan, plane, frame, rowBegin, rowEnd, scratch,
        [&](const uint8_t* top, uint16_t* sums, uint8_t* blurred, typename Traits::Type* row) {
            sharpenrows::ColumnSums(top, width, sums, 0, width);
            sharpenrows::RowBlur(sums, blurred, 0, width - 5);
            sharpenrows::ApplyGains<Traits>(plan.curve, top + 2 * width, blurred, row,
                                            static_cast<int32_t>(ceiling), 0, width - 5);
        });
}

}  // namespace

const SharpenKernels kSharpenScalar = {&Apply<sharpenrows::Sample8>, &Apply<sharpenrows::Sample16>};

}  // namespace quillon
