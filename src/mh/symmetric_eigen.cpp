// Eigenvalues and eigenvectors of symmetric matrices: implicit QR on the tridiagonal form.
//
// The rotations of the eigenvectors are held back, some sweeps at a time, and applied to the transposed matrix by one
// kernel: each of its columns sees them in the order in which they were made. The kernel makes those of the next sweeps
// meanwhile.
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

// Sweeps of rotations that wait to be applied together.
struct Batch {
    static constexpr uint64_t most = 32;
    uint64_t first[most], last[most], count = 0;
    double *cs = nullptr; // c, s of rows j, j + 1 in sweep q at (q n + j) 2

    double *add(uint64_t n, uint64_t lo, uint64_t hi) {
        first[count] = lo;
        last[count] = hi;
        return cs + 2 * n * count++;
    }
};

// Sets negligible off-diagonal elements to 0; false when there is none.
bool split(uint64_t lo, uint64_t hi, const double *a, double *b) {
    bool any = false;
    for (uint64_t i = lo; i < hi; i++)
        if (fabs(b[i]) < SarvoDblEps * (fabs(a[i]) + fabs(a[i + 1]))) {
            b[i] = 0.0;
            any = true;
        }
    return any;
}

// The QR iteration as a source of rotations that can be asked for at any time. `before` is room for 2 n elements.
class Iteration {
public:
    Iteration(uint64_t n, double *a, double *b, double *before) : n_(n), a_(a), b_(b), before_(before) {}

    // Whether the block under way can never split.
    bool spoiled() const { return spoiled_; }

    // The sweep under way, or the next one, whose rotations go to `into`; null when that is full or all is done. Without
    // a place for rotations `into` never fills.
    simd::Chase *under_way(Batch &into) {
        if (chase_.next < chase_.hi) return &chase_;
        if (sweeping_) end_sweep();
        if (spoiled_ || into.count == Batch::most || !find_block()) return nullptr;
        begin_sweep(into.cs ? into.add(n_, lo_, hi_) : nullptr);
        return &chase_;
    }

private:
    // A block that is still whole is lo .. hi; else the first unreduced one from lo on is looked for.
    bool find_block() {
        if (whole_) return true;
        for (; lo_ < n_; lo_ = hi_ + 1) {
            hi_ = lo_;
            while (hi_ + 1 < n_ && b_[hi_] != 0.0) hi_++;
            if (hi_ > lo_) return true;
        }
        return false;
    }

    // Wilkinson's shift.
    void begin_sweep(double *cs) {
        const double d = (a_[hi_ - 1] - a_[hi_]) * 0.5, b2 = b_[hi_ - 1] * b_[hi_ - 1];
        const double root = sqrt(d * d + b2);
        const double mu = a_[hi_] - b2 / (d + (d >= 0.0 ? root : -root));
        if (sweeps_ >= usual && (sweeps_ & (sweeps_ - 1)) == 0) remember_block();
        chase_ = {a_, b_, cs, lo_, hi_, lo_, a_[lo_] - mu, b_[lo_]};
        sweeping_ = true;
    }

    // Where products of tiny elements vanish, a sweep may leave the block as it was, or some sweeps bring it back to
    // what it was: then no later one splits it. The block before sweep 8, 16, 32, ... is compared with all later ones
    // (Brent 1980). A NaN or infinity anywhere in the block makes the next sweep's rotations NaN from there on: it
    // shows at the end of the block.
    void end_sweep() {
        whole_ = !split(lo_, hi_, a_, b_);
        sweeps_ = whole_ ? sweeps_ + 1 : 0;
        spoiled_ = !all_finite(a_ + hi_, 1) || !all_finite(b_ + hi_ - 1, 1) ||
                   (sweeps_ > usual && is_as_remembered()) || sweeps_ >= 30 * (n_ + 10);
        sweeping_ = false;
    }

    void remember_block() {
        memcpy(before_, a_ + lo_, (hi_ - lo_ + 1) * sizeof *a_);
        memcpy(before_ + n_, b_ + lo_, (hi_ - lo_) * sizeof *b_);
    }
    bool is_as_remembered() const {
        return memcmp(before_, a_ + lo_, (hi_ - lo_ + 1) * sizeof *a_) == 0 &&
               memcmp(before_ + n_, b_ + lo_, (hi_ - lo_) * sizeof *b_) == 0;
    }

    static constexpr uint64_t usual = 8; // sweeps that a block may well take; a power of 2

    uint64_t n_, lo_ = 0, hi_ = 0;
    double *a_, *b_, *before_;
    uint64_t sweeps_ = 0; // of the block since it was last split
    simd::Chase chase_ = {};
    bool sweeping_ = false, whole_ = false, spoiled_ = false;
};

// Applies the sweeps of one batch while rotations for the next are made.
void apply(const Batch &batch, const Strips &q, Iteration &iteration, Batch &next) {
    // One rotation every few steps of the kernel, so that they end together: a step applies four rotations to 32 columns.
    const uint64_t every = larger(q.n / 256, 1);
    constexpr uint64_t slice = 8; // sweeps applied while one is made
    for (uint64_t j = 0; j < q.n; j += Strips::columns)
        for (uint64_t k = 0; k < batch.count; k += slice)
            kernels().rotate_ranges(smaller(slice, batch.count - k), batch.first + k, batch.last + k, q.width(j),
                                    batch.cs + k * 2 * q.n, 2 * q.n, q.strip(j), q.width(j), iteration.under_way(next),
                                    every);
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
    const uint64_t room = product_of_counts(Batch::most, product_of_counts(2, n));
    Buffer<double> rotations, before;
    if (sarko_error_t e = before.allocate_unset(product_of_counts(2, n))) return e;
    if (q.p)
        if (sarko_error_t e = rotations.allocate_unset(product_of_counts(2, room))) return e;
    Batch batches[2];
    if (q.p) {
        batches[0].cs = rotations.get();
        batches[1].cs = rotations.get() + room;
    }
    Iteration iteration(n, a, b, before.get());
    for (uint64_t k = 0;; k = 1 - k) {
        Batch &batch = batches[k], &next = batches[1 - k];
        while (simd::Chase *sweep = iteration.under_way(batch)) kernels().chase(sweep);
        if (iteration.spoiled()) return fail(SarvoMHRangeEC);
        if (batch.count == 0) return all_finite(a, n) ? 0 : fail(SarvoMHRangeEC);
        next.count = 0;
        apply(batch, q, iteration, next);
    }
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
