// The plain formulas of digamma, Hurwitz zeta and polygamma, for x > 0.
#pragma once

#include <cmath>

namespace literal {

inline double series(const double *c, int order, double y) {
    double d = 0, dd = 0;
    for (int j = order; j >= 1; j--) {
        const double t = d;
        d = 2 * y * d - dd + c[j];
        dd = t;
    }
    return y * d - dd + 0.5 * c[0];
}

inline double digamma(double x) {
    static constexpr double near[23] = {-0.03805708083521792,
                                        0.49141539302938714,
                                        -0.05681574782124473,
                                        0.008357821225914313,
                                        -0.001333232857994342,
                                        0.000220313287069308,
                                        -3.7040238178456e-05,
                                        6.283793654854e-06,
                                        -1.071263908506e-06,
                                        1.83128394654e-07,
                                        -3.1353509361e-08,
                                        5.372808776e-09,
                                        -9.21168141e-10,
                                        1.57981265e-10,
                                        -2.7098646e-11,
                                        4.648722e-12,
                                        -7.97527e-13,
                                        1.36827e-13,
                                        -2.3475e-14,
                                        4.027e-15,
                                        -6.91e-16,
                                        1.18e-16,
                                        -2e-17};
    static constexpr double far[16] = {-0.0204749044678185,
                                       -0.0101801271534859,
                                       5.59718725387e-05,
                                       -1.291717657e-06,
                                       5.72858606e-08,
                                       -3.8213539e-09,
                                       3.397434e-10,
                                       -3.74838e-11,
                                       4.899e-12,
                                       -7.344e-13,
                                       1.233e-13,
                                       -2.28e-14,
                                       4.5e-15,
                                       -9e-16,
                                       2e-16,
                                       0.0};
    const auto mapped = [](double t) { return (2 * t + 1 - 1) / 2; };
    if (x >= 2) return std::log(x) - 0.5 / x + series(far, 15, mapped(8 / (x * x) - 1));
    if (x >= 1) return series(near, 22, mapped(2 * (x - 1) - 1));
    return series(near, 22, mapped(2 * x - 1)) - 1 / x;
}

inline double hurwitz_zeta(double s, double q) {
    static constexpr double B[13] = {0.08333333333333333,    -0.001388888888888889,   3.306878306878307e-05,
                                     -8.267195767195768e-07, 2.08767569878681e-08,    -5.284190138687493e-10,
                                     1.3382536530684679e-11, -3.3896802963225827e-13, 8.586062056277845e-15,
                                     -2.174868698558062e-16, 5.5090028283602295e-18,  -1.3954465684812522e-19,
                                     3.534707039629467e-21};
    const double L = -s * std::log(q);
    if (L < std::log(0x1p-1022) + 1 || L > std::log(0x1.fffffffffffffp1023) - 1) return NAN;
    if ((s > 54 && q < 1) || (s > 27 && q < 0.25)) return std::pow(q, -s);
    if (s > 27 && q < 1) return std::pow(q, -s) * (1 + std::pow(q / (1 + q), s) + std::pow(q / (2 + q), s));
    const double w = q + 10, p = std::pow(w, -s);
    double sum = 0;
    for (int k = 0; k < 10; k++) sum += std::pow(q + k, -s);
    sum += p * (w / (s - 1) + 0.5);
    double scp = s, pcp = p / w;
    for (int j = 0; j <= 12; j++) {
        const double delta = B[j] * scp * pcp;
        sum += delta;
        if (std::fabs(delta / sum) < 0.5 * 0x1p-52) break;
        scp *= (s + 2 * j + 1) * (s + 2 * j + 2);
        pcp /= w * w;
    }
    return sum;
}

// n > 1, for values within the square roots of the range
inline double polygamma(int n, double x) {
    double factorial = 1; // exact up to 18
    for (int k = 2; k <= n; k++) factorial *= k;
    const double magnitude = hurwitz_zeta(n + 1, x) * std::exp(std::log(factorial));
    return n % 2 ? magnitude : -magnitude;
}

} // namespace literal
