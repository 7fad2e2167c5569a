// Q13 filter weights: Keys cubic (4 taps) and Lanczos with a window of 4
// (8 taps), in the plain layout and the replicated layouts the vector kernels
// load as whole registers.
#include "core/WeightTables.h"
#include "core/PortableMath.h"

#include <cmath>
#include <cstdint>

namespace quillon {
namespace {

constexpr double kPi = 3.141592653589793;

// Outer lobe of the Keys cubic, 1 <= d <= 2, in its nested form.
double CubicOuter(double a, double d) {
    return a * (((d - 5.0) * d + 8.0) * d - 4.0);
}

// Inner lobe, 0 <= d <= 1; d is squared first, then multiplied.
double CubicInner(double a, double d) {
    return ((a + 2.0) * d - (a + 3.0)) * (d * d) + 1.0;
}

double Sinc(double x) {
    if (x == 0.0) {
        return 1.0;
    }
    const double px = kPi * x;
    return portable::Sin(px) / px;
}

double Lanczos4(double d) {
    return Sinc(d) * Sinc(d * 0.25);
}

// Writes taps of every entry, each tap repeated `copies` times.
template <int Taps, typename TapFn>
void BuildReplicated(uint32_t count, const double* fractions, int16_t* table, int copies,
                     TapFn&& tapsOf) {
    int16_t taps[Taps];
    for (uint32_t i = 0; i < count; ++i) {
        tapsOf(fractions[i], taps);
        for (int k = 0; k < Taps; ++k) {
            for (int c = 0; c < copies; ++c) {
                *table++ = taps[k];
            }
        }
    }
}

}  // namespace

int16_t RoundWeight(double scaled) {
    if (scaled < 0.0) {
        return static_cast<int16_t>(static_cast<int32_t>(scaled - 0.5));
    }
    if (scaled > 0.0) {
        return static_cast<int16_t>(static_cast<int32_t>(scaled + 0.5));
    }
    return 0;
}

void cubicTaps(double t, float a, int16_t taps[4]) {
    const double p = a;
    // Tap 3 first; tap 0's distance is derived from tap 3's, literally.
    const double d3 = (1.0 - t) + 1.0;
    const double d0 = 3.0 - d3;
    taps[3] = RoundWeight(CubicOuter(p, d3) * kWeightOne);
    taps[0] = RoundWeight(CubicOuter(p, d0) * kWeightOne);
    taps[1] = RoundWeight(CubicInner(p, t) * kWeightOne);
    taps[2] = RoundWeight(CubicInner(p, 1.0 - t) * kWeightOne);
}

void lanczosTaps(double t, int16_t taps[8]) {
    const double distance[8] = {t + 3.0, t + 2.0, t + 1.0, t, 1.0 - t, 2.0 - t, 3.0 - t, 4.0 - t};
    for (int k = 0; k < 8; ++k) {
        taps[k] = RoundWeight(Lanczos4(distance[k]) * kWeightOne);
    }
}

void buildCubicWeights(uint32_t count, const double* fractions, int16_t* table, float a) {
    BuildReplicated<4>(count, fractions, table, 1,
                       [a](double t, int16_t* taps) { cubicTaps(t, a, taps); });
}

void buildCubicWeightsX4(uint32_t count, const double* fractions, int16_t* table, float a) {
    BuildReplicated<4>(count, fractions, table, 4,
                       [a](double t, int16_t* taps) { cubicTaps(t, a, taps); });
}

void buildCubicWeightsX8(uint32_t count, const double* fractions, int16_t* table, float a) {
    BuildReplicated<4>(count, fractions, table, 8,
                       [a](double t, int16_t* taps) { cubicTaps(t, a, taps); });
}

void buildLanczosWeights(uint32_t count, const double* fractions, int16_t* table, float) {
    BuildReplicated<8>(count, fractions, table, 1, &lanczosTaps);
}

void buildLanczosWeightsX4(uint32_t count, const double* fractions, int16_t* table, float) {
    BuildReplicated<8>(count, fractions, table, 4, &lanczosTaps);
}

void buildLanczosWeightsX8(uint32_t count, const double* fractions, int16_t* table, float) {
    BuildReplicated<8>(count, fractions, table, 8, &lanczosTaps);
}

}  // namespace quillon
