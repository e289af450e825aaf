// The table of vector kernels: one contract per slot, filled once for the processor that runs.
//
// Each kernel gives the bits of its literal loop in ref/, at every level. Counts may be 0. Strides and leading
// dimensions are in elements. Pointers need the alignment of double only. Operands must not overlap unless said
// otherwise.
#pragma once

#include <stdint.h>

namespace sarvo::simd {

constexpr uint64_t solve_strip = 32; // right-hand sides that upper_solve_strip takes together

// What gamma_trials tells of up to 64 trials.
struct GammaTrials {
    double x[64], u[64], V[64];
    uint64_t sure, odd; // one bit a trial
};

// One sweep of the implicit QR iteration on a symmetric tridiagonal matrix, under way: rotation j = next .. hi-1 is that of
// (x, z), and turns rows and columns j, j + 1. x, z at the start: a(lo) - shift, b(lo).
struct Chase {
    double *a, *b; // diagonal, off-diagonal
    double *cs;    // gets c, s of rotation j at 2j; may be null
    uint64_t lo, hi, next;
    double x, z;
};

struct Kernels {
    const char *level; // "ref" (the literal loops), "base" (any processor); on x86-64 also "v2", "v3", "v4"

    // ---- Element by element; out may be x or y exactly ----
    void (*add)(uint64_t n, const double *x, const double *y, double *out);                 // out(i) = x(i) + y(i)
    void (*subtract)(uint64_t n, const double *x, const double *y, double *out);            // out(i) = x(i) - y(i)
    void (*multiply)(uint64_t n, const double *x, const double *y, double *out);            // out(i) = x(i) y(i)
    void (*divide)(uint64_t n, const double *x, const double *y, double *out);              // out(i) = x(i) / y(i)
    void (*divide_by)(uint64_t n, double s, const double *x, double *out);                  // out(i) = x(i) / s
    void (*scale)(uint64_t n, double s, const double *x, double *out);                      // out(i) = s x(i)
    void (*shift)(uint64_t n, double s, const double *x, double *out);                      // out(i) = x(i) + s
    void (*axpy)(uint64_t n, double s, const double *x, double *y);                         // y(i) = y(i) + s x(i)
    void (*scale_add)(uint64_t n, double s, const double *x, const double *y, double *out); // out(i) = y(i) + s x(i)

    // ---- Searches ----
    uint64_t (*first_zero)(uint64_t n, const double *x); // least i with x(i) == 0, else n
    // Index of the smallest (largest) element, n > 0: the running extreme starts at x(0) and is replaced by a strictly
    // smaller (larger) element only, so the first of equals and never a NaN, unless x(0) is one.
    uint64_t (*min_index)(uint64_t n, const double *x);
    uint64_t (*max_index)(uint64_t n, const double *x);
    // Index of the first largest |x(i)| / s(i), s(i) >= 0, that is above 0; n when there is none. Elements x(i) that are
    // not finite, and ratios that are NaN, are passed over.
    uint64_t (*scaled_pivot)(uint64_t n, const double *x, const double *s);
    double (*max_abs)(uint64_t n, const double *x); // largest |x(i)|; 0 for n = 0, NaNs passed over

    // Number of edges from (x(i-1), y(i-1)) to (x(i), y(i)), i = 1 .. n-1, with (y(i) > py) != (y(i-1) > py) and
    // (py - y(i)) (x(i-1) - x(i)) / (y(i-1) - y(i)) + x(i) > px.
    uint64_t (*crossings)(uint64_t n, const double *x, const double *y, double px, double py);

