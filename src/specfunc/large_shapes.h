// The incomplete gamma and beta functions of shapes so large that their series and fractions do not end in time.
#pragma once

namespace sarvo::special {

// Both tails, the smaller one with its own relative accuracy; NaN where an argument is.
struct Tails {
    double lower, upper;

    // Whether the lower tail is below p, asked of the tail that says it best.
    bool below(double p) const {
        if (p <= 0.5) return lower < p;
        return p < 1.0 ? upper > 1.0 - p : lower < 1.0;
    }
};

constexpr double least_large_gamma = 1e8;   // shapes a from here on
constexpr double least_large_beta = 0x1p30; // larger shapes from here on

Tails gamma_tails(double a, double x);          // P(a, x) and Q(a, x), x > 0
Tails beta_tails(double a, double b, double x); // I_x(a, b) and 1 - I_x(a, b), 0 < x < 1

} // namespace sarvo::special
