/* scimark: five small numerical programs, timed: Fourier transform, successive over-relaxation, Monte Carlo
 * integration, sparse matrix times vector, LU factorisation; their generator and stopwatch.
 *
 * The kernels are plain textbook algorithms and compute the bits of the loops stated here on every processor. Sizes are
 * counts of elements, times are seconds, rates are Mflops: 10^6 floating-point operations a second, of which the
 * *_num_flops functions say how many a run has by definition.
 *
 * Ownership: records and arrays come from the kernel library's allocation. Records of the generator and the stopwatch
 * are released with the system free, arrays of RandomVector and RandomMatrix by one sarko_mem_free (or free) of what
 * the call stored. Pointers must not be null unless it is said that they may.
 *
 * Threads: every seeding writes the generator's scale, which belongs to the whole library: one suite at a time.
 *
 *     #include <sarvo/scimark.h>
 *     int main(void) {
 *         double mflops[6], result[6];
 *         int64_t cycles[6];
 *         sarvo_initialize();
 *         sarko_error_t e = sarvo_scimark_all(1024, 100, 1000, 5000, 100, 1, 0.001, mflops, result, cycles);
 *         if (!e) printf("FFT %.0f Mflops, all five %.0f\n", mflops[1], mflops[0]);
 *         sarko_error_clear(sarko_error_handle(e, sarko_error_stdhandler, stderr));
 *         sarvo_terminate();
 *         return e != 0;
 *     }
 */
#ifndef SARVO_SCIMARK_H
#define SARVO_SCIMARK_H

#include <sarvo/sarvo.h>