    // ---- Rows and columns of a matrix: every sum ascends in one running sum from +0 ----
    void (*dot_rows)(uint64_t rows, uint64_t n, const double *a, uint64_t lda, const double *x,
                     double *out); // out(i) = sum_j a(i,j) x(j)
    void (*max_abs_rows)(uint64_t rows, uint64_t n, const double *a, uint64_t lda,
                         double *out); // out(i) = max_abs of row i
    // y(j) = y(j) + s(i) a_i(j), i = 0 .. count-1 ascending, a_i = rows[i]; y may be none of the rows.
    void (*add_rows)(uint64_t count, uint64_t n, const double *const *rows, const double *s, double *y);
    // Largest sum of magnitudes of a row (a column); 0 for an empty matrix, NaNs passed over.
    double (*max_row_sum)(uint64_t rows, uint64_t n, const double *a, uint64_t lda);
    double (*max_column_sum)(uint64_t rows, uint64_t n, const double *a, uint64_t lda);
    void (*transpose)(uint64_t rows, uint64_t n, const double *a, uint64_t lda, double *out,
                      uint64_t ldout); // out(j,i) = a(i,j)

    // ---- Product ----
    // c(i,j) = sum_{l=0..k-1} a(i,l) b(l,j): l ascending, one running sum from +0, terms with a(i,l) == 0 left out.
    //   a     m x k, element (i,l) at a[i a_row + l a_col]: a transposed matrix is a pair of swapped strides
    //   b, c  k x n and m x n by rows, leading dimensions ldb and ldc; c is overwritten
    //   work  product_work(m, n, k) doubles
    void (*product)(uint64_t m, uint64_t n, uint64_t k, const double *a, uint64_t a_row, uint64_t a_col,
                    const double *b, uint64_t ldb, double *c, uint64_t ldc, double *work);
    // The same with b stored transposed, n x k by rows with leading dimension ldb, and no term left out.
    void (*product_transposed)(uint64_t m, uint64_t n, uint64_t k, const double *a, uint64_t a_row, uint64_t a_col,
                               const double *b, uint64_t ldb, double *c, uint64_t ldc, double *work);
    // c(i,j) = c(i,j) + a(i,l) b(l,j), respectively c(i,j) - a(i,l) b(l,j), l = 0 .. k-1 ascending, no term left out.
    void (*product_add)(uint64_t m, uint64_t n, uint64_t k, const double *a, uint64_t a_row, uint64_t a_col,
                        const double *b, uint64_t ldb, double *c, uint64_t ldc, double *work);
    void (*product_subtract)(uint64_t m, uint64_t n, uint64_t k, const double *a, uint64_t a_row, uint64_t a_col,
                             const double *b, uint64_t ldb, double *c, uint64_t ldc, double *work);
    uint64_t (*product_work)(uint64_t m, uint64_t n, uint64_t k);

    // ---- Triangular systems with many right-hand sides ----
    // Solves U X = B in place, upper triangle with diagonal of u, for the first `columns` <= solve_strip right-hand sides
    // that stand side by side in rows of solve_strip elements (the others may be solved too): i descending,
    // x(i,:) = (b(i,:) - sum) / u(i,i), sum = sum_{j=i+1..n-1} u(i,j) x(j,:), j ascending from +0.
    void (*upper_solve_strip)(uint64_t n, const double *u, uint64_t ldu, uint64_t columns, double *x);

    // ---- Sums in eight parts: elements i = p (mod 8) are summed into part p, i ascending, from +0; then
    // ((s0 + s4) + (s2 + s6)) + ((s1 + s5) + (s3 + s7)) ----
    double (*dot8)(uint64_t n, const double *x, const double *y);
    // out(i) = dot8(row i of a, x) for rows rows of n elements
    void (*dot8_rows)(uint64_t rows, uint64_t n, const double *a, uint64_t lda, const double *x, double *out);

    // ---- Householder reduction: two pending rank-1 updates and the next A'u in one pass ----
    // a(i,j) = (a(i,j) - u(i) y(j)) - x(i) v(j);  z(j) = z(j) + t(i) a(i,j), i ascending.
    void (*update2_accumulate)(uint64_t rows, uint64_t n, double *a, uint64_t lda, const double *u, const double *y,
                               const double *x, const double *v, const double *t, double *z);

