/* nr: numerical routines on typed arrays: singular value decomposition and what follows from it; and a light random
 * generator with its deviates.
 *
 * A = U diag(w) V' for a block of a double matrix (array.h, id 20). The record owns U, V and w; the settings eps,
 * thresh and maxiter are the caller's and may be changed between sarvo_nr_svd_init and sarvo_nr_svd_decompose. Singular
 * values not above thresh count as zero, so every solve is a least-squares, minimum-norm solve. One record is for one
 * thread at a time.
 *
 *     #include <sarvo/nr.h>
 *     int main(void) {
 *         sarvo_initialize();
 *         sarvo_nr_svd *svd = NULL; sarvo_matrix *a = NULL; sarvo_vector *b = NULL, *x = NULL;
 *         sarko_error_t e = sarvo_matrix_alloc(&a, SARVO_DOUBLE, 0, 3, 2);
 *         if (!e) e = sarvo_vector_alloc(&b, SARVO_DOUBLE, 0, 3);
 *         if (!e) e = sarvo_nr_svd_init(&svd);
 *         for (int i = 0; !e && i < 3; i++) {              // fit b = x0 + x1 i through (0,1), (1,3), (2,5)
 *             double *row = ((double **)a->row_ptrs)[i];
 *             row[0] = 1.0; row[1] = i; ((double *)b->data)[i] = 1.0 + 2.0 * i;
 *         }
 *         if (!e) e = sarvo_nr_svd_decompose(a, 0, 0, 0, 0, svd);
 *         if (!e) e = sarvo_nr_svd_vsolve(svd, b, &x);     // x = (1, 2)
 *         if (!e) sarvo_vector_fprintf(x, stdout, " %.3f", 0);
 *         sarko_error_clear(sarko_error_handle(e, sarko_error_stdhandler, stderr));
 *         sarvo_nr_svd_free(svd); sarvo_matrix_free(a); sarvo_vector_free(b); sarvo_vector_free(x);
 *         sarvo_terminate();
 *     }
 */
#ifndef SARVO_NR_H
#define SARVO_NR_H

#include <sarvo/array.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef struct sarvo_nr_svd {
    uint32_t done;   /* 1 while a decomposition is valid, else 0 */
    uint64_t m;      /* rows decomposed */
    uint64_t n;      /* columns decomposed */
    sarvo_matrix *U; /* m x n, left singular vectors in columns; for m < n the last n - m columns and w are zero */
    sarvo_matrix *V; /* n x n, right singular vectors in columns, orthogonal */
    sarvo_vector *w; /* n singular values, none negative, in no particular order until sarvo_nr_svd_reorder */
    double wmax;     /* the largest of w; -SarvoDblXmax for n = 0 */
    double eps;      /* setting: relative tolerance of negligible elements; negative = SarvoDblEps (default -1.0) */
    double thresh;   /* setting: w not above it count as zero; negative = derived by the decomposition (default -1.0) */
    uint32_t maxiter; /* setting: limit of QR sweeps per singular value (default 30) */
    uint32_t rank;    /* number of w > thresh */
    uint32_t nullity; /* number of w <= thresh */
    double rcond;     /* smallest w / wmax (NaN for the zero matrix) */
} sarvo_nr_svd;

/* Allocates a record with eps = thresh = -1.0 and maxiter = 30 and stores it in *svd (whose old value is not looked
 * at).
 * Errors, in order: svd null: SarvoNullEC; the allocator's (*svd unchanged). */
SARVO_API sarko_error_t sarvo_nr_svd_init(sarvo_nr_svd **svd);

/* Decomposes the rows x cols block of A at (first_row, first_col); a count of 0 stands for the rest in that direction.
 *   A    doubles, not modified; must not be one of svd's own matrices
 *   svd  receives m, n, U, V, w, wmax, rcond, rank, nullity, done; eps and thresh when they were negative:
 *        eps = SarvoDblEps, thresh = eps * 0.5 * sqrt(m + n + 1) * wmax. Both stay so for the next decomposition.
 * Method: Householder reduction to bidiagonal form, then implicitly shifted QR sweeps from the last singular value to
 * the first (Golub and Kahan 1965; Golub and Reinsch 1970). A superdiagonal or diagonal element is negligible when its
 * magnitude is at most eps * max(|d_i| + |e_i|). Matrices whose entries are near the ends of the exponent range are
 * scaled by a power of 2 meanwhile; rows and columns are taken largest first when their sizes differ by more than 256
 * times, which keeps the small singular values of graded matrices. The order of every operation is fixed: equal bits
 * on every processor.
 * Errors, in order, all but the third wrapped with "Cannot do SVD": svd null: SarvoNullEC "SVD structure is not
 * initialized"; A null: SarvoNullEC; A not of id 20: SarvoDtypeEC "Invalid data type %d"; from here on done is 0:
 * SarvoNrSizeEC "Requested number of rows (%zu) starting from index (%zu) is not available in input matrix (%zu)."
 * (count, first row, A's rows), for a count of 0 that leaves fewer than 2 "Requested number of rows is too small
 * (%zu)."; the same two for columns;
 * the allocator's; SarvoNrIterEC "No convergence in %d iterations" (maxiter), also for a matrix with NaN or infinite
 * entries. An explicit count of 1 is allowed.
 * Cost: about 12 n^3 operations for a square matrix, about 8 m n^2 for a tall one; scratch about 2 m n + n^2 doubles
 * and, for a wide one, as for its transpose. */
