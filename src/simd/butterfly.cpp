// The Fourier transform: all radix-2 stages, several of them in registers at a time.
//
// First pass. Element i = (j, h, c) of the input, j its first log2(lanes) bits and c its last, goes to (c', h', j') by
// bit reversal (' reverses bits). A tile, lanes x lanes elements with h fixed, is read by rows j; the stages m < lanes
// combine whole rows, one transform a lane; transposed in registers its rows c' are stored at h'. Tiles h and h' take
// each other's place, so the pass works in place:
//
//     row j:  . . . . [h] . . . .             . . . [h'] . . . . . :row c'
//
// Later passes do up to three stages m, 2m, 4m on streams at distance m. Blocks that fit the cache are finished
// first (depth first). Each butterfly is that of the plain loops, whatever the order of the visits.
#include "levels.h"
#include "vec.h"

namespace sarvo::simd::SARVO_SIMD_LEVEL {
namespace {

constexpr uint64_t most_stages = lanes == 8 ? 3 : 2; // in one pass: 2 * 2^stages vectors stay in registers
constexpr uint64_t leaf = 4096;                      // finished pass by pass; its factors are all in the table

struct Points { // complex numbers, one a lane
    Vec re, im;
};

inline Points turned(const Points &w) { return {Vec{} - w.im, w.re}; } // times i

inline Points load_points(const double *re, const double *im) { return {load(re), load(im)}; }

inline void butterfly(Points &a, Points &b, const Points &w) {
    const Vec t_re = w.re * b.re - w.im * b.im;
    const Vec t_im = w.re * b.im + w.im * b.re;
    b = {a.re - t_re, a.im - t_im};
    a = {a.re + t_re, a.im + t_im};
}

// ---- First pass ----

constexpr uint64_t reversed_lane(uint64_t j) {
    if constexpr (lanes == 8) return (j & 1) << 2 | (j & 2) | j >> 2;
    else if constexpr (lanes == 4) return (j & 1) << 1 | j >> 1;
    else return j;
}

// Stages m < lanes across the rows of a tile. Their factors are (1, 0), i, and at m = 4 those of an eighth of a turn.
inline void cross_rows(Points (&x)[lanes], const double *roots) {
    const Points one = {broadcast(1.0), Vec{}}, i = {Vec{}, broadcast(1.0)};
    for (uint64_t b = 0; b < lanes; b += 2) butterfly(x[b], x[b + 1], one);
    if constexpr (lanes >= 4)
        for (uint64_t b = 0; b < lanes; b += 4) {
            butterfly(x[b], x[b + 2], one);
            butterfly(x[b + 1], x[b + 3], i);
        }
    if constexpr (lanes == 8) {
        const Points eighth = {broadcast(roots[5]), broadcast(roots[7])};
        butterfly(x[0], x[4], one);
        butterfly(x[1], x[5], eighth);
        butterfly(x[2], x[6], i);
        butterfly(x[3], x[7], turned(eighth));
    }
}

// Reads the tile at column `from`: afterwards re[c], im[c] is what row c' of its new place gets.
inline void read_tile(const double *re, const double *im, uint64_t stride, const double *roots, Vec (&out_re)[lanes],
                      Vec (&out_im)[lanes]) {
    Points x[lanes];
    for (uint64_t j = 0; j < lanes; j++)
        x[j] = load_points(re + reversed_lane(j) * stride, im + reversed_lane(j) * stride);
    cross_rows(x, roots);
    for (uint64_t j = 0; j < lanes; j++) {
        out_re[j] = x[j].re;
        out_im[j] = x[j].im;
    }
    transpose_lanes(out_re);
    transpose_lanes(out_im);
}

inline void write_tile(double *p, uint64_t stride, const Vec (&rows)[lanes]) {
    for (uint64_t c = 0; c < lanes; c++) store(p + reversed_lane(c) * stride, rows[c]);
}

void exchange_tiles(double *re, double *im, uint64_t stride, uint64_t one, uint64_t other, const double *roots) {
    Vec re1[lanes], im1[lanes], re2[lanes], im2[lanes];
    read_tile(re + one, im + one, stride, roots, re1, im1);
    if (one != other) {
        read_tile(re + other, im + other, stride, roots, re2, im2);
        write_tile(re + one, stride, re2);
        write_tile(im + one, stride, im2);
    }
    write_tile(re + other, stride, re1);
    write_tile(im + other, stride, im1);
}

// Bit reversal and the stages m < lanes; n >= lanes * lanes.
void first_pass(uint64_t n, double *re, double *im, const double *roots) {
    const uint64_t stride = n / lanes, tiles = stride / lanes;
    for (uint64_t h = 0, reversed = 0; h < tiles; h++) {
        if (h <= reversed) exchange_tiles(re, im, stride, h * lanes, reversed * lanes, roots);
        uint64_t bit = tiles / 2;
        while (bit != 0 && (reversed & bit) != 0) {
            reversed ^= bit;
            bit /= 2;
        }
        reversed |= bit;
    }
}

// ---- Later passes ----

// Factors of stages m, 2m, 4m (t = 0, 1, 2) from the table: get(t, u, k) is factor k + u m of stage 2^t m.
struct Table {
    const double *re[3], *im[3];
    uint64_t m;

