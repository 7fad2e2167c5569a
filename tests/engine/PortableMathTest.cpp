// The engine's own pow, exp and sin: close to the C library's, exact where the
// tables rely on exact values.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <cstring>

#include "core/PortableMath.h"

namespace {

namespace pm = quillon::portable;

constexpr double kPi = 3.141592653589793;

int64_t UlpDistance(double a, double b) {
    int64_t x = 0;
    int64_t y = 0;
    std::memcpy(&x, &a, sizeof(x));
    std::memcpy(&y, &b, sizeof(y));
    return x > y ? x - y : y - x;
}

TEST(PortableMath, PowStaysWithinAnUlpOverTheRefineCurvesRange) {
    // Bases 0..510 in the curve's steps, exponents 1..2.35.
    for (int r = 1; r < 256; r += 3) {
        for (int k = 1; k <= 2 * 255; k += 7) {
            const double base = 2.0 * k / r;
            for (double e = 1.0; e <= 2.35; e += 0.0625) {
                ASSERT_LE(UlpDistance(pm::Pow(base, e), std::pow(base, e)), 1) << base << "^" << e;
            }
        }
    }
    // Exact where the curve's endpoints need it.
    EXPECT_TRUE(pm::Pow(0.0, 1.7) == 0.0 && pm::Pow(1.0, 2.3) == 1.0 && pm::Pow(7.0, 0.0) == 1.0);
    EXPECT_TRUE(pm::Pow(2.0, 1.0) == 2.0 && pm::Pow(0.25, 0.5) == 0.5);
    EXPECT_TRUE(std::isnan(pm::Pow(-2.0, 0.5)));
}

TEST(PortableMath, ExpAndSinStayWithinAnUlp) {
    for (double x = -40.0; x <= 40.0; x += 0.0137) {
        ASSERT_LE(UlpDistance(pm::Exp(x), std::exp(x)), 1) << x;
    }
    EXPECT_TRUE(pm::Exp(0.0) == 1.0 && pm::Exp(-800.0) == 0.0 && std::isinf(pm::Exp(800.0)));
    // The sinc of the Lanczos taps: |x| up to four half-turns.
    for (double x = -4.0 * kPi; x <= 4.0 * kPi; x += 0.00731) {
        if (std::fabs(std::sin(x)) > 1e-6) {
            ASSERT_LE(UlpDistance(pm::Sin(x), std::sin(x)), 1) << x;
        }
    }
    EXPECT_EQ(pm::Sin(0.0), 0.0);
}

}  // namespace