SARVO_API sarko_error_t sarvo_nr_svd_decompose(const sarvo_matrix *A, uint64_t first_row, uint64_t first_col,
                                               uint64_t rows, uint64_t cols, sarvo_nr_svd *svd);

/* All operations below fail first when svd is null (SarvoNullEC "SVD structure is not initialized") or done is not 1
 * (SarvoNrSvdNotReadyEC), and wrap every error with the text named at the operation. Outputs: *out null is allocated.
 * */

/* Sorts w into descending order, columns of U and V along (Shell sort, increments 1, 4, 13, 40, ...); then, for each k,
 * if more than (m + n) / 2 (integer) entries of column k of U and of V together are negative, negates both columns.
 * Wrap: "SVD reordering error". Errors: the two above; the allocator's (work space; nothing is changed then). */
SARVO_API sarko_error_t sarvo_nr_svd_reorder(sarvo_nr_svd *svd);

/* *out = V diag(1/w) U', the pseudo-inverse, n x m, with 1/w = 0 for w <= thresh; each element summed over j ascending.
 *   *out  resized to n x m when missing or smaller in a direction, a larger one keeps its size and the rest of its
 *   contents.
 * Wrap: "SVD inverting error". Errors: the two above; out null: SarvoNullEC; *out not of id 20: SarvoDtypeEC "Invalid
 * data type %d"; the allocator's. */
SARVO_API sarko_error_t sarvo_nr_svd_invert(const sarvo_nr_svd *svd, sarvo_matrix **out);

/* *x = V t,  t_j = (sum_i U(i,j) b_i) / w_j for w_j > thresh, else 0: the least-squares solution of A x = b of least
 * norm. Sums ascend.
 *   b    length m, not modified      *x   resized to n; may be b
 * Wrap: "SVD vsolve error". Errors: the two above; b or x null: SarvoNullEC; b or *x not of id 20: SarvoDtypeEC
 * "Invalid data type %d"; b's length not m: SarvoNrSizeEC "Incompatibles sizes. A[%zu,%zu] b[%zu]" (m, n, length); the
 * allocator's. */
SARVO_API sarko_error_t sarvo_nr_svd_vsolve(const sarvo_nr_svd *svd, const sarvo_vector *b, sarvo_vector **x);

/* The same for each column of B; equal bits to column-wise sarvo_nr_svd_vsolve.
 *   B    m x k, not modified         *X   resized to n x k when missing or smaller in a direction; may be B
 * Wrap: "SVD msolve error". Errors as for vsolve, with SarvoNrSizeEC "Incompatibles sizes. B[%zu,%zu] A[%zu,%zu]" (B's
 * rows, B's cols, m, n). */
SARVO_API sarko_error_t sarvo_nr_svd_msolve(const sarvo_nr_svd *svd, const sarvo_matrix *B, sarvo_matrix **X);

/* *out = the columns of U with w > thresh, in order: an orthonormal basis of the range, m x rank (made a double matrix
 * of just that shape).
 * Wrap: "SVD range error". Errors: the two above; out null: SarvoNullEC; rank 0: SarvoNrEmptyEC "Matrix rank is zero";
 * the allocator's. */
SARVO_API sarko_error_t sarvo_nr_svd_range(const sarvo_nr_svd *svd, sarvo_matrix **out);

/* *out = the columns of V with w <= thresh, in order: an orthonormal basis of the null space, n x nullity.
 * Wrap: "SVD nullspace error". Errors as above with "Matrix nullity is zero". */
SARVO_API sarko_error_t sarvo_nr_svd_nullspace(const sarvo_nr_svd *svd, sarvo_matrix **out);

/* Releases U, V, w and the record; null is allowed. */
SARVO_API void sarvo_nr_svd_free(sarvo_nr_svd *svd);

/* ---- Random numbers: a generator of three 64-bit words ----
 *
 * Lighter than MT19937 (rng.h), with 64-bit draws. The same method and seed always give the same stream; each deviate
 * is a fixed sequence of draws and operations, each rounded by itself. Integers and uniform doubles have the same bits
 * everywhere; the other deviates take log and pow from the platform (the normal one only to decide in one of 90
 * trials). No operation but the two that return an error fails or checks its arguments. One record is for one thread
 * at a time. */
typedef struct sarvo_nr_rng_t {
    int32_t method; /* 0, 1, 2 as below; any other: every draw is 0 */
    uint64_t u;     /* congruential state (method 0) */
    uint64_t v;     /* xorshift state */
    uint64_t w;     /* multiply-with-carry state (methods 0 and 2) */
} sarvo_nr_rng_t;

