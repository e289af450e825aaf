// LU factorisation with scaled partial pivoting, blocked by panels of columns.
//
//          k0  k0+w
//     +----+---+-----------+    Before each panel: rows and columns < k0 are final, and every element beyond has had
//     |  U |   |           |    the updates of all eliminated columns < k0, in ascending order.
//  k0 +----+---+-----------+
//     |    | P |    U12    |    The panel P is factorised in a copy that stands by columns, column by column: updates
//     |  L |   +-----------+    of the panel's earlier columns, pivot, exchange, division. Then the exchanges are made
//     |    |   |    A22    |    in the other columns, U12 takes the updates within the panel's rows, and
//     +----+---+-----------+    A22 -= L21 U12 adds the panel's terms in ascending k, as the plain loops do.
//
// A column without pivot is not eliminated: it ends its panel, and the columns before it are the panel's.
#include "lu.h"

#include <sarvo/mh/solve.h>

#include <math.h>
#include <string.h>

#include "simd/simd.h"

using sarvo::mh::smaller;
using sarvo::mh::View;
using sarvo::simd::kernels;

namespace {

constexpr uint64_t widest_panel = 32;
constexpr uint64_t update_rows = 8; // rows or columns that one pass adds
constexpr uint64_t strip = 512;     // columns of U12 at a time: the panel's rows of them stay in the second-level cache

void exchange(double &x, double &y) {
    const double t = x;
    x = y;
    y = t;
}

// The panel at hand: rows k0 .. m-1 of columns k0 .. k0+width-1, by columns of ld elements.
struct Panel {
    double *p;
    uint64_t k0, width, rows, ld;
    uint64_t pivots[widest_panel]; // row, relative to k0, exchanged with each column's
    uint64_t eliminated = 0;       // columns eliminated
    uint64_t finished = 0;         // columns that are final: those, and one without elimination
    double *column(uint64_t j) const { return p + j * ld; }
};

// Measured best of 16, 24, 32, 48 and 64 at n = 64 and at n = 256 to 2048; parts within wider panels did not help.
uint64_t panel_width(uint64_t rows, uint64_t cols) { return smaller(rows, cols) <= 128 ? 24 : widest_panel; }

// Applies the eliminated columns before j to column j: y(r) -= L(r,q) y(q), q ascending.
void update_column(const Panel &panel, uint64_t j) {
    double *y = panel.column(j);
    for (uint64_t q0 = 0; q0 < j; q0 += update_rows) {
        const uint64_t count = smaller(update_rows, j - q0);
        const double *columns[update_rows];
        double factors[update_rows];
        for (uint64_t q = q0; q < q0 + count; q++) {
            for (uint64_t r = q + 1; r < q0 + count; r++) y[r] -= panel.column(q)[r] * y[q];
            columns[q - q0] = panel.column(q) + q0 + count;
            factors[q - q0] = -y[q];
        }
        kernels().add_rows(count, panel.rows - q0 - count, columns, factors, y + q0 + count);
    }
}

// Factorises the panel until a column is not eliminated, for want of a pivot or because it is the last position.
void factor_panel(Panel &panel, uint64_t last_step, const double *scale) {
    for (uint64_t j = 0; j < panel.width; j++) {
        update_column(panel, j);
        double *y = panel.column(j);
        panel.finished = j + 1;
        if (panel.k0 + j == last_step) return;
        const uint64_t below = panel.rows - j;
        const uint64_t pivot = kernels().scaled_pivot(below, y + j, scale + panel.k0 + j);
        if (pivot == below) {
            y[j] = 0.0;
            return;
        }
        panel.pivots[j] = j + pivot;
        for (uint64_t c = 0; pivot != 0 && c < panel.width; c++)
            exchange(panel.column(c)[j], panel.column(c)[j + pivot]);
        kernels().divide_by(below - 1, y[j], y + j + 1, y + j + 1);
        panel.eliminated = j + 1;
    }
}

// Makes the panel's exchanges in px and in the columns outside of it.
void exchange_rows(const View &a, const Panel &panel, uint32_t *px) {
    for (uint64_t j = 0; j < panel.eliminated; j++) {
        const uint64_t k = panel.k0 + j, r = panel.k0 + panel.pivots[j];
        if (r == k) continue;
        const uint32_t entry = px[k];
        px[k] = px[r];
        px[r] = entry;
        double *row_k = a.p + k * a.ld, *row_r = a.p + r * a.ld;
        for (uint64_t c = 0; c < panel.k0; c++) exchange(row_k[c], row_r[c]);
        for (uint64_t c = panel.k0 + panel.width; c < a.cols; c++) exchange(row_k[c], row_r[c]);
    }
}

// The updates of the panel's eliminated columns to everything at the right of the finished ones.
void update_right(const View &a, const Panel &panel, double *work) {
    const uint64_t first = panel.k0 + panel.finished, count = panel.eliminated;
    for (uint64_t c = first; c < a.cols; c += strip) {
        const double *rows[widest_panel];
        double factors[widest_panel];
        for (uint64_t t = 0; t < count; t++) {
            for (uint64_t q = 0; q < t; q++) factors[q] = -panel.column(q)[t]; // rows[q] as in earlier rounds
            rows[t] = a.p + (panel.k0 + t) * a.ld + c;
            kernels().add_rows(t, smaller(strip, a.cols - c), rows, factors, a.p + (panel.k0 + t) * a.ld + c);
        }
    }
    if (count != 0 && first < a.cols)
        kernels().product_subtract(panel.rows - count, a.cols - first, count, panel.p + count, 1, panel.ld,
                                   a.p + panel.k0 * a.ld + first, a.ld, a.p + (panel.k0 + count) * a.ld + first, a.ld,
                                   work);
}

// ---- Small matrices: the stated loops ----

constexpr uint64_t small = 24; // rows and columns; larger ones are faster by panels

// Row of the pivot of column k, or a.rows for none.
uint64_t find_pivot(const View &a, uint64_t k, const double *scale) {
    uint64_t chosen = a.rows;
    double best = 0.0;
    for (uint64_t i = k; i < a.rows; i++) {
        const double magnitude = fabs(a.p[i * a.ld + k]);
        const double ratio = magnitude / scale[i];
        if (ratio > best && 0.0 * magnitude == 0.0) { // finite
            best = ratio;
            chosen = i;
        }
    }
    return chosen;
}

void factor_small(const View &a, uint32_t *px) {
    double scale[small];
    for (uint64_t i = 0; i < a.rows; i++) {
        scale[i] = 0.0;
        for (uint64_t j = 0; j < a.cols; j++) {
            const double magnitude = fabs(a.p[i * a.ld + j]);
            if (magnitude > scale[i]) scale[i] = magnitude;
        }
    }
    for (uint64_t k = 0; k + 1 < smaller(a.rows, a.cols); k++) {
        double *row_k = a.p + k * a.ld;
        const uint64_t chosen = find_pivot(a, k, scale);
        if (chosen == a.rows) {
            row_k[k] = 0.0;
            continue;
        }
        if (chosen != k) {
            const uint32_t entry = px[k];
            px[k] = px[chosen];
            px[chosen] = entry;
            for (uint64_t j = 0; j < a.cols; j++) exchange(row_k[j], a.p[chosen * a.ld + j]);
        }
        for (uint64_t i = k + 1; i < a.rows; i++) {
            double *row = a.p + i * a.ld;
            const double multiplier = row[k] = row[k] / row_k[k];
            for (uint64_t j = k + 1; j < a.cols; j++) row[j] -= multiplier * row_k[j];
        }
    }
}

} // namespace