    Table(uint64_t stage, const double *roots) : m(stage) {
        for (uint64_t t = 0; t < 3; t++) {
            re[t] = roots + (m << t);
            im[t] = re[t] + (m << t) / 2;
        }
    }
    inline Points get(uint64_t t, uint64_t u, uint64_t k) const {
        return load_points(re[t] + u * m + k, im[t] + u * m + k);
    }
};

// The same for m >= 4096 as products of coarse and fine parts; k counts from the start of a chunk of m/256 factors,
// within which the coarse parts are constant.
struct Products {
    const double *re[3], *im[3], *coarse[3];

    Products(uint64_t m, uint64_t chunk, const double *roots, const double *fine) {
        const uint64_t s = m / 256;
        for (uint64_t t = 0; t < 3; t++) {
            const uint64_t parts_of_stage = uint64_t{1} << t;
            re[t] = fine + 2 * s * parts_of_stage + chunk % parts_of_stage * s;
            im[t] = re[t] + s * parts_of_stage;
            coarse[t] = roots + 256 + chunk / parts_of_stage;
        }
    }
    inline Points get(uint64_t t, uint64_t u, uint64_t k) const {
        const double *a = coarse[t] + u * (256 >> t);
        const Points b = load_points(re[t] + k, im[t] + k);
        return {a[0] * b.re - a[128] * b.im, a[0] * b.im + a[128] * b.re};
    }
};

// `count` columns of one block: column k holds the points k, k + m, k + 2m, ... The factors of the first stage are
// turned in the second half of its block, those of the others as u says.
template <uint64_t stages, bool turn, class Factors>
inline void columns(uint64_t count, uint64_t m, double *re, double *im, const Factors &w) {
    constexpr uint64_t streams = uint64_t{1} << stages;
    for (uint64_t k = 0; k < count; k += lanes) {
        Points x[streams];
        for (uint64_t i = 0; i < streams; i++) x[i] = load_points(re + i * m + k, im + i * m + k);
        Points w0 = w.get(0, 0, k);
        if (turn) w0 = turned(w0);
        for (uint64_t i = 0; i < streams; i += 2) butterfly(x[i], x[i + 1], w0);
        if constexpr (stages >= 2) {
            const Points w1 = w.get(1, 0, k);
            for (uint64_t i = 0; i < streams; i += 4) butterfly(x[i], x[i + 2], w1);
            const Points i_w1 = turned(w1);
            for (uint64_t i = 1; i < streams; i += 4) butterfly(x[i], x[i + 2], i_w1);
        }
        if constexpr (stages == 3)
            for (uint64_t u = 0; u < 2; u++) {
                const Points w2 = w.get(2, u, k);
                butterfly(x[u], x[u + 4], w2);
                butterfly(x[u + 2], x[u + 6], turned(w2));
            }
        for (uint64_t i = 0; i < streams; i++) {
            store(re + i * m + k, x[i].re);
            store(im + i * m + k, x[i].im);
        }
    }
}

// The first or the second half of the columns of one block, m >= 4096.
template <uint64_t stages, bool second>
void chunks(uint64_t m, double *re, double *im, const double *roots, const double *fine) {
    const uint64_t chunk = m / 256;
    for (uint64_t c = 0; c < 128; c++) {
        Products w(m, second ? c + 128 : c, roots, fine);
        w.coarse[0] = roots + 256 + c;
        columns<stages, second>(chunk, m, re + c * chunk, im + c * chunk, w);
    }
}

// Stages m .. 2^(stages-1) m of all blocks of n elements.
template <uint64_t stages>
void pass(uint64_t n, uint64_t m, double *re, double *im, const double *roots, const double *fine) {
    const uint64_t block = m << stages;
    if (m >= leaf) {
        for (uint64_t b = 0; b < n; b += block) {
            chunks<stages, false>(m, re + b, im + b, roots, fine);
            chunks<stages, true>(m, re + b + m / 2, im + b + m / 2, roots, fine);
        }
        return;
    }
    Table w(m, roots);
    if (m == lanes) { // half a block is no vector: all factors of the first stage one after the other
        double all[2 * lanes];
        for (uint64_t k = 0; k < lanes / 2; k++) {
            all[k] = all[lanes + lanes / 2 + k] = w.re[0][k];
            all[lanes + k] = w.im[0][k];
            all[lanes / 2 + k] = 0.0 - w.im[0][k];
        }
        w.re[0] = all;
        w.im[0] = all + lanes;
        for (uint64_t b = 0; b < n; b += block) columns<stages, false>(lanes, m, re + b, im + b, w);
        return;
    }
    Table upper = w;
    for (uint64_t t = 1; t < 3; t++) {
        upper.re[t] += m / 2;
        upper.im[t] += m / 2;
    }
    for (uint64_t b = 0; b < n; b += block) {
        columns<stages, false>(m / 2, m, re + b, im + b, w);
        columns<stages, true>(m / 2, m, re + b + m / 2, im + b + m / 2, upper);
    }
}

void pass_of(uint64_t stages, uint64_t n, uint64_t m, double *re, double *im, const double *roots, const double *fine) {
    if constexpr (most_stages == 3)
        if (stages == 3) return pass<3>(n, m, re, im, roots, fine);
    if (stages == 2) return pass<2>(n, m, re, im, roots, fine);
    pass<1>(n, m, re, im, roots, fine);
}

// How many of the stages from m on, of which `left` are left, to do in one pass. Eight streams whose distance is a
// multiple of 4 KiB would push each other out of the first-level cache.
uint64_t stages_at(uint64_t m, uint64_t left) {
    const uint64_t most = m < 512 ? most_stages : 2;
    return left == 4 ? 2 : smaller(left, most);
}

// All stages m >= lanes of one transform.
void later_stages(uint64_t n, double *re, double *im, const double *roots, const double *fine) {
    if (n <= leaf) {
        for (uint64_t m = lanes; m < n;) {
            const uint64_t stages = stages_at(m, static_cast<uint64_t>(__builtin_ctzll(n / m)));
            pass_of(stages, n, m, re, im, roots, fine);
            m <<= stages;
        }
        return;
    }
    const uint64_t stages = n == 2 * leaf ? 1 : 2;
    const uint64_t part = n >> stages;
    for (uint64_t b = 0; b < n; b += part) later_stages(part, re + b, im + b, roots, fine);
    pass_of(stages, n, part, re, im, roots, fine);
}

// ---- Transforms shorter than a tile ----

void short_transform(uint64_t n, double *re, double *im, const double *roots) {
    double x[lanes * lanes], y[lanes * lanes];
    for (uint64_t i = 0, reversed = 0; i < n; i++) {
        x[reversed] = re[i];
        y[reversed] = im[i];
        uint64_t bit = n / 2;
        while (bit != 0 && (reversed & bit) != 0) {
            reversed ^= bit;
            bit /= 2;
        }
        reversed |= bit;
    }
    for (uint64_t m = 1; m < n; m *= 2)
        for (uint64_t k = 0; k < m; k++) {
            const bool turn = m > 1 && k >= m / 2;
            const double *w = roots + m + (turn ? k - m / 2 : k);
            const double w_re = m == 1 ? 1.0 : turn ? 0.0 - w[m / 2] : w[0];
            const double w_im = m == 1 ? 0.0 : turn ? w[0] : w[m / 2];
            for (uint64_t i = k; i < n; i += 2 * m) {
                const double t_re = w_re * x[i + m] - w_im * y[i + m];
                const double t_im = w_re * y[i + m] + w_im * x[i + m];
                x[i + m] = x[i] - t_re;
                y[i + m] = y[i] - t_im;
                x[i] = x[i] + t_re;
                y[i] = y[i] + t_im;
            }
        }
    for (uint64_t i = 0; i < n; i++) {
        re[i] = x[i];
        im[i] = y[i];
    }
}

} // namespace

void fourier(uint64_t n, double *re, double *im, const double *roots, const double *fine) {
    if (n < lanes * lanes) return short_transform(n, re, im, roots);
    first_pass(n, re, im, roots);
    later_stages(n, re, im, roots, fine);
}

} // namespace sarvo::simd::SARVO_SIMD_LEVEL
