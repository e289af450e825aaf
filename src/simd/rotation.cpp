// Rotations of matrix rows: single ones, and batches of sweeps applied to strips of columns.
//
// In a batch `depth` sweeps run one behind the other through a strip of `width` vectors: at time t sweep q makes its rotation
// j = t - q. It takes row j + 1 as sweep q - 1 has just left it, hands row j on to sweep q + 1, and carries the rotated row j + 1
// in registers to its next rotation:
//
//     row t + 1 from memory -> [sweep 0, j = t] -> [sweep 1, j = t - 1] -> ... -> row t + 1 - depth to memory
//
// Every element meets the same operations in the same order as in the plain loops: only the visiting order differs.
#include "levels.h"
#include "vec.h"

namespace sarvo::simd::SARVO_SIMD_LEVEL {
namespace {

template <int width> struct Row {
    Vec v[width];
};

template <int width> inline Row<width> load_row(const double *p) {
    Row<width> r;
    for (int i = 0; i < width; i++) r.v[i] = load(p + static_cast<uint64_t>(i) * lanes);
    return r;
}

template <int width> inline void store_row(double *p, const Row<width> &r) {
    for (int i = 0; i < width; i++) store(p + static_cast<uint64_t>(i) * lanes, r.v[i]);
}

// carried, entering -> leaving, carried
template <int width> inline void rotate_row(const double *cs, Row<width> &carried, Row<width> &passing) {
    const Vec c = broadcast(cs[0]);
    const Vec s = broadcast(cs[1]);
    for (int i = 0; i < width; i++) {
        const Vec x = carried.v[i];
        const Vec y = passing.v[i];
        passing.v[i] = c * x + s * y;
        carried.v[i] = c * y - s * x;
    }
}

// One strip: depth sweeps over rows first .. last. At the start and the end of the pipe only some sweeps have work.
template <int depth, int width>
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
            for (int q = 0; q < depth; q++)
                rotate_row<width>(rotation + static_cast<uint64_t>(q) * ldcs - 2 * q, carried[q], passing);
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
            rotate_row<width>(cs + q * ldcs + 2 * (first + j), carried[q], passing);
            if (q + 1 == d) store_row<width>(a + (first + j) * lda, passing);
        }
    }
    store_row<width>(a + last * lda, carried[depth - 1]);
}

// The columns left over when n is no multiple of the strip.
void rotate_columns(uint64_t sweeps, uint64_t first, uint64_t last, uint64_t n, const double *cs, uint64_t ldcs,
                    double *a, uint64_t lda) {
    for (uint64_t q = 0; q < sweeps; q++)
        for (uint64_t j = first; j < last; j++)
            rotate(n, cs[q * ldcs + 2 * j], cs[q * ldcs + 2 * j + 1], a + j * lda, a + (j + 1) * lda);
}

template <int depth, int width>
void rotate_strips(uint64_t sweeps, uint64_t first, uint64_t last, uint64_t n, const double *cs, uint64_t ldcs,
                   double *a, uint64_t lda) {
    constexpr uint64_t strip_columns = static_cast<uint64_t>(width) * lanes;
    uint64_t column = 0;
    for (; column + strip_columns <= n; column += strip_columns) {
        uint64_t q = 0;
        for (; q + depth <= sweeps; q += depth)
            strip<depth, width>(first, last, cs + q * ldcs, ldcs, a + column, lda);
        for (; q < sweeps; q++) strip<1, width>(first, last, cs + q * ldcs, ldcs, a + column, lda);
    }
    for (; column + lanes <= n; column += lanes) {
        uint64_t q = 0;
        for (; q + depth <= sweeps; q += depth) strip<depth, 1>(first, last, cs + q * ldcs, ldcs, a + column, lda);
        for (; q < sweeps; q++) strip<1, 1>(first, last, cs + q * ldcs, ldcs, a + column, lda);
    }
    rotate_columns(sweeps, first, last, n - column, cs, ldcs, a + column, lda);
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

void rotate_sweeps(uint64_t sweeps, uint64_t first, uint64_t last, uint64_t n, const double *cs, uint64_t ldcs,
                   double *a, uint64_t lda) {
    if (first >= last || sweeps == 0) return;
    // Registers: depth * width carried, width passing, two coefficients, temporaries; 32 at v4, 16 below.
    if constexpr (lanes == 8) rotate_strips<4, 4>(sweeps, first, last, n, cs, ldcs, a, lda);
    else rotate_strips<4, 2>(sweeps, first, last, n, cs, ldcs, a, lda);
}

} // namespace sarvo::simd::SARVO_SIMD_LEVEL
