// Random fills of plain arrays, vectors and matrices.
#include <sarvo/mh/random.h>

#include "dense.h"
#include "nr/rng_fill.h"
#include "rng/fill.h"

extern "C" {

void mrandlist(int32_t selector, void *rng, double *x, uint64_t count) {
    if (count == 0) return;
    if (selector == 1) sarvo::rng_fill_uniform(static_cast<sarvo_rng_t *>(rng), count, x);
    else if (selector == 2) sarvo::nr_rng_fill(static_cast<sarvo_nr_rng_t *>(rng), count, x);
}

void sarvo_mh_v_rand(VEC *v, int32_t selector, void *rng) {
    if (v) mrandlist(selector, rng, v->elems, v->dim);
}

void sarvo_mh_m_rand(MAT *A, int32_t selector, void *rng) {
    for (uint64_t i = 0; A && i < A->rows; i++) mrandlist(selector, rng, A->row_ptrs[i], A->cols);
}

} // extern "C"
