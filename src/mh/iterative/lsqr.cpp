// Least squares by bidiagonalisation (Paige and Saunders, 1982), preconditioned without a factor of the preconditioner
// (Arridge, Betcke and Harhanen, 2014).
#include "solver.h"

using sarvo::fail;

namespace sarvo::mh {
namespace {

// beta u = A v - alpha u,  alpha p = A' u - beta p,  v = B p: v has length 1 in the product with B^-1, where p = B^-1 v.
class LeastSquares {
public:
    static constexpr bool updates_each_step = true;

    explicit LeastSquares(sarvo_mh_iter_t &ip) : ip_(ip) {}

    [[nodiscard]] sarko_error_t allocate() {
        if (sarko_error_t e = long_.allocate(2, ip_.b->dim)) return e;
        if (sarko_error_t e = short_.allocate(ip_.Bx ? 5 : 4, ip_.x->dim)) return e;
        u_ = long_[0];
        Av_ = long_[1];
        VEC **const names[] = {&p_, &v_, &w_, &Au_};
        for (uint64_t i = 0; i < 4; i++) *names[i] = short_[i];
        scratch_ = ip_.Bx ? short_[4] : Au_;
        return 0;
    }

    sarko_error_t begin(double *norm_of_gradient) {
        if (sarko_error_t e = residual(ip_, u_)) return e;
        sarvo_mh_v_zero(p_);
        phi_bar_ = normalise_u();
        if (sarko_error_t e = next_v(0.0)) return e;
        copy(*v_, *w_);
        rho_bar_ = alpha_;
        *norm_of_gradient = phi_bar_ * alpha_;
        return 0;
    }

    sarko_error_t step(double *norm_of_gradient, Step *step) {
        // --- bidiagonalisation ---
        if (sarko_error_t e = multiply(ip_, v_, Av_)) return e;
        scale(-alpha_, *u_);
        add(1.0, *Av_, *u_);
        const double beta = normalise_u();
        if (sarko_error_t e = next_v(beta)) return e;
        // --- a rotation removes beta ---
        const double rho = sqrt(rho_bar_ * rho_bar_ + beta * beta);
        *step = Step::nothing;
        if (rho == 0.0) return 0;
        const double c = rho_bar_ / rho, s = beta / rho, theta = s * alpha_;
        rho_bar_ = -c * alpha_;
        along_ = c * phi_bar_ / rho;
        turn_ = theta / rho;
        phi_bar_ = s * phi_bar_;
        *norm_of_gradient = phi_bar_ * alpha_ * fabs(c);
        *step = Step::made;
        return 0;
    }

    double size_of_operator() const { return 0.0; } // its solutions of least squares do not run away
    double length() const { return fabs(along_) * norm(*w_); }
    sarko_error_t fresh_norm(double *norm_of_gradient) {
        if (sarko_error_t e = residual(ip_, Av_)) return e; // A v and A' u are no longer needed
        if (sarko_error_t e = apply(ip_.ATx, ip_.AT_par, Av_, Au_)) return e;
        if (ip_.Bx)
            if (sarko_error_t e = precondition(ip_, Au_, scratch_)) return e;
        *norm_of_gradient = sqrt(inner(*Au_, *scratch_));
        return 0;
    }
    void update() {
        add(along_, *w_, *ip_.x);
        add_to_multiple(-turn_, *v_, *w_); // w = v - (theta / rho) w
    }
    sarko_error_t end() { return 0; }

private:
    double normalise_u() {
        const double beta = norm(*u_);
        if (beta != 0.0) scale(1.0 / beta, *u_);
        return beta;
    }

    sarko_error_t next_v(double beta) {
        if (sarko_error_t e = apply(ip_.ATx, ip_.AT_par, u_, Au_)) return e;
        add_to_multiple(-beta, *Au_, *p_);
        if (sarko_error_t e = precondition(ip_, p_, v_)) return e;
        const double square = inner(*p_, *v_);
        if (square < 0.0) return fail(SarvoMHPosdefEC);
        alpha_ = sqrt(square);
        if (alpha_ == 0.0) return 0;
        scale(1.0 / alpha_, *p_);
        scale(1.0 / alpha_, *v_);
        return 0;
    }

    sarvo_mh_iter_t &ip_;
    Vectors long_, short_;
    VEC *u_ = nullptr, *Av_ = nullptr, *p_ = nullptr, *v_ = nullptr, *w_ = nullptr, *Au_ = nullptr, *scratch_ = nullptr;
    double alpha_ = 0.0, phi_bar_ = 0.0, rho_bar_ = 0.0, along_ = 0.0, turn_ = 0.0;
};

} // namespace
} // namespace sarvo::mh

extern "C" sarko_error_t sarvo_mh_iter_lsqr(sarvo_mh_iter_t *ip) {
    if (!ip || !ip->b || !ip->x || !ip->Ax || !ip->ATx) return fail(SarvoMHNullEC);
    if (ip->x == ip->b) return fail(SarvoMHInsituEC);
    sarvo::mh::LeastSquares method(*ip);
    if (sarko_error_t e = method.allocate()) return e;
    return sarvo::mh::iterate(*ip, method);
}
