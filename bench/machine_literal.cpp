// Instances of the plain loops that the tests take as reference.
#include "machine_literal.h"

#include "literal_kernels.h"

namespace bench::plain {

void stream_copy(double *__restrict to, const double *__restrict from, int64_t n) {
    for (int64_t i = 0; i < n; i++) to[i] = from[i];
}
void fft(int N, double sign, double *data) { literal::fft_by_recurrence(N, sign, data); }
void sor(int M, int N, double omega, double **g, int iterations) { literal::sor(M, N, omega, g, iterations); }
double monte_carlo(int64_t samples) { return literal::monte_carlo(samples); }
void matmult(int N, double *y, const double *val, const int32_t *row, const int32_t *col, const double *x, int count) {
    literal::matmult(N, y, val, row, col, x, count);
}
int lu(int M, int N, double **a, int32_t *pivot) { return literal::lu(M, N, a, pivot); }

} // namespace bench::plain
