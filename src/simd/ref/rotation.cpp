// Literal loops of the rotation kernels.
#include "../levels.h"

namespace sarvo::simd::ref {

void rotate(uint64_t n, double c, double s, double *x, double *y) {
    for (uint64_t i = 0; i < n; i++) {
        const double xi = x[i];
        x[i] = c * xi + s * y[i];
        y[i] = c * y[i] - s * xi;
    }
}

void rotate_with_rows(uint64_t count, uint64_t first, uint64_t last, const double *s_tau, double *x,
                      double *const *rows) {
    for (uint64_t k = 0; k < count; k++)
        for (uint64_t i = first; i < last; i++) {
            const double s = s_tau[2 * k];
            const double tau = s_tau[2 * k + 1];
            const double xi = x[i];
            const double yi = rows[k][i];
            x[i] = xi - s * (yi + xi * tau);
            rows[k][i] = yi + s * (xi - yi * tau);
        }
}

void rotate_sweeps(uint64_t sweeps, uint64_t first, uint64_t last, uint64_t n, const double *cs, uint64_t ldcs,
                   double *a, uint64_t lda) {
    for (uint64_t q = 0; q < sweeps; q++)
        for (uint64_t j = first; j < last; j++)
            rotate(n, cs[q * ldcs + 2 * j], cs[q * ldcs + 2 * j + 1], a + j * lda, a + (j + 1) * lda);
}

void rotate_scaled_sweeps(uint64_t sweeps, uint64_t first, uint64_t last, uint64_t n, const double *tu, uint64_t ldtu,
                          double *a, uint64_t lda) {
    for (uint64_t q = 0; q < sweeps; q++)
        for (uint64_t j = first; j < last; j++) {
            const double t = tu[q * ldtu + 2 * j];
            const double u = tu[q * ldtu + 2 * j + 1];
            double *row = a + j * lda;
            double *next = a + (j + 1) * lda;
            for (uint64_t i = 0; i < n; i++) {
                const double x = row[i];
                row[i] = x + t * next[i];
                next[i] = next[i] - u * x;
            }
        }
}

} // namespace sarvo::simd::ref
