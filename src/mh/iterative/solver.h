// What the solvers share: their vectors, the operators of the record, and the loop around the steps of a method.
#pragma once

#include <float.h>
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

// Whether a residual norm is small enough.
inline bool accepted(const sarvo_mh_iter_t &ip, double res) {
    return res == 0.0 || (ip.stop_crit ? ip.stop_crit : stop_relative)(&ip, res) != 0;
}

// The iterate of the smallest norm met. The norms that recurrences carry may be far from those of x: on a singular system
// without a solution they go on falling while x runs away. So x counts as the best by a norm computed afresh alone: at the
// start of a pass; before a step longer than all the way of the pass up to there; and after an error, where the last
// iterate and that of the smallest carried norm are looked at.
template <class Method> class Best {
public:
    Best(sarvo_mh_iter_t &ip, Method &method) : x_(*ip.x), method_(method) {}

    [[nodiscard]] sarko_error_t allocate() { return copies_.allocate(2, x_.dim); }
    // The start of a pass: the norm of x, computed afresh.
    void met(double norm) {
        known_ = true;
        carried_ = norm;
        way_ = 0.0;
        keep_if_better(norm);
    }
    // x is about to move by `length` to an iterate whose carried norm is this.
    [[nodiscard]] sarko_error_t leaving_for(double norm, double length) {
        if (!known_ && length > way_) {
            double fresh = 0.0;
            if (sarko_error_t e = method_.fresh_norm(&fresh)) return e;
            keep_if_better(fresh);
        } else if (!known_ && !(norm < carried_) && carried_ < hoped_for_) {
            copy(x_, *copies_[1]);
            hoped_for_ = carried_;
        }
        moved();
        way_ += length;
        carried_ = norm;
        return 0;
    }
    void moved() { known_ = false; }
    // x becomes the best of all; A and B are applied to see which it is.
    void restore() {
        if (!known_) look_at_x();
        if (hoped_for_ < kept_) {
            copy(*copies_[1], x_);
            look_at_x();
        }
        if (kept_ < HUGE_VAL) copy(*copies_[0], x_);
    }

private:
    // A norm is believed up to the rounding of b - A x, which is large where x is.
    void keep_if_better(double fresh) {
        const double norm = fresh + DBL_EPSILON * method_.size_of_operator() * mh::norm(x_);
        if (!(norm < kept_)) return;
        copy(x_, *copies_[0]);
        kept_ = norm;
    }
    void look_at_x() {
        double fresh = HUGE_VAL;
        if (sarko_error_t e = method_.fresh_norm(&fresh)) sarko_error_clear(e); // there is an error already
        else keep_if_better(fresh);
    }

    VEC &x_;
    Method &method_;
    Vectors copies_;                                // the best; the one of the smallest carried norm
    double kept_ = HUGE_VAL, hoped_for_ = HUGE_VAL; // their norms
    double carried_ = HUGE_VAL, way_ = 0.0;         // the norm of x as it is carried on; the way of this pass
    bool known_ = false;                            // x has been looked at
};

// A method has
//     sarko_error_t begin(double *norm)              a pass: the residual of x, afresh
//     sarko_error_t step(double *norm, Step *step)   one step, its residual norm carried on by recurrences
//     void update()                                  x, after a step
//     double length()                                by how much `update` moves x
//     sarko_error_t fresh_norm(double *norm)         of x, between `step` and `update` or at the very end
//     double size_of_operator()                      an estimate of |A| from below by what was multiplied, or 0
//     sarko_error_t end()                            of a pass: x, where steps do not update it
//     updates_each_step                              otherwise without `update` and `length`

// Steps until the norm looks small enough, the pass or the limit ends.
template <class Method> sarko_error_t make_steps(sarvo_mh_iter_t &ip, Method &method, Best<Method> &best) {
    while (ip.steps < ip.limit) {
        double res = 0.0;
        Step step = Step::nothing;
        if (sarko_error_t e = method.step(&res, &step)) return e;
        if (step == Step::nothing) return 0;
        if (!isfinite(res)) return fail(SarvoMHRangeEC);
        if constexpr (Method::updates_each_step) {
            if (sarko_error_t e = best.leaving_for(res, method.length())) return e;
            method.update();
        }
        ip.steps++;
        if (ip.info) ip.info(&ip, res);
        if (step == Step::last || accepted(ip, res)) return 0;
    }
    return 0;
}

template <class Method> sarko_error_t make_passes(sarvo_mh_iter_t &ip, Method &method, Best<Method> &best) {
    ip.steps = 0;
    for (double before = HUGE_VAL;;) {
        double res = 0.0;
        if (sarko_error_t e = method.begin(&res)) return e;
        if (before == HUGE_VAL) ip.init_res = res;
        if (!isfinite(res)) return fail(SarvoMHRangeEC);
        best.met(res);
        if (accepted(ip, res)) return 0;
        if (!(res < before) || ip.steps >= ip.limit) return fail(SarvoNrIterEC);
        before = res;
        const uint32_t steps = ip.steps;
        if (sarko_error_t e = make_steps(ip, method, best)) return e;
        if (ip.steps == steps) return fail(SarvoNrIterEC);
        if (sarko_error_t e = method.end()) return e;
        best.moved();
    }
}

// All passes of a method on a checked record.
template <class Method> [[nodiscard]] sarko_error_t iterate(sarvo_mh_iter_t &ip, Method &method) {
    Best<Method> best(ip, method);
    if (sarko_error_t e = best.allocate()) return e;
    const sarko_error_t e = make_passes(ip, method, best);
    if (e) best.restore();
    return e;
}

// A solver of square systems.
template <class Method> [[nodiscard]] sarko_error_t solve_square(sarvo_mh_iter_t *ip) {
    if (sarko_error_t e = check_square(ip)) return e;
    Method method(*ip);
    if (sarko_error_t e = method.allocate()) return e;
    return iterate(*ip, method);
}

} // namespace sarvo::mh
