// The regularised incomplete gamma functions as their distributions and inverses use them.
#pragma once

#include <stdint.h>

namespace sarvo::special {

// Shape a with what all arguments x share.
struct GammaShape {
    double a;
    double ln_gamma; // ln Gamma(a)

    explicit GammaShape(double a);
};

// x^a e^-x / Gamma(a)
double gamma_front(const GammaShape &shape, double x);

// Steps after which a series or fraction that has not ended is given up. Fractions wait for a division in each step;
// terms of shapes and convergents of arguments above 2^900 are subnormal numbers, which take long.
constexpr uint32_t most_terms = uint32_t{1} << 26, most_slow_terms = uint32_t{1} << 22,
                   most_fractions = uint32_t{1} << 24;

// When a fraction that has not repeated ends by a small change: late, and at a unit in the last place, as only some do
// that flicker between neighbours. Rounded in other ways than to nearest all may flicker, and further: no bits are
// promised there.
struct Patience {
    double steps;
    double change; // relative
};
inline Patience patience(double steps) {
    volatile double one = 1.0, tiny = 0x1p-60;
    const bool nearest = one + tiny == 1.0 && one - tiny == 1.0;
    return nearest ? Patience{steps, 0x1p-52} : Patience{100.0, 0x1p-48};
}

// P(a, x) / front, meant for x < a + 1, and Q(a, x) / front, meant for x >= a + 1. *ended is false after the most
// steps.
double gamma_series(double a, double x, bool *ended = nullptr);
double gamma_fraction(double a, double x, bool *ended = nullptr);

double gamma_value(const GammaShape &shape, double x); // P(a, x)
double gamma_upper(const GammaShape &shape, double x); // Q(a, x), meant for x >= a + 1

} // namespace sarvo::special
