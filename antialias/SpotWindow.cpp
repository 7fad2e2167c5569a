// The smoothing window: its size from the vertical enlargement ratio and the
// spread control, and its Gaussian weights.
//
// The layout is n x n pixels of three doubles. The blended spot is
// (2r + 1) pixels square from the layout's top-left corner; for an even n it
// leaves out the last row and column, so the Gaussian centre lies half a
// pixel right of and below the spot's centre pixel. That offset is kept.
#include <bit>
#include <cmath>

#include "antialias/AntiAliasStages.h"
#include "core/PortableMath.h"

namespace quillon::aa {

SpotGeometry spotGeometry(uint32_t sourceHeight, uint32_t destinationHeight, float spread) {
    SpotGeometry g;
    if (sourceHeight == 0) {
        return g;
    }
    const double ratio = static_cast<double>(destinationHeight) / static_cast<double>(sourceHeight);
    const double d = 2.0 * std::trunc(ratio + 0.5) + static_cast<double>(spread);
    const double wanted = std::trunc(3.0 * d * d);
    // A layout side beyond 2^15 pixels could never be allocated anyway.
    if (!(wanted >= 3.0) || wanted > 3.0 * 32768.0 * 32768.0) {
        return g;
    }
    const std::size_t doubles = static_cast<std::size_t>(wanted);
    const int32_t n =
        static_cast<int32_t>(std::trunc(std::sqrt(static_cast<double>(doubles) / 3.0)));
    if (n < 1) {
        return g;
    }
    g.valid = true;
    g.doubles = doubles;
    g.n = n;
    g.r = static_cast<int32_t>(std::trunc((n - 1) * 0.5));
    return g;
}

void buildSpotWeights(double* weights, std::size_t doubles) {
    const int32_t n =
        static_cast<int32_t>(std::trunc(std::sqrt(static_cast<double>(doubles) / 3.0)));
    const double c = (n - 1) * 0.5;
    const double e = portable::Exp(1.0);
    const double s = (c / e) * (c / e);
    for (int32_t i = 0; i < n; ++i) {
        for (int32_t j = 0; j < n; ++j) {
            const double dist = std::sqrt((j - c) * (j - c) + (i - c) * (i - c));
            double w;
            if (s > 0.0) {
                w = 1.5 * portable::Exp(-0.5 * dist * dist / s);
            } else {
                w = dist == 0.0 ? 1.5 : 0.0;  // a one-pixel layout: the peak alone
            }
            if (w < 0.0) {
                w = 0.0;
            }
            double* cell = weights + 3 * (static_cast<std::size_t>(i) * n + j);
            cell[0] = w;
            cell[1] = w;
            cell[2] = w;
        }
    }
}

void packSpotLayout(const double* layout, int32_t n, int32_t side, double* packed) {
    for (int32_t row = 0; row < side; ++row) {
        for (int32_t column = 0; column < side; ++column) {
            const double* from = layout + 3 * (static_cast<std::size_t>(row) * n + column);
            double* to = packed + kCellDoubles * (static_cast<std::size_t>(row) * side + column);
            to[0] = from[0];
            to[1] = from[1];
            to[2] = from[2];
            to[3] = 0.0;
        }
    }
}

double followDenominatorBase() {
    return std::bit_cast<double>(uint64_t{0x3FFF333333333334});
}

}  // namespace quillon::aa
