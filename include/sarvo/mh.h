/* mh: matrix algebra on plain records: double matrices and vectors, integer vectors, permutations, sparse matrices.
 *
 * Everything here works on records that the library allocates and the caller owns. An operation that makes an object
 * takes the address of the caller's pointer (`out`): a null pointer gets a fresh object, an object of the wrong size is
 * resized as each declaration says, and nothing ever gives storage back but the *_free operations. Indices count from
 * 0, matrices are stored by rows. Distinct objects may be used in any number of threads.
 *
 *     #include <sarvo/mh.h>
 *     int main(void) {
 *         sarvo_initialize();
 *         VEC *v = NULL, *w = NULL;
 *         sarko_error_t e = sarvo_mh_v_get(4, &v);
 *         sarvo_mh_v_count(v);                             // 0 1 2 3
 *         if (!e) e = sarvo_mh_v_move(v, 1, 2, &w, 3);     // 0 0 0 1 2
 *         sarvo_mh_v_foutput(stdout, " %g", w);
 *         sarko_error_clear(sarko_error_handle(e, sarko_error_stdhandler, stderr));
 *         sarvo_mh_v_free(v); sarvo_mh_v_free(w);
 *         sarvo_terminate();
 *     }
 *
 * Errors come in two styles, both part of the interface: a text in quotes is an error of code 0 with that message
 * unless a code is named beside it; a name such as SarvoMHSizesEC is an error of that code with its registered message.
 * Checks are made in the order listed; the first that fails is reported. "The allocator's" errors are the kernel
 * library's, passed on unchanged. Unless a declaration says otherwise, an out pointer and the object behind it are as
 * before after an error.
 *
 * Arithmetic: every operation rounds by itself and every sum runs in ascending order of its index in one running sum,
 * on every processor. Where exact zeros are said to be left out, an infinity or NaN opposite to one does no harm.
 * NaN stays NaN; its sign and payload are not promised. Rows of a matrix must lie at equal distances, as in every
 * matrix that the library makes. Operands may coincide exactly where a declaration allows it, never overlap in part.
 */
#ifndef SARVO_MH_H
#define SARVO_MH_H

#include <sarvo/mh/arithmetic.h>
#include <sarvo/mh/fourier.h>
#include <sarvo/mh/function.h>
#include <sarvo/mh/iterative.h>
#include <sarvo/mh/objects.h>
#include <sarvo/mh/orthogonal.h>
#include <sarvo/mh/permutation.h>
#include <sarvo/mh/random.h>
#include <sarvo/mh/solve.h>
#include <sarvo/mh/sparse.h>
#include <sarvo/mh/sparse_factor.h>

#endif
