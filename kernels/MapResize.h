// Resizing a lattice map to the destination size as a row-band kernel:
// destination rows [rowBegin, rowEnd). The horizontal pass rolls over the
// lattice rows the band needs (two rows of 16-bit intermediates in scratch):
// T = L0 + ((L1 - L0) * fx + 32) >> 6, then the vertical step the same way
// between the two intermediates, kept to 8 bits. SSE2 has no kernel of its
// own: the compiler already runs the plain vertical step in SSE2 lanes, and
// the horizontal step needs gathers or byte shuffles.
#ifndef QUILLON_KERNELS_MAPRESIZE_H
#define QUILLON_KERNELS_MAPRESIZE_H

#include <cstddef>
#include <cstdint>

#include "core/RefinePlan.h"

namespace quillon {

using MapResizeFn = void (*)(const RefinePlan& plan, const uint8_t* lattice, uint8_t* map,
                             uint32_t rowBegin, uint32_t rowEnd, void* scratch);

struct MapResizeKernels {
    MapResizeFn resize;
};

extern const MapResizeKernels kMapResizeScalar;
extern const MapResizeKernels kMapResizeAvx2;
extern const MapResizeKernels kMapResizeAvx512;

// Two intermediate rows, a padded copy of one lattice row and the levels'
// per-band column tables (20 bytes per sixteen columns), with room to align
// each to 64 bytes. The same for every level and band height.
inline std::size_t MapResizeScratchBytes(const RefinePlan& plan, uint32_t) {
    return 2 * (std::size_t{plan.dstWidth} * sizeof(int16_t) + 64) + std::size_t{plan.srcWidth} +
           (std::size_t{plan.dstWidth} / 16) * 20 + 256;
}

}  // namespace quillon

#endif  // QUILLON_KERNELS_MAPRESIZE_H
