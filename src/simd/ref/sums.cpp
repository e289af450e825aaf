// Literal loops of the sums in eight parts and of the Householder pass.
#include "../levels.h"

namespace sarvo::simd::ref {

double dot8(uint64_t n, const double *x, const double *y) {
    double s[8] = {};
    for (uint64_t i = 0; i < n; i++) s[i % 8] = s[i % 8] + x[i] * y[i];
    return ((s[0] + s[4]) + (s[2] + s[6])) + ((s[1] + s[5]) + (s[3] + s[7]));
}

void dot8_rows(uint64_t rows, uint64_t n, const double *a, uint64_t lda, const double *x, double *out) {
    for (uint64_t i = 0; i < rows; i++) out[i] = dot8(n, a + i * lda, x);
}

void update2_accumulate(uint64_t rows, uint64_t n, double *a, uint64_t lda, const double *u, const double *y,
                        const double *x, const double *v, const double *t, double *z) {
    for (uint64_t i = 0; i < rows; i++) {
        double *row = a + i * lda;
        for (uint64_t j = 0; j < n; j++) {
            row[j] = (row[j] - u[i] * y[j]) - x[i] * v[j];
            z[j] = z[j] + t[i] * row[j];
        }
    }
}

} // namespace sarvo::simd::ref
