// Per-context curve tables: the refinement S-curve and the sharpen gains.
#ifndef QUILLON_CORE_CURVETABLES_H
#define QUILLON_CORE_CURVETABLES_H

#include <cstdint>

namespace quillon {

inline constexpr uint32_t kRefineCurveRows = 256;
inline constexpr uint32_t kRefineCurveColumns = 511;  // k = -255..255
inline constexpr uint32_t kSharpenCurveSize = 256 * 256;

// Rows 1..255 of the refinement curve (row 0 is never read and is left as is).
void buildRefineCurve(double shape, int16_t* table);
// Q14 gain indexed by centre * 256 + blurred.
void buildSharpenCurve(double gain, uint16_t* table);

}  // namespace quillon

#endif  // QUILLON_CORE_CURVETABLES_H
