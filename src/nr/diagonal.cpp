// Golub and Kahan's implicitly shifted QR sweeps on a bidiagonal matrix (1965; Golub and Reinsch 1970).
//
// A sweep is a chain of 2 (k - l) rotations of scalars. Those of the vectors are held back: up to `batch_sweeps` sweeps
// are collected and applied together to the rows of Qt and Pt, strip by strip (rotate_sweeps in simd.h), so that the
// vectors pass through the processor once for several sweeps.
#include "diagonal.h"

#include <float.h>

#include "simd/simd.h"

namespace sarvo::nr {
namespace {

constexpr uint64_t batch_sweeps = 32;
constexpr uint64_t ranks = 4; // sweeps that the kernel runs one behind the other

double magnitude(double x) { return x < 0.0 ? -x : x; }
constexpr uint64_t round_up(uint64_t x) { return (x + 7) & ~uint64_t{7}; }

struct Rotation {
    double c, s; // c f + s g = r, c g - s f = 0
    double r;
    double c_a_s_b; // c a + s b
    double s_h;     // s h
};

// The same for f and g whose squares lose digits or overflow.
[[gnu::noinline, gnu::cold]] Rotation scaled_rotation(double f, double g, double a, double b, double h) {
    if (g == 0.0) return {1.0, 0.0, f, a, 0.0};
    const double larger = magnitude(f) > magnitude(g) ? magnitude(f) : magnitude(g);
    const double fs = f / larger;
    const double gs = g / larger;
    const double root = __builtin_sqrt(fs * fs + gs * gs);
    const double c = fs / root;
    const double s = gs / root;
    return {c, s, larger * root, c * a + s * b, s * h};
}

// The rotation that takes (f, g) to (r, 0), with the two products that the next rotation waits for: they are formed
// before the factor that is ready last, and the root and the quotient proceed side by side. A sweep is a chain of these
// latencies.
[[gnu::always_inline]] inline Rotation rotation_to_zero(double f, double g, double a, double b, double h) {
    const double square = f * f + g * g;
    if (!(square > 0x1p-960 && square < 0x1p960)) return scaled_rotation(f, g, a, b, h);
    const double root = __builtin_sqrt(square);
    const double inverse = root * (1.0 / square);
    return {f * inverse, g * inverse, root, (f * a + g * b) * inverse, (g * h) * inverse};
}

// Sweeps collected for one set of vectors.
//
// Row j of the vectors stands as scale(j) times what is stored, so that a rotation needs two products instead of four
// (W. M. Gentleman 1973, fast rotations): with x and y stored under the scales alpha and beta,
//     c alpha x + s beta y = c alpha (x + t y),   t = s beta / (c alpha)
//     c beta y - s alpha x = c beta (y - u x),    u = s alpha / (c beta)
// Each product is rounded relative to itself, also when c is small: only the scales need care. They shrink by c; a
// batch is applied and the rows multiplied by their scales when one falls below `smallest_scale`. Sweeps with a c below
// `smallest_cosine` (an exact 0 occurs in structured matrices) are applied in their plain form.
class Batch {
public:
    Batch(uint64_t n, const Panel &rows, double *work)
        : rows_(rows),
          stride_(round_up(2 * n)),
          scale_(work),
          cosine_(scale_ + round_up(n) + front),
          sine_(cosine_ + round_up(n)),
          coefficients_(sine_ + round_up(n)) {
        for (uint64_t j = 0; j < n; j++) scale_[j] = 1.0;
    }
    static uint64_t work(uint64_t n) { return 3 * round_up(n) + front + batch_sweeps * round_up(2 * n); }

    // Where a sweep puts the rotation of rows j, j + 1: element j.
    double *cosine() { return cosine_; }
    double *sine() { return sine_; }

    // Takes the sweep over rows first .. last, first < last, that stands in cosine() and sine().
    void add_sweep(uint64_t first, uint64_t last) {
        if (smallest(cosine_, first, last) < smallest_cosine) {
            apply();
            apply_plain(first, last);
            return;
        }
        if (count_ > 0 && (first > last_ || last < first_)) apply(); // another part of the matrix
        begin_[count_] = first;
        end_[count_] = last;
        if (count_ == 0 || first < first_) first_ = first;
        if (count_ == 0 || last > last_) last_ = last;
        scale_rotations(first, last, coefficients_ + count_ * stride_);
        if (++count_ == batch_sweeps || smallest(scale_, first, last + 1) < smallest_scale) apply();
    }

