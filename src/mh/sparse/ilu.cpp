// Incomplete LU factorisation of sparse matrices, without fill or exchanges.
#include <sarvo/mh/sparse_factor.h>

#include <math.h>

#include "compact.h"

using sarvo::mh::fail_in;

namespace {

// Puts a zero on the diagonal of every row that does not store it.
sarko_error_t insert_diagonal(SPMAT &A) {
    for (int32_t i = 0; i < A.n; i++)
        if (sarvo_mh_sprow_idx(&A.row[i], i) < 0)
            if (sarko_error_t e = sarvo::mh::reserve(A.row[i], A.row[i].len + 1)) return e;
    for (int32_t i = 0; i < A.n; i++) {
        if (sarvo_mh_sprow_idx(&A.row[i], i) >= 0) continue;
        if (sarko_error_t e = sarvo_mh_sp_set_val(&A, i, i, 0.0)) return e; // there is room
        A.flag_col = 0;
    }
    return 0;
}

// Eliminates the entries of row i that are left of the diagonal, by the rows above, which are final. place is -1.
void eliminate(SPMAT &A, int32_t i, int32_t *place) {
    SPROW &row = A.row[i];
    for (int32_t p = 0; p < row.len; p++) place[row.elt[p].col] = p;
    for (int32_t p = 0; p < row.len && row.elt[p].col < i; p++) {
        const SPROW &above = A.row[row.elt[p].col];
        if (above.diag < 0 || above.elt[above.diag].val == 0.0) continue;
        const double factor = row.elt[p].val = row.elt[p].val / above.elt[above.diag].val; // L(i,k) = A(i,k) / U(k,k)
        for (int32_t q = above.diag + 1; q < above.len; q++) {
            const int32_t to = place[above.elt[q].col];
            if (to >= 0) row.elt[to].val -= factor * above.elt[q].val;
        }
    }
    for (int32_t p = 0; p < row.len; p++) place[row.elt[p].col] = -1;
}

} // namespace

extern "C" {

sarko_error_t sarvo_mh_spILUfactor(SPMAT *A, double alpha) {
    if (!A) return fail_in(SarvoMHNullEC, "spILUfactor");
    if (A->m != A->n) return fail_in(SarvoMHSquareEC, "spILUfactor");
    if (!(alpha >= 0.0)) return fail_in(SarvoMHRangeEC, "spILUfactor");
    sarvo::Buffer<int32_t> place;
    if (sarko_error_t e = place.allocate_unset(static_cast<uint64_t>(A->n))) return e;
    if (alpha > 0.0)
        if (sarko_error_t e = insert_diagonal(*A)) return e;
    if (sarko_error_t e = sarvo_mh_sp_diag_access(A)) return e;
    for (int32_t j = 0; j < A->n; j++) place[static_cast<uint64_t>(j)] = -1;
    for (int32_t i = 0; i < A->n; i++) {
        eliminate(*A, i, place.get());
        if (A->row[i].diag < 0) continue;
        double &pivot = A->row[i].elt[A->row[i].diag].val;
        if (fabs(pivot) < alpha) pivot = copysign(alpha, pivot);
    }
    return 0;
}

} // extern "C"
