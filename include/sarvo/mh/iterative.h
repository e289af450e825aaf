/* mh, iterative methods: the workspace record, five solvers of A x = b that only multiply, and random sparse matrices to
 * try them on. See sarvo/mh.h.
 *
 * The record carries everything: right-hand side, start and result in x, the operators as callbacks, the tolerance, the
 * limit of steps. A solver reads it, works, and leaves the solution in x and the count in steps.
 *
 *     #include <sarvo/mh.h>
 *     int main(void) {
 *         sarvo_initialize();
 *         SPMAT *A = NULL;
 *         sarvo_mh_iter_t *ip = NULL;
 *         sarko_error_t e = sarvo_mh_sp_get(2, 2, 2, &A);
 *         if (!e) e = sarvo_mh_sp_set_val(A, 0, 0, 4.0);
 *         if (!e) e = sarvo_mh_sp_set_val(A, 1, 1, 2.0);
 *         if (!e) e = sarvo_mh_iter_get(2, 2, &ip);          // b and x of 2 elements, zero
 *         if (!e) e = sarvo_mh_iter_use_sp(ip, A);
 *         sarvo_mh_v_ones(ip->b);
 *         ip->info = NULL;                                   // no line for each step
 *         if (!e) e = sarvo_mh_iter_cg(ip);                  // x = 0.25 0.5
 *         sarvo_mh_v_foutput(stdout, " %g", ip->x);
 *         sarko_error_clear(sarko_error_handle(e, sarko_error_stdhandler, stderr));
 *         sarvo_mh_iter_free(ip); sarvo_mh_sp_free(A);
 *         sarvo_terminate();
 *     }
 *
 * A callback returns 0 or an error, which ends the solver and is passed on unchanged; it must not throw, resize `out`
 * or change `in`. Residual norms are Euclidean unless a solver says otherwise; inner products have eight partial sums
 * (elements 0, 8, ..; 1, 9, ..; and so on, added in pairs), the same on every processor.
 */
#ifndef SARVO_MH_ITERATIVE_H
#define SARVO_MH_ITERATIVE_H

#include <sarvo/mh/sparse.h>

