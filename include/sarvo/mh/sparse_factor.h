/* mh, sparse linear systems: orderings, Cholesky and LU factors, complete and incomplete, and their solves. See
 * sarvo/mh.h and sarvo/mh/sparse.h.
 *
 *     #include <sarvo/mh.h>
 *     int main(void) {
 *         static const double a[3][3] = {{4, -1, 0}, {-1, 4, -1}, {0, -1, 4}};
 *         SPMAT *A = NULL; VEC *b = NULL;
 *         sarvo_initialize();
 *         sarko_error_t e = sarvo_mh_sp_get(3, 3, 3, &A);
 *         for (int i = 0; i < 3; i++)
 *             for (int j = 0; !e && j < 3; j++)
 *                 if (a[i][j] != 0) e = sarvo_mh_sp_set_val(A, i, j, a[i][j]);
 *         if (!e) e = sarvo_mh_v_get(3, &b);
 *         sarvo_mh_v_ones(b);
 *         if (!e) e = sarvo_mh_spCHfactor(A);              // A is L now
 *         if (!e) e = sarvo_mh_spCHsolve(A, b, &b);
 *         sarvo_mh_v_foutput(stdout, " %.6f", b);          // 0.357143 0.428571 0.357143
 *         sarko_error_clear(sarko_error_handle(e, sarko_error_stdhandler, stderr));
 *         sarvo_mh_sp_free(A); sarvo_mh_v_free(b);
 *         sarvo_terminate();
 *     }
 *
 * Errors are wrapped with the operation's short name ("spCHfactor", "sp_order", ...) and reported in the order given;
 * the allocator's come last, unwrapped. After any error the objects are as before but for storage that may have grown
 * (and the diagonal positions made, in sarvo_mh_spILUfactor). Links of inserted entries are not set: flag_col is 0
 * afterwards. Arithmetic goes by the stored pattern: a stored zero takes part like any other value, what is not stored
 * begins at +0 when it is first changed, and every entry gets its terms one after the other in the order stated.
 */
#ifndef SARVO_MH_SPARSE_FACTOR_H
#define SARVO_MH_SPARSE_FACTOR_H

#include <sarvo/mh/sparse.h>

