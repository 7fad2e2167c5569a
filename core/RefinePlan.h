// What the refinement passes read besides their frames: the grey plane's
// size, the lattice-map taps per destination column and row, and the S-curve.
// Built once when a context is created; kernels only read it.
//
// The passes in order, with what a band of one reads from the one before:
//   grey conversion  source rows [b, e)  <- source rows [b, e)
//   lattice          lattice rows [b, e) <- grey rows b - 3 .. e within the
//                                           plane, rows 0..3 for the top rows
//   map resize       map rows [b, e)     <- lattice rows mapRows[b] ..
//                                           mapRows[e - 1] + 1
//   apply            frame rows [b, e)   <- map rows [b, e)
// so grey, lattice and the map resize each need the whole of the previous
// pass finished; the apply of a band can follow that band's map resize.
#ifndef QUILLON_CORE_REFINEPLAN_H
#define QUILLON_CORE_REFINEPLAN_H

#include <cstdint>

namespace quillon {

// A frame of width x height pixels and its one-byte grey plane of the same
// size (the grey conversion's input and output, the lattice's input).
struct GreyPlan {
    uint32_t width = 0;
    uint32_t height = 0;
};

// The refinement of one context. The lattice is (srcWidth + 1) x
// (srcHeight + 1) bytes; each map is dstWidth x dstHeight. Destination
// column k of a map blends lattice columns mapColumns[k] and mapColumns[k] + 1
// by mapColumnWeights[k] / 64, rows likewise (the taps of core/MapTables.h).
struct RefinePlan {
    uint32_t srcWidth = 0;
    uint32_t srcHeight = 0;
    uint32_t dstWidth = 0;
    uint32_t dstHeight = 0;
    const uint32_t* mapColumns = nullptr;
    const uint16_t* mapColumnWeights = nullptr;
    const uint32_t* mapRows = nullptr;
    const uint16_t* mapRowWeights = nullptr;
    const int16_t* curve = nullptr;  // 256 rows (range) x 511 (k = -255..255)
};

}  // namespace quillon

#endif  // QUILLON_CORE_REFINEPLAN_H