#ifdef __cplusplus
extern "C" {
#endif

struct sarvo_mh_iter_t;

/* out = operator in; par is what the record holds beside the callback. */
typedef sarko_error_t (*sarvo_mh_iter_operator)(void *par, const VEC *in, VEC *out);
/* Called after each step with the residual norm; ip->steps is the number of the step. */
typedef void (*sarvo_mh_iter_info)(const struct sarvo_mh_iter_t *ip, double res);
/* Not 0: residual norm `res` is small enough. ip->init_res is the one at the start. */
typedef int32_t (*sarvo_mh_iter_stop)(const struct sarvo_mh_iter_t *ip, double res);

typedef struct sarvo_mh_iter_t {
    int32_t shared_x;          /* not 0: x belongs to somebody else: it is not freed and not expected to move */
    int32_t shared_b;          /* the same for b */
    uint32_t k;                /* steps between restarts, for solvers that restart; 0: their default */
    uint32_t limit;            /* most steps; 1000 at first */
    uint32_t steps;            /* steps made, set by the solvers */
    double eps;                /* relative tolerance of the default stopping test; 1e-6 at first */
    VEC *x;                    /* start on entry, solution on return; null: a solver of square systems makes it, zero */
    VEC *b;                    /* right-hand side */
    sarvo_mh_iter_operator Ax; /* A x */
    void *A_par;
    sarvo_mh_iter_operator ATx; /* A' x */
    void *AT_par;
    sarvo_mh_iter_operator Bx; /* preconditioner, an approximation of A^-1; null: none */
    void *B_par;
    void *reserved_1, *reserved_2;
    sarvo_mh_iter_info info;      /* null: no reports. At first prints " %d. residual = %g\n" to standard output */
    sarvo_mh_iter_stop stop_crit; /* null: the default, init_res * eps >= res */
    double init_res;              /* residual norm at the start, set by the solvers */
} sarvo_mh_iter_t;

/* ---- The record ---- */

/* A record with the values of the table above in *out, whose old value is not looked at; b of lenb, x of lenx zeros, null
 * where the length is below 1. Errors: the allocator's; *out is untouched. */
SARVO_API sarko_error_t sarvo_mh_iter_get(int32_t lenb, int32_t lenx, sarvo_mh_iter_t **out);

/* Releases the record with x and b, except shared ones; null is allowed. */
SARVO_API void sarvo_mh_iter_free(sarvo_mh_iter_t *ip);

/* Resizes (*ip)->x to lenx, then (*ip)->b to lenb, by sarvo_mh_v_resize; null ones are made. A shared vector whose record
 * moved would be reported on standard output ("SARVO: shared vector resized!").
 * Errors, in order: ip or *ip null: SarvoMHNullEC "iter_resize"; the allocator's: what was resized before stays so. */
SARVO_API sarko_error_t sarvo_mh_iter_resize(sarvo_mh_iter_t **ip, uint64_t lenb, uint64_t lenx);

/* Copies. *ip2 null: made, zeroed first. iter_copy: everything; ip2 keeps its own x and b, which receive the elements
 * (resized when null or shorter) and belong to it from then on (shared_x = shared_b = 0). iter_copy2: everything but x, b,
 * shared_x, shared_b.
 * Errors, in order: ip1 or ip2 null: SarvoMHNullEC "iter_copy", "iter_copy2"; the allocator's: a record that was there is
 * unchanged but for the room in its vectors, one that was not is not made. */
SARVO_API sarko_error_t sarvo_mh_iter_copy(const sarvo_mh_iter_t *ip1, sarvo_mh_iter_t **ip2);
SARVO_API sarko_error_t sarvo_mh_iter_copy2(const sarvo_mh_iter_t *ip1, sarvo_mh_iter_t **ip2);

/* Writes the fields, one or two a line, addresses in hexadecimal; " sarvo_mh_iter_t structure: NULL" for null. */
SARVO_API void sarvo_mh_iter_dump(FILE *stream, const sarvo_mh_iter_t *ip);

/* ---- Operators made of matrices; the record keeps the address, the matrix stays the caller's ---- */

/* Ax and ATx become the products with A (sarvo_mh_sp_mv_mlt, sarvo_mh_sp_vm_mlt).
 * Errors: null: SarvoMHNullEC. */
SARVO_API sarko_error_t sarvo_mh_iter_use_sp(sarvo_mh_iter_t *ip, const SPMAT *A);

/* Bx becomes the solution with a factor: L of L L' (sarvo_mh_spICHfactor or spCHfactor), or L and U in one matrix
 * without exchanges (sarvo_mh_spILUfactor). Errors: null: SarvoMHNullEC. A zero on the diagonal of the factor ends the
 * solver with the solution's error. */
SARVO_API sarko_error_t sarvo_mh_iter_use_ich(sarvo_mh_iter_t *ip, const SPMAT *L);
SARVO_API sarko_error_t sarvo_mh_iter_use_ilu(sarvo_mh_iter_t *ip, const SPMAT *LU);

/* ---- Solvers ----
 * Start: x as it is. init_res is the residual norm there. Each step raises `steps` and reports the norm to `info`; when
 * `stop_crit` accepts the norm that the recurrences carry, the residual of x is computed afresh, and the solver goes on
 * from x unless that is accepted too. A residual of exactly 0 is always accepted.
 *
 *   cg        A symmetric positive definite, B too (Hestenes and Stiefel, 1952). 1 product, 1 B, 3 scratch vectors
 *             (4 with B).
 *   minres    A symmetric, may be indefinite; B symmetric positive definite (Paige and Saunders, 1975). 1 product, 1 B,
 *             7 vectors. With B the norm is sqrt(r' B r).
 *   gmres     any square A and B (Saad and Schultz, 1986), restarted every k steps (0: 30), B from the right:
 *             A B y = b, x = B y. 1 product, 1 B a step; k + 2 vectors, k^2 numbers. The basis is made orthogonal
 *             twice where a direction loses three digits. A direction that has 14 digits less than its image is
 *             rounding: the Krylov space is exhausted, and a fixed vector takes its place, so that consistent
 *             singular systems are solved, too, for which it is too small (surely for k >= n).
 *   bicgstab  any square A and B, B from the right (van der Vorst, 1992). 2 products, 2 B, 9 vectors.
 *   lsqr      any m x n A: the x that minimises |b - A x|, and of these, from x = 0, the shortest (Paige and Saunders,
 *             1982); B symmetric positive definite, an approximation of (A' A)^-1 (Arridge, Betcke and Harhanen, 2014).
 *             A product with A and one with A', 1 B; 6 vectors (7 with B). The norm is that of A' r, with B sqrt((A' r)' B A' r).
 *             x must be there: its dimension is n.
 *
 * Errors, in order: ip, b or Ax null, for lsqr also ATx or x: SarvoMHNullEC; dimensions of b and x that differ (not
 * lsqr): SarvoMHSizesEC; b is x: SarvoMHInsituEC; the allocator's; a callback's. Then
 *   SarvoNrIterEC    `limit` steps were made, or none of a pass between two fresh residuals has lowered the norm:
 *                    stagnation, a matrix that is singular or unfit for the method
 *   SarvoMHPosdefEC  cg: p' A p or r' B r below 0, or 0 with r not 0; minres, lsqr: r' B r below 0
 *   SarvoMHRangeEC   an infinity or NaN in the residual norm
 * After the last three and a callback's error x is the best iterate that was looked at: that of the smallest norm
 * computed afresh, the start included; the norms that recurrences carry are not believed, as on singular systems they may
 * be far from those of x. Iterates are looked at (a product more each, for lsqr two, and a B for minres and lsqr) where a
 * pass starts and before a step longer than the way from there, and, after the error, the last one and that of the
 * smallest carried norm: the callbacks are called for it after an error of theirs, too, and errors of these calls are
 * dropped. Two vectors hold what was best. init_res and steps are set. After the other errors x is untouched. */
SARVO_API sarko_error_t sarvo_mh_iter_cg(sarvo_mh_iter_t *ip);
SARVO_API sarko_error_t sarvo_mh_iter_minres(sarvo_mh_iter_t *ip);
SARVO_API sarko_error_t sarvo_mh_iter_gmres(sarvo_mh_iter_t *ip);
SARVO_API sarko_error_t sarvo_mh_iter_bicgstab(sarvo_mh_iter_t *ip);
SARVO_API sarko_error_t sarvo_mh_iter_lsqr(sarvo_mh_iter_t *ip);

/* ---- Random matrices ----
 * From source 1: rng is a sarvo_rng_t *, integers by sarvo_rng_uint32, values in [0, 1) by sarvo_rng_uniform; 2: a
 * sarvo_nr_rng_t *, sarvo_nr_rng_uint32, sarvo_nr_rng_double; any other: nothing is drawn, integers and values are 0.
 * A position among k is (integer >> 8) mod k. *out gets the new matrix, its old value is not looked at; it is untouched
 * after an error: negative counts as of sarvo_mh_sp_get; the allocator's. */

/* n x n, symmetric and strictly diagonally dominant, hence positive definite. With w = max(nrow, 2) rounded down to even,
 * each row i draws a count c among w/2, then c + 1 times a column j and a value v: A(i,j) = A(j,i) = v. Each diagonal
 * element becomes 1 + the sum of the magnitudes drawn for its row. */
SARVO_API sarko_error_t sarvo_mh_iter_gen_sym(int32_t n, int32_t nrow, int32_t source, void *rng, SPMAT **out);

/* m x n. With w = max(nrow, 2), each row i draws a count c among w - 1, then c + 1 times a column j and a value v:
 * A(i,j) = -v. Then 2 n transpositions of two drawn positions each shuffle the identity to P, and A(i,P[i]) = diag for
 * i < min(m, n). */
SARVO_API sarko_error_t sarvo_mh_iter_gen_nonsym(double diag, int32_t m, int32_t n, int32_t nrow, int32_t source,
                                                 void *rng, SPMAT **out);

#ifdef __cplusplus
}
#endif

#endif
