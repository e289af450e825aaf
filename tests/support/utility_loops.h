// The loops of the utilities as their headers state them, for tests and benches: Shell sort, Jacobi, crossings, splines.
#pragma once

#include <sarvo/nr.h>

#include <cmath>
#include <cstdint>
#include <utility>
#include <vector>

namespace test::literal {

using Doubles = std::vector<double>;

inline void shell_sort(Doubles &x, size_t n) {
    size_t h = 1;
    while (h <= n) h = 3 * h + 1;
    while (h > 1) {
        h /= 3;
        for (size_t i = h; i < n; i++) {
            const double v = x[i];
            size_t j = i;
            for (; j >= h && x[j - h] > v; j -= h) x[j] = x[j - h];
            x[j] = v;
        }
    }
}

// a: n x n by rows, overwritten above the diagonal; V and d receive the results. False without convergence.
inline bool jacobi(size_t n, Doubles &a, Doubles &V, Doubles &d, double tol = 0x1p-52, int max_sweeps = 50) {
    Doubles b(n), z(n, 0.0);
    V.assign(n * n, 0.0);
    d.assign(n, 0.0);
    for (size_t i = 0; i < n; i++) {
        V[i * n + i] = 1.0;
        b[i] = d[i] = a[i * n + i];
    }
    for (int sweep = 1; sweep <= max_sweeps; sweep++) {
        double sm = 0.0;
        for (size_t p = 0; p < n; p++)
            for (size_t q = p + 1; q < n; q++) sm += std::fabs(a[p * n + q]);
        if (sm == 0.0) {
            for (size_t k = 0; k < n; k++) {
                size_t most = k;
                for (size_t j = k + 1; j < n; j++)
                    if (d[j] > d[most]) most = j;
                std::swap(d[k], d[most]);
                for (size_t i = 0; i < n && most != k; i++) std::swap(V[i * n + k], V[i * n + most]);
            }
            return true;
        }
        const double tresh = sweep < 4 ? 0.2 * sm / (static_cast<double>(n) * static_cast<double>(n)) : 0.0;
        for (size_t p = 0; p < n; p++)
            for (size_t q = p + 1; q < n; q++) {
                double &apq = a[p * n + q];
                const double g = 100.0 * std::fabs(apq);
                if (sweep > 4 && std::fabs(d[p]) * tol >= g && std::fabs(d[q]) * tol >= g) apq = 0.0;
                else if (std::fabs(apq) > tresh) {
                    double h = d[q] - d[p], t;
                    if (std::fabs(h) * tol >= g) t = apq / h;
                    else {
                        const double theta = 0.5 * h / apq;
                        t = 1.0 / (std::fabs(theta) + std::sqrt(1.0 + theta * theta));
                        if (theta < 0.0) t = -t;
                    }
                    const double c = 1.0 / std::sqrt(1.0 + t * t), s = t * c, tau = s / (1.0 + c);
                    h = t * apq;
                    z[p] -= h;
                    z[q] += h;
                    d[p] -= h;
                    d[q] += h;
                    apq = 0.0;
                    const auto rotate = [s, tau](double &x, double &y) {
                        const double g0 = x, h0 = y;
                        x = g0 - s * (h0 + g0 * tau);
                        y = h0 + s * (g0 - h0 * tau);
                    };
                    for (size_t j = 0; j < p; j++) rotate(a[j * n + p], a[j * n + q]);
                    for (size_t j = p + 1; j < q; j++) rotate(a[p * n + j], a[j * n + q]);
                    for (size_t j = q + 1; j < n; j++) rotate(a[p * n + j], a[q * n + j]);
                    for (size_t j = 0; j < n; j++) rotate(V[j * n + p], V[j * n + q]);
                }
            }
        for (size_t k = 0; k < n; k++) {
            b[k] += z[k];
            d[k] = b[k];
            z[k] = 0.0;
        }
    }
    return false;
}

inline int pnpoly(size_t n, const double *x, const double *y, double px, double py) {
    int inside = 0;
    for (size_t i = 0, j = n - 1; i < n; j = i++)
        if ((y[i] > py) != (y[j] > py) && (py - y[i]) * (x[j] - x[i]) / (y[j] - y[i]) + x[i] > px) inside = !inside;
    return inside;
}

// The place by bisection from the whole table.
inline int32_t bisect(const sarvo_nr_itpl &s, double x) {
    const bool ascending = s.x[s.n - 1] >= s.x[0];
    int32_t lo = 0, hi = s.n - 1;
    while (hi - lo > 1) {
        const int32_t mid = (hi + lo) >> 1;
        if ((x >= s.x[mid]) == ascending) lo = mid;
        else hi = mid;
    }
    return lo;
}

inline double spline(const sarvo_nr_itpl &s, double x) {
    const int32_t lo = bisect(s, x), hi = lo + 1;
    const double h = s.x[hi] - s.x[lo], a = (s.x[hi] - x) / h, b = (x - s.x[lo]) / h;
    return a * s.y[lo] + b * s.y[hi] + ((a * a * a - a) * s.y2[lo] + (b * b * b - b) * s.y2[hi]) * (h * h) / 6.0;
}

} // namespace test::literal
