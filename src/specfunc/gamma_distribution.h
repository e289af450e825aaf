// The regularised incomplete gamma functions as their distributions and inverses use them.
#pragma once

namespace sarvo::special {

// Shape a with what all arguments x share.
struct GammaShape {
    double a;
    double ln_gamma; // ln Gamma(a)

    explicit GammaShape(double a);
};

// x^a e^-x / Gamma(a)
double gamma_front(const GammaShape &shape, double x);

double gamma_series(double a, double x);   // P(a, x) / front, meant for x < a + 1
double gamma_fraction(double a, double x); // Q(a, x) / front, meant for x >= a + 1

double gamma_value(const GammaShape &shape, double x); // P(a, x)

} // namespace sarvo::special
