// Householder reflections: sums over rows that have an update pending, and the expansion of a product of reflections.
#include "levels.h"
#include "vec.h"

namespace sarvo::simd::SARVO_SIMD_LEVEL {
namespace {

// Adds the terms of the next columns to the sums of `lanes` rows, one lane a row: made along the rows, then transposed.
inline void add_terms(const double *a, uint64_t lda, const double *u, Vec y, Vec x, Vec &sum) {
    Vec term[lanes];
    for (uint64_t i = 0; i < lanes; i++) term[i] = (load(a + i * lda) - u[i] * y) * x;
    transpose_lanes(term);
    for (uint64_t t = 0; t < lanes; t++) sum += term[t];
}

// The same for the last columns, less than a vector of them.
inline void add_last_terms(uint64_t count, const double *a, uint64_t lda, const double *u, const double *y,
                           const double *x, Vec &sum) {
    const Vec yj = load_part(y, count), xj = load_part(x, count);
    Vec term[lanes];
    for (uint64_t i = 0; i < lanes; i++) term[i] = (load_part(a + i * lda, count) - u[i] * yj) * xj;
    transpose_lanes(term);
    for (uint64_t t = 0; t < count; t++) sum += term[t];
}

template <uint64_t blocks>
void sum_rows(uint64_t n, const double *a, uint64_t lda, const double *u, const double *y, const double *x,
              double *out) {
    Vec sum[blocks] = {};
    uint64_t j = 0;
    for (; j + lanes <= n; j += lanes)
        for (uint64_t b = 0; b < blocks; b++)
            add_terms(a + b * lanes * lda + j, lda, u + b * lanes, load(y + j), load(x + j), sum[b]);
    for (uint64_t b = 0; b < blocks; b++) {
        if (j < n) add_last_terms(n - j, a + b * lanes * lda + j, lda, u + b * lanes, y + j, x + j, sum[b]);
        store(out + b * lanes, sum[b]);
    }
}

// One strip of columns, all reflections. Each pass over the rows applies one and sums for the next.
template <uint64_t vectors>
void reflect_strip(uint64_t count, uint64_t n, const double *h, uint64_t ldh, const double *beta, double *q,
                   uint64_t ldq) {
    Vec sum[vectors] = {};
    const double *hk = h + (count - 1) * ldh;
    for (uint64_t i = count; i < n; i++)
        for (uint64_t v = 0; v < vectors; v++) sum[v] += hk[i] * load(q + i * ldq + v * lanes);
    for (uint64_t k = count; k-- > 0; hk -= ldh) {
        Vec scaled[vectors];
        for (uint64_t v = 0; v < vectors; v++) scaled[v] = beta[k] * sum[v];
        if (k == 0) {
            for (uint64_t i = 1; i < n; i++)
                for (uint64_t v = 0; v < vectors; v++) {
                    double *p = q + i * ldq + v * lanes;
                    store(p, load(p) - hk[i] * scaled[v]);
                }
            return;
        }
        const double *next = hk - ldh;
        for (uint64_t v = 0; v < vectors; v++) sum[v] = Vec{} + next[k] * load(q + k * ldq + v * lanes);
        for (uint64_t i = k + 1; i < n; i++) {
            const Vec hi = broadcast(hk[i]), ti = broadcast(next[i]);
            for (uint64_t v = 0; v < vectors; v++) {
                double *p = q + i * ldq + v * lanes;
                const Vec x = load(p) - hi * scaled[v];
                store(p, x);
                sum[v] += ti * x;
            }
        }
    }
}

} // namespace

void dot_rows_updated(uint64_t rows, uint64_t n, const double *a, uint64_t lda, const double *u, const double *y,
                      const double *x, double *out) {
    // From the last row to the first: the pass before this one went down and has left the last rows in the caches.
    uint64_t i = rows;
    for (; i % lanes != 0; i--) {
        double sum = 0.0;
        for (uint64_t j = 0; j < n; j++) sum += (a[(i - 1) * lda + j] - u[i - 1] * y[j]) * x[j];
        out[i - 1] = sum;
    }
    for (; i >= 2 * lanes; i -= 2 * lanes) {
        const uint64_t top = i - 2 * lanes;
        sum_rows<2>(n, a + top * lda, lda, u + top, y, x, out + top);
    }
    if (i != 0) sum_rows<1>(n, a, lda, u, y, x, out);
}

void reflect_columns(uint64_t count, uint64_t n, uint64_t columns, const double *h, uint64_t ldh, const double *beta,
                     double *q, uint64_t ldq) {
    if (count == 0) return;
    uint64_t j = 0;
    for (; j + 4 * lanes <= columns; j += 4 * lanes) reflect_strip<4>(count, n, h, ldh, beta, q + j, ldq);
    if (j + 2 * lanes <= columns) {
        reflect_strip<2>(count, n, h, ldh, beta, q + j, ldq);
        j += 2 * lanes;
    }
    for (; j < columns; j += lanes) reflect_strip<1>(count, n, h, ldh, beta, q + j, ldq);
}

} // namespace sarvo::simd::SARVO_SIMD_LEVEL
