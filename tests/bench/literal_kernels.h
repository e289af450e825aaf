// The suite's kernels as the plain loops of their definitions: reference of the tests and of the bench. Internal
// linkage: the bench compiles them with two sets of flags.
#pragma once

#include <cmath>
#include <complex>
#include <cstdint>
#include <utility>
#include <vector>

namespace {
namespace literal {

struct Generator {
    explicit Generator(int32_t seed) {
        int64_t s = seed < 0 ? -int64_t{seed} : seed;
        if (s % 2 == 0) s--;
        if (s < 0) s = 1;
        int64_t j0 = s % 65536, j1 = s / 65536;
        for (int64_t &word : m) {
            const int64_t t = j0 * 9069;
            j1 = (t / 65536 + j1 * 9069) % 32768;
            j0 = t % 65536;
            word = j1 * 65536 + j0;
        }
    }
    double next() {
        int64_t k = m[i] - m[j];
        if (k < 0) k += 2147483647;
        m[j] = k;
        i = i == 0 ? 16 : i - 1;
        j = j == 0 ? 16 : j - 1;
        return static_cast<double>(k) * scale;
    }
    int64_t m[17];
    int i = 4, j = 16;
    double scale = 1.0 / 2147483647.0;
};

inline double monte_carlo(int64_t samples) {
    Generator generator(113);
    int64_t count = 0;
    for (int64_t i = 0; i < samples; i++) {
        const double x = generator.next();
        const double y = generator.next();
        if (x * x + y * y <= 1.0) count++;
    }
    return samples > 0 ? 4.0 * static_cast<double>(count) / static_cast<double>(samples) : 0.0;
}

inline void sor(int M, int N, double omega, double **g, int iterations) {
    const double quarter = omega * 0.25, rest = 1.0 - omega;
    for (int p = 0; p < iterations; p++)
        for (int i = 1; i < M - 1; i++)
            for (int j = 1; j < N - 1; j++)
                g[i][j] = quarter * (g[i - 1][j] + g[i + 1][j] + g[i][j + 1] + g[i][j - 1]) + rest * g[i][j];
}

inline void matmult(int N, double *y, const double *val, const int32_t *row, const int32_t *col, const double *x,
                    int iterations) {
    for (int p = 0; p < iterations; p++)
        for (int r = 0; r < N; r++) {
            double sum = 0.0;
            for (int k = row[r]; k < row[r + 1]; k++) sum += val[k] * x[col[k]];
            y[r] = sum;
        }
}

inline int lu(int M, int N, double **a, int32_t *pivot) {
    for (int j = 0; j < (M < N ? M : N); j++) {
        int p = j;
        for (int i = j + 1; i < M; i++)
            if (std::fabs(a[i][j]) > std::fabs(a[p][j])) p = i;
        pivot[j] = p;
        if (a[p][j] == 0.0) return 1;
        if (p != j)
            for (int k = 0; k < N; k++) std::swap(a[p][k], a[j][k]);
        for (int i = j + 1; i < M; i++) {
            a[i][j] /= a[j][j];
            for (int k = j + 1; k < N; k++) a[i][k] -= a[i][j] * a[j][k];
        }
    }
    return 0;
}

inline void reverse_bits(int N, double *data) {
    for (int i = 0, r = 0; i < N - 1; i++) {
        if (i < r) {
            std::swap(data[2 * i], data[2 * r]);
            std::swap(data[2 * i + 1], data[2 * r + 1]);
        }
        int bit = N / 2;
        for (; bit <= r; bit /= 2) r -= bit;
        r += bit;
    }
}

// One butterfly of elements e and e + m with factor (p, q).
inline void butterfly(double *data, int e, int m, double p, double q) {
    double *a = data + 2 * e, *c = data + 2 * (e + m);
    const double re = p * c[0] - q * c[1], im = p * c[1] + q * c[0];
    c[0] = a[0] - re;
    c[1] = a[1] - im;
    a[0] += re;
    a[1] += im;
}

// The transform with factors from the recurrence by a fixed rotation, as one writes it down first.
inline void fft_by_recurrence(int N, double sign, double *data) {
    reverse_bits(N, data);
    for (int m = 1; m < N; m *= 2) {
        const double angle = sign * M_PI / m, s = std::sin(angle), h = std::sin(angle / 2), t = 2 * h * h;
        double p = 1.0, q = 0.0;
        for (int k = 0; k < m; k++) {
            for (int b = k; b < N; b += 2 * m) butterfly(data, b, m, p, q);
            const double next = p - (s * q + t * p);
            q = q + (s * p - t * q);
            p = next;
        }
    }
}

// The factors as sarvo/scimark.h states them; the correctly rounded ones by way of a longer type.
inline std::complex<double> factor(int k, int m, double sign) {
    if (k == 0) return {1.0, 0.0};
    const int h = k & -k;
    const long double angle = M_PIl * h / m;
    const double u = 2 * h == m ? 0.0 : static_cast<double>(cosl(angle));
    const double v = sign * static_cast<double>(sinl(angle));
    const std::complex<double> w = factor(k - h, m, sign);
    return {w.real() * u - w.imag() * v, w.real() * v + w.imag() * u};
}

inline void fft(int N, double sign, double *data) {
    reverse_bits(N, data);
    for (int m = 1; m < N; m *= 2)
        for (int k = 0; k < m; k++) {
            const std::complex<double> w = factor(k, m, sign);
            for (int b = k; b < N; b += 2 * m) {
                if (m > 2) {
                    butterfly(data, b, m, w.real(), w.imag());
                    continue;
                }
                double *a = data + 2 * b, *c = data + 2 * (b + m); // factors 1 and sign i: no product
                const double re = k == 0 ? c[0] : -(sign * c[1]), im = k == 0 ? c[1] : sign * c[0];
                c[0] = a[0] - re;
                c[1] = a[1] - im;
                a[0] += re;
                a[1] += im;
            }
        }
}

} // namespace literal
} // namespace
