// Literal loops of the continued fractions.
#include "../levels.h"

namespace sarvo::simd::ref {
namespace {

constexpr double most_steps = 0x1p24;

// The step and the change from which on a convergent that hardly moves ends a fraction.
struct Patience {
    double steps, change;
};
Patience patience(double steps) {
    volatile double one = 1.0, tiny = 0x1p-60;
    const bool nearest = one + tiny == 1.0 && one - tiny == 1.0;
    return nearest ? Patience{steps, 0x1p-52} : Patience{100.0, 0x1p-48};
}

bool ends(double old, double f, double step, const Patience &patient) {
    const double change = __builtin_fabs(f - old), size = __builtin_fabs(f);
    if (__builtin_fabs(old) == size || f != f || step >= most_steps) return true;
    return step >= patient.steps && change <= patient.change * size;
}

double beta_fraction(double a, double b, double x) {
    const Patience patient = patience(100000.0);
    double A_prev = 0.0, A = 1.0, B_prev = 1.0, B = 1.0, f = 1.0, s = 1.0, m = 0.0, q = a, r = a;
    for (;;) {
        const double old = f;
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
        if (ends(old, f, m, patient)) return f;
    }
}

double gamma_fraction(double a, double x) {
    const Patience patient = patience(1e7);
    double P0 = 1.0, P1 = x, Q0 = 0.0, Q1 = 1.0, fac = 1.0, n = 0.0, g = 1.0 / x, old = 0.0;
    for (;;) {
        n += 1.0;
        const double t = n - a;
        Q0 = (Q0 * t + P0) * fac;
        Q1 = (Q1 * t + P1) * fac;
        const double u = fac * n;
        P0 = P0 * u + Q0 * x;
        P1 = P1 * u + Q1 * x;
        if (P1 != 0.0) {
            fac = 1.0 / P1;
            old = g;
            g = P0 * fac;
        }
        if (ends(old, g, n, patient)) return g;
    }
}

} // namespace

void beta_fractions(uint64_t n, double a, double b, const double *x, double *f) {
    for (uint64_t i = 0; i < n; i++) f[i] = beta_fraction(a, b, x[i]);
}

void gamma_fractions(uint64_t n, double a, const double *x, double *g) {
    for (uint64_t i = 0; i < n; i++) g[i] = gamma_fraction(a, x[i]);
}

} // namespace sarvo::simd::ref
