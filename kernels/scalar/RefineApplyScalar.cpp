// Refinement apply, plain form.
#include "kernels/RefineApply.h"
#include "kernels/scalar/RefinePixels.h"

namespace quillon {
namespace {

template <typename Depth>
void Apply(const RefinePlan& plan, const uint8_t* mins, const uint8_t* maxs,
           typename Depth::Sample* frame, uint32_t ceiling, uint32_t rowBegin, uint32_t rowEnd,
           void*) {
    refinepixels::ApplyPixels<Depth>(plan, mins, maxs, frame, ceiling,
                                     std::size_t{rowBegin} * plan.dstWidth,
                                     std::size_t{rowEnd} * plan.dstWidth);
}

}  // namespace

const RefineApplyKernels kRefineApplyScalar = {&Apply<refinepixels::Depth8>,
                                               &Apply<refinepixels::Depth16>};

}  // namespace quillon
