// The literal scalar loops: level "scalar" of the table, and the oracle of every other level.
#pragma once

#include <stdint.h>

namespace sarvo::simd::ref {

void add(uint64_t n, const double *x, const double *y, double *out);
void scale(uint64_t n, double s, const double *x, double *out);
void shift(uint64_t n, double s, const double *x, double *out);
void axpy(uint64_t n, double s, const double *x, double *y);
void product(uint64_t m, uint64_t n, uint64_t k, const double *a, uint64_t a_row, uint64_t a_col, const double *b,
             uint64_t ldb, double *c, uint64_t ldc, double *work);
uint64_t product_work(uint64_t m, uint64_t n, uint64_t k);

} // namespace sarvo::simd::ref
