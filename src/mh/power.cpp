// Integer powers of a matrix.
#include <sarvo/mh/arithmetic.h>
#include <sarvo/mh/function.h>
#include <sarvo/mh/solve.h>

#include "dense.h"

using sarvo::mh::fail_text;

namespace {

// *out = A^p with *tmp as the other buffer. A, *tmp and *out are three objects.
sarko_error_t raise(const MAT *A, uint32_t p, MAT **tmp, MAT **out) {
    if (sarko_error_t e = sarvo::mh::size_exactly(out, A->rows, A->cols)) return e;
    if (sarko_error_t e = sarvo::mh::size_exactly(tmp, A->rows, A->cols)) return e;
    if (p == 0) {
        sarvo_mh_m_ident(*out);
        return 0;
    }
    if (sarko_error_t e = sarvo_mh_m_copy_(A, tmp, 0, 0)) return e;
    MAT **current = tmp, **next = out;
    const auto multiply_into_next = [&](const MAT *left) {
        const sarko_error_t e = sarvo_mh_m_mlt(left, *current, next);
        MAT **t = current;
        current = next;
        next = t;
        return e;
    };
    for (int bit = 30 - __builtin_clz(p); bit >= 0; bit--) {
        if (sarko_error_t e = multiply_into_next(*current)) return e;
        if (p >> bit & 1)
            if (sarko_error_t e = multiply_into_next(A)) return e;
    }
    return sarvo_mh_m_copy_(*current, out, 0, 0);
}

} // namespace

extern "C" {

sarko_error_t sarvo_mh_m_pow_(const MAT *A, int32_t p, MAT **tmp, MAT **out) {
    if (!A || !tmp || !out) return fail_text(sarvo::mh::null_matrix);
    if (A->rows != A->cols) return fail_text("Input matrix is not square.");
    if (p < 0) return fail_text("Power is negative.");
    if (*out == A || *tmp == A || tmp == out || (*out && *out == *tmp))
        return fail_text("Input matrix(ces) coincide with output matrix.");
    return raise(A, static_cast<uint32_t>(p), tmp, out);
}

sarko_error_t sarvo_mh_m_pow(const MAT *A, int32_t p, MAT **out) {
    if (!A || !out) return fail_text(sarvo::mh::null_matrix);
    if (A->rows != A->cols) return fail_text("Input matrix is not square.");
    sarvo::mh::TemporaryMatrix base, tmp, power;
    if (p < 0)
        if (sarko_error_t e = sarvo_mh_m_inverse(A, &base.p)) return e;
    const uint32_t magnitude = p < 0 ? -static_cast<uint32_t>(p) : static_cast<uint32_t>(p);
    if (sarko_error_t e = raise(p < 0 ? base.p : A, magnitude, &tmp.p, &power.p)) return e;
    if (sarko_error_t e = sarvo::mh::size_exactly(out, A->rows, A->cols)) return e;
    return sarvo_mh_m_copy_(power.p, out, 0, 0);
}

} // extern "C"
