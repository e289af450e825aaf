// The suite's kernels as plain loops, and plain copies, compiled like the library.
#pragma once

#include <cstdint>

namespace bench::plain {

void stream_copy(double *to, const double *from, int64_t n); // to(i) = from(i), as the compiler likes it
void fft(int N, double sign, double *data);
void sor(int M, int N, double omega, double **g, int iterations);
double monte_carlo(int64_t samples);
void matmult(int N, double *y, const double *val, const int32_t *row, const int32_t *col, const double *x, int count);
int lu(int M, int N, double **a, int32_t *pivot);

} // namespace bench::plain
