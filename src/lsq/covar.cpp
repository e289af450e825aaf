// Covariance of fitted parameters: the pseudo-inverse of the normal matrix.
#include <sarvo/lsq.h>

#include "normal.h"

using sarvo::fail;

namespace {

// V and w of the decomposition into the record, at their exact sizes.
sarko_error_t keep_factors(sarvo_lsq &lsq) {
    const sarvo_nr_svd &svd = *lsq.svd;
    const uint64_t n = lsq.npar;
    if (sarko_error_t e = sarvo_matrix_realloc(&lsq.V, SARVO_DOUBLE, SARVO_REALLOC_DTYPE, n, n)) return e;
    if (sarko_error_t e = sarvo_vector_realloc(&lsq.w, SARVO_DOUBLE, SARVO_REALLOC_DTYPE, n)) return e;
    if (sarko_error_t e = sarvo_matrix_copy(svd.V, 0, 0, n, n, &lsq.V, 0, 0)) return e;
    return sarvo_vector_copy(svd.w, 0, n, &lsq.w, 0);
}

// The inverse under a threshold derived from alpha. It stays with the decomposition, so that rank, nullity and the bases
// tell what the data leave open; the next iteration puts its own in place.
sarko_error_t invert_alpha(sarvo_matrix **covar, sarvo_lsq &lsq) {
    sarvo_nr_svd &svd = *lsq.svd;
    svd.thresh = -1.0;
    if (sarko_error_t e = sarvo_nr_svd_decompose(lsq.alpha, 0, 0, lsq.npar, lsq.npar, &svd)) {
        svd.thresh = 0.0;
        return e;
    }
    return sarvo_nr_svd_invert(&svd, covar);
}

sarko_error_t covariance(sarvo_matrix **covar, sarvo_lsq *lsq) {
    if (!covar || !lsq) return fail(SarvoNullEC);
    if (lsq->solver != 1) return fail(SarvoLsqInvalidSetupEC);
    if (!(lsq->flags & SARVO_LSQ_ALLOCATED)) return fail(SarvoLsqInitEC);
    if (sarko_error_t e = invert_alpha(covar, *lsq)) return e;
    return keep_factors(*lsq);
}

} // namespace

extern "C" sarko_error_t sarvo_lsq_covar(sarvo_matrix **covar, sarvo_lsq *lsq) {
    return sarvo::wrap(covariance(covar, lsq), "Cannot calculate covariance matrix.");
}