#ifdef __cplusplus
extern "C" {
#endif

/* ---- Orderings ----
 * Permutations have the sense of sarvo_mh_LUfactor: entry k is the old index of what comes k-th. */

/* *out = ordering of the square A, from its pattern joined with that of A', that keeps the fill of factors small:
 *   0  natural: the identity
 *   1  reverse Cuthill-McKee (Cuthill and McKee, 1969; start nodes by George and Liu, 1979): a small band
 *   2  approximate minimum degree (Amestoy, Davis and Duff, 1996): little fill, in a postorder of its tree; rows
 *      adjacent to more than max(16, 10 sqrt(n)) others come last
 * Null: made; another size: resized. Cost: about linear in the entries; scratch: 2.2 (method 2) or 1 times 4 bytes for
 * each entry of A + A', 4 bytes for each of A, and less than 80 bytes a row.
 * Errors: null: SarvoMHNullEC; not square: SarvoMHSquareEC; another method: SarvoMHRangeEC. */
SARVO_API sarko_error_t sarvo_mh_sp_order(const SPMAT *A, int32_t method, PERM **out);

/* out(i,j) = A(rows(i), cols(j)); null rows or cols: the natural order. *out null: made with rows of just the length
 * needed; else resized and replaced. Linear cost; scratch: 12 bytes an entry.
 * Errors: A or out null: SarvoMHNullEC; a permutation of the wrong size: SarvoMHSizesEC; *out is A: SarvoMHInsituEC;
 * not a permutation: SarvoMHBoundsEC. */
SARVO_API sarko_error_t sarvo_mh_sp_permute(const SPMAT *A, const PERM *rows, const PERM *cols, SPMAT **out);

/* out = A A': out(i,j) = sum of A(i,k) A(j,k) over the columns that both rows store, k ascending, one running sum from
 * +0. Both triangles are stored, with equal bits. *out as in sarvo_mh_sp_mlt, whose errors pass.
 * Errors: null: SarvoMHNullEC; *out is A: SarvoMHInsituEC. */
SARVO_API sarko_error_t sarvo_mh_sp_comp_AAT(const SPMAT *A, SPMAT **out);

/* ---- Cholesky: A = L L' ----
 *     L(i,j) = (A(i,j) - sum L(i,k) L(j,k)) / L(j,j), j < i        L(i,i) = sqrt(A(i,i) - sum L(i,k)^2)
 * as one running difference that begins at A(i,j) and takes the k < j at which both rows are stored, ascending. Only
 * the diagonal and what is below it are read. A is replaced by exactly L: nothing is stored above the diagonal;
 * diagonal positions are set. */

/* The complete factor. Its pattern is that of the elimination, entries that cancel included (elimination tree, Liu,
 * 1990; rows by an up-looking triangular solve). Cost: the sum over the columns of L of their squared lengths; scratch:
 * 24 bytes an entry of L.
 * Errors: null: SarvoMHNullEC; not square: SarvoMHSquareEC; a pivot that is not greater than 0: SarvoMHPosdefEC. */
SARVO_API sarko_error_t sarvo_mh_spCHfactor(SPMAT *A);

/* The factor without fill: only places stored in A's lower triangle, and the diagonal, are kept; k runs over those at
 * which both rows are stored (Meijerink and van der Vorst, 1977). Errors as above. */
SARVO_API sarko_error_t sarvo_mh_spICHfactor(SPMAT *A);

/* Inserts zeros at all places of the complete factor that A does not store, the diagonal included: then
 * sarvo_mh_spICHfactor gives the complete factor, bit for bit. Entries above the diagonal stay.
 * Errors: null: SarvoMHNullEC; not square: SarvoMHSquareEC. */
SARVO_API sarko_error_t sarvo_mh_spCHsymb(SPMAT *A);

/* Solves L L' x = b. Entries above the diagonal are not read. *x, which may be b, is sized to b.dim.
 *   y(i) = (b(i) - sum_{j<i} L(i,j) y(j)) / L(i,i)     i ascending, running difference, j ascending
 *   x(j) = (y(j) - sum_{i>j} L(i,j) x(i)) / L(j,j)     j descending, running difference, i descending
 * Errors: null: SarvoMHNullEC; L not square or of another order than b: SarvoMHSizesEC; a diagonal entry absent or 0:
 * SarvoMHSingEC. */
SARVO_API sarko_error_t sarvo_mh_spCHsolve(const SPMAT *L, const VEC *b, VEC **x);

/* ---- LU: P A = L U ----
 * L, with a unit diagonal that is not stored, and U stand in one matrix, the multipliers in the places of the entries
 * that they eliminated; row k of it comes from row px(k) of A. */

/* Elimination with threshold pivoting. Step k = 0, 1, .. min(m, n) - 1: candidates are the entries stored in column k
 * of the rows that have not been chosen, if finite and not 0. Among those of at least alpha times the largest
 * magnitude, the one whose row stores the fewest entries at that moment (multipliers included), of equals the one that
 * stands highest, becomes the pivot and its row is exchanged with row k. Then for each other row that stores column k:
 * A(i,k) = A(i,k) / A(k,k), and A(i,j) -= A(i,k) A(k,j) for each j > k that row k stores, inserted where missing. So
 * each entry takes its terms in ascending order of k. Without a candidate row k stays, with A(k,k) = 0 if it is stored,
 * and nothing is eliminated: singularity is not reported, the solves find it. The columns are taken as they stand:
 * order them first. alpha 1 is partial pivoting, small values favour little fill.
 *   A   m x n, replaced by its factors, diagonal positions set        px  size m, replaced
 * Scratch: up to about 40 bytes an entry of the factors and 60 a row.
 * Errors: null: SarvoMHNullEC; px of another size than m: SarvoMHSizesEC; alpha not in (0, 1]: SarvoMHRangeEC. */
SARVO_API sarko_error_t sarvo_mh_spLUfactor(SPMAT *A, PERM *px, double alpha);

/* Incomplete factors without fill or exchanges: row i ascending, k < i ascending over its entries, A(i,k) = A(i,k) /
 * A(k,k), A(i,j) -= A(i,k) A(k,j) for the j > k that both rows store. Then a pivot A(i,i) smaller than alpha in
 * magnitude becomes alpha with its sign (of a zero too); one that is not stored is inserted as +0 first if alpha > 0. A
 * pivot that is still 0 or absent (alpha 0) eliminates nothing. For the solves below px is the identity.
 * Errors: null: SarvoMHNullEC; not square: SarvoMHSquareEC; alpha negative or NaN: SarvoMHRangeEC. */
SARVO_API sarko_error_t sarvo_mh_spILUfactor(SPMAT *A, double alpha);

/* Solve A x = b, respectively A' x = b. *x, which may be b, is sized to b.dim.
 *   LUsolve   y(i) = b(px(i)) - sum_{j<i} L(i,j) y(j), i ascending; x(i) = (y(i) - sum_{j>i} U(i,j) x(j)) / U(i,i), i
 *             descending: running differences, j ascending
 *   LUTsolve  y(j) = (b(j) - sum_{i<j} U(i,j) y(i)) / U(j,j), i ascending; z(j) = y(j) - sum_{i>j} L(i,j) z(i), i
 *             descending; x(px(i)) = z(i)
 * Errors: null: SarvoMHNullEC; LU not square, or b or px of another size: SarvoMHSizesEC; an entry of px out of range:
 * SarvoMHBoundsEC; a diagonal entry absent or 0: SarvoMHSingEC. */
SARVO_API sarko_error_t sarvo_mh_spLUsolve(const SPMAT *LU, const PERM *px, const VEC *b, VEC **x);
SARVO_API sarko_error_t sarvo_mh_spLUTsolve(const SPMAT *LU, const PERM *px, const VEC *b, VEC **x);

#ifdef __cplusplus
}
#endif

#endif
