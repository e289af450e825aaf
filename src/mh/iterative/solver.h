// What the solvers share: their vectors, the operators of the record, and the loop around the steps of a method.
#pragma once

#include <math.h>

#include "record.h"
#include "simd/simd.h"

namespace sarvo::mh {

// Vectors of one dimension that live for one call, true records: a callback gets them.
class Vectors {
public:
    Vectors() = default;
    Vectors(const Vectors &) = delete;
    Vectors &operator=(const Vectors &) = delete;
    ~Vectors() {
        for (uint64_t i = 0; i < count_; i++) sarvo_mh_v_free(list_[i]);
    }

    [[nodiscard]] sarko_error_t allocate(uint64_t count, uint64_t dim) {
        if (sarko_error_t e = list_.allocate(count)) return e;
        for (; count_ < count; count_++)
            if (sarko_error_t e = sarvo_mh_v_get(dim, &list_[count_])) return e;
        return 0;
    }
    VEC *operator[](uint64_t i) const { return list_[i]; }

private:
    Buffer<VEC *> list_;
    uint64_t count_ = 0;
};

// ---- Vectors of equal dimensions; inner products in the order of dot8 ----

inline double inner(const VEC &x, const VEC &y) { return simd::kernels().dot8(x.dim, x.elems, y.elems); }
inline double norm(const VEC &x) { return sqrt(inner(x, x)); }
inline void add(double s, const VEC &x, VEC &y) { simd::kernels().axpy(x.dim, s, x.elems, y.elems); } // y = y + s x
inline void scale(double s, VEC &x) { simd::kernels().scale(x.dim, s, x.elems, x.elems); }
inline void copy(const VEC &x, VEC &y) {
    if (x.dim > 0) memcpy(y.elems, x.elems, x.dim * sizeof(double));
}
inline void add_to_multiple(double s, const VEC &x, VEC &y) { // y = x + s y
    for (uint64_t i = 0; i < x.dim; i++) y.elems[i] = x.elems[i] + s * y.elems[i];
}
inline void subtract_from(const VEC &x, VEC &y) { // y = x - y
    for (uint64_t i = 0; i < x.dim; i++) y.elems[i] = x.elems[i] - y.elems[i];
}

// ---- Operators ----

// One of the record's operators; a result that has lost its dimension is not used.
[[nodiscard]] inline sarko_error_t apply(sarvo_mh_iter_operator op, void *par, const VEC *in, VEC *out) {
    const uint64_t dim = out->dim;
    if (sarko_error_t e = op(par, in, out)) return e;
    return out->dim == dim ? 0 : fail(SarvoMHSizesEC);
}
[[nodiscard]] inline sarko_error_t multiply(const sarvo_mh_iter_t &ip, const VEC *in, VEC *out) {
    return apply(ip.Ax, ip.A_par, in, out);
}
// out = B in, a copy without a preconditioner.
[[nodiscard]] inline sarko_error_t precondition(const sarvo_mh_iter_t &ip, const VEC *in, VEC *out) {
    if (ip.Bx) return apply(ip.Bx, ip.B_par, in, out);
    copy(*in, *out);
    return 0;
}
// r = b - A x.
[[nodiscard]] inline sarko_error_t residual(const sarvo_mh_iter_t &ip, VEC *r) {
    if (sarko_error_t e = multiply(ip, ip.x, r)) return e;
    subtract_from(*ip.b, *r);
    return 0;
}

// ---- The loop ----

// The checks of a square system; makes x when there is none.
[[nodiscard]] sarko_error_t check_square(sarvo_mh_iter_t *ip);

enum class Step {
    made,   // the norm is that of x after `update`
    last,   // the same, and the pass is over
    nothing // the pass is over: it leads nowhere from here
};

// A method. A pass begins with the residual of x; its steps carry a residual norm on by recurrences.
class Method {
public:
    virtual sarko_error_t begin(double *norm) = 0; // the residual of x, afresh
    virtual sarko_error_t step(double *norm, Step *step) = 0;
    virtual void update() = 0;             // x, after a step
    virtual sarko_error_t end() = 0; // of a pass: x, where it was not updated

protected:
    ~Method() = default;
};

// All passes of a method on a checked record.
[[nodiscard]] sarko_error_t iterate(sarvo_mh_iter_t &ip, Method &method);

} // namespace sarvo::mh
