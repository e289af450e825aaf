// The operators that sparse matrices and their factors make, and the checks of square systems.
#include "solver.h"

#include <sarvo/mh/sparse_factor.h>

#include "../sparse/storage.h"

namespace sarvo::mh {

sarko_error_t check_square(sarvo_mh_iter_t *ip) {
    if (!ip || !ip->b || !ip->Ax) return fail(SarvoMHNullEC);
    if (ip->x && ip->x->dim != ip->b->dim) return fail(SarvoMHSizesEC);
    if (ip->x == ip->b) return fail(SarvoMHInsituEC);
    return ip->x ? 0 : sarvo_mh_v_get(ip->b->dim, &ip->x);
}

} // namespace sarvo::mh

using sarvo::fail;

namespace {

sarko_error_t multiply_sparse(void *A, const VEC *in, VEC *out) {
    return sarvo_mh_sp_mv_mlt(static_cast<const SPMAT *>(A), in, &out);
}

sarko_error_t multiply_transposed(void *A, const VEC *in, VEC *out) {
    return sarvo_mh_sp_vm_mlt(static_cast<const SPMAT *>(A), in, &out);
}

sarko_error_t solve_cholesky(void *L, const VEC *in, VEC *out) {
    return sarvo_mh_spCHsolve(static_cast<const SPMAT *>(L), in, &out);
}

sarko_error_t solve_lu(void *LU, const VEC *in, VEC *out) {
    return sarvo::mh::solve_without_exchanges(*static_cast<const SPMAT *>(LU), *in, &out);
}

sarko_error_t precondition_by(sarvo_mh_iter_t *ip, sarvo_mh_iter_operator solve, const SPMAT *factor) {
    if (!ip || !factor) return fail(SarvoMHNullEC);
    ip->Bx = solve;
    ip->B_par = const_cast<SPMAT *>(factor);
    return 0;
}

} // namespace

extern "C" {

sarko_error_t sarvo_mh_iter_use_sp(sarvo_mh_iter_t *ip, const SPMAT *A) {
    if (!ip || !A) return fail(SarvoMHNullEC);
    ip->Ax = multiply_sparse;
    ip->ATx = multiply_transposed;
    ip->A_par = ip->AT_par = const_cast<SPMAT *>(A);
    return 0;
}

sarko_error_t sarvo_mh_iter_use_ich(sarvo_mh_iter_t *ip, const SPMAT *L) {
    return precondition_by(ip, solve_cholesky, L);
}

sarko_error_t sarvo_mh_iter_use_ilu(sarvo_mh_iter_t *ip, const SPMAT *LU) { return precondition_by(ip, solve_lu, LU); }

} // extern "C"