    // One rotation of any two rows, after all collected ones.
    void rotate(uint64_t i, uint64_t j, double c, double s) {
        apply();
        simd::kernels().rotate(rows_.cols, c, s, rows_.row(i), rows_.row(j));
    }

    // Brings the vectors up to date.
    void apply() {
        // Groups of sweeps that run together need one range: it is widened by rotations that do nothing.
        for (uint64_t q = 0; q < count_; q += ranks) {
            const uint64_t size = count_ - q < ranks ? count_ - q : ranks;
            uint64_t first = begin_[q];
            uint64_t last = end_[q];
            for (uint64_t i = q + 1; i < q + size; i++) {
                if (begin_[i] < first) first = begin_[i];
                if (end_[i] > last) last = end_[i];
            }
            for (uint64_t i = q; i < q + size; i++) {
                double *tu = coefficients_ + i * stride_;
                for (uint64_t j = first; j < begin_[i]; j++) tu[2 * j] = tu[2 * j + 1] = 0.0;
                for (uint64_t j = end_[i]; j < last; j++) tu[2 * j] = tu[2 * j + 1] = 0.0;
            }
            simd::kernels().rotate_scaled_sweeps(size, first, last, rows_.cols, coefficients_ + q * stride_, stride_,
                                                 rows_.p, rows_.stride);
        }
        for (uint64_t j = first_; count_ > 0 && j <= last_; j++) {
            simd::kernels().scale(rows_.cols, scale_[j], rows_.row(j), rows_.row(j));
            scale_[j] = 1.0;
        }
        count_ = 0;
    }

private:
    static constexpr uint64_t front = 8; // room in front of the cosines
    static constexpr double smallest_cosine = 0x1p-60;
    static constexpr double smallest_scale = 0x1p-200;

    // min(1, |x(begin)|, ...). Eight running minima: a minimum does not depend on the order.
    static double smallest(const double *x, uint64_t begin, uint64_t end) {
        constexpr uint64_t lanes = 8;
        double least[lanes] = {1, 1, 1, 1, 1, 1, 1, 1};
        uint64_t j = begin;
        for (; j + lanes <= end; j += lanes)
            for (uint64_t lane = 0; lane < lanes; lane++) {
                const double size = magnitude(x[j + lane]);
                least[lane] = size < least[lane] ? size : least[lane];
            }
        for (; j < end; j++) least[0] = magnitude(x[j]) < least[0] ? magnitude(x[j]) : least[0];
        for (uint64_t lane = 1; lane < lanes; lane++) least[0] = least[lane] < least[0] ? least[lane] : least[0];
        return least[0];
    }

    // t and u of the collected rotations, and the scales behind them. Row j is met as y by rotation j - 1, which leaves
    // it under c(j-1) scale(j), and handed on by rotation j.
    void scale_rotations(uint64_t first, uint64_t last, double *__restrict tu) {
        *(cosine_ + first - 1) = 1.0; // there is room in front of the first element
        double *__restrict scale = scale_;
        const double *__restrict c = cosine_;
        const double *__restrict s = sine_;
        for (uint64_t j = first; j < last; j++) {
            const double alpha = c[j - 1] * scale[j];
            const double beta = scale[j + 1];
            const double ratio = s[j] / (c[j] * (alpha * beta));
            tu[2 * j] = ratio * beta * beta;
            tu[2 * j + 1] = ratio * alpha * alpha;
        }
        for (uint64_t j = first; j < last; j++) scale[j] = c[j - 1] * scale[j] * c[j];
        scale[last] *= c[last - 1];
    }

    void apply_plain(uint64_t first, uint64_t last) {
        for (uint64_t j = first; j < last; j++) {
            coefficients_[2 * j] = cosine_[j];
            coefficients_[2 * j + 1] = sine_[j];
        }
        simd::kernels().rotate_sweeps(1, first, last, rows_.cols, coefficients_, stride_, rows_.p, rows_.stride);
    }

