// Literal loops of the kernels on rows and columns.
#include "../levels.h"

namespace sarvo::simd::ref {

void dot_rows(uint64_t rows, uint64_t n, const double *a, uint64_t lda, const double *x, double *out) {
    for (uint64_t i = 0; i < rows; i++) {
        double sum = 0.0;
        for (uint64_t j = 0; j < n; j++) sum += a[i * lda + j] * x[j];
        out[i] = sum;
    }
}

void max_abs_rows(uint64_t rows, uint64_t n, const double *a, uint64_t lda, double *out) {
    for (uint64_t i = 0; i < rows; i++) {
        out[i] = 0.0;
        for (uint64_t j = 0; j < n; j++)
            if (__builtin_fabs(a[i * lda + j]) > out[i]) out[i] = __builtin_fabs(a[i * lda + j]);
    }
}

void add_rows(uint64_t count, uint64_t n, const double *const *rows, const double *s, double *y) {
    for (uint64_t i = 0; i < count; i++)
        for (uint64_t j = 0; j < n; j++) y[j] += s[i] * rows[i][j];
}

double max_row_sum(uint64_t rows, uint64_t n, const double *a, uint64_t lda) {
    double largest = 0.0;
    for (uint64_t i = 0; i < rows; i++) {
        double sum = 0.0;
        for (uint64_t j = 0; j < n; j++) sum += __builtin_fabs(a[i * lda + j]);
        if (sum > largest) largest = sum;
    }
    return largest;
}

double max_column_sum(uint64_t rows, uint64_t n, const double *a, uint64_t lda) {
    double largest = 0.0;
    for (uint64_t j = 0; j < n; j++) {
        double sum = 0.0;
        for (uint64_t i = 0; i < rows; i++) sum += __builtin_fabs(a[i * lda + j]);
        if (sum > largest) largest = sum;
    }
    return largest;
}

void transpose(uint64_t rows, uint64_t n, const double *a, uint64_t lda, double *out, uint64_t ldout) {
    for (uint64_t i = 0; i < rows; i++)
        for (uint64_t j = 0; j < n; j++) out[j * ldout + i] = a[i * lda + j];
}

} // namespace sarvo::simd::ref
