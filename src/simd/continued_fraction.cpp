// Continued fractions: one lane per argument. A single fraction waits for its divisions; eight keep the divider busy.
#include "levels.h"
#include "vec.h"

namespace sarvo::simd::SARVO_SIMD_LEVEL {
namespace {

// Not wider than four lanes: division takes as long for eight as for two times four, and each step waits for two
// divisions.
constexpr uint64_t width = lanes < 4 ? lanes : 4;
constexpr double most_steps = 0x1p24;

// The step and the change from which on a convergent that hardly moves ends a fraction.
struct Patience {
    double steps, change;
};
inline Patience patience(double steps) {
    volatile double unit = 1.0, tiny = 0x1p-60;
    const bool nearest = unit + tiny == 1.0 && unit - tiny == 1.0;
    return nearest ? Patience{steps, 0x1p-52} : Patience{100.0, 0x1p-48};
}

typedef double Piece __attribute__((vector_size(width * sizeof(double))));
typedef int64_t Mask __attribute__((vector_size(width * sizeof(double)))); // all ones or 0 a lane

inline Piece absolute(Piece x) { return reinterpret_cast<Piece>(reinterpret_cast<Mask>(x) & INT64_MAX); }

inline bool all(Mask m) {
#if SARVO_SIMD_LANES >= 4
    return _mm256_movemask_pd(reinterpret_cast<__m256d>(m)) == 0xF;
#else
    bool every = true;
    for (uint64_t i = 0; i < width; i++) every = every && m[i] != 0;
    return every;
#endif
}

template <uint64_t pieces> void load_all(uint64_t n, const double *x, Piece (&X)[pieces]) {
    for (uint64_t i = 0; i < pieces * width; i++) X[i / width][i % width] = x[i < n ? i : n - 1];
}

template <uint64_t pieces> void store_all(uint64_t n, const Piece (&F)[pieces], double *f) {
    for (uint64_t i = 0; i < n; i++) f[i] = F[i / width][i % width];
}

// Keeps each lane's value from the step on in which it ends: where it repeats, is NaN, or (patient) hardly changes.
template <uint64_t pieces> struct Convergents {
    Mask done[pieces];
    Piece result[pieces];

    Convergents() {
        for (uint64_t p = 0; p < pieces; p++) done[p] = Mask{}, result[p] = Piece{};
    }

    bool end(const Piece (&old)[pieces], const Piece (&f)[pieces], double step, const Patience &patient) {
        bool over = true;
        for (uint64_t p = 0; p < pieces; p++) {
            const Piece size = absolute(f[p]);
            Mask ends = (absolute(old[p]) == size) | (f[p] != f[p]);
            if (step >= patient.steps) ends |= absolute(f[p] - old[p]) <= patient.change * size;
            result[p] = done[p] ? result[p] : f[p];
            done[p] |= ends;
            over = over && all(done[p]);
        }
        return over;
    }
};

template <uint64_t pieces> void beta_lanes(uint64_t n, double a, double b, const double *x, double *f) {
    const Piece one = Piece{} + 1.0;
    Piece X[pieces], A_prev[pieces], A[pieces], B_prev[pieces], B[pieces], s[pieces], value[pieces], old[pieces];
    load_all(n, x, X);
    for (uint64_t p = 0; p < pieces; p++) {
        A_prev[p] = Piece{};
        A[p] = B_prev[p] = B[p] = s[p] = value[p] = one;
    }
    Convergents<pieces> convergents;
    const Patience patient = patience(100000.0);
    double m = 0.0, q = a, r = a;
    do {
        r += 1.0;
        const double odd = q * (q + b), under_odd = (r - 1.0) * r;
        m += 1.0;
        r += 1.0;
        const double even = (b - m) * m, under_even = (r - 1.0) * r;
        for (uint64_t p = 0; p < pieces; p++) {
            Piece d = -(odd * X[p]) / under_odd;
            A_prev[p] = (A_prev[p] * d + A[p]) * s[p];
            B_prev[p] = (B_prev[p] * d + B[p]) * s[p];
            d = (even * X[p] * s[p]) / under_even;
            A[p] = A[p] * d + A_prev[p];
            B[p] = B[p] * d + B_prev[p];
            s[p] = one / B[p];
            old[p] = value[p];
            value[p] = A[p] * s[p];
        }
        q += 1.0;
    } while (!convergents.end(old, value, m, patient) && m < most_steps);
    store_all(n, convergents.result, f);
}

template <uint64_t pieces> void gamma_lanes(uint64_t n, double a, const double *x, double *g) {
    const Piece one = Piece{} + 1.0;
    Piece X[pieces], P0[pieces], P1[pieces], Q0[pieces], Q1[pieces], fac[pieces], value[pieces], old[pieces];
    load_all(n, x, X);
    for (uint64_t p = 0; p < pieces; p++) {
        P1[p] = X[p];
        Q0[p] = Piece{};
        P0[p] = Q1[p] = fac[p] = one;
        value[p] = one / X[p];
        old[p] = Piece{};
    }
    Convergents<pieces> convergents;
    const Patience patient = patience(1e7);
    double k = 0.0;
    do {
        k += 1.0;
        const double t = k - a;
        for (uint64_t p = 0; p < pieces; p++) {
            Q0[p] = (Q0[p] * t + P0[p]) * fac[p];
            Q1[p] = (Q1[p] * t + P1[p]) * fac[p];
            const Piece u = fac[p] * k;
            P0[p] = P0[p] * u + Q0[p] * X[p];
            P1[p] = P1[p] * u + Q1[p] * X[p];
            const Mask usable = P1[p] != Piece{};
            fac[p] = usable ? one / P1[p] : fac[p];
            old[p] = usable ? value[p] : old[p];
            value[p] = usable ? P0[p] * fac[p] : value[p];
        }
    } while (!convergents.end(old, value, k, patient) && k < most_steps);
    store_all(n, convergents.result, g);
}

} // namespace

void beta_fractions(uint64_t n, double a, double b, const double *x, double *f) {
    if (n == 0) return;
    if (n <= 4) beta_lanes<4 / width>(n, a, b, x, f);
    else beta_lanes<8 / width>(n, a, b, x, f);
}

void gamma_fractions(uint64_t n, double a, const double *x, double *g) {
    if (n == 0) return;
    if (n <= 4) gamma_lanes<4 / width>(n, a, x, g);
    else gamma_lanes<8 / width>(n, a, x, g);
}

} // namespace sarvo::simd::SARVO_SIMD_LEVEL
