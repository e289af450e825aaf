// The plain loops of the distribution functions and their bisections, as the headers state them.
#pragma once

#include <cmath>

#include <sarvo/rnd.h>
#include <sarvo/specfunc.h>

namespace literal {

inline double beta_fraction(double a, double b, double x, int *steps = nullptr) {
    const double la = sarvo_lngamma_stirling(a), lb = sarvo_lngamma_stirling(b), lab = sarvo_lngamma_stirling(a + b);
    double A_prev = 0, A = 1, B_prev = 1, B = 1, f = 1, s = 1, m = 0, q = a, r = a, f_old;
    int step = 0;
    do {
        f_old = f;
        r += 1;
        double d = -(q * (q + b) * x) / ((r - 1) * r);
        A_prev = (A_prev * d + A) * s;
        B_prev = (B_prev * d + B) * s;
        m += 1;
        r += 1;
        d = ((b - m) * m * x * s) / ((r - 1) * r);
        A = A * d + A_prev;
        B = B * d + B_prev;
        s = 1 / B;
        f = A * s;
        q += 1;
        if (++step >= 100000 && std::fabs(f - f_old) <= 0x1p-52 * std::fabs(f)) break;
    } while (std::fabs(f_old) != std::fabs(f) && f == f);
    if (steps) *steps = step;
    return std::exp(b * std::log(1 - x) + a * std::log(x) - (la + lb - lab)) * f / a;
}

inline double beta(double a, double b, double x) {
    if (x <= 0) return 0;
    if (x >= 1) return 1;
    return x < (1 + a) / (a + b + 2) ? beta_fraction(a, b, x) : 1 - beta_fraction(b, a, 1 - x);
}

inline double beta_bisection(double a, double b, double p) {
    double lo = 0, hi = 1, w = 0.5;
    for (;;) {
        const double F = beta(a, b, w);
        if (F > p) {
            hi = w;
        } else {
            lo = w;
            if (F == p) return w;
        }
        w = (lo + hi) / 2;
        if (w == lo || w == hi) return w;
    }
}

inline double gamma(double a, double x) {
    if (x <= 0) return 0;
    const double front = std::exp(a * std::log(x) - x - sarvo_lngamma_stirling(a));
    if (x < a + 1) {
        double sum = 1 / a, del = sum, ap = a, old;
        do {
            old = sum;
            ap += 1;
            del *= x / ap;
            sum += del;
        } while (std::fabs(sum) != std::fabs(old));
        return sum * front;
    }
    double P0 = 1, P1 = x, Q0 = 0, Q1 = 1, fac = 1, n = 0, g = 1 / x, g_old = 0;
    do {
        n += 1;
        const double t = n - a;
        Q0 = (Q0 * t + P0) * fac;
        Q1 = (Q1 * t + P1) * fac;
        const double u = fac * n;
        P0 = P0 * u + Q0 * x;
        P1 = P1 * u + Q1 * x;
        if (P1 != 0) {
            fac = 1 / P1;
            g_old = g;
            g = P0 * fac;
        }
    } while (std::fabs(g) != std::fabs(g_old));
    return 1 - g * front;
}

inline double gamma_bisection(double a, double p) {
    if (p == 0) return 0;
    double hi = 1;
    while (!(gamma(a, hi) >= p)) hi += 1;
    double lo = hi - 1;
    for (;;) {
        const double x = (lo + hi) / 2;
        if (x == lo || x == hi) return x;
        const double P = gamma(a, x);
        if (P > p) hi = x;
        else if (P < p) lo = x;
        else return x;
    }
}

} // namespace literal
