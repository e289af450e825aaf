// Chi square, normal equations and work space of an iteration. Every sum ascends over the data, one running sum from
// +0.
#include "normal.h"

#include <string.h>

#include "simd/simd.h"

namespace sarvo::lsq {
namespace {

using simd::kernels;

// J'W as a strided matrix: element (p,i) at data[p row + i col].
struct WeightedJacobian {
    const double *data;
    uint64_t row, col;
};

uint64_t larger(uint64_t a, uint64_t b) { return a > b ? a : b; }

uint64_t product_scratch(uint64_t npar, uint64_t ndata, int32_t weight_kind) {
    const auto scratch = kernels().product_work;
    const uint64_t equations = larger(scratch(npar, npar, ndata), scratch(npar, 1, ndata));
    return weight_kind == matrix_weights ? larger(equations, scratch(npar, ndata, ndata)) : equations;
}

// (J'W)(p,i) = J(i,p), w(i) J(i,p), or sum_l J(l,p) W(l,i) with terms of a zero J(l,p) left out.
WeightedJacobian weight_jacobian(const sarvo_lsq &lsq, const Workspace &work) {
    const uint64_t npar = lsq.npar, ndata = lsq.ndata;
    const double *J = elements(lsq.J);
    double *JW = work.weighted_jacobian;
    if (lsq.weight_kind == vector_weights) {
        const double *w = elements(lsq.weight_vector);
        for (uint64_t i = 0; i < ndata; i++) kernels().scale(npar, w[i], J + i * npar, JW + i * npar);
        return {JW, 1, npar};
    }
    if (lsq.weight_kind == matrix_weights) {
        kernels().product(npar, ndata, ndata, J, 1, npar, elements(lsq.weight_matrix), ndata, JW, ndata, work.product);
        return {JW, ndata, 1};
    }
    return {J, 1, npar};
}

// chi^2 = sum_i r(i) r(i), sum_i w(i) (r(i) r(i)), or sum_j t(j) r(j) with t(j) = sum_i r(i) W(i,j).
double chi_square(const sarvo_lsq &lsq, const Workspace &work) {
    const uint64_t ndata = lsq.ndata;
    const double *r = elements(lsq.r);
    double sum = 0.0;
    if (lsq.weight_kind == vector_weights) {
        const double *w = elements(lsq.weight_vector);
        for (uint64_t i = 0; i < ndata; i++) sum += w[i] * (r[i] * r[i]);
    } else if (lsq.weight_kind == matrix_weights) {
        const double *W = elements(lsq.weight_matrix);
        double *t = work.weighted_residuals;
        memset(t, 0, ndata * sizeof(double));
        for (uint64_t i = 0; i < ndata; i++) kernels().axpy(ndata, r[i], W + i * ndata, t);
        for (uint64_t j = 0; j < ndata; j++) sum += t[j] * r[j];
    } else {
        for (uint64_t i = 0; i < ndata; i++) sum += r[i] * r[i];
    }
    return sum;
}

} // namespace

sarko_error_t Workspace::allocate(const sarvo_lsq &lsq) {
    const uint64_t npar = lsq.npar, ndata = lsq.ndata;
    const uint64_t residuals = lsq.weight_kind == matrix_weights ? ndata : 0;
    const uint64_t jacobian = lsq.weight_kind == no_weights ? 0 : npar * ndata;
    const uint64_t scratch = product_scratch(npar, ndata, lsq.weight_kind);
    // One element more: there is always a block, and its parts are never null.
    if (sarko_error_t e = block_.allocate(npar + ndata + residuals + jacobian + scratch + 1)) return e;
    x_ = block_.get();
    r_ = x_ + npar;
    weighted_residuals = r_ + ndata;
    weighted_jacobian = weighted_residuals + residuals;
    product = weighted_jacobian + jacobian;
    return 0;
}

void Workspace::save(const sarvo_lsq &lsq) {
    if (lsq.npar) memcpy(x_, lsq.x->data, lsq.npar * sizeof(double));
    if (lsq.ndata) memcpy(r_, lsq.r->data, lsq.ndata * sizeof(double));
}

void Workspace::restore(const sarvo_lsq &lsq) const {
    if (lsq.npar) memcpy(lsq.x->data, x_, lsq.npar * sizeof(double));
    if (lsq.ndata) memcpy(lsq.r->data, r_, lsq.ndata * sizeof(double));
}

sarko_error_t check_setup(const sarvo_lsq &lsq) {
    const bool weights_fit = lsq.weight_kind == no_weights ||
                             (lsq.weight_kind == vector_weights && holds(lsq.weight_vector, lsq.ndata)) ||
                             (lsq.weight_kind == matrix_weights && holds(lsq.weight_matrix, lsq.ndata, lsq.ndata));
    return lsq.model && weights_fit ? 0 : fail(SarvoLsqInvalidSetupEC);
}

sarko_error_t evaluate(sarvo_lsq &lsq, const Workspace &work, double *chisq) {
    if (sarko_error_t e = lsq.model(lsq.x, lsq.r, nullptr, lsq.user_data)) return e;
    *chisq = chi_square(lsq, work);
    return 0;
}

// alpha(p,q) = sum_i (J'W)(p,i) J(i,q), beta(p) = sum_i (J'W)(p,i) r(i); terms of a zero left factor are left out.
void form_normal_equations(sarvo_lsq &lsq, const Workspace &work) {
    const uint64_t npar = lsq.npar, ndata = lsq.ndata;
    const WeightedJacobian JW = weight_jacobian(lsq, work);
    kernels().product(npar, npar, ndata, JW.data, JW.row, JW.col, elements(lsq.J), npar, elements(lsq.alpha), npar,
                      work.product);
    kernels().product(npar, 1, ndata, JW.data, JW.row, JW.col, elements(lsq.r), 1, elements(lsq.beta), 1, work.product);
}

} // namespace sarvo::lsq
