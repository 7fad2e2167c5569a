// The min/max lattice as a row-band kernel: lattice rows [rowBegin, rowEnd)
// (of 0..height) of both maps from the whole grey plane. No scratch.
#ifndef QUILLON_KERNELS_LATTICE_H
#define QUILLON_KERNELS_LATTICE_H

#include <cstddef>
#include <cstdint>

#include "core/RefinePlan.h"

namespace quillon {

// plan: the grey plane's size (at least 4 x 4; smaller planes write nothing).
using LatticeFn = void (*)(const GreyPlan& plan, const uint8_t* grey, uint8_t* latticeMin,
                           uint8_t* latticeMax, uint32_t rowBegin, uint32_t rowEnd, void* scratch);

struct LatticeKernels {
    LatticeFn build;
};

extern const LatticeKernels kLatticeScalar;
extern const LatticeKernels kLatticeSse2;
extern const LatticeKernels kLatticeAvx2;
extern const LatticeKernels kLatticeAvx512;

inline std::size_t LatticeScratchBytes(const GreyPlan&, uint32_t) {
    return 0;
}

}  // namespace quillon

#endif  // QUILLON_KERNELS_LATTICE_H
