// What an iteration computes from residuals and derivatives: chi square, normal equations; and its work space.
#pragma once

#include <sarvo/lsq.h>

#include "core/fail.h"

namespace sarvo::lsq {

enum WeightKind : int32_t { no_weights = 0, vector_weights = 1, matrix_weights = 2 };

// Work space of one operation, and the last accepted state, to which a trial that fails is taken back.
class Workspace {
public:
    [[nodiscard]] sarko_error_t allocate(const sarvo_lsq &lsq);

    void save(const sarvo_lsq &lsq);          // keeps x and r
    void restore(const sarvo_lsq &lsq) const; // puts them back, bit for bit

    double *weighted_residuals; // ndata, r'W; matrix weights only
    double *weighted_jacobian;  // npar * ndata, J'W; with weights only
    double *product;            // scratch of the products

private:
    Buffer<double> block_;
    double *x_; // npar
    double *r_; // ndata
};

// The model and the weights must fit the record: SarvoLsqInvalidSetupEC otherwise.
[[nodiscard]] sarko_error_t check_setup(const sarvo_lsq &lsq);

// r at x by the model, then its weighted sum of squares.
[[nodiscard]] sarko_error_t evaluate(sarvo_lsq &lsq, const Workspace &work, double *chisq);

// alpha and beta from J and r.
void form_normal_equations(sarvo_lsq &lsq, const Workspace &work);

inline double *elements(const sarvo_vector *v) { return static_cast<double *>(v->data); }
inline double *elements(const sarvo_matrix *m) { return static_cast<double *>(m->data); }

// Doubles of just these lengths.
inline bool holds(const sarvo_vector *v, uint64_t length) {
    return v && v->dtype == SARVO_DOUBLE && v->length == length;
}
inline bool holds(const sarvo_matrix *m, uint64_t rows, uint64_t cols) {
    return m && m->dtype == SARVO_DOUBLE && m->rows == rows && m->cols == cols;
}

} // namespace sarvo::lsq
