// Eigenvalues and eigenvectors of symmetric matrices: implicit QR on the tridiagonal form.
//
// The rotations of the eigenvectors are held back, some sweeps at a time, and applied to the transposed matrix by one
// kernel: each of its columns sees them in the order in which they were made.
#include <sarvo/mh/orthogonal.h>

#include <string.h>

#include "orthogonal.h"
#include "simd/simd.h"

using sarvo::fail;
using sarvo::wrap;
using sarvo::mh::product_of_counts;
using sarvo::mh::size_exactly;
using sarvo::mh::Strips;
using sarvo::mh::View;
using sarvo::mh::view;
using sarvo::simd::kernels;

namespace sarvo::mh {
namespace {

// Sweeps of rotations waiting for the rows of q.
class Waiting {
public:
    Waiting(uint64_t n, const Strips &q) : n_(n), q_(q) {}

    [[nodiscard]] sarko_error_t allocate() {
        return q_.p ? cs_.allocate_unset(product_of_counts(most, product_of_counts(2, n_))) : 0;
    }
    // Place for the rotations of rows first .. last: (c, s) of j, j + 1 at 2j. Null when there is nothing to rotate.
    double *begin(uint64_t first, uint64_t last) {
        if (!q_.p) return nullptr;
        if (count_ == most) apply();
        first_[count_] = first;
        last_[count_] = last;
        return cs_.get() + 2 * n_ * count_++;
    }
    void apply() {
        for (uint64_t j = 0; count_ != 0 && j < n_; j += Strips::columns)
            kernels().rotate_ranges(count_, first_, last_, q_.width(j), cs_.get(), 2 * n_, q_.strip(j), q_.width(j));
        count_ = 0;
    }

private:
    static constexpr uint64_t most = 32;
    uint64_t n_;
    const Strips &q_;
    Buffer<double> cs_;
    uint64_t first_[most], last_[most], count_ = 0;
};

// Rows and columns i, i + 1 of the block are rotated: the three elements at (i, i), (i+1, i), (i+1, i+1).
inline void rotate_pair(const Rotation &r, double s, double &a0, double &a1, double &b0) {
    double c2 = r.c * r.c, s2 = 1.0 - c2;
    if (!(fabs(r.c) < 1.414213562373095)) {
        s2 = s * s;
        c2 = 1.0 - s2;
    }
    const double cs = r.c * s, cross = 2.0 * cs * b0, difference = a0 - a1;
    const double old0 = a0, old1 = a1;
    a0 = c2 * old0 + s2 * old1 - cross;
    a1 = s2 * old0 + c2 * old1 + cross;
    b0 = cs * difference + (c2 - s2) * b0;
}

// One sweep with Wilkinson's shift through rows lo .. hi.
void sweep(uint64_t lo, uint64_t hi, double *a, double *b, double *cs) {
    const double d = (a[hi - 1] - a[hi]) * 0.5, b2 = b[hi - 1] * b[hi - 1];
    const double root = sqrt(d * d + b2);
    const double mu = a[hi] - b2 / (d + (d >= 0.0 ? root : -root));
    double x = a[lo] - mu, z = b[lo];
    for (uint64_t i = lo; i < hi; i++) {
        const Rotation r = rotation(x, z);
        const double s = -r.s;
        if (i > lo) b[i - 1] = r.c * b[i - 1] - s * z;
        rotate_pair(r, s, a[i], a[i + 1], b[i]);
        z = 0.0;
        if (i + 1 < hi) {
            z = -s * b[i + 1];
            b[i + 1] = r.c * b[i + 1];
        }
        if (cs) {
            cs[2 * i] = r.c;
            cs[2 * i + 1] = -s;
        }
        x = b[i];
    }
}

enum class State { whole, split, spoiled };

// Sets negligible off-diagonal elements to 0. A NaN or infinity would never split off.
State split(uint64_t lo, uint64_t hi, const double *a, double *b) {
    State state = State::whole;
    double spoiled = 0.0; // x - x is 0 for finite x, else NaN
    for (uint64_t i = lo; i < hi; i++) {
        if (fabs(b[i]) < SarvoDblEps * (fabs(a[i]) + fabs(a[i + 1]))) {
            b[i] = 0.0;
            state = State::split;
        }
        spoiled += (a[i] - a[i]) + (b[i] - b[i]);
    }
    spoiled += a[hi] - a[hi];
    return spoiled == 0.0 ? state : State::spoiled;
}

} // namespace

void Strips::clear_padding() const {
    const uint64_t last = n == 0 ? 0 : (n - 1) / columns * columns;
    if (n % 8 != 0) memset(strip(last), 0, n * width(last) * sizeof *p);
}

void Strips::set_columns(uint64_t first, uint64_t count, const double *matrix, uint64_t ld) const {
    for (uint64_t i = 0; i < n; i += columns)
        kernels().transpose(smaller(columns, n - i), count, matrix + i * ld, ld, strip(i) + first * width(i), width(i));
}

void Strips::store(const View &matrix) const {
    for (uint64_t i = 0; i < n; i += columns)
        kernels().transpose(n, smaller(columns, n - i), strip(i), width(i), matrix.p + i * matrix.ld, matrix.ld);
}

sarko_error_t diagonalise(uint64_t n, double *a, double *b, const Strips &q) {
    Waiting waiting(n, q);
    if (sarko_error_t e = waiting.allocate()) return e;
    for (uint64_t lo = 0; lo < n;) {
        uint64_t hi = lo;
        while (hi + 1 < n && b[hi] != 0.0) hi++;
        if (hi == lo) {
            lo = hi + 1;
            continue;
        }
        State state = State::whole;
        while (state == State::whole) {
            sweep(lo, hi, a, b, waiting.begin(lo, hi));
            state = split(lo, hi, a, b);
        }
        if (state == State::spoiled) return fail(SarvoMHRangeEC);
    }
    waiting.apply();
    return 0;
}

} // namespace sarvo::mh

