// The loop that all solvers share: passes of steps, the test of each norm, and the best iterate for when it fails.
#include "solver.h"

namespace sarvo::mh {
namespace {

bool accepted(const sarvo_mh_iter_t &ip, double res) {
    return res == 0.0 || (ip.stop_crit ? ip.stop_crit : stop_relative)(&ip, res) != 0;
}

// The iterate of the smallest norm: x itself, until a step makes the norm rise.
class Best {
public:
    explicit Best(VEC &x) : x_(x) {}

    [[nodiscard]] sarko_error_t allocate() { return copy_.allocate(1, x_.dim); }
    // The norm of x, computed afresh.
    void met(double norm) {
        if (kept_ && !(norm < norm_)) return;
        kept_ = false;
        norm_ = norm;
    }
    // x is about to become an iterate of this norm.
    void leaving_for(double norm) {
        if (!kept_ && !(norm < norm_)) {
            copy(x_, *copy_[0]);
            kept_ = true;
        }
        met(norm);
    }
    void restore() {
        if (kept_) copy(*copy_[0], x_);
    }

private:
    VEC &x_;
    Vectors copy_;
    double norm_ = HUGE_VAL;
    bool kept_ = false; // in the copy
};

// Steps until the norm looks small enough, the pass or the limit ends.
sarko_error_t make_steps(sarvo_mh_iter_t &ip, Method &method, Best &best) {
    while (ip.steps < ip.limit) {
        double res;
        Step step;
        if (sarko_error_t e = method.step(&res, &step)) return e;
        if (step == Step::nothing) return 0;
        if (!isfinite(res)) return fail(SarvoMHRangeEC);
        best.leaving_for(res);
        method.update();
        ip.steps++;
        if (ip.info) ip.info(&ip, res);
        if (step == Step::last || accepted(ip, res)) return 0;
    }
    return 0;
}

sarko_error_t make_passes(sarvo_mh_iter_t &ip, Method &method, Best &best) {
    ip.steps = 0;
    ip.init_res = 0.0;
    for (double before = HUGE_VAL;;) {
        const uint32_t steps = ip.steps;
        double res;
        if (sarko_error_t e = method.begin(&res)) return e;
        if (before == HUGE_VAL) ip.init_res = res;
        if (!isfinite(res)) return fail(SarvoMHRangeEC);
        best.met(res);
        if (accepted(ip, res)) return 0;
        if (!(res < before) || ip.steps >= ip.limit) return fail(SarvoNrIterEC);
        before = res;
        if (sarko_error_t e = make_steps(ip, method, best)) return e;
        if (ip.steps == steps) return fail(SarvoNrIterEC);
        if (sarko_error_t e = method.end()) return e;
    }
}

} // namespace

sarko_error_t check_square(sarvo_mh_iter_t *ip) {
    if (!ip || !ip->b || !ip->Ax) return fail(SarvoMHNullEC);
    if (ip->x && ip->x->dim != ip->b->dim) return fail(SarvoMHSizesEC);
    if (ip->x == ip->b) return fail(SarvoMHInsituEC);
    return ip->x ? 0 : sarvo_mh_v_get(ip->b->dim, &ip->x);
}

sarko_error_t iterate(sarvo_mh_iter_t &ip, Method &method) {
    Best best(*ip.x);
    if (sarko_error_t e = best.allocate()) return e;
    const sarko_error_t e = make_passes(ip, method, best);
    if (e) best.restore();
    return e;
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
    return sarvo_mh_spLUsolve(static_cast<const SPMAT *>(LU), nullptr, in, &out);
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
