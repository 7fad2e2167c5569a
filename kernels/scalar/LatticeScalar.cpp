// The min/max lattice, plain form, one lattice row at a time.
//
// Lattice point (X, Y), X = 0..W and Y = 0..H, sits between grey columns X - 1
// and X and rows Y - 1 and Y. Its window is the 4 x 4 grey block of columns
// X - 2..X + 1 and rows Y - 2..Y + 1 without its four corners. Points in
// columns 0, 1 and W - 1, W and in rows 0, 1 and H - 1, H take the cut-down
// windows listed below. Two of those cut-downs are deliberately lopsided and
// must stay so: the left border takes its window one column further right
// than the right border does (grey column 0 never reaches lattice columns 0
// and 1 between the corners), and the top-right corner reads the first grey
// of row 3 (linear position 3 * W) where the other corners read the grey next
// to the corner.
#include <cstddef>

#include "kernels/Lattice.h"
#include "kernels/scalar/LatticeRows.h"

namespace quillon {
namespace {

void Build(const GreyPlan& plan, const uint8_t* grey, uint8_t* latticeMin, uint8_t* latticeMax,
           uint32_t rowBegin, uint32_t rowEnd, void*) {
    latticerows::RunBand(
        grey, plan.width, plan.height, latticeMin, latticeMax, rowBegin, rowEnd,
        [](const uint8_t* g, std::size_t w, std::size_t y, uint8_t* outMin, uint8_t* outMax) {
            latticerows::InteriorPoints(g, w, y, 2, w - 1, outMin, outMax);
        });
}

}  // namespace

const LatticeKernels kLatticeScalar = {&Build};

}  // namespace quillon
