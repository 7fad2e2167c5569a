// The few transcendental functions the engine's tables use, computed the same
// way on every platform. The C runtimes of Windows and Linux round some
// results of pow, exp and sin differently in the last bit; a table entry that
// truncates such a result can then change, and a render farm that mixes the
// two systems would produce frames that differ. These versions use only
// correctly rounded IEEE operations (+, -, *, /, exact scaling by powers of
// two), so with contraction into fused multiply-adds switched off (the
// engine's build does that) they give identical bits everywhere. Accuracy is
// within a few units in the last place over the ranges the engine uses.
#ifndef QUILLON_CORE_PORTABLEMATH_H
#define QUILLON_CORE_PORTABLEMATH_H

#include <cmath>
#include <limits>

namespace quillon::portable {

namespace detail {

// ln 2 split so that k * kLn2Hi is exact for |k| < 2^11.
inline constexpr double kLn2Hi = 6.93147180369123816490e-01;
inline constexpr double kLn2Lo = 1.90821492927058770002e-10;
inline constexpr double kInvLn2 = 1.44269504088896338700e+00;

// pi / 2 in three parts, each exact when multiplied by a small integer.
inline constexpr double kPiOver2Hi = 1.57079632673412561417e+00;
inline constexpr double kPiOver2Mid = 6.07710050650619224932e-11;
inline constexpr double kPiOver2Lo = 2.02226624879595063154e-21;
inline constexpr double kTwoOverPi = 6.36619772367581382433e-01;

// Rounds to the nearest integer, halves away from zero, without relying on
// the current rounding mode.
inline double RoundHalfAway(double x) {
    return x >= 0.0 ? std::floor(x + 0.5) : -std::floor(-x + 0.5);
}

// sin r and cos r for |r| <= pi/4, Taylor series to the 1e-17 level.
inline double SinKernel(double r) {
    const double z = r * r;
    double p = -1.0 / 1307674368000.0;  // -1/15!
    p = 1.0 / 6227020800.0 + z * p;     // 1/13!
    p = -1.0 / 39916800.0 + z * p;      // -1/11!
    p = 1.0 / 362880.0 + z * p;         // 1/9!
    p = -1.0 / 5040.0 + z * p;          // -1/7!
    p = 1.0 / 120.0 + z * p;            // 1/5!
    p = -1.0 / 6.0 + z * p;             // -1/3!
    return r + r * z * p;
}

inline double CosKernel(double r) {
    const double z = r * r;
    double p = 1.0 / 20922789888000.0;  // 1/16!
    p = -1.0 / 87178291200.0 + z * p;   // -1/14!
    p = 1.0 / 479001600.0 + z * p;      // 1/12!
    p = -1.0 / 3628800.0 + z * p;       // -1/10!
    p = 1.0 / 40320.0 + z * p;          // 1/8!
    p = -1.0 / 720.0 + z * p;           // -1/6!
    p = 1.0 / 24.0 + z * p;             // 1/4!
    return 1.0 - 0.5 * z + z * z * p;
}

// Error-free transformations: a + b = s + e and a * b = p + e exactly.
inline void TwoSum(double a, double b, double& s, double& e) {
    s = a + b;
    const double bb = s - a;
    e = (a - (s - bb)) + (b - bb);
}

inline void Split(double a, double& hi, double& lo) {
    const double t = 134217729.0 * a;  // 2^27 + 1
    hi = t - (t - a);
    lo = a - hi;
}

inline void TwoProduct(double a, double b, double& p, double& e) {
    p = a * b;
    double ah, al, bh, bl;
    Split(a, ah, al);
    Split(b, bh, bl);
    e = ((ah * bh - p) + ah * bl + al * bh) + al * bl;
}

// e^(x + tail) for a small tail, |x| within the finite range.
inline double ExpWithTail(double x, double tail) {
    const double k = RoundHalfAway(x * kInvLn2);
    // r = x - k ln 2 + tail; the first step is exact.
    const double r = ((x - k * kLn2Hi) - k * kLn2Lo) + tail;
    // e^r for |r| <= 0.35 by its Taylor series (terms to r^17 / 17!).
    double p = 1.0 / 355687428096000.0;
    const double factorials[] = {20922789888000.0,
                                 1307674368000.0,
                                 87178291200.0,
                                 6227020800.0,
                                 479001600.0,
                                 39916800.0,
                                 3628800.0,
                                 362880.0,
                                 40320.0,
                                 5040.0,
                                 720.0,
                                 120.0,
                                 24.0,
                                 6.0,
                                 2.0};
    for (double f : factorials) {
        p = 1.0 / f + r * p;
    }
    const double e = 1.0 + (r + r * r * p);
    return std::ldexp(e, static_cast<int>(k));
}

// log x as an unevaluated sum hi + lo, for a positive finite x.
inline void LogExtended(double x, double& hi, double& lo) {
    int exponent = 0;
    double m = std::frexp(x, &exponent);  // m in [0.5, 1)
    if (m < 0.70710678118654752440) {
        m *= 2.0;
        exponent -= 1;
    }
    // log m = 2 atanh f with f = (m - 1) / (m + 1), |f| < 0.1716; f is
    // carried as fHi + fLo.
    const double numerator = m - 1.0;  // exact
    double denominator, denominatorLo;
    TwoSum(m, 1.0, denominator, denominatorLo);
    const double fHi = numerator / denominator;
    double product, productLo;
    TwoProduct(fHi, denominator, product, productLo);
    const double fLo = (((numerator - product) - productLo) - fHi * denominatorLo) / denominator;
    const double z = fHi * fHi;
    double p = 0.0;
    for (int n = 41; n >= 3; n -= 2) {
        p = 1.0 / n + z * p;
    }
    const double tail = 2.0 * fHi * z * p;
    const double k = exponent;
    double sum, sumLo;
    TwoSum(k * kLn2Hi, 2.0 * fHi, sum, sumLo);
    const double rest = sumLo + (2.0 * fLo + tail + k * kLn2Lo);
    TwoSum(sum, rest, hi, lo);
}

}  // namespace detail

// e^x.
inline double Exp(double x) {
    if (std::isnan(x)) {
        return x;
    }
    if (x > 709.78) {
        return std::numeric_limits<double>::infinity();
    }
    if (x < -745.2) {
        return 0.0;
    }
    return detail::ExpWithTail(x, 0.0);
}

// Natural logarithm.
inline double Log(double x) {
    if (!(x > 0.0) || std::isinf(x)) {
        return x == 0.0 ? -std::numeric_limits<double>::infinity()
                        : (x > 0.0 ? x : std::numeric_limits<double>::quiet_NaN());
    }
    double hi, lo;
    detail::LogExtended(x, hi, lo);
    return hi + lo;
}

// x^y for x >= 0 (the engine never raises a negative number). The product
// y log x is carried to about twice double precision, so the result stays
// within an ulp or so even for large exponents.
inline double Pow(double x, double y) {
    if (y == 0.0 || x == 1.0) {
        return 1.0;
    }
    if (x == 0.0) {
        return y > 0.0 ? 0.0 : std::numeric_limits<double>::infinity();
    }
    if (x < 0.0 || std::isnan(x) || std::isnan(y) || std::isinf(x) || std::isinf(y)) {
        return std::numeric_limits<double>::quiet_NaN();
    }
    double logHi, logLo;
    detail::LogExtended(x, logHi, logLo);
    double product, productLo;
    detail::TwoProduct(y, logHi, product, productLo);
    if (product > 709.78) {
        return std::numeric_limits<double>::infinity();
    }
    if (product < -745.2) {
        return 0.0;
    }
    return detail::ExpWithTail(product, productLo + y * logLo);
}

// sin x for |x| up to about 1e5.
inline double Sin(double x) {
    if (!std::isfinite(x)) {
        return std::numeric_limits<double>::quiet_NaN();
    }
    const double k = detail::RoundHalfAway(x * detail::kTwoOverPi);
    const double r =
        ((x - k * detail::kPiOver2Hi) - k * detail::kPiOver2Mid) - k * detail::kPiOver2Lo;
    const long long quadrant = static_cast<long long>(k) & 3;
    switch (quadrant) {
        case 0:
            return detail::SinKernel(r);
        case 1:
            return detail::CosKernel(r);
        case 2:
            return -detail::SinKernel(r);
        default:
            return -detail::CosKernel(r);
    }
}

}  // namespace quillon::portable

#endif  // QUILLON_CORE_PORTABLEMATH_H
