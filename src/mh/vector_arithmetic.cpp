// Sums, multiples, maps and linear combinations of dense vectors.
#include <sarvo/mh/arithmetic.h>

#include <stdarg.h>

#include "dense.h"
#include "simd/simd.h"

using sarvo::fail;
using sarvo::mh::size_at_least;
using sarvo::mh::size_exactly;
using sarvo::simd::kernels;

namespace {

sarko_error_t check_pair(const VEC *x1, const VEC *x2, VEC *const *out) {
    if (!x1 || !x2 || !out) return fail(SarvoMHNullEC);
    if (x1->dim != x2->dim) return fail(SarvoMHSizesEC);
    return 0;
}

using Elementwise = void (*)(uint64_t, const double *, const double *, double *);

sarko_error_t combine(const VEC *x1, const VEC *x2, VEC **out, Elementwise operation) {
    if (sarko_error_t e = check_pair(x1, x2, out)) return e;
    if (sarko_error_t e = size_exactly(out, x1->dim)) return e;
    operation(x1->dim, x1->elems, x2->elems, (*out)->elems);
    return 0;
}

// out = x + s; x - s is x + (-s), also in its bits.
sarko_error_t shift(double s, const VEC *x, VEC **out) {
    if (!x || !out) return fail(SarvoMHNullEC);
    if (sarko_error_t e = size_exactly(out, x->dim)) return e;
    kernels().shift(x->dim, s, x->elems, (*out)->elems);
    return 0;
}

template <class F> sarko_error_t map(const VEC &x, VEC **out, F f) {
    if (sarko_error_t e = size_exactly(out, x.dim)) return e;
    for (uint64_t i = 0; i < x.dim; i++) (*out)->elems[i] = f(x.elems[i]);
    return 0;
}

// One further term of a list of pairs.
sarko_error_t add_listed(VEC **out, const VEC *x, double a) {
    if (a == 0.0) return 0;
    if (x == *out) return fail(SarvoMHInsituEC);
    if (x->dim != (*out)->dim) return fail(SarvoMHSizesEC);
    if (a == 1.0) return sarvo_mh_v_add(*out, x, out);
    if (a == -1.0) return sarvo_mh_v_sub(*out, x, out);
    return sarvo_mh_v_mltadd(*out, x, a, out);
}

} // namespace

extern "C" {

sarko_error_t sarvo_mh_v_add(const VEC *x1, const VEC *x2, VEC **out) { return combine(x1, x2, out, kernels().add); }

sarko_error_t sarvo_mh_v_sub(const VEC *x1, const VEC *x2, VEC **out) {
    return combine(x1, x2, out, kernels().subtract);
}

sarko_error_t sarvo_mh_v_star(const VEC *x1, const VEC *x2, VEC **out) {
    return combine(x1, x2, out, kernels().multiply);
}

sarko_error_t sarvo_mh_v_slash(const VEC *x1, const VEC *x2, VEC **out) {
    if (sarko_error_t e = check_pair(x1, x2, out)) return e;
    if (sarko_error_t e = size_exactly(out, x1->dim)) return e;
    const uint64_t divisors = kernels().first_zero(x1->dim, x1->elems); // before out may cover them
    kernels().divide(divisors, x2->elems, x1->elems, (*out)->elems);
    return divisors < x1->dim ? fail(SarvoMHSingEC) : 0;
}

sarko_error_t sarvo_mh_v_mltadd(const VEC *x1, const VEC *x2, double s, VEC **out) {
    if (sarko_error_t e = check_pair(x1, x2, out)) return e;
    if (s == 0.0) return sarvo_mh_v_copy_(x1, out, 0);
    if (sarko_error_t e = size_at_least(out, x1->dim)) return e;
    if (s == 1.0) kernels().add(x1->dim, x1->elems, x2->elems, (*out)->elems);
    else kernels().scale_add(x1->dim, s, x2->elems, x1->elems, (*out)->elems);
    return 0;
}

sarko_error_t sarvo_mh_sv_mlt(double s, const VEC *x, VEC **out) {
    if (!x || !out) return fail(SarvoMHNullEC);
    if (sarko_error_t e = size_exactly(out, x->dim)) return e;
    if (s == 0.0) sarvo_mh_v_zero(*out);
    else if (s == 1.0) return sarvo_mh_v_copy_(x, out, 0);
    else kernels().scale(x->dim, s, x->elems, (*out)->elems);
    return 0;
}

sarko_error_t sarvo_mh_sv_add(double s, const VEC *x, VEC **out) { return shift(s, x, out); }

sarko_error_t sarvo_mh_sv_sub(double s, const VEC *x, VEC **out) { return shift(-s, x, out); }

sarko_error_t sarvo_mh_v_map(double (*f)(double), const VEC *x, VEC **out) {
    if (!f || !x || !out) return fail(SarvoMHNullEC);
    return map(*x, out, f);
}

sarko_error_t sarvo_mh_v_map_(double (*f)(double, void *), void *params, const VEC *x, VEC **out) {
    if (!f || !x || !out) return fail(SarvoMHNullEC);
    return map(*x, out, [f, params](double element) { return f(element, params); });
}

sarko_error_t sarvo_mh_v_lincomb(int32_t n, VEC *const *v, const double *a, VEC **out) {
    if (!v || !a || !out) return fail(SarvoMHNullEC);
    if (n < 1) {
        *out = nullptr;
        return 0;
    }
    for (int32_t k = 1; k < n && *out; k++)
        if (v[k] == *out) return fail(SarvoMHInsituEC);
    if (sarko_error_t e = sarvo_mh_sv_mlt(a[0], v[0], out)) return e;
    for (int32_t k = 1; k < n; k++) {
        if (!v[k]) return fail(SarvoMHNullEC);
        if (v[k]->dim != (*out)->dim) return fail(SarvoMHSizesEC);
        if (sarko_error_t e = sarvo_mh_v_mltadd(*out, v[k], a[k], out)) return e;
    }
    return 0;
}

sarko_error_t sarvo_mh_v_linlist(VEC **out, const VEC *x1, double a1, ...) {
    if (!out) return fail(SarvoMHNullEC);
    if (!x1) {
        *out = nullptr;
        return 0;
    }
    sarko_error_t e = sarvo_mh_sv_mlt(a1, x1, out);
    va_list pairs;
    va_start(pairs, a1);
    while (!e) {
        const VEC *x = va_arg(pairs, VEC *);
        if (!x) break;
        e = add_listed(out, x, va_arg(pairs, double));
    }
    va_end(pairs);
    return e;
}

} // extern "C"
