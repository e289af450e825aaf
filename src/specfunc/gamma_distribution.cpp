// The regularised incomplete gamma functions by series and continued fraction.
#include "gamma_distribution.h"

#include <sarvo/rnd.h>

#include "core/elementary.h"
#include "large_shapes.h"
#include "stirling.h"

namespace sarvo::special {

using elementary::exp;
using elementary::log;

GammaShape::GammaShape(double a_) : a(a_), ln_gamma(lngamma_stirling(a_)) {}

double gamma_front(const GammaShape &shape, double x) { return exp(shape.a * log(x) - x - shape.ln_gamma); }

// 1/a + x/(a (a+1)) + ..., first term first, until the sum repeats. To nearest a term below 2^-60 of the sum leaves it
// unchanged; rounded upwards it would not for ever.
double gamma_series(double a, double x, bool *ended) {
    if (ended) *ended = true;
    const uint32_t most = a < 0x1p900 ? most_terms : most_slow_terms;
    double sum = 1.0 / a, del = sum, ap = a;
    for (uint32_t step = 0; step < most; step++) {
        const double before = sum;
        ap += 1.0;
        del *= x / ap;
        sum += del;
        const double size = __builtin_fabs(sum);
        if (size == __builtin_fabs(before) || __builtin_fabs(del) <= 0x1p-60 * size || sum != sum) return sum;
    }
    if (ended) *ended = false;
    return sum;
}

// Legendre's fraction in half steps: P0 / P1 is the convergent, Q0 / Q1 the one half a step on, all scaled by fac. Ends
// when a convergent repeats; none is known to flicker, the patience is for those that might.
double gamma_fraction(double a, double x, bool *ended) {
    const Patience patient = patience(1e7);
    if (ended) *ended = true;
    double P0 = 1.0, P1 = x, Q0 = 0.0, Q1 = 1.0;
    double fac = 1.0, n = 0.0, g = 1.0 / x, g_old = 0.0;
    const double most = x < 0x1p900 ? most_fractions : most_slow_terms / 4;
    while (n < most) {
        n += 1.0;
        const double t = n - a;
        Q0 = (Q0 * t + P0) * fac;
        Q1 = (Q1 * t + P1) * fac;
        const double u = fac * n;
        P0 = P0 * u + Q0 * x;
        P1 = P1 * u + Q1 * x;
        if (P1 != 0.0) {
            fac = 1.0 / P1;
            g_old = g;
            g = P0 * fac;
        }
        if (__builtin_fabs(g) == __builtin_fabs(g_old) || g != g) return g;
        if (n >= patient.steps && __builtin_fabs(g - g_old) <= patient.change * __builtin_fabs(g)) return g;
    }
    if (ended) *ended = false;
    return g;
}

namespace {

// P(a, x) by the series. Where the front factor is NaN the series need not end.
double lower(const GammaShape &shape, double x) {
    const double front = gamma_front(shape, x);
    if (front != front) return front;
    bool ended;
    const double sum = gamma_series(shape.a, x, &ended);
    return ended || shape.a < least_large_gamma ? sum * front : gamma_tails(shape.a, x).lower;
}

} // namespace

// Where x^a e^-x is 0 nothing is left of the tail, whatever the fraction, whose terms may overflow there; where it is
// NaN the fraction need not end. One that is given up has a large shape, or an x far below a + 1 where the series ends.
double gamma_upper(const GammaShape &shape, double x) {
    const double front = gamma_front(shape, x);
    if (front == 0.0 || front != front) return front;
    bool ended;
    const double f = gamma_fraction(shape.a, x, &ended);
    if (ended) return f * front;
    return shape.a < least_large_gamma ? 1.0 - lower(shape, x) : gamma_tails(shape.a, x).upper;
}

double gamma_value(const GammaShape &shape, double x) {
    if (x <= 0.0) return 0.0;
    if (x < shape.a + 1.0) return lower(shape, x);
    return 1.0 - gamma_upper(shape, x);
}

} // namespace sarvo::special

using namespace sarvo::special;

extern "C" {

double sarvo_rnd_gammadf_series(double a, double x) { return lower(GammaShape(a), x); }

double sarvo_rnd_gammadf_fraction(double a, double x) { return gamma_upper(GammaShape(a), x); }

double sarvo_rnd_gammadf_value(double a, double x) { return x <= 0.0 ? 0.0 : gamma_value(GammaShape(a), x); }

double sarvo_rnd_chi2df(double k, double x) { return sarvo_rnd_gammadf_value(k / 2.0, x / 2.0); }

} // extern "C"
