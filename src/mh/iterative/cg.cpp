// Conjugate gradients (Hestenes and Stiefel, 1952), preconditioned.
#include "solver.h"

using sarvo::fail;

namespace sarvo::mh {
namespace {

class ConjugateGradients {
public:
    static constexpr bool updates_each_step = true;

    explicit ConjugateGradients(sarvo_mh_iter_t &ip) : ip_(ip) {}

    [[nodiscard]] sarko_error_t allocate() {
        if (sarko_error_t e = vectors_.allocate(ip_.Bx ? 4 : 3, ip_.b->dim)) return e;
        r_ = vectors_[0];
        p_ = vectors_[1];
        q_ = vectors_[2];
        z_ = ip_.Bx ? vectors_[3] : r_;
        return 0;
    }

    sarko_error_t begin(double *norm_of_r) {
        first_ = true;
        if (sarko_error_t e = residual(ip_, r_)) return e;
        *norm_of_r = norm(*r_);
        return 0;
    }

    sarko_error_t step(double *norm_of_r, Step *step) {
        if (sarko_error_t e = next_direction()) return e;
        if (sarko_error_t e = multiply(ip_, p_, q_)) return e;
        const double curvature = inner(*p_, *q_);
        if (curvature <= 0.0) return fail(SarvoMHPosdefEC); // NaN shows in the norm
        alpha_ = rho_ / curvature;
        add(-alpha_, *q_, *r_);
        *norm_of_r = norm(*r_);
        *step = Step::made;
        return 0;
    }

    double length() {
        const double size = norm(*p_);
        const double quotient = rho_ / alpha_ / (size * size); // p' A p / p' p
        if (quotient > stretch_) stretch_ = quotient;
        return fabs(alpha_) * size;
    }
    double size_of_operator() const { return stretch_; }
    void update() { add(alpha_, *p_, *ip_.x); }
    sarko_error_t fresh_norm(double *norm_of_r) {
        if (sarko_error_t e = residual(ip_, q_)) return e; // A p is no longer needed
        *norm_of_r = norm(*q_);
        return 0;
    }
    sarko_error_t end() { return 0; }

private:
    // p = z + (rho / old rho) p with z = B r, rho = r' z
    sarko_error_t next_direction() {
        if (ip_.Bx)
            if (sarko_error_t e = precondition(ip_, r_, z_)) return e;
        const double rho = inner(*r_, *z_);
        if (rho <= 0.0) return fail(SarvoMHPosdefEC);
        if (first_) copy(*z_, *p_);
        else add_to_multiple(rho / rho_, *z_, *p_);
        first_ = false;
        rho_ = rho;
        return 0;
    }

    sarvo_mh_iter_t &ip_;
    Vectors vectors_;
    VEC *r_ = nullptr, *z_ = nullptr, *p_ = nullptr, *q_ = nullptr;
    double rho_ = 0.0, alpha_ = 0.0, stretch_ = 0.0;
    bool first_ = true;
};

} // namespace
} // namespace sarvo::mh

extern "C" sarko_error_t sarvo_mh_iter_cg(sarvo_mh_iter_t *ip) {
    return sarvo::mh::solve_square<sarvo::mh::ConjugateGradients>(ip);
}
