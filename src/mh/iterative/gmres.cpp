// Generalised minimum residuals (Saad and Schultz, 1986), restarted, preconditioned from the right.
#include "solver.h"

namespace sarvo::mh {
namespace {

// A direction whose image's part outside the basis is below this part of the image is rounding: the space is exhausted.
constexpr double exhausted = 0x1p-46;
// Below this part it has lost so many digits that it is made orthogonal once more.
constexpr double cancelled = 0x1p-10;
// A column of H whose part beyond the columns before it is below this part of the largest column does not count: what it
// adds to x is the matrix's null space times a large number.
constexpr double dependent = 0x1p-44;

// The basis v_0, v_1, ... is made orthonormal by modified Gram and Schmidt, a second time where digits cancel. Step j
// takes the direction v_j: A B v_j, in the basis, is column j of H, its part outside the basis the next vector of it. H
// is kept as the triangle R that rotations turn it into, g is what they make of |r| e_0.
//
// Of a singular matrix the Krylov space may be exhausted before it has the solution. Then a vector of fixed noise becomes
// the next of the basis, and a column of H that depends on those before it is left out: from there on a column reaches one
// row further below the triangle for each that was left out.
class GeneralisedMinimumResiduals {
public:
    static constexpr bool updates_each_step = false;

    explicit GeneralisedMinimumResiduals(sarvo_mh_iter_t &ip) : ip_(ip) {}

    [[nodiscard]] sarko_error_t allocate() {
        const uint64_t n = ip_.b->dim, wanted = ip_.k == 0 ? 30 : ip_.k;
        most_ = larger(smaller(wanted, n), 1);
        const uint64_t column = sum_of_counts(most_, 1);
        most_rotations_ = product_of_counts(8, column);
        if (sarko_error_t e = numbers_.allocate(sum_of_counts(product_of_counts(column, most_), 2 * column))) return e;
        g_ = numbers_.get() + column * most_;
        y_ = g_ + column;
        if (sarko_error_t e = rotations_.allocate(most_rotations_)) return e;
        if (sarko_error_t e = directions_.allocate(most_)) return e;
        if (sarko_error_t e = vectors_.allocate(sum_of_counts(most_, 2), n)) return e;
        z_ = vectors_[most_ + 1];
        return 0;
    }

    sarko_error_t begin(double *norm_of_r) {
        if (sarko_error_t e = residual(ip_, vectors_[0])) return e;
        made_ = count_ = rotation_count_ = 0;
        basis_ = 1;
        for (uint64_t i = 0; i <= most_; i++) g_[i] = 0.0;
        g_[0] = *norm_of_r = norm(*vectors_[0]);
        if (g_[0] != 0.0) scale(1.0 / g_[0], *vectors_[0]);
        return 0;
    }

    sarko_error_t fresh_norm(double *norm_of_r) { return begin(norm_of_r); }
    double size_of_operator() const { return ip_.Bx ? 0.0 : largest_; }

    sarko_error_t step(double *norm_of_r, Step *step) {
        VEC &w = *vectors_[basis_];
        double *const h = column(count_);
        if (sarko_error_t e = precondition(ip_, vectors_[made_], z_)) return e;
        if (sarko_error_t e = multiply(ip_, z_, &w)) return e;

        // --- h(i) = v_i' w,  w = w - h(i) v_i ---
        const double image = norm(w);
        for (uint64_t i = 0; i < basis_; i++) h[i] = 0.0;
        make_orthogonal(w, h);
        double below = norm(w);
        if (below < cancelled * image) {
            make_orthogonal(w, h);
            below = norm(w);
        }
        if (below > exhausted * image || isnan(below)) {
            scale(1.0 / below, w);
            h[basis_++] = below;
        } else if (basis_ < vectors_[0]->dim && invent(w)) {
            h[basis_++] = 0.0;
        }
        if (image > largest_) largest_ = image;

        add_column(h);
        made_++;
        *norm_of_r = left();
        // A basis that did not grow has no direction for the next step.
        *step = made_ == most_ || made_ == basis_ || !room_for_rotations() ? Step::last : Step::made;
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
        VEC &sum = *vectors_[most_]; // never a direction
        sarvo_mh_v_zero(&sum);
        for (uint64_t i = 0; i < count_; i++) add(y_[i], *vectors_[directions_[i]], sum);
        if (sarko_error_t e = precondition(ip_, &sum, z_)) return e;
        add(1.0, *z_, *ip_.x);
        return 0;
    }

private:
    struct Rotation {
        double c, s;
        uint64_t row; // and the next
    };

