// The interior of a lattice row over byte vectors of any width: V supplies
// N, Load, Min, Max and Store. Each level's file instantiates it with its own
// vectors (internal linkage, so the copies never mix).
#ifndef QUILLON_KERNELS_X86_LATTICEINTERIOR_H
#define QUILLON_KERNELS_X86_LATTICEINTERIOR_H

#include <cstddef>
#include <cstdint>

#include "kernels/scalar/LatticeRows.h"

namespace quillon::latticeinterior {
namespace {

// Points 2..W - 2 of middle row y: per column the min and max of the two
// middle rows and of the two end rows, then four middle columns and two end
// columns side by side.
template <typename V>
void Interior(const uint8_t* grey, std::size_t w, std::size_t y, uint8_t* outMin, uint8_t* outMax) {
    const uint8_t* above2 = grey + (y - 2) * w;
    const uint8_t* above1 = grey + (y - 1) * w;
    const uint8_t* below0 = grey + y * w;
    const uint8_t* below1 = grey + (y + 1) * w;
    std::size_t x = 2;
    // Reads columns up to x + N, writes points up to x + N - 1 <= W - 2.
    for (; x + V::N + 1 <= w; x += V::N) {
        auto lo = V::Min(V::Load(above2 + x - 1), V::Load(below1 + x - 1));
        auto hi = V::Max(V::Load(above2 + x - 1), V::Load(below1 + x - 1));
        lo = V::Min(lo, V::Min(V::Load(above2 + x), V::Load(below1 + x)));
        hi = V::Max(hi, V::Max(V::Load(above2 + x), V::Load(below1 + x)));
        for (std::size_t c = x - 2; c <= x + 1; ++c) {
            const auto a = V::Load(above1 + c);
            const auto b = V::Load(below0 + c);
            lo = V::Min(lo, V::Min(a, b));
            hi = V::Max(hi, V::Max(a, b));
        }
        V::Store(outMin + x, lo);
        V::Store(outMax + x, hi);
    }
    latticerows::InteriorPoints(grey, w, y, x, w - 1, outMin, outMax);
}

template <typename V>
void Build(const GreyPlan& plan, const uint8_t* grey, uint8_t* latticeMin, uint8_t* latticeMax,
           uint32_t rowBegin, uint32_t rowEnd, void*) {
    latticerows::RunBand(grey, plan.width, plan.height, latticeMin, latticeMax, rowBegin, rowEnd,
                         &Interior<V>);
}

}  // namespace
}  // namespace quillon::latticeinterior

#endif  // QUILLON_KERNELS_X86_LATTICEINTERIOR_H
