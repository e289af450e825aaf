// Setting up a least-squares record: defaults, storage, weights.
#include <sarvo/lsq.h>

#include <stdio.h>
#include <stdlib.h>

#include <initializer_list>

#include "array/dtype.h"
#include "core/elementary.h"
#include "normal.h"

using sarvo::fail;
using sarvo::wrap;
using namespace sarvo::lsq;

namespace {

// A matrix of just this shape: resizing would keep room for the columns of an earlier problem.
sarko_error_t size_matrix(sarvo_matrix **m, uint64_t rows, uint64_t cols) {
    if (*m && (*m)->rows == rows && (*m)->cols == cols) return 0;
    sarvo_matrix_free(*m);
    *m = nullptr;
    return sarvo_matrix_alloc(m, SARVO_DOUBLE, 0, rows, cols);
}

sarko_error_t allocate(uint32_t npar, uint32_t ndata, sarvo_lsq *lsq) {
    if (!lsq) return fail(SarvoNullEC);
    lsq->flags &= ~static_cast<uint32_t>(SARVO_LSQ_ALLOCATED); // until all is there
    lsq->npar = npar;
    lsq->ndata = ndata;
    if (lsq->model_kind != 1 || lsq->solver != 1 || lsq->method != 1) return fail(SarvoLsqInvalidSetupEC);
    const uint32_t as_doubles = SARVO_REALLOC_DTYPE;
    if (sarko_error_t e = sarvo_vector_realloc(&lsq->r, SARVO_DOUBLE, as_doubles, ndata)) return e;
    if (sarko_error_t e = size_matrix(&lsq->J, ndata, npar)) return e;
    if (!lsq->svd) {
        if (sarko_error_t e = sarvo_nr_svd_init(&lsq->svd)) return e;
    }
    lsq->svd->thresh = 0.0; // a threshold kept from one damped matrix would cut off the next
    if (sarko_error_t e = size_matrix(&lsq->alpha, npar, npar)) return e;
    if (sarko_error_t e = sarvo_vector_realloc(&lsq->beta, SARVO_DOUBLE, as_doubles, npar)) return e;
    if (sarko_error_t e = sarvo_vector_realloc(&lsq->step, SARVO_DOUBLE, as_doubles, npar)) return e;
    lsq->flags |= SARVO_LSQ_ALLOCATED;
    return 0;
}

sarko_error_t set_vector_weights(const sarvo_vector *w, sarvo_lsq *lsq) {
    if (!w || !lsq) return fail(SarvoNullEC);
    if (w->dtype != SARVO_DOUBLE) return sarvo::fail_invalid_dtype(w->dtype);
    if (w->length != lsq->ndata) return fail(SarvoSizeEC);
    sarvo_vector **own = &lsq->weight_vector;
    if (sarko_error_t e = sarvo_vector_realloc(own, SARVO_DOUBLE, SARVO_REALLOC_DTYPE, w->length)) return e;
    if (sarko_error_t e = sarvo_vector_copy(w, 0, 0, own, 0)) return e;
    lsq->weight_kind = vector_weights;
    return 0;
}

sarko_error_t set_matrix_weights(const sarvo_matrix *W, sarvo_lsq *lsq) {
    if (!W || !lsq) return fail(SarvoNullEC);
    if (W->dtype != SARVO_DOUBLE) return sarvo::fail_invalid_dtype(W->dtype);
    if (W->rows != lsq->ndata || W->cols != lsq->ndata) return fail(SarvoSizeEC);
    sarvo_matrix **own = &lsq->weight_matrix;
    if (sarko_error_t e = sarvo_matrix_realloc(own, SARVO_DOUBLE, SARVO_REALLOC_DTYPE, W->rows, W->cols)) return e;
    if (sarko_error_t e = sarvo_matrix_copy(W, 0, 0, 0, 0, own, 0, 0)) return e;
    lsq->weight_kind = matrix_weights;
    return 0;
}

// Frees an object and forgets it.
template <class T> void release(void (*free_object)(T *), T *&object) {
    free_object(object);
    object = nullptr;
}

} // namespace

extern "C" {

sarko_error_t sarvo_lsq_init_default(sarvo_lsq *lsq) {
    if (SarvoInitialized == 0) {
        if (const int32_t rc = sarvo_initialize()) {
            fprintf(stderr, "SARVO failed to initialize. rc=%d\n", rc);
            exit(1);
        }
    }
    if (!lsq) return 0;
    *lsq = sarvo_lsq{};
    lsq->model_kind = 1;
    lsq->method = 1;
    lsq->solver = 1;
    lsq->tolx = __builtin_sqrt(SarvoDblEps);
    lsq->tolg = sarvo::elementary::pow(SarvoDblEps, 1.0 / 3.0);
    lsq->max_tries = 30;
    lsq->up_factor = 3.0;
    lsq->down_factor = 2.0;
    lsq->flags = SARVO_LSQ_DEFAULTS;
    return 0;
}

sarko_error_t sarvo_lsq_alloc(uint32_t npar, uint32_t ndata, sarvo_lsq *lsq) {
    return wrap(allocate(npar, ndata, lsq), "Cannot allocate LS.");
}

void sarvo_lsq_free(sarvo_lsq *lsq) {
    if (!lsq) return;
    for (sarvo_matrix **m : {&lsq->J, &lsq->alpha, &lsq->weight_matrix, &lsq->V}) release(sarvo_matrix_free, *m);
    for (sarvo_vector **v : {&lsq->beta, &lsq->x, &lsq->step, &lsq->r, &lsq->weight_vector, &lsq->w})
        release(sarvo_vector_free, *v);
    release(sarvo_nr_svd_free, lsq->svd);
    lsq->flags &= ~static_cast<uint32_t>(SARVO_LSQ_ALLOCATED);
}

sarko_error_t sarvo_lsq_weight_vinit(const sarvo_vector *w, sarvo_lsq *lsq) {
    return wrap(set_vector_weights(w, lsq), "Cannot initialize LS weighting.");
}

sarko_error_t sarvo_lsq_weight_minit(const sarvo_matrix *W, sarvo_lsq *lsq) {
    return wrap(set_matrix_weights(W, lsq), "Cannot initialize LS weighting.");
}

} // extern "C"