    double *column(uint64_t j) const { return numbers_.get() + j * (most_ + 1); } // of R

    void make_orthogonal(VEC &w, double *h) const {
        for (uint64_t i = 0; i < basis_; i++) {
            const double along = inner(*vectors_[i], w);
            h[i] += along;
            add(-along, *vectors_[i], w);
        }
    }

    // A vector outside the basis: numbers in [-1, 1) that depend on their place alone (the finaliser of Steele, Lea and
    // Flood, 2014), of length 1. False when all of it is rounding.
    bool invent(VEC &w) const {
        for (uint64_t i = 0; i < w.dim; i++) {
            uint64_t bits = (basis_ * 0x100000001b3u + i + 1) * 0x9e3779b97f4a7c15u;
            bits = (bits ^ (bits >> 30)) * 0xbf58476d1ce4e5b9u;
            bits = (bits ^ (bits >> 27)) * 0x94d049bb133111ebu;
            w.elems[i] = static_cast<double>(static_cast<int64_t>(bits ^ (bits >> 31)) >> 11) * 0x1p-52;
        }
        const double drawn = norm(w);
        for (int round = 0; round < 2; round++)
            for (uint64_t i = 0; i < basis_; i++) add(-inner(*vectors_[i], w), *vectors_[i], w);
        const double outside = norm(w);
        if (!(outside > cancelled * drawn)) return false;
        scale(1.0 / outside, w);
        return true;
    }

    static void rotate(double c, double s, double *pair) {
        const double x = pair[0], y = pair[1];
        pair[0] = c * x + s * y;
        pair[1] = c * y - s * x;
    }

    // A column of H, rows up to the last vector of the basis, becomes one of R, or is left out.
    void add_column(double *h) {
        for (uint64_t i = 0; i < rotation_count_; i++) rotate(rotations_[i].c, rotations_[i].s, h + rotations_[i].row);
        double square = 0.0;
        for (uint64_t i = count_; i < basis_; i++) square += h[i] * h[i];
        if (sqrt(square) <= dependent * largest_) return;
        for (uint64_t i = basis_; --i > count_;) { // rows i - 1 and i
            const double radius = sqrt(h[i - 1] * h[i - 1] + h[i] * h[i]);
            if (radius == 0.0) continue;
            const Rotation r = {h[i - 1] / radius, h[i] / radius, i - 1};
            h[i - 1] = radius;
            rotate(r.c, r.s, g_ + r.row);
            rotations_[rotation_count_++] = r;
        }
        directions_[count_++] = made_;
    }
    bool room_for_rotations() const { return rotation_count_ + (basis_ - count_) + 1 <= most_rotations_; }

    // The norm of what the columns leave of |r| e_0.
    double left() const {
        if (basis_ == count_ + 1) return fabs(g_[count_]);
        double square = 0.0;
        for (uint64_t i = count_; i < basis_; i++) square += g_[i] * g_[i];
        return sqrt(square);
    }

    sarvo_mh_iter_t &ip_;
    Vectors vectors_;
    Buffer<double> numbers_;
    Buffer<Rotation> rotations_;
    Buffer<uint64_t> directions_; // of the columns of R: their places in the basis
    VEC *z_ = nullptr;
    double *g_ = nullptr, *y_ = nullptr;
    double largest_ = 0.0; // image of all passes: about |A B|
    uint64_t most_ = 0, most_rotations_ = 0, rotation_count_ = 0;
    uint64_t made_ = 0, basis_ = 0, count_ = 0; // steps of this pass, vectors of the basis, columns of R
};

} // namespace
} // namespace sarvo::mh

extern "C" sarko_error_t sarvo_mh_iter_gmres(sarvo_mh_iter_t *ip) {
    return sarvo::mh::solve_square<sarvo::mh::GeneralisedMinimumResiduals>(ip);
}
