// Rotations of matrix rows: single ones, and batches of sweeps applied to strips of columns.
//
// In a batch `depth` sweeps run one behind the other through a strip of `width` vectors: at time t sweep q makes its
// rotation j = t - q. It takes row j + 1 as sweep q - 1 has just left it, hands row j on to sweep q + 1, and carries
// the rotated row j + 1 in registers to its next rotation:
//
//     row t + 1 from memory -> [sweep 0, j = t] -> [sweep 1, j = t - 1] -> ... -> row t + 1 - depth to memory
//
// Every element meets the same operations in the same order as in the plain loops: only the visiting order differs.
#include "levels.h"
#include "vec.h"

namespace sarvo::simd::SARVO_SIMD_LEVEL {
namespace {

template <int width> struct Row { Vec v[width]; };

template <int width> inline Row<width> load_row(const double *p) {
    Row<width> r;
    for (int i = 0; i < width; i++) r.v[i] = load(p + static_cast<uint64_t>(i) * lanes);
    return r;
}

template <int width> inline void store_row(double *p, const Row<width> &r) {
    for (int i = 0; i < width; i++) store(p + static_cast<uint64_t>(i) * lanes, r.v[i]);
}

// What a rotation does to the row carried along (x) and the row that it meets (y): x leaves, y is carried on.
struct Plain { // c, s
    template <int width> static inline void apply(const double *cs, Row<width> &carried, Row<width> &passing) {
        const Vec c = broadcast(cs[0]);
        const Vec s = broadcast(cs[1]);
        for (int i = 0; i < width; i++) {
            const Vec x = carried.v[i];
            const Vec y = passing.v[i];
            passing.v[i] = c * x + s * y;
            carried.v[i] = c * y - s * x;
        }
    }
};

struct Scaled { // t, u
    template <int width> static inline void apply(const double *tu, Row<width> &carried, Row<width> &passing) {
        const Vec t = broadcast(tu[0]);
        const Vec u = broadcast(tu[1]);
        for (int i = 0; i < width; i++) {
            const Vec x = carried.v[i];
            const Vec y = passing.v[i];
            passing.v[i] = x + t * y;
            carried.v[i] = y - u * x;
        }
    }
};

// One strip: depth sweeps over rows first .. last. At the start and the end of the pipe only some sweeps have work.
template <class Rotation, int depth, int width>
void strip(uint64_t first, uint64_t last, const double *cs, uint64_t ldcs, double *a, uint64_t lda) {
    constexpr uint64_t d = depth;
    Row<width> carried[depth];
    carried[0] = load_row<width>(a + first * lda);
    const uint64_t steps = last - first + d - 1; // times t = first .. first + steps - 1
    for (uint64_t t = 0; t < steps; t++) {
        Row<width> passing;
        const bool filling = t + 1 < d;
        const bool draining = t >= last - first;
        if (!draining) passing = load_row<width>(a + (first + t + 1) * lda);
        if (!filling && !draining) { // the steady state
            const double *rotation = cs + 2 * (first + t);
            const uint64_t ahead =
                first + t + 5 < last ? first + t + 5 : last; // rows lie too far apart for the processor to guess
            for (int i = 0; i < width; i++) __builtin_prefetch(a + ahead * lda + static_cast<uint64_t>(i) * lanes);
            for (int q = 0; q < depth; q++)
                Rotation::template apply<width>(rotation + static_cast<uint64_t>(q) * ldcs - 2 * q, carried[q],
                                                passing);
            store_row<width>(a + (first + t + 1 - d) * lda, passing);
            continue;
        }
        for (uint64_t q = 0; q < d; q++) {
            if (t < q) { // sweep q has not begun: the row that reaches it is its first
                carried[q] = passing;
                break;
            }
            const uint64_t j = t - q;
            if (j >= last - first) { // sweep q ended: its carried row is row `last`, needed by sweep q + 1
                passing = carried[q];
                continue;
            }
            Rotation::template apply<width>(cs + q * ldcs + 2 * (first + j), carried[q], passing);
            if (q + 1 == d) store_row<width>(a + (first + j) * lda, passing);
        }
    }
    store_row<width>(a + last * lda, carried[depth - 1]);
}

// The columns left over when n is no multiple of a vector: copied into one with idle lanes.
template <class Rotation>
void rotate_columns(uint64_t sweeps, uint64_t first, uint64_t last, uint64_t n, const double *cs, uint64_t ldcs,
                    double *a, uint64_t lda) {
    for (uint64_t q = 0; q < sweeps; q++)
        for (uint64_t j = first; j < last; j++) {
            double x[lanes] = {}, y[lanes] = {};
            for (uint64_t i = 0; i < n; i++) {
                x[i] = a[j * lda + i];
                y[i] = a[(j + 1) * lda + i];
            }
            Row<1> carried = load_row<1>(x);
            Row<1> passing = load_row<1>(y);
            Rotation::template apply<1>(cs + q * ldcs + 2 * j, carried, passing);
            store_row<1>(x, passing);
            store_row<1>(y, carried);
            for (uint64_t i = 0; i < n; i++) {
                a[j * lda + i] = x[i];
                a[(j + 1) * lda + i] = y[i];
            }
        }
}

template <class Rotation, int depth, int width>
void rotate_strips(uint64_t sweeps, uint64_t first, uint64_t last, uint64_t n, const double *cs, uint64_t ldcs,
                   double *a, uint64_t lda) {
    constexpr uint64_t strip_columns = static_cast<uint64_t>(width) * lanes;
    uint64_t column = 0;
    for (; column + strip_columns <= n; column += strip_columns) {
        uint64_t q = 0;
        for (; q + depth <= sweeps; q += depth)
            strip<Rotation, depth, width>(first, last, cs + q * ldcs, ldcs, a + column, lda);
        for (; q < sweeps; q++) strip<Rotation, 1, width>(first, last, cs + q * ldcs, ldcs, a + column, lda);
    }
    for (; column + lanes <= n; column += lanes) {
        uint64_t q = 0;
        for (; q + depth <= sweeps; q += depth)
            strip<Rotation, depth, 1>(first, last, cs + q * ldcs, ldcs, a + column, lda);
        for (; q < sweeps; q++) strip<Rotation, 1, 1>(first, last, cs + q * ldcs, ldcs, a + column, lda);
    }
    if (column < n) rotate_columns<Rotation>(sweeps, first, last, n - column, cs, ldcs, a + column, lda);
}

template <class Rotation>
void rotate_all(uint64_t sweeps, uint64_t first, uint64_t last, uint64_t n, const double *cs, uint64_t ldcs, double *a,
                uint64_t lda) {
    if (first >= last || sweeps == 0) return;
    // Registers: depth * width carried, width passing, two coefficients, temporaries; 32 at v4, 16 below.
    if constexpr (lanes == 8) rotate_strips<Rotation, 4, 4>(sweeps, first, last, n, cs, ldcs, a, lda);
    else rotate_strips<Rotation, 4, 2>(sweeps, first, last, n, cs, ldcs, a, lda);
}

// rotate_with_rows for `width` vectors of columns from i on; x stays in registers.
template <int width>
inline void meet_rows(uint64_t count, const double *s_tau, double *x, double *const *rows, uint64_t i) {
    Row<width> xi = load_row<width>(x + i);
    for (uint64_t k = 0; k < count; k++) {
        const Vec s = broadcast(s_tau[2 * k]);
        const Vec tau = broadcast(s_tau[2 * k + 1]);
        Row<width> y = load_row<width>(rows[k] + i);
        for (int v = 0; v < width; v++) {
            const Vec turned = y.v[v] + s * (xi.v[v] - y.v[v] * tau);
            xi.v[v] = xi.v[v] - s * (y.v[v] + xi.v[v] * tau);
            y.v[v] = turned;
        }
        store_row<width>(rows[k] + i, y);
    }
    store_row<width>(x + i, xi);
}

} // namespace

void rotate(uint64_t n, double c, double s, double *x, double *y) {
    uint64_t i = 0;
    for (; i + lanes <= n; i += lanes) {
        const Vec xi = load(x + i);
        const Vec yi = load(y + i);
        store(x + i, c * xi + s * yi);
        store(y + i, c * yi - s * xi);
    }
    for (; i < n; i++) {
        const double xi = x[i];
        x[i] = c * xi + s * y[i];
        y[i] = c * y[i] - s * xi;
    }
}

void rotate_with_rows(uint64_t count, uint64_t first, uint64_t last, const double *s_tau, double *x,
                      double *const *rows) {
    uint64_t i = first; // each element of x is a chain of operations: several vectors side by side
    for (; i + 4 * lanes <= last; i += 4 * lanes) meet_rows<4>(count, s_tau, x, rows, i);
    for (; i + 2 * lanes <= last; i += 2 * lanes) meet_rows<2>(count, s_tau, x, rows, i);
    for (; i + lanes <= last; i += lanes) meet_rows<1>(count, s_tau, x, rows, i);
    for (; i < last; i++)
        for (uint64_t k = 0; k < count; k++) {
            const double s = s_tau[2 * k];
            const double tau = s_tau[2 * k + 1];
            const double xi = x[i];
            const double yi = rows[k][i];
            x[i] = xi - s * (yi + xi * tau);
            rows[k][i] = yi + s * (xi - yi * tau);
        }
}

void rotate_sweeps(uint64_t sweeps, uint64_t first, uint64_t last, uint64_t n, const double *cs, uint64_t ldcs,
                   double *a, uint64_t lda) {
    rotate_all<Plain>(sweeps, first, last, n, cs, ldcs, a, lda);
}

void rotate_scaled_sweeps(uint64_t sweeps, uint64_t first, uint64_t last, uint64_t n, const double *tu, uint64_t ldtu,
                          double *a, uint64_t lda) {
    rotate_all<Scaled>(sweeps, first, last, n, tu, ldtu, a, lda);
}

} // namespace sarvo::simd::SARVO_SIMD_LEVEL
