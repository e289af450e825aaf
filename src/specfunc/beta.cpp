// The regularised incomplete beta function by its continued fraction.
#include "beta.h"

#include <sarvo/rnd.h>

#include "core/elementary.h"
#include "gamma_distribution.h"
#include "large_shapes.h"
#include "stirling.h"

namespace sarvo::special {

using elementary::exp;
using elementary::log;

Beta::Beta(double a_, double b_) : a(a_), b(b_), split((1.0 + a_) / (a_ + b_ + 2.0)) {
    const double la = lngamma_stirling(a), lb = lngamma_stirling(b), lab = lngamma_stirling(a + b);
    ln_beta = la + lb - lab;
}

// Numerator A and denominator B of the convergents, both kept near 1 by the scale s. Ends when a convergent repeats. It
// may come to flicker between two neighbours instead (a shape below 1 and a tiny x): hence the patience, which no
// fraction that ends by repetition within it notices.
double beta_continued_fraction(double a, double b, double x, bool *ended) {
    const Patience patient = patience(100000.0);
    if (ended) *ended = true;
    double A_prev = 0.0, A = 1.0, B_prev = 1.0, B = 1.0;
    double f = 1.0, s = 1.0, m = 0.0, q = a, r = a;
    for (uint32_t step = 1; step <= most_fractions; step++) {
        const double f_old = f;
        r += 1.0;
        double d = -(q * (q + b) * x) / ((r - 1.0) * r);
        A_prev = (A_prev * d + A) * s;
        B_prev = (B_prev * d + B) * s;
        m += 1.0;
        r += 1.0;
        d = ((b - m) * m * x * s) / ((r - 1.0) * r);
        A = A * d + A_prev;
        B = B * d + B_prev;
        s = 1.0 / B;
        f = A * s;
        q += 1.0;
        if (__builtin_fabs(f_old) == __builtin_fabs(f) || f != f) return f;
        if (m >= patient.steps && __builtin_fabs(f - f_old) <= patient.change * __builtin_fabs(f)) return f;
    }
    if (ended) *ended = false;
    return f;
}

double beta_front(double a, double b, double ln_beta, double x) { return exp(b * log(1.0 - x) + a * log(x) - ln_beta); }

namespace {

// Where the front factor is NaN (x outside of [0, 1]) the fraction need not end. One that is given up has a large
// shape, or an x far above the split, where the other tail's ends, or x = 1 and a front factor of 0.
double fraction(double a, double b, double ln_beta, double x) {
    const double front = beta_front(a, b, ln_beta, x);
    if (front != front) return front;
    bool ended;
    const double f = beta_continued_fraction(a, b, x, &ended);
    if (ended || front == 0.0) return front * f / a;
    if (a >= least_large_beta || b >= least_large_beta) return beta_tails(a, b, x).lower;
    return 1.0 - beta_front(b, a, ln_beta, 1.0 - x) * beta_continued_fraction(b, a, 1.0 - x) / b;
}

} // namespace

double beta_value(const Beta &beta, double x) {
    if (x <= 0.0) return 0.0;
    if (x >= 1.0) return 1.0;
    if (x < beta.split) return fraction(beta.a, beta.b, beta.ln_beta, x);
    return 1.0 - fraction(beta.b, beta.a, beta.ln_beta, 1.0 - x);
}

} // namespace sarvo::special

using namespace sarvo::special;

extern "C" {

double sarvo_rnd_betadf_fraction(double a, double b, double x) { return fraction(a, b, Beta(a, b).ln_beta, x); }

double sarvo_rnd_betadf_value(double a, double b, double x) {
    if (x <= 0.0) return 0.0;
    if (x >= 1.0) return 1.0;
    return beta_value(Beta(a, b), x);
}

double sarvo_rnd_betadf_inv(double a, double b, double p) {
    if (p < 0.0 || p > 1.0) return -1.0;
    if (p == 0.0) return 0.0;
    if (p == 1.0) return 1.0;
    return beta_inverse(a, b, p);
}

double sarvo_rnd_fdf(double d1, double d2, double x) {
    if (x < 0.0) return -1.0;
    const double w = d2 / (d1 * x + d2);
    return 1.0 - sarvo_rnd_betadf_value(d2 / 2.0, d1 / 2.0, w);
}

double sarvo_rnd_fdf_inv(double d1, double d2, double p) {
    double w = p;
    if (p < 0.0 || p > 1.0) w = -1.0;
    else if (p != 0.0 && p != 1.0) w = beta_inverse(d1 / 2.0, d2 / 2.0, p);
    return d2 * w / d1 / (1.0 - w);
}

double sarvo_rnd_studentdf(double nu, double t) {
    if (nu < 0.0) return -1.0;
    if (t == 0.0) return 0.5;
    const double I = sarvo_rnd_betadf_value(nu / 2.0, 0.5, nu / (t * t + nu));
    return t > 0.0 ? 1.0 - I / 2.0 : I / 2.0;
}

double sarvo_rnd_studentdf_inv(double nu, double p) {
    if (p == 0.5) return 0.0;
    const double q = __builtin_fabs(p);
    double w = q;
    if (q > 1.0) w = -1.0;
    else if (q != 0.0 && q != 1.0) w = beta_inverse(0.5, nu / 2.0, q);
    const double t = __builtin_sqrt(nu * w / (1.0 - w));
    return p < 0.5 ? -t : t;
}

} // extern "C"
