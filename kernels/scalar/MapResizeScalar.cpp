// Lattice-map resize, plain form.
#include "kernels/MapResize.h"
#include "kernels/scalar/MapRows.h"

namespace quillon {
namespace {

void Resize(const RefinePlan& plan, const uint8_t* lattice, uint8_t* map, uint32_t rowBegin,
            uint32_t rowEnd, void* scratch) {
    maprows::RunBand(
        plan, lattice, map, rowBegin, rowEnd, scratch,
        [](const RefinePlan& p, const uint8_t* in, int16_t* out, uint8_t*) {
            maprows::HorizontalSteps(p, in, out, 0, p.dstWidth);
        },
        [](const int16_t* upper, const int16_t* lower, int32_t weight, uint8_t* out,
           uint32_t width) { maprows::VerticalSteps(upper, lower, weight, out, 0, width); });
}

}  // namespace

const MapResizeKernels kMapResizeScalar = {&Resize};

}  // namespace quillon
