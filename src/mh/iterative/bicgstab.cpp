// Stabilised biconjugate gradients (van der Vorst, 1992), preconditioned from the right.
#include "solver.h"

namespace sarvo::mh {
namespace {

class BiconjugateGradients {
public:
    static constexpr bool updates_each_step = true;

    explicit BiconjugateGradients(sarvo_mh_iter_t &ip) : ip_(ip) {}

    [[nodiscard]] sarko_error_t allocate() {
        if (sarko_error_t e = vectors_.allocate(7, ip_.b->dim)) return e;
        VEC **const names[] = {&r_, &shadow_, &p_, &v_, &t_, &bp_, &bs_};
        for (uint64_t i = 0; i < 7; i++) *names[i] = vectors_[i];
        return 0;
    }

    sarko_error_t begin(double *norm_of_r) {
        if (sarko_error_t e = residual(ip_, r_)) return e;
        copy(*r_, *shadow_);
        first_ = true;
        *norm_of_r = norm(*r_);
        return 0;
    }

    sarko_error_t step(double *norm_of_r, Step *step) {
        *step = Step::nothing;
        // --- p = r + beta (p - omega v) ---
        const double rho = inner(*shadow_, *r_);
        if (rho == 0.0 || (!first_ && omega_ == 0.0)) return 0;
        if (first_) {
            copy(*r_, *p_);
        } else {
            add(-omega_, *v_, *p_);
            add_to_multiple((rho / rho_) * (alpha_ / omega_), *r_, *p_);
        }
        first_ = false;
        rho_ = rho;
        // --- r = s = r - alpha A B p ---
        if (sarko_error_t e = precondition(ip_, p_, bp_)) return e;
        if (sarko_error_t e = multiply(ip_, bp_, v_)) return e;
        const double divisor = inner(*shadow_, *v_);
        if (divisor == 0.0) return 0;
        alpha_ = rho / divisor;
        add(-alpha_, *v_, *r_);
        // --- r = s - omega A B s ---
        if (sarko_error_t e = precondition(ip_, r_, bs_)) return e;
        if (sarko_error_t e = multiply(ip_, bs_, t_)) return e;
        const double square = inner(*t_, *t_);
        omega_ = square == 0.0 ? 0.0 : inner(*t_, *r_) / square;
        add(-omega_, *t_, *r_);
        *norm_of_r = norm(*r_);
        *step = Step::made;
        return 0;
    }

    double length() {
        const double size = norm(*bs_), quotient = norm(*t_) / size;
        if (quotient > stretch_) stretch_ = quotient;
        return fabs(alpha_) * norm(*bp_) + fabs(omega_) * size;
    }
    double size_of_operator() const { return stretch_; }
    sarko_error_t fresh_norm(double *norm_of_r) {
        if (sarko_error_t e = residual(ip_, t_)) return e; // A B s is no longer needed
        *norm_of_r = norm(*t_);
        return 0;
    }
    void update() {
        add(alpha_, *bp_, *ip_.x);
        add(omega_, *bs_, *ip_.x);
    }
    sarko_error_t end() { return 0; }

private:
    sarvo_mh_iter_t &ip_;
    Vectors vectors_;
    VEC *r_ = nullptr, *shadow_ = nullptr, *p_ = nullptr, *v_ = nullptr, *t_ = nullptr;
    VEC *bp_ = nullptr, *bs_ = nullptr; // B p, B s
    double rho_ = 0.0, alpha_ = 0.0, omega_ = 0.0, stretch_ = 0.0;
    bool first_ = true;
};

} // namespace
} // namespace sarvo::mh

extern "C" sarko_error_t sarvo_mh_iter_bicgstab(sarvo_mh_iter_t *ip) {
    return sarvo::mh::solve_square<sarvo::mh::BiconjugateGradients>(ip);
}
