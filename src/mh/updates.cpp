// Rank-one updates of L D L' and Q R.
#include <sarvo/mh/orthogonal.h>

#include "orthogonal.h"
#include "simd/simd.h"

using sarvo::fail;
using sarvo::mh::Rotation;
using sarvo::mh::rotation;
using sarvo::mh::smaller;
using sarvo::mh::View;
using sarvo::mh::view;
using sarvo::simd::kernels;

namespace {

// Row i of L meets the steps 0 .. count-1: elements of the row and w(i) change as in the loops by columns.
void update_row(double *row, double &w, uint64_t count, const double *p, const double *g) {
    for (uint64_t k = 0; k < count; k++) {
        w = w - row[k] * p[k];
        row[k] = row[k] + w * g[k];
    }
}

// Rotations of neighbours, the first of which is rotation `low`.
struct Chain {
    double *c, *s; // c = 1, s = 0 is not a rotation that was left out: `skip` says which were
    uint8_t *skip;
    uint64_t count;
};

inline void rotate(double c, double s, double &x, double &y) {
    const double old_x = x, old_y = y;
    x = c * old_x + s * old_y;
    y = c * old_y - s * old_x;
}

// Columns of Q: each row meets the rotations down, then those up.
void rotate_columns(const View &q, const Chain &down, const Chain &up) {
    for (uint64_t i = 0; i < q.rows; i++) {
        double *row = q.p + i * q.ld;
        for (uint64_t j = down.count; j-- > 0;) rotate(down.c[j], down.s[j], row[j], row[j + 1]);
        for (uint64_t j = 0; j < up.count; j++)
            if (!up.skip[j]) rotate(up.c[j], up.s[j], row[j], row[j + 1]);
    }
}

// Turns u into a multiple of e_0 by rotations (i, i+1), i = count-1 .. 0, also of the rows of R.
void rotate_down(double *u, const View &r, const Chain &down) {
    for (uint64_t i = down.count; i-- > 0;) {
        const Rotation g = rotation(u[i], u[i + 1]);
        down.c[i] = g.c;
        down.s[i] = g.s;
        kernels().rotate(r.cols, g.c, g.s, r.p + i * r.ld, r.p + (i + 1) * r.ld);
        rotate(g.c, g.s, u[i], u[i + 1]);
    }
}

// Makes R triangular again by rotations (i, i+1), i = 0 .. count-1.
void rotate_up(const View &r, const Chain &up) {
    for (uint64_t i = 0; i < up.count; i++) {
        const Rotation g = rotation(r.p[i * r.ld + i], r.p[(i + 1) * r.ld + i]);
        up.skip[i] = g.radius == 0.0;
        up.c[i] = g.c;
        up.s[i] = g.s;
        if (!up.skip[i]) kernels().rotate(r.cols, g.c, g.s, r.p + i * r.ld, r.p + (i + 1) * r.ld);
    }
}

} // namespace

extern "C" {

sarko_error_t sarvo_mh_LDLupdate(MAT *CH, VEC *w, double alpha) {
    if (!CH || !w) return fail(SarvoMHNullEC);
    if (CH->rows != CH->cols || w->dim != CH->rows) return fail(SarvoMHSizesEC);
    const uint64_t n = CH->rows;
    sarvo::Buffer<double> steps;
    if (sarko_error_t e = steps.allocate_unset(sarvo::mh::product_of_counts(2, n))) return e;
    double *p = steps.get(), *g = p + n;
    for (uint64_t i = 0; i < n; i++) {
        double *row = CH->row_ptrs[i];
        update_row(row, w->elems[i], i, p, g);
        p[i] = w->elems[i];
        const double d = row[i], updated = p[i] * alpha * p[i] + d;
        if (updated <= 0.0) { // the rows behind have yet to meet the steps before
            for (uint64_t r = i + 1; r < n; r++) update_row(CH->row_ptrs[r], w->elems[r], i, p, g);
            return fail(SarvoMHPosdefEC);
        }
        g[i] = alpha * p[i] / updated;
        row[i] = updated;
        alpha = alpha * (d / updated);
    }
    return 0;
}

sarko_error_t sarvo_mh_QRupdate(MAT *Q, MAT *R, VEC *u, const VEC *v) {
    if (!R || !u || !v) return fail(SarvoMHNullEC);
    if (Q && (Q->rows != Q->cols || Q->rows != R->rows)) return fail(SarvoMHSizesEC);
    if (u->dim != R->rows || v->dim != R->cols) return fail(SarvoMHSizesEC);
    if (u->dim == 0) return 0;
    uint64_t last = u->dim - 1; // last non-zero element of u
    while (last > 0 && u->elems[last] == 0.0) last--;
    sarvo::Buffer<double> factors;
    sarvo::Buffer<uint8_t> skip;
    if (sarko_error_t e = factors.allocate_unset(4 * last)) return e;
    if (sarko_error_t e = skip.allocate_unset(last)) return e;
    const Chain down = {factors.get(), factors.get() + last, nullptr, last};
    const Chain up = {factors.get() + 2 * last, factors.get() + 3 * last, skip.get(), smaller(last, R->cols)};
    const View r = view(*R);
    rotate_down(u->elems, r, down);
    kernels().axpy(r.cols, u->elems[0], v->elems, r.p);
    rotate_up(r, up);
    if (Q) rotate_columns(view(*Q), down, up);
    return 0;
}

} // extern "C"