namespace {

// symmeig without its checks and texts.
sarko_error_t solve(const MAT &A, MAT **Q, VEC **out) {
    const uint64_t n = A.rows, ldq = sarvo::mh::padded_columns(n), padded = product_of_counts(n, ldq);
    sarvo::Buffer<double> copy, lines, vectors, strip;
    if (sarko_error_t e = copy.allocate_unset(padded)) return e;
    if (sarko_error_t e = lines.allocate_unset(4 * n + sarvo::mh::reduction_work(n))) return e;
    if (Q)
        if (sarko_error_t e = vectors.allocate_unset(Strips::size(n))) return e;
    if (Q)
        if (sarko_error_t e = strip.allocate_unset(product_of_counts(n, sarvo::mh::columns_of_strip(n)))) return e;

    double *diag = lines.get(), *beta = diag + n, *a = beta + n, *b = a + n, *work = b + n;
    const View h = {copy.get(), n, n, ldq};
    for (uint64_t i = 0; i < n; i++) {
        memcpy(h.p + i * h.ld, A.row_ptrs[i], n * sizeof(double));
        if (!sarvo::mh::all_finite(A.row_ptrs[i], n)) return fail(SarvoMHRangeEC);
    }
    sarvo::mh::reduce(h, false, diag, beta, work);
    for (uint64_t i = 0; i < n; i++) a[i] = h.p[i * h.ld + i];
    for (uint64_t i = 0; i + 1 < n; i++) b[i] = h.p[(i + 1) * h.ld + i];
    if (!sarvo::mh::all_finite(a, n) || (n > 0 && !sarvo::mh::all_finite(b, n - 1))) return fail(SarvoMHRangeEC);
    const Strips q = {n, vectors.get()};
    if (Q) {
        q.clear_padding();
        sarvo::mh::expand({n, h.p, h.ld, beta, true}, strip.get(),
                          [&q](uint64_t first, uint64_t count, const double *columns, uint64_t width) {
                              q.set_columns(first, count, columns, width);
                          });
    }
    if (sarko_error_t e = sarvo::mh::diagonalise(n, a, b, q)) return e;
    if (sarko_error_t e = size_exactly(out, n)) return e;
    if (Q) {
        if (sarko_error_t e = size_exactly(Q, n, n)) return e;
        q.store(view(**Q));
    }
    if (n > 0) memcpy((*out)->elems, a, n * sizeof(double));
    return 0;
}

} // namespace

extern "C" {

sarko_error_t sarvo_mh_trieig(VEC *a, VEC *b, MAT *Q) {
    if (!a || !b) return fail(SarvoMHNullEC);
    const uint64_t n = a->dim;
    if (b->dim != (n == 0 ? 0 : n - 1)) return fail(SarvoMHSizesEC);
    if (Q && Q->rows != n) return fail(SarvoMHSizesEC);
    if (Q && Q->cols != n) return fail(SarvoMHSquareEC);
    if (!sarvo::mh::all_finite(a->elems, n) || !sarvo::mh::all_finite(b->elems, b->dim)) return fail(SarvoMHRangeEC);
    sarvo::Buffer<double> vectors;
    if (Q)
        if (sarko_error_t e = vectors.allocate_unset(Strips::size(n))) return e;
    const Strips q = {n, vectors.get()};
    if (Q) q.clear_padding();
    if (Q) q.set_columns(0, n, view(*Q).p, view(*Q).ld);
    if (sarko_error_t e = sarvo::mh::diagonalise(n, a->elems, b->elems, q)) return e;
    if (Q) q.store(view(*Q));
    return 0;
}

sarko_error_t sarvo_mh_symmeig(const MAT *A, MAT **Q, VEC **out) {
    constexpr const char *text = "Cannot compute eigenvalues of a dense symmetric matrix";
    if (!A || !out) return wrap(fail(SarvoMHNullEC), text);
    if (A->rows != A->cols) return wrap(fail(SarvoMHSquareEC), text);
    return wrap(solve(*A, Q, out), text);
}

} // extern "C"