    // out(i) = sum_j (a(i,j) - u(i) y(j)) x(j), j ascending, one running sum from +0; a is only read.
    void (*dot_rows_updated)(uint64_t rows, uint64_t n, const double *a, uint64_t lda, const double *u, const double *y,
                             const double *x, double *out);
    // Reflections k = count-1 .. 0 on the columns of q, which has n rows, n > count, and a multiple of 8 of columns:
    // s(j) = sum_i h(k,i) q(i,j), i = k+1 .. n-1 ascending from +0;  q(i,j) = q(i,j) - (beta(k) s(j)) h(k,i).
    void (*reflect_columns)(uint64_t count, uint64_t n, uint64_t columns, const double *h, uint64_t ldh,
                            const double *beta, double *q, uint64_t ldq);

    // ---- Fourier transform, in place: bit reversal, then the radix-2 stages m = 1, 2, 4, .. n/2 ----
    // Stage m combines elements i and i + m: t = w x(i+m), t_re = w_re re - w_im im, t_im = w_re im + w_im re, x(i+m) =
    // x(i) - t, x(i) = x(i) + t, with factor k = i mod 2m of the stage. That is 1 for m = 1; the first half of the
    // others as below; factor k + m/2 is i times factor k: (0 - im, re).
    //   roots  m <= 2048: real parts at roots[m + k], imaginary parts at roots[m + m/2 + k]
    //   fine   m >= 4096: with s = m/256 the product c f of factor c = k / s of stage 256 and f of remainder r = k % s,
    //          at fine[2s + r] and fine[3s + r]: (c_re f_re - c_im f_im, c_re f_im + c_im f_re)
    void (*fourier)(uint64_t n, double *re, double *im, const double *roots, const double *fine); // n = 2, 4, 8, ...

    // ---- Convolution: out(o) = out(o) + s(t) x(o + step t), t = 0 .. terms-1 ascending; step is 1 or -1 ----
    void (*convolve)(uint64_t outputs, uint64_t terms, const double *s, const double *x, int64_t step, double *out);

    // ---- Rotations: (x, y) becomes (c x + s y, c y - s x) ----
    void (*rotate)(uint64_t n, double c, double s, double *x, double *y);
    // For y = rows[k], k = 0 .. count-1 ascending, s, tau = s_tau[2k], s_tau[2k + 1], of the old x(i), y(i):
    // x(i) = x(i) - s (y(i) + x(i) tau), y(i) = y(i) + s (x(i) - y(i) tau), i = first .. last-1.
    void (*rotate_with_rows)(uint64_t count, uint64_t first, uint64_t last, const double *s_tau, double *x,
                             double *const *rows);
    // `sweeps` sweeps of rotations on the rows of a, one after the other. Sweep q rotates rows j and j+1, j = first ..
    // last-1 ascending, by c, s = cs[q ldcs + 2j], cs[q ldcs + 2j + 1]. n columns, leading dimension lda.
    void (*rotate_sweeps)(uint64_t sweeps, uint64_t first, uint64_t last, uint64_t n, const double *cs, uint64_t ldcs,
                          double *a, uint64_t lda);
    // The same with rows of its own for each sweep, first[q] <= last[q]. n is a multiple of 8. Meanwhile makes
    // rotations of `beside` (may be null), whose arrays lie apart, one every `every` >= 1 steps: how many is left open.
    void (*rotate_ranges)(uint64_t sweeps, const uint64_t *first, const uint64_t *last, uint64_t n, const double *cs,
                          uint64_t ldcs, double *a, uint64_t lda, Chase *beside, uint64_t every);
    void (*chase)(Chase *sweep); // makes the rotations that are left of it
    // rotate_sweeps with rotations of rows that carry a scale apart: (x, y) becomes (x + t y, y - u x), t, u in place
    // of c, s.
    void (*rotate_scaled_sweeps)(uint64_t sweeps, uint64_t first, uint64_t last, uint64_t n, const double *tu,
                                 uint64_t ldtu, double *a, uint64_t lda);