/* Makes a generator and stores it in *rng, whose old value is not looked at. All modulo 2^64:
 *   method  0: three generators combined (the pattern of Marsaglia's KISS, 1993). A draw makes the steps
 *              u = u 2862933555777941757 + 7046029254386353087;  v ^= v >> 17, v ^= v << 31, v ^= v >> 8;
 *              w = 4294957665 (w & 0xFFFFFFFF) + (w >> 32)
 *              and with x = u ^ (u << 21), x ^= x >> 35, x ^= x << 4 gives (x + v) ^ w.
 *           1: v ^= v >> 21, v ^= v << 35, v ^= v >> 4 gives v 2685821657736338717 (xorshift, Marsaglia 2003,
 *              multiplied).
 *           2: the steps of v and w of method 0 give w ^ v.
 *           any other: success; every draw is 0, and deviates that wait for another value never end.
 *   seed    any, 0 included; s = seed ^ 4101842887655102017.
 *           0: v = 4101842887655102017, w = 1, u = s, a draw, v = u, a draw, w = v, a draw.
 *           1: v = s, v = a draw.   2: v = s, w = 1, w = a draw, v = a draw.
 * Errors: the allocator's (*rng null). */
SARVO_API sarko_error_t sarvo_nr_rng_init(sarvo_nr_rng_t **rng, int32_t method, uint64_t seed);

/* Releases the record; null is allowed. */
SARVO_API void sarvo_nr_rng_free(sarvo_nr_rng_t *rng);

/* The next 64-bit draw; its low 32 bits; the draw as a double times 2^-64, in [0, 1] (the largest 2^10 draws round to
 * 1.0). One draw each. */
SARVO_API uint64_t sarvo_nr_rng_uint64(sarvo_nr_rng_t *rng);
SARVO_API uint32_t sarvo_nr_rng_uint32(sarvo_nr_rng_t *rng);
SARVO_API double sarvo_nr_rng_double(sarvo_nr_rng_t *rng);

/* Below, u is a draw of sarvo_nr_rng_double. */

/* Exponential deviate of rate beta: (-ln u) / beta, u drawn again while 0. */
SARVO_API double sarvo_nr_rng_expdev(sarvo_nr_rng_t *rng, double beta);

/* Logistic deviate of mean mu and standard deviation sigma: mu + (0.5513288954217921 sigma) ln(u / (1 - u)), u drawn
 * again while u (1 - u) is 0. The constant is sqrt(3) / pi. */
SARVO_API double sarvo_nr_rng_logdev(sarvo_nr_rng_t *rng, double mu, double sigma);

/* Cauchy deviate of centre mu and half width sigma: ((x sigma) / u2) + mu, x = 2 u1 - 1, the pair drawn again while
 * u2 is 0 or u2^2 + x^2 is not below 1 (the ratio of the coordinates of a point in the half disc). */
SARVO_API double sarvo_nr_rng_cauchydev(sarvo_nr_rng_t *rng, double mu, double sigma);

/* Normal deviate of mean mu and standard deviation sigma: mu + (sigma v) / u by the ratio of uniforms (Kinderman and
 * Monahan 1977) with quadratic bounds (Leva 1992). u, then v = 1.7156 (u2 - 0.5); x = u - 0.449871, y = |v| + 0.386595,
 * q = x^2 + y (0.196 y - 0.25472 x); taken if q <= 0.27597, drawn again if q > 0.27846, else taken if
 * v^2 <= (-4 ln u) u^2. */
SARVO_API double sarvo_nr_rng_normdev(sarvo_nr_rng_t *rng, double mu, double sigma);

/* What the parameters of a gamma deviate fix; for any number of deviates and generators. */
typedef struct sarvo_nr_rng_gamma_t {
    double alph;  /* the working shape: alpha, or alpha + 1 when alpha < 1 */
    double bet;   /* beta, the rate */
    double oalph; /* alpha as given */
    double a1;    /* alph - 1/3 */
    double a2;    /* 1 / sqrt(9 a1) */
} sarvo_nr_rng_gamma_t;

/* Fills *g for shape alpha and rate beta.
 * Errors: alpha <= 0: SarvoDomainEC "%f as alpha is not allowed" (alpha), *g as before. (A NaN is not refused: no
 * deviate ever ends with it.) */
SARVO_API sarko_error_t sarvo_nr_rng_gammadev_init(sarvo_nr_rng_gamma_t *g, double alpha, double beta);

/* Gamma deviate, density x^(alpha-1) exp(-beta x) beta^alpha / Gamma(alpha) (Marsaglia and Tsang 2000). x the v / u of
 * sarvo_nr_rng_normdev, v = 1 + a2 x, x drawn again while v <= 0; V = v^3; V is taken if u <= 1 - 0.331 ((x^2)(x^2)),
 * else if ln u <= 0.5 x^2 + a1 ((1 - V) + ln V), else all is drawn anew. The result is (a1 V) / bet; for alpha < 1
 * ((a1 V) u2^(1/oalph)) / bet, u2 drawn again while 0. */
SARVO_API double sarvo_nr_rng_gammadev(sarvo_nr_rng_t *rng, const sarvo_nr_rng_gamma_t *g);

#ifdef __cplusplus
}
#endif

#endif