    Panel rows_;
    uint64_t stride_;      // of the coefficients of a sweep
    double *scale_;        // n
    double *cosine_;       // n - 1, and room for one in front
    double *sine_;         // n - 1
    double *coefficients_; // batch_sweeps sweeps: t and u of rows j, j + 1 at 2j and 2j + 1
    uint64_t count_ = 0;
    uint64_t first_ = 0, last_ = 0;                              // range of all collected sweeps
    uint64_t begin_[batch_sweeps] = {}, end_[batch_sweeps] = {}; // range of each
};

// The smaller singular value of B = (f g; 0 h).
//
// With x = |f|, y = |g|, z = |h| the two values p >= q have p q = |det B| = x z and p^2 + q^2 = |B|_F^2 = x^2 + y^2 + z^2,
// so that
//     p + q = sqrt((x + z)^2 + y^2) = S,    p - q = sqrt((x - z)^2 + y^2) = D,    q = x z / p = 2 x z / (S + D).
// Nothing cancels but x - z, which is exact where it matters. Divided by the largest element the squares stay in range:
// S is at least 1.
double smaller_singular_value(double f, double g, double h) {
    const double x = magnitude(f), y = magnitude(g), z = magnitude(h);
    const double low = x < z ? x : z, high = x < z ? z : x;
    const double largest = high < y ? y : high;
    if (low == 0.0) return 0.0;

    const double a = low / largest, b = y / largest, c = high / largest;
    const double S = __builtin_sqrt((c + a) * (c + a) + b * b);
    const double D = __builtin_sqrt((c - a) * (c - a) + b * b);
    return low * (2.0 * c / (S + D));
}

// One sweep over the block l .. k, chasing the bulge from top to bottom.
void sweep(uint64_t l, uint64_t k, bool shifted, double *d, double *e, Batch &left, Batch &right) {
    constexpr double largest_ratio = 0x1p500; // beyond it the quotient below leaves the range
    double shift = shifted ? smaller_singular_value(d[k - 1], e[k - 1], d[k]) : 0.0;
    if (!(shift <= largest_ratio * magnitude(d[l]))) shift = 0.0;
    double f = (magnitude(d[l]) - shift) * ((d[l] < 0.0 ? -1.0 : 1.0) + shift / d[l]);
    double g = e[l];
    for (uint64_t i = l; i < k; i++) {
        const Rotation p = rotation_to_zero(f, g, d[i], e[i], d[i + 1]);
        if (i > l) e[i - 1] = p.r;
        e[i] = p.c * e[i] - p.s * d[i];
        d[i + 1] = p.c * d[i + 1];
        const double beyond = i + 1 < k ? e[i + 1] : 0.0;
        const Rotation q = rotation_to_zero(p.c_a_s_b, p.s_h, e[i], d[i + 1], beyond);
        d[i] = q.r;
        d[i + 1] = q.c * d[i + 1] - q.s * e[i];
        if (i + 1 < k) e[i + 1] = q.c * beyond;
        f = q.c_a_s_b;
        g = q.s_h;
        right.cosine()[i] = p.c;
        right.sine()[i] = p.s;
        left.cosine()[i] = q.c;
        left.sine()[i] = q.s;
    }
    e[k - 1] = f;
    left.add_sweep(l, k);
    right.add_sweep(l, k);
}

// d[l-1] is negligible: rotates row l-1 with rows l .. k until e[l-1] is gone too.
void cancel(uint64_t l, uint64_t k, double *d, double *e, double negligible, Batch &left) {
    double f = e[l - 1];
    e[l - 1] = 0.0;
    for (uint64_t i = l; i <= k && magnitude(f) > negligible; i++) {
        const Rotation p = rotation_to_zero(d[i], f, 0.0, 0.0, 0.0);
        d[i] = p.r;
        left.rotate(i, l - 1, p.c, p.s);
        if (i == k) break;
        f = -p.s * e[i];
        e[i] = p.c * e[i];
    }
}

// Whether e, between the diagonal elements d and next, is no more than the rounding errors of a sweep leave there: 4 eps
// of the smaller neighbour. Equal singular values (those of an orthogonal matrix) never bring it further down.
bool is_rounding_error(double e, double d, double next) {
    const double smaller = magnitude(d) < magnitude(next) ? magnitude(d) : magnitude(next);
    return magnitude(e) <= 4.0 * DBL_EPSILON * smaller;
}

// First row of the block that ends at row k and does not fall apart; e is cut where it does.
uint64_t find_block(uint64_t k, double *d, double *e, double negligible, Batch &left) {
    for (uint64_t l = k; l > 0; l--) {
        if (magnitude(e[l - 1]) <= negligible || is_rounding_error(e[l - 1], d[l - 1], d[l])) {
            e[l - 1] = 0.0;
            return l;
        }
        if (magnitude(d[l - 1]) <= negligible) {
            cancel(l, k, d, e, negligible, left);
            return l;
        }
    }
    return 0;
}

// How long the same block l .. k has been swept without falling apart.
//
// A block of b rows that takes more than 10 + b sweeps is caught in a cycle of roundings: from there on every second
// sweep is made without shift, and the bound below which elements are negligible doubles with each of them. So every
// block ends.
class Patience {
public:
    explicit Patience(double eps) : eps_(eps > DBL_EPSILON ? eps : DBL_EPSILON) {}

