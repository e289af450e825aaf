// Minimum residuals for symmetric matrices (Paige and Saunders, 1975), preconditioned.
#include "solver.h"

using sarvo::fail;

namespace sarvo::mh {
namespace {

// Lanczos vectors v with beta v = B r; the tridiagonal matrix of their coefficients is reduced by rotations as it grows,
// and x moves along the directions w. Of r and w the last two or three are kept.
class MinimumResiduals {
public:
    static constexpr bool updates_each_step = true;

    explicit MinimumResiduals(sarvo_mh_iter_t &ip) : ip_(ip) {}

    [[nodiscard]] sarko_error_t allocate() {
        if (sarko_error_t e = vectors_.allocate(7, ip_.b->dim)) return e;
        VEC **const names[] = {&r_, &old_r_, &y_, &v_, &w_, &old_w_, &older_w_};
        for (uint64_t i = 0; i < 7; i++) *names[i] = vectors_[i];
        return 0;
    }

    sarko_error_t begin(double *norm_of_r) {
        if (sarko_error_t e = residual(ip_, r_)) return e;
        old_beta_ = squares_ = 0.0;
        if (sarko_error_t e = next_beta()) return e;
        sarvo_mh_v_zero(w_);
        sarvo_mh_v_zero(old_w_);
        delta_bar_ = epsilon_ = sine_ = 0.0;
        cosine_ = -1.0;
        *norm_of_r = phi_bar_ = beta_;
        return 0;
    }

    sarko_error_t step(double *norm_of_r, Step *step) {
        // --- Lanczos: y = A v - (beta / old beta) old r - (alpha / beta) r ---
        *step = Step::nothing;
        if (beta_ == 0.0) return 0;
        copy(*y_, *v_);
        scale(1.0 / beta_, *v_);
        if (sarko_error_t e = multiply(ip_, v_, y_)) return e;
        if (old_beta_ != 0.0) add(-(beta_ / old_beta_), *old_r_, *y_);
        const double alpha = inner(*v_, *y_);
        add(-(alpha / beta_), *r_, *y_);
        exchange(old_r_, r_);
        copy(*y_, *r_);
        old_beta_ = beta_;
        if (sarko_error_t e = next_beta()) return e;

        // --- the next column of the tridiagonal matrix meets the rotations before it and makes its own ---
        const double old_epsilon = epsilon_, delta = cosine_ * delta_bar_ + sine_ * alpha;
        const double gamma_bar = sine_ * delta_bar_ - cosine_ * alpha;
        epsilon_ = sine_ * beta_;
        delta_bar_ = -cosine_ * beta_;
        const double gamma = sqrt(gamma_bar * gamma_bar + beta_ * beta_);
        squares_ += alpha * alpha + beta_ * beta_ + old_beta_ * old_beta_;
        const double column = sqrt(alpha * alpha + beta_ * beta_); // about |A v|
        if (column > stretch_) stretch_ = column;
        if (gamma <= 4.0 * DBL_EPSILON * sqrt(squares_)) return 0; // a singular matrix, x of least squares
        cosine_ = gamma_bar / gamma;
        sine_ = beta_ / gamma;
        phi_ = cosine_ * phi_bar_;
        phi_bar_ = sine_ * phi_bar_;

        // --- w = (v - old epsilon older w - delta old w) / gamma ---
        VEC *const oldest = older_w_;
        older_w_ = old_w_;
        old_w_ = w_;
        w_ = oldest;
        const double *const v = v_->elems, *const w1 = older_w_->elems, *const w2 = old_w_->elems;
        for (uint64_t i = 0; i < w_->dim; i++) w_->elems[i] = (v[i] - old_epsilon * w1[i] - delta * w2[i]) / gamma;
        *norm_of_r = phi_bar_;
        *step = Step::made;
        return 0;
    }

    double length() const { return fabs(phi_) * norm(*w_); }
    double size_of_operator() const { return ip_.Bx ? 0.0 : stretch_; } // B A is another matter
    void update() { add(phi_, *w_, *ip_.x); }
    sarko_error_t fresh_norm(double *norm_of_r) {
        VEC *const r = older_w_, *const Br = v_; // the next step begins by writing them
        if (sarko_error_t e = residual(ip_, r)) return e;
        if (sarko_error_t e = precondition(ip_, r, Br)) return e;
        *norm_of_r = sqrt(inner(*r, *Br));
        return 0;
    }
    sarko_error_t end() { return 0; }

private:
    // y = B r, beta = sqrt(r' y)
    sarko_error_t next_beta() {
        if (sarko_error_t e = precondition(ip_, r_, y_)) return e;
        const double square = inner(*r_, *y_);
        if (square < 0.0) return fail(SarvoMHPosdefEC);
        beta_ = sqrt(square);
        return 0;
    }
    static void exchange(VEC *&x, VEC *&y) {
        VEC *const old = x;
        x = y;
        y = old;
    }

    sarvo_mh_iter_t &ip_;
    Vectors vectors_;
    VEC *r_ = nullptr, *old_r_ = nullptr, *y_ = nullptr, *v_ = nullptr;
    VEC *w_ = nullptr, *old_w_ = nullptr, *older_w_ = nullptr;
    double beta_ = 0.0, old_beta_ = 0.0, delta_bar_ = 0.0, epsilon_ = 0.0, cosine_ = -1.0, sine_ = 0.0;
    double phi_ = 0.0, phi_bar_ = 0.0;
    double stretch_ = 0.0;
    double squares_ = 0.0; // of the elements of the tridiagonal matrix: its size
};

} // namespace
} // namespace sarvo::mh

extern "C" sarko_error_t sarvo_mh_iter_minres(sarvo_mh_iter_t *ip) {
    return sarvo::mh::solve_square<sarvo::mh::MinimumResiduals>(ip);
}
