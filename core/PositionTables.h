// Source-sample positions, span ends, and destination index/fraction tables.
#ifndef QUILLON_CORE_POSITIONTABLES_H
#define QUILLON_CORE_POSITIONTABLES_H

#include <cstdint>

namespace quillon {

// One axis of n >= 4 source samples spread over m destination samples.
// Fills positions[0..n-1] and spanEnd[0..n-2] (kept modulo 65536).
void buildAxisSpans(uint32_t n, uint32_t m, double* positions, uint16_t* spanEnd);

// Fills fractions[0..m-1] and indices[0..m-1] from the n positions of one
// axis (m = positions[n - 1] + 1 entries). Does nothing when n < 2.
void buildAxisIndex(uint32_t n, const double* positions, double* fractions, uint32_t* indices);

}  // namespace quillon

#endif  // QUILLON_CORE_POSITIONTABLES_H
