// Generalised minimum residuals (Saad and Schultz, 1986), restarted, preconditioned from the right.
#include "solver.h"

namespace sarvo::mh {
namespace {

// The basis v_0, v_1, ... of the Krylov space is made orthonormal by modified Gram and Schmidt; the Hessenberg matrix H
// with A B V = V H is kept as the triangle R that rotations turn it into, g is what they make of |r| e_0.
class GeneralisedMinimumResiduals {
public:
    static constexpr bool updates_each_step = false;

    explicit GeneralisedMinimumResiduals(sarvo_mh_iter_t &ip) : ip_(ip) {}

    [[nodiscard]] sarko_error_t allocate() {
        const uint64_t n = ip_.b->dim, wanted = ip_.k == 0 ? 30 : ip_.k;
        most_ = larger(smaller(wanted, n), 1);
        const uint64_t column = sum_of_counts(most_, 1);
        if (sarko_error_t e = numbers_.allocate(sum_of_counts(product_of_counts(column, most_), 4 * column))) return e;
        c_ = numbers_.get() + column * most_;
        s_ = c_ + column;
        g_ = s_ + column;
        y_ = g_ + column;
        if (sarko_error_t e = vectors_.allocate(sum_of_counts(most_, 2), n)) return e;
        z_ = vectors_[most_ + 1];
        return 0;
    }

    sarko_error_t begin(double *norm_of_r) {
        if (sarko_error_t e = residual(ip_, vectors_[0])) return e;
        count_ = 0;
        g_[0] = *norm_of_r = norm(*vectors_[0]);
        if (g_[0] != 0.0) scale(1.0 / g_[0], *vectors_[0]);
        return 0;
    }

    sarko_error_t step(double *norm_of_r, Step *step) {
        const uint64_t j = count_;
        VEC &w = *vectors_[j + 1];
        double *const h = column(j);
        if (sarko_error_t e = precondition(ip_, vectors_[j], z_)) return e;
        if (sarko_error_t e = multiply(ip_, z_, &w)) return e;
        for (uint64_t i = 0; i <= j; i++) { // h(i,j) = v_i' w,  w = w - h(i,j) v_i
            h[i] = inner(*vectors_[i], w);
            add(-h[i], *vectors_[i], w);
        }
        const double below = norm(w);
        if (below != 0.0) scale(1.0 / below, w);

        for (uint64_t i = 0; i < j; i++) {
            const double x = h[i], y = h[i + 1];
            h[i] = c_[i] * x + s_[i] * y;
            h[i + 1] = c_[i] * y - s_[i] * x;
        }
        const double radius = sqrt(h[j] * h[j] + below * below);
        *step = Step::nothing; // the space is exhausted and x of no use in it: a singular matrix
        if (radius == 0.0) return 0;
        c_[j] = h[j] / radius;
        s_[j] = below / radius;
        h[j] = radius;
        g_[j + 1] = -s_[j] * g_[j];
        g_[j] = c_[j] * g_[j];
        count_++;
        *norm_of_r = fabs(g_[j + 1]);
        *step = count_ == most_ || below == 0.0 ? Step::last : Step::made;
        return 0;
    }

    // R y = g,  x = x + B V y
    sarko_error_t end() {
        if (count_ == 0) return 0;
        for (uint64_t i = count_; i-- > 0;) {
            double sum = g_[i];
            for (uint64_t j = i + 1; j < count_; j++) sum -= column(j)[i] * y_[j];
            y_[i] = sum / column(i)[i];
        }
        VEC &sum = *vectors_[count_]; // no longer needed
        sarvo_mh_v_zero(&sum);
        for (uint64_t i = 0; i < count_; i++) add(y_[i], *vectors_[i], sum);
        if (sarko_error_t e = precondition(ip_, &sum, z_)) return e;
        add(1.0, *z_, *ip_.x);
        return 0;
    }

private:
    double *column(uint64_t j) const { return numbers_.get() + j * (most_ + 1); } // of R

    sarvo_mh_iter_t &ip_;
    Vectors vectors_;
    Buffer<double> numbers_;
    VEC *z_ = nullptr;
    double *c_ = nullptr, *s_ = nullptr, *g_ = nullptr, *y_ = nullptr;
    uint64_t most_ = 0, count_ = 0;
};

} // namespace
} // namespace sarvo::mh

extern "C" sarko_error_t sarvo_mh_iter_gmres(sarvo_mh_iter_t *ip) {
    return sarvo::mh::solve_square<sarvo::mh::GeneralisedMinimumResiduals>(ip);
}
