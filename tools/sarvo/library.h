// The library's objects with an owner, and its errors as exceptions.
#pragma once

#include <memory>
#include <string>

#include <sarvo/lsq.h>
#include <sarvo/mh.h>

#include "errors.h"

namespace command {

// Throws the chain of a library error, outermost message first; clears it.
inline void check(sarko_error_t e) {
    if (!e) return;
    std::string chain;
    for (sarko_error_t link = e; link; link = sarko_error_cause(link))
        chain += (chain.empty() ? "" : ": ") + std::string(sarko_error_message(link));
    sarko_error_clear(e);
    throw Failure(exit_numerical, chain);
}

// Before any call of the library: until then its error codes are all the same. main does it, for every subcommand.
inline void start_library() {
    if (sarvo_initialize() != 0) throw Failure(exit_numerical, "the library cannot start");
}

struct ObjectFree {
    void operator()(sarvo_vector *v) const { sarvo_vector_free(v); }
    void operator()(sarvo_matrix *m) const { sarvo_matrix_free(m); }
    void operator()(sarvo_nr_svd *s) const { sarvo_nr_svd_free(s); }
    void operator()(VEC *v) const { sarvo_mh_v_free(v); }
    void operator()(PERM *p) const { sarvo_mh_px_free(p); }
    void operator()(SPMAT *A) const { sarvo_mh_sp_free(A); }
    void operator()(sarvo_mh_iter_t *ip) const { sarvo_mh_iter_free(ip); }
};
using Vector = std::unique_ptr<sarvo_vector, ObjectFree>;
using Matrix = std::unique_ptr<sarvo_matrix, ObjectFree>;
using Svd = std::unique_ptr<sarvo_nr_svd, ObjectFree>;
using DenseVector = std::unique_ptr<VEC, ObjectFree>;
using Permutation = std::unique_ptr<PERM, ObjectFree>;
using Sparse = std::unique_ptr<SPMAT, ObjectFree>;
using IterativeRecord = std::unique_ptr<sarvo_mh_iter_t, ObjectFree>;

inline Vector make_vector(uint64_t length) {
    sarvo_vector *v = nullptr;
    check(sarvo_vector_alloc(&v, SARVO_DOUBLE, 0, length));
    return Vector(v);
}

inline Matrix make_matrix(uint64_t rows, uint64_t cols) {
    sarvo_matrix *m = nullptr;
    check(sarvo_matrix_alloc(&m, SARVO_DOUBLE, 0, rows, cols));
    return Matrix(m);
}

inline Svd make_svd() {
    sarvo_nr_svd *s = nullptr;
    check(sarvo_nr_svd_init(&s));
    return Svd(s);
}

inline double *elements(sarvo_vector *v) { return static_cast<double *>(v->data); }
inline const double *elements(const sarvo_vector *v) { return static_cast<const double *>(v->data); }
inline double *row(sarvo_matrix *m, uint64_t i) { return static_cast<double *>(m->row_ptrs[i]); }
inline const double *row(const sarvo_matrix *m, uint64_t i) { return static_cast<const double *>(m->row_ptrs[i]); }

} // namespace command
