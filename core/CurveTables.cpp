// The refinement S-curve and the sharpen gain table.
#include "core/CurveTables.h"
#include "core/PortableMath.h"

#include <cmath>
#include <cstdint>
#include <cstdlib>

namespace quillon {
namespace {

// Sign with sgn(0) = 1.
double SignOf(double v) {
    return v < 0.0 ? -1.0 : 1.0;
}

}  // namespace

void buildRefineCurve(double shape, int16_t* table) {
    for (int r = 1; r < 256; ++r) {
        const double range = r;
        const double e = range * shape / 255.0 + 1.0;
        int16_t* row = table + r * static_cast<int>(kRefineCurveColumns);
        for (int k = -255; k <= 255; ++k) {
            const double x = k / range;
            double s;
            if (x < 0.5) {
                s = SignOf(x) * portable::Pow(2.0 * std::fabs(x), e) * 0.5;
            } else {
                const double u = 1.0 - x;
                s = 1.0 - SignOf(u) * portable::Pow(std::fabs(2.0 * u), e) * 0.5;
            }
            row[k + 255] = static_cast<int16_t>(static_cast<int32_t>(s * range));
        }
    }
}

void buildSharpenCurve(double gain, uint16_t* table) {
    for (int j = 0; j < 256; ++j) {
        table[j] = 16384;
    }
    for (int centre = 1; centre < 256; ++centre) {
        uint16_t* row = table + centre * 256;
        for (int blurred = 0; blurred < 256; ++blurred) {
            const int d = centre - blurred;
            if (std::abs(d) <= 5) {
                row[blurred] = 16384;  // dead zone: unit gain
                continue;
            }
            const double v = d * gain + centre;
            row[blurred] =
                v > 0.0 ? static_cast<uint16_t>(static_cast<int32_t>(v / centre * 16384.0 + 0.5))
                        : 0;
        }
    }
}

}  // namespace quillon
