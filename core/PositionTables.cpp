// Where each source sample sits on the destination axis, and which source
// interval every destination sample falls in.
#include "core/PositionTables.h"

#include <cstdint>

namespace quillon {

void buildAxisSpans(uint32_t n, uint32_t m, double* positions, uint16_t* spanEnd) {
    const double scale = static_cast<double>(m) / static_cast<double>(n);
    const double last = static_cast<double>(m) - 1.0;

    // The outer samples are pinned to the first and last destination sample;
    // the slack is split evenly between the two outer intervals.
    positions[0] = 0.0;
    positions[n - 1] = last;
    positions[1] = (last - (static_cast<double>(n) - 3.0) * scale) * 0.5;
    positions[n - 2] = last - positions[1];
    // Inner samples by repeated addition, in index order.
    for (uint32_t i = 2; i + 3 <= n; ++i) {
        positions[i] = positions[i - 1] + scale;
    }

    // spanEnd[k]: the first destination sample beyond source sample k + 1,
    // accumulated from truncated positions and kept modulo 65536.
    int64_t end = static_cast<int64_t>(positions[1]) - static_cast<int64_t>(positions[0]) + 1;
    spanEnd[0] = static_cast<uint16_t>(end);
    for (uint32_t k = 1; k + 1 < n; ++k) {
        end += static_cast<int64_t>(positions[k + 1]) - static_cast<int64_t>(positions[k]);
        spanEnd[k] = static_cast<uint16_t>(end);
    }
}

void buildAxisIndex(uint32_t n, const double* positions, double* fractions, uint32_t* indices) {
    if (n < 2) {
        return;
    }
    // A destination sample lying exactly on a source sample belongs to the
    // interval on its left (fraction 1.0).
    uint32_t j = 1;
    uint32_t x = 0;
    for (;;) {
        const double dx = static_cast<double>(x);
        fractions[x] = (dx - positions[j - 1]) / (positions[j] - positions[j - 1]);
        indices[x] = j - 1;
        ++x;
        while (static_cast<double>(x) > positions[j]) {
            ++j;
            if (j == n) {
                return;
            }
        }
    }
}

}  // namespace quillon
