// Continued fractions: one lane per argument. A single fraction waits for its divisions; eight keep the divider busy.
#include "levels.h"
#include "vec.h"

namespace sarvo::simd::SARVO_SIMD_LEVEL {
namespace {

typedef int64_t Mask __attribute__((vector_size(sizeof(Vec)))); // all ones or 0 a lane

inline bool all(Mask m) {
#if SARVO_SIMD_LANES == 8
    return _mm512_movepi64_mask(reinterpret_cast<__m512i>(m)) == 0xFF;
#elif SARVO_SIMD_LANES == 4
    return _mm256_movemask_pd(reinterpret_cast<__m256d>(m)) == 0xF;
#else
    bool every = true;
    for (uint64_t i = 0; i < lanes; i++) every = every && m[i] != 0;
    return every;
#endif
}

// Keeps each lane's value from the step on in which it ends: where it repeats, is NaN, or (patient) hardly changes.
struct Convergents {
    Mask done[parts];
    Vec result[parts];

    Convergents() {
        for (uint64_t p = 0; p < parts; p++) done[p] = Mask{}, result[p] = Vec{};
    }

    bool end(const Vec (&old)[parts], const Vec (&f)[parts], bool patient) {
        bool over = true;
        for (uint64_t p = 0; p < parts; p++) {
            const Vec size = magnitude(f[p]);
            Mask ends = (magnitude(old[p]) == size) | (f[p] != f[p]);
            if (patient) ends |= magnitude(f[p] - old[p]) <= 0x1p-52 * size;
            result[p] = done[p] ? result[p] : f[p];
            done[p] |= ends;
            over = over && all(done[p]);
        }
        return over;
    }
};

} // namespace

void beta_fractions(double a, double b, const double *x, double *f) {
    const Vec one = broadcast(1.0);
    Vec X[parts], A_prev[parts], A[parts], B_prev[parts], B[parts], s[parts], value[parts], old[parts];
    for (uint64_t p = 0; p < parts; p++) {
        X[p] = load(x + p * lanes);
        A_prev[p] = Vec{};
        A[p] = B_prev[p] = B[p] = s[p] = value[p] = one;
    }
    Convergents convergents;
    double m = 0.0, q = a, r = a;
    do {
        r += 1.0;
        const double odd = q * (q + b), under_odd = (r - 1.0) * r;
        m += 1.0;
        r += 1.0;
        const double even = (b - m) * m, under_even = (r - 1.0) * r;
        for (uint64_t p = 0; p < parts; p++) {
            Vec d = -(odd * X[p]) / under_odd;
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
    } while (!convergents.end(old, value, m >= 100000.0));
    for (uint64_t p = 0; p < parts; p++) store(f + p * lanes, convergents.result[p]);
}

void gamma_fractions(double a, const double *x, double *g) {
    const Vec one = broadcast(1.0);
    Vec X[parts], P0[parts], P1[parts], Q0[parts], Q1[parts], fac[parts], value[parts], old[parts];
    for (uint64_t p = 0; p < parts; p++) {
        X[p] = P1[p] = load(x + p * lanes);
        Q0[p] = Vec{};
        P0[p] = Q1[p] = fac[p] = one;
        value[p] = one / X[p];
        old[p] = Vec{};
    }
    Convergents convergents;
    double n = 0.0;
    do {
        n += 1.0;
        const double t = n - a;
        for (uint64_t p = 0; p < parts; p++) {
            Q0[p] = (Q0[p] * t + P0[p]) * fac[p];
            Q1[p] = (Q1[p] * t + P1[p]) * fac[p];
            const Vec u = fac[p] * n;
            P0[p] = P0[p] * u + Q0[p] * X[p];
            P1[p] = P1[p] * u + Q1[p] * X[p];
            const Mask usable = P1[p] != Vec{};
            fac[p] = usable ? one / P1[p] : fac[p];
            old[p] = usable ? value[p] : old[p];
            value[p] = usable ? P0[p] * fac[p] : value[p];
        }
    } while (!convergents.end(old, value, n >= 1e7));
    for (uint64_t p = 0; p < parts; p++) store(g + p * lanes, convergents.result[p]);
}

} // namespace sarvo::simd::SARVO_SIMD_LEVEL