    void count_sweep(uint64_t l, uint64_t k) {
        sweeps_ = l == l_ && k == k_ ? sweeps_ + 1 : 0;
        l_ = l;
        k_ = k;
    }
    bool shifted() const { return excess() % 2 == 0; }
    // The relative bound for the next search, not below the one asked for.
    double bound(double asked) const {
        const uint64_t doublings = excess() / 2;
        if (doublings == 0 && asked >= 0.0) return asked;
        return eps_ * static_cast<double>(uint64_t{1} << (doublings < 52 ? doublings : 52));
    }

private:
    uint64_t excess() const {
        const uint64_t usual = 10 + (k_ - l_ + 1);
        return sweeps_ > usual ? sweeps_ - usual : 0;
    }

    double eps_;
    uint64_t l_ = 0, k_ = 0, sweeps_ = 0;
};

// max(|d_i| + |e_i|), e_i the element above d_i; infinity when an element is not finite.
double bidiagonal_norm(uint64_t n, const double *d, const double *e) {
    double norm = 0.0;
    for (uint64_t i = 0; i < n; i++) {
        const double sum = magnitude(d[i]) + (i > 0 ? magnitude(e[i - 1]) : 0.0);
        if (!(sum <= DBL_MAX)) return __builtin_inf();
        if (sum > norm) norm = sum;
    }
    return norm;
}

} // namespace

bool diagonalise(uint64_t n, double *d, double *e, const Panel &Qt, const Panel &Pt, double eps, uint32_t max_sweeps,
                 double *work) {
    const double norm = bidiagonal_norm(n, d, e);
    if (norm > DBL_MAX) return false;
    Batch left(n, Qt, work);
    Batch right(n, Pt, work + Batch::work(n));
    const uint64_t limit = max_sweeps * ((n + 7) / 8); // every 8 values, begun ones counted
    for (uint64_t k = n; k-- > 0;) {                   // d[k+1 ..] are singular values
        Patience patience(eps);
        for (uint64_t sweeps = 0;; sweeps++) {
            const uint64_t l = find_block(k, d, e, patience.bound(eps) * norm, left);
            if (l == k) break;
            if (sweeps == limit) return false;
            patience.count_sweep(l, k);
            sweep(l, k, patience.shifted(), d, e, left, right);
        }
    }
    left.apply();
    right.apply();
    for (uint64_t k = 0; k < n; k++) {
        if (!(d[k] < 0.0)) continue;
        d[k] = -d[k];
        simd::kernels().scale(Pt.cols, -1.0, Pt.row(k), Pt.row(k));
    }
    return true;
}

uint64_t diagonal_work(uint64_t n) { return 2 * Batch::work(n); }

} // namespace sarvo::nr