namespace sarvo::mh {

uint64_t lu_work(uint64_t rows, uint64_t cols) {
    if (rows <= small && cols <= small) return 0;
    const uint64_t width = smaller(panel_width(rows, cols), cols);
    return rows + width * rows + kernels().product_work(rows, cols, width);
}

void lu_factor(const View &a, uint32_t *px, double *work) {
    for (uint64_t i = 0; i < a.rows; i++) px[i] = static_cast<uint32_t>(i);
    if (a.rows <= small && a.cols <= small) return factor_small(a, px);
    double *scale = work;
    kernels().max_abs_rows(a.rows, a.cols, a.p, a.ld, scale);
    const uint64_t positions = smaller(a.rows, a.cols), width = panel_width(a.rows, a.cols);
    for (uint64_t k0 = 0; k0 < positions;) {
        Panel panel;
        panel.p = work + a.rows;
        panel.k0 = k0;
        panel.width = smaller(width, a.cols - k0);
        panel.rows = panel.ld = a.rows - k0;
        double *block = a.p + k0 * a.ld + k0;
        kernels().transpose(panel.rows, panel.width, block, a.ld, panel.p, panel.ld);
        factor_panel(panel, positions - 1, scale);
        kernels().transpose(panel.width, panel.rows, panel.p, panel.ld, block, a.ld);
        exchange_rows(a, panel, px);
        update_right(a, panel, panel.p + panel.width * panel.ld);
        k0 += panel.finished;
    }
}

} // namespace sarvo::mh

extern "C" {

sarko_error_t sarvo_mh_LUfactor(MAT *A, PERM *pivot) {
    if (!A || !pivot) return sarvo::mh::fail_text("Input matrix and/or permutation are/is not initialized.");
    if (!sarvo::mh::has_size(*pivot, A->rows))
        return sarvo::mh::fail_text("Sizes of input matrix and permutation are not consistent.");
    sarvo::mh::Scratch<double, 512> work;
    if (sarko_error_t e = work.allocate(sarvo::mh::lu_work(A->rows, A->cols))) return e;
    sarvo::mh::lu_factor(sarvo::mh::view(*A), pivot->elems, work.get());
    return 0;
}

} // extern "C"