#ifdef __cplusplus
extern "C" {
#endif

/* ---- Generator ---- */

typedef struct Random {
    int32_t m[17];             /* the last 17 numbers, 0 .. 2^31 - 1 */
    int32_t seed;              /* as given */
    int32_t i, j;              /* places in m of the number 5 draws ago and of the oldest; 4 and 16 after seeding */
    int32_t haveRange;         /* 0: numbers from 0 to 1; else left + number * width */
    double left, right, width; /* 0, 1, 1 after seeding */
} Random;

/* A new generator in *out.
 * Seeding, with s = |seed|, lowered by 1 if even (0 becomes 1, the most negative seed 2^31 - 1): j0 = s mod 65536,
 * j1 = s div 65536; for k = 0 .. 16: t = 9069 j0, j1 = (t div 65536 + 9069 j1) mod 32768, j0 = t mod 65536,
 * m(k) = 65536 j1 + j0. So an even seed above 0 has the stream of the odd one below.
 * Errors: the allocator's; *out is null then. */
SARVO_API sarko_error_t new_Random_seed(int32_t seed, Random **out);

/* The next number: k = m(i) - m(j), plus 2^31 - 1 if negative; m(j) = k; i and j go down by 1, from 0 to 16. Returns
 * k / (2^31 - 1) as the product k * dm1 with the rounded dm1 = 1 / (2^31 - 1), or left + (k * dm1) * width. */
SARVO_API double Random_nextDouble(Random *R);

/* Releases a generator with the system free; null is allowed. */
SARVO_API void Random_delete(Random *R);

/* N, respectively M x N (row by row), successive numbers. A matrix is M pointers to its rows, followed by the rows, in
 * one block. Without elements (a size of 0 or below) *out becomes null and the call succeeds.
 * Errors: the allocator's; *out is null and no number was drawn then. */
SARVO_API sarko_error_t RandomVector(int32_t N, Random *R, double **out);
SARVO_API sarko_error_t RandomMatrix(int32_t M, int32_t N, Random *R, double ***out);

/* ---- Stopwatch: sums intervals of sarko_time_real ---- */

typedef struct Stopwatch {
    int32_t running;  /* 1 between start or resume and stop */
    double last_time; /* seconds: when it was started, resumed or read last */
    double total;     /* seconds summed so far */
} Stopwatch;

/* A new stopwatch in *out, all zero. Errors: the allocator's; *out is null then. */
SARVO_API sarko_error_t new_Stopwatch(Stopwatch **out);
SARVO_API void Stopwatch_delete(Stopwatch *watch); /* by the system free; null is allowed */

SARVO_API void Stopwatch_start(Stopwatch *watch);  /* when not running: from 0 */
SARVO_API void Stopwatch_resume(Stopwatch *watch); /* running or not: from now on, the total stays */
SARVO_API void Stopwatch_stop(Stopwatch *watch);   /* when running: adds the time since last_time to the total */
SARVO_API void Stopwatch_reset(Stopwatch *watch);  /* all zero */

/* The total. A running stopwatch first adds the time since last_time to it, and last_time becomes now. */
SARVO_API double Stopwatch_read(Stopwatch *watch);

/* ---- Fourier transform of N complex values, real and imaginary parts in turn: data has 2 N doubles ---- */

SARVO_API int32_t isPowerOfTwo(uint32_t n); /* 1 for 1, 2, 4, .. 2^31, else 0 */

/* X(k) = sum_j x(j) e^(-2 pi i j k / N), in place, N a power of two (nothing is done otherwise): bit reversal, then
 * stages m = 1, 2, 4, .. N/2. Stage m combines elements a = x(b + k) and c = x(b + k + m), b = 0, 2m, .., k < m: with
 * t = w(k) c they become a + t and a - t. The factors w(k) = e^(-pi i k / m) are built up from correctly rounded ones:
 * w(0) = 1, w(k) = w(k - h) r(h), h the lowest set bit of k, r(h) = e^(-pi i h / m) rounded; a product (p, q)(u, v) is
 * (p u - q v, p v + q u), c's parts for u, v. In stages 1 and 2 no product is made: the factors are 1 and -i. */
SARVO_API void FFT_transform(int32_t N, double *data);

/* x(j) = (1 / N) sum_k X(k) e^(2 pi i j k / N): the same with conjugate factors, then every double times 1 / N. */
SARVO_API void FFT_inverse(int32_t N, double *data);

/* Exchanges the elements whose indices are each other's reversed bits. N as above. */
SARVO_API void FFT_bitreverse(int32_t N, double *data);

/* Operations of a transform: (5 N - 2) L + 2 (N + 1), L the doublings from 1 to N or beyond (0 for N < 2). */
SARVO_API double FFT_num_flops(int32_t N);

/* ---- Successive over-relaxation ---- */

/* `iterations` sweeps over the inner elements of an M x N grid G, in place, row by row:
 *     g(i,j) = omega/4 (((g(i-1,j) + g(i+1,j)) + g(i,j+1)) + g(i,j-1)) + (1 - omega) g(i,j) */
SARVO_API void SOR_execute(int32_t M, int32_t N, double omega, double **G, int32_t iterations);
SARVO_API double SOR_num_flops(int32_t M, int32_t N, int32_t cycles); /* (M - 1)(N - 1) cycles 6 */

/* ---- Monte Carlo: a quarter of pi by the area of a quarter of the unit disc ---- */

/* *out = 4 count / samples, count the pairs (x, y) of successive numbers with x x + y y <= 1 among `samples` pairs of a
 * generator with seed 113; 0 for no samples. Errors: the allocator's; *out is untouched then. */
SARVO_API sarko_error_t MonteCarlo_integrate(int32_t samples, double *out);
SARVO_API double MonteCarlo_num_flops(int32_t samples); /* 4 samples */

/* ---- Sparse matrix times vector, the matrix by compressed rows ---- */

/* y = A x, `iterations` times over: y(r) = sum of val(k) x(col(k)), k = row(r) .. row(r+1) - 1 ascending from +0.
 *   y         N doubles, none of the inputs
 *   val, col  values and columns of the entries, row after row
 *   row       N + 1 places in them: where rows begin, and the end */
SARVO_API void SparseCompRow_matmult(int32_t N, double *y, const double *val, const int32_t *row, const int32_t *col,
                                     const double *x, int32_t iterations);

/* 2 (nz - nz mod N) cycles; 0 for N = 0. */
SARVO_API double SparseCompRow_num_flops(int32_t N, int32_t nz, int32_t cycles);

/* ---- LU factorisation ---- */

/* P A = L U in place, A M x N by row pointers: below the diagonal L, whose diagonal is 1, on and above it U. For j = 0 ..
 * min(M, N) - 1: pivot(j) is the row, from j on, of the first largest |a(i,j)|; it is exchanged with row j (elements,
 * not pointers); then a(i,j) = a(i,j) / a(j,j) and a(i,k) = a(i,k) - a(i,j) a(j,k) for i, k > j.
 * Returns 0, or 1 at a pivot of 0 in column j: the steps before j are done then, of step j only pivot(j) is written.
 * The search starts with |a(j,j)| and takes strictly larger ones: a NaN there stays the pivot, elsewhere it never is. */
SARVO_API int32_t LU_factor(int32_t M, int32_t N, double **A, int32_t *pivot);
SARVO_API double LU_num_flops(int32_t N); /* 2 N^3 / 3 */

/* ---- Timed runs ----
 * Each makes its data from the generator R, then measures: cycles = 1, 2, 4, ... in passes, until a pass takes min_time
 * seconds (0 or below, NaN: one pass). The stopwatch runs while the kernel runs its cycles; what a pass then comes to
 * is added up over all passes, of which there are log2(cycles) + 1.
 *   mflops  operations of the last pass / its time 10^-6
 *   result  the sum of the results of the passes
 *   cycles  cycles of the last pass. 2^62 also ends the doubling.
 * Data and state go on from pass to pass. Nothing is written on an error. Errors of all: the allocator's. Negative
 * N: SarvoSMInvalidNumEC, before anything is allocated. */

/* N complex values from 2 N numbers; a cycle is a transform and its inverse, counted as one FFT_num_flops(N). Result of
 * a pass: sqrt(sum d^2 / (2 N)), d what one more transform and inverse (not timed) change in the 2 N doubles.
 * N not a power of two: SarvoSMInvalidNumEC, "Requested FFT size (%d) is a not power of two!", before the others. */
SARVO_API sarko_error_t kernel_measureFFT(int32_t N, double min_time, Random *R, double *mflops, double *result,
                                          int64_t *cycles);

/* RandomMatrix(N, N), omega = 1.25; a cycle is a sweep. Result: the mean of the grid (sum row by row / N^2), 0 for N = 0. */
SARVO_API sarko_error_t kernel_measureSOR(int32_t N, double min_time, Random *R, double *mflops, double *result,
                                          int64_t *cycles);

/* A cycle is a sample, a pass the integral of MonteCarlo_integrate. R is not used and may be null. */
SARVO_API sarko_error_t kernel_measureMonteCarlo(double min_time, Random *R, double *mflops, double *result,
                                                 int64_t *cycles);

/* RandomVector(N) for x, then RandomVector(n N) for the values, n = nz / N rounded down: entry k < n of row r is in
 * column (r + k N / n) mod N, k N / n rounded down (more entries than columns share them). A cycle is a product.
 * Result: the sum of y, ascending. nz < N (also below 0), N = 0: no entries, result 0. */
SARVO_API sarko_error_t kernel_measureSparseMatMult(int32_t N, int32_t nz, double min_time, Random *R, double *mflops,
                                                    double *result, int64_t *cycles);

/* RandomMatrix(N, N); a cycle copies the matrix and factors the copy. Result: sqrt(sum e(i,j)^2 / N^2) of the entries
 * of P A - L U, 0 for N = 0 (not timed). */
SARVO_API sarko_error_t kernel_measureLU(int32_t N, double min_time, Random *R, double *mflops, double *result,
                                         int64_t *cycles);

/* ---- The suite ---- */

/* Runs the kernels in the order of slots 1 .. 5: FFT, SOR, Monte Carlo, sparse, LU, with one generator of seed 101010;
 * those whose size is 0 (sparse: either; Monte Carlo: the flag) are left out and keep 0.
 *   min_time  seconds a kernel, see above; exactly 0: 2 seconds
 *   mflops, result, cycles  6 entries each, all 0 at first. Slot 0: the means of the first two, and the sum of cycles,
 *                           over the kernels that ran
 * Errors, wrapped with "SciMark error.": the allocator's; those of the kernels in their order, each with its causes
 * joined to one. The first ends the run: slots of kernels before it stay, slot 0 holds plain sums then. */
SARVO_API sarko_error_t sarvo_scimark_all(int32_t fft_size, int32_t sor_size, int32_t sparse_rows, int32_t sparse_nz,
                                          int32_t lu_size, int32_t monte_carlo, double min_time, double *mflops,
                                          double *result, int64_t *cycles);

#ifdef __cplusplus
}
#endif

#endif
