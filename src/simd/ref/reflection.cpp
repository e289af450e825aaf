// Literal loops of the Householder reflections.
#include "../levels.h"

namespace sarvo::simd::ref {

void dot_rows_updated(uint64_t rows, uint64_t n, const double *a, uint64_t lda, const double *u, const double *y,
                      const double *x, double *out) {
    for (uint64_t i = 0; i < rows; i++) {
        out[i] = 0.0;
        for (uint64_t j = 0; j < n; j++) out[i] = out[i] + (a[i * lda + j] - u[i] * y[j]) * x[j];
    }
}

void reflect_columns(uint64_t count, uint64_t n, uint64_t columns, const double *h, uint64_t ldh, const double *beta,
                     double *q, uint64_t ldq) {
    for (uint64_t k = count; k-- > 0;)
        for (uint64_t j = 0; j < columns; j++) {
            double sum = 0.0;
            for (uint64_t i = k + 1; i < n; i++) sum = sum + h[k * ldh + i] * q[i * ldq + j];
            const double scaled = beta[k] * sum;
            for (uint64_t i = k + 1; i < n; i++) q[i * ldq + j] = q[i * ldq + j] - scaled * h[k * ldh + i];
        }
}

} // namespace sarvo::simd::ref
