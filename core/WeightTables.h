// Q13 filter weight tables in their plain and replicated layouts.
#ifndef QUILLON_CORE_WEIGHTTABLES_H
#define QUILLON_CORE_WEIGHTTABLES_H

#include <cstdint>

namespace quillon {

inline constexpr int kWeightOne = 8192;  // Q13

// A weight times 8192, rounded half away from zero.
int16_t RoundWeight(double scaled);

// Taps of one entry with fraction t.
void cubicTaps(double t, float a, int16_t taps[4]);
void lanczosTaps(double t, int16_t taps[8]);

// Builders (count entries from count fractions). The Lanczos builders ignore
// the cubic parameter. xN: every tap repeated N times in a row.
void buildCubicWeights(uint32_t count, const double* fractions, int16_t* table, float a);
void buildCubicWeightsX4(uint32_t count, const double* fractions, int16_t* table, float a);
void buildCubicWeightsX8(uint32_t count, const double* fractions, int16_t* table, float a);
void buildLanczosWeights(uint32_t count, const double* fractions, int16_t* table, float a);
void buildLanczosWeightsX4(uint32_t count, const double* fractions, int16_t* table, float a);
void buildLanczosWeightsX8(uint32_t count, const double* fractions, int16_t* table, float a);

}  // namespace quillon

#endif  // QUILLON_CORE_WEIGHTTABLES_H