    // ---- Random numbers: the words of an MT19937 state, each a 32-bit value in 64 bits; T is the tempering ----
    void (*mt_regenerate)(uint64_t *words); // the next 624 words in place of these
    // out(p) = T(words(p)) 2^-32. The caller is about to fill `more` doubles behind them: their memory may be fetched.
    void (*mt_uniforms)(uint64_t n, const uint64_t *words, double *out, uint64_t more);
    // The candidates of the ziggurat: k = T(words(p)), layer i = k & 127, j = k >> 8; out(p) = (s sigma) (j width(i)),
    // s = 1 if bit 7 of k is set, else -1. The positions with j >= inside(i) go to `outside` (room for n), ascending;
    // returns their number.
    uint64_t (*mt_ziggurat)(uint64_t n, const uint64_t *words, double sigma, const double *width,
                            const uint64_t *inside, double *out, uint32_t *outside);
    // The first n (at most 64) trials of Marsaglia and Tsang, t from the words t stride, t stride + 1: x the candidate
    // of the ziggurat for sigma 1, u the uniform, v = 1 + c x, V = v v v. Bit t of `odd` is set when x needs more words
    // (j >= inside(i)), or v <= 0, or u = 0; bit t of `sure` when it is not and u < 1 - 0.0331 ((x x)(x x)). Nothing is
    // said of the trials behind the first odd one.
    void (*gamma_trials)(uint64_t n, uint64_t stride, const uint64_t *words, double c, const double *width,
                         const uint64_t *inside, GammaTrials *out);
    // Those of the first n (at most 64) elements whose bit in mask is set, times s, side by side; returns their number.
    uint64_t (*pack_scaled)(uint64_t n, uint64_t mask, double s, const double *x, double *out);
    void (*fractions)(uint64_t n, const uint64_t *x, double *out); // out(i) = x(i) as a double, times 2^-64

    // ---- Continued fractions at n <= 8 arguments of the same shapes: convergents until one repeats or is NaN, at most
    // 2^24 (rounded in other ways than to nearest: from step 100 on until the change is 2^-48 or less) ----
    // f(i) = Gauss's fraction for the incomplete beta function at x(i), from A' = 0, A = B' = B = f = s = 1, m = 0,
    // q = r = a: r += 1, d = -(q (q + b) x) / ((r - 1) r), A' = (A' d + A) s, B' = (B' d + B) s; m += 1, r += 1,
    // d = ((b - m) m x s) / ((r - 1) r), A = A d + A', B = B d + B', s = 1 / B, f = A s, q += 1. From step 100000 on
    // a change of f by 2^-52 |f| or less also ends it.
    void (*beta_fractions)(uint64_t n, double a, double b, const double *x, double *f);
    // g(i) = Legendre's fraction for the upper incomplete gamma function at x(i) > 0, from P0 = Q1 = fac = 1, P1 = x,
    // Q0 = 0, n = 0, g = 1/x: n += 1, t = n - a, Q0 = (Q0 t + P0) fac, Q1 = (Q1 t + P1) fac, u = fac n, P0 = P0 u +
    // Q0 x, P1 = P1 u + Q1 x, and unless P1 is 0 fac = 1 / P1, g = P0 fac. From step 10^7 on a change as above ends it.
    void (*gamma_fractions)(uint64_t n, double a, const double *x, double *g);
};

// The table for this processor.
const Kernels &kernels();

constexpr uint32_t most_levels = 5;

// For tests: the levels that this processor has, the literal loops first; forcing one (null restores the choice).
uint32_t available_levels(const Kernels **tables, uint32_t capacity);
void force_level(const Kernels *table);

} // namespace sarvo::simd
