// Literal loops of the matrix products.
#include "../levels.h"

namespace sarvo::simd::ref {

void product(uint64_t m, uint64_t n, uint64_t k, const double *a, uint64_t a_row, uint64_t a_col, const double *b,
             uint64_t ldb, double *c, uint64_t ldc, double *) {
    for (uint64_t i = 0; i < m; i++) {
        for (uint64_t j = 0; j < n; j++) c[i * ldc + j] = 0.0;
        for (uint64_t l = 0; l < k; l++) {
            const double ail = a[i * a_row + l * a_col];
            if (ail == 0.0) continue; // a NaN is not left out
            for (uint64_t j = 0; j < n; j++) c[i * ldc + j] += ail * b[l * ldb + j];
        }
    }
}

void product_transposed(uint64_t m, uint64_t n, uint64_t k, const double *a, uint64_t a_row, uint64_t a_col,
                        const double *b, uint64_t ldb, double *c, uint64_t ldc, double *) {
    for (uint64_t i = 0; i < m; i++)
        for (uint64_t j = 0; j < n; j++) {
            double sum = 0.0;
            for (uint64_t l = 0; l < k; l++) sum += a[i * a_row + l * a_col] * b[j * ldb + l];
            c[i * ldc + j] = sum;
        }
}

void product_add(uint64_t m, uint64_t n, uint64_t k, const double *a, uint64_t a_row, uint64_t a_col, const double *b,
                 uint64_t ldb, double *c, uint64_t ldc, double *) {
    for (uint64_t i = 0; i < m; i++)
        for (uint64_t l = 0; l < k; l++)
            for (uint64_t j = 0; j < n; j++) c[i * ldc + j] += a[i * a_row + l * a_col] * b[l * ldb + j];
}

void product_subtract(uint64_t m, uint64_t n, uint64_t k, const double *a, uint64_t a_row, uint64_t a_col,
                      const double *b, uint64_t ldb, double *c, uint64_t ldc, double *) {
    for (uint64_t i = 0; i < m; i++)
        for (uint64_t l = 0; l < k; l++)
            for (uint64_t j = 0; j < n; j++) c[i * ldc + j] -= a[i * a_row + l * a_col] * b[l * ldb + j];
}

uint64_t product_work(uint64_t, uint64_t, uint64_t) { return 0; }

} // namespace sarvo::simd::ref
