// Golub and Kahan's implicitly shifted QR sweeps on a bidiagonal matrix (1965; Golub and Reinsch 1970).
//
// A sweep is a chain of 2 (k - l) rotations of scalars. Those of the vectors are held back: up to `batch_sweeps` sweeps are collected and
// applied together to the rows of Qt and Pt, strip by strip (rotate_sweeps in simd.h), so that the vectors pass through the processor
// once for several sweeps.
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
    double c, s;    // c f + s g = r, c g - s f = 0
    double r;
    double c_a_s_b; // c a + s b
    double s_h;     // s h
};

// The same for f and g whose squares lose digits or overflow.
Rotation scaled_rotation(double f, double g, double a, double b, double h) {
    if (g == 0.0) return {1.0, 0.0, f, a, 0.0};
    const double larger = magnitude(f) > magnitude(g) ? magnitude(f) : magnitude(g);
    const double fs = f / larger;
    const double gs = g / larger;
    const double root = __builtin_sqrt(fs * fs + gs * gs);
    const double c = fs / root;
    const double s = gs / root;
    return {c, s, larger * root, c * a + s * b, s * h};
}

// The rotation that takes (f, g) to (r, 0), with the two products that the next rotation waits for: they are formed before the
// factor that is ready last, and the root and the quotient proceed side by side. A sweep is a chain of these latencies.
Rotation rotation_to_zero(double f, double g, double a, double b, double h) {
    const double square = f * f + g * g;
    if (!(square > 0x1p-960 && square < 0x1p960)) return scaled_rotation(f, g, a, b, h);
    const double root = __builtin_sqrt(square);
    const double inverse = root * (1.0 / square);
    return {f * inverse, g * inverse, root, (f * a + g * b) * inverse, (g * h) * inverse};
}

// Sweeps collected for one set of vectors: sweep q holds the rotations of rows j, j + 1 at cs[q ldcs + 2j].
class Batch {
public:
    Batch(uint64_t n, const Panel &rows, double *work) : rows_(rows), ldcs_(round_up(2 * n)), cs_(work) {}

    // Room for the rotations of rows first .. last of the next sweep, (c, s) of rows j, j + 1 at [2j].
    double *begin_sweep(uint64_t first, uint64_t last) {
        if (count_ > 0 && (first > last_ || last < first_)) flush(); // another part of the matrix
        double *cs = cs_ + count_ * ldcs_;
        begin_[count_] = first;
        end_[count_] = last;
        if (count_ == 0 || first < first_) first_ = first;
        if (count_ == 0 || last > last_) last_ = last;
        return cs;
    }
    void end_sweep() {
        if (++count_ == batch_sweeps) flush();
    }

    void flush() {
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
                fill(i, first, begin_[i]);
                fill(i, end_[i], last);
            }
            simd::kernels().rotate_sweeps(size, first, last, rows_.cols, cs_ + q * ldcs_, ldcs_, rows_.p, rows_.stride);
        }
        count_ = 0;
    }

    // One rotation of any two rows, after all collected ones.
    void rotate(uint64_t i, uint64_t j, double c, double s) {
        flush();
        simd::kernels().rotate(rows_.cols, c, s, rows_.row(i), rows_.row(j));
    }

private:
    void fill(uint64_t sweep, uint64_t from, uint64_t to) {
        for (uint64_t j = from; j < to; j++) {
            cs_[sweep * ldcs_ + 2 * j] = 1.0;
            cs_[sweep * ldcs_ + 2 * j + 1] = 0.0;
        }
    }

    Panel rows_;
    uint64_t ldcs_;
    double *cs_;
    uint64_t count_ = 0;
    uint64_t first_ = 0, last_ = 0;                          // range of all collected sweeps
    uint64_t begin_[batch_sweeps] = {}, end_[batch_sweeps] = {}; // range of each
};

// The smaller singular value of (f g; 0 h).
double smaller_singular_value(double f, double g, double h) {
    f = magnitude(f);
    g = magnitude(g);
    h = magnitude(h);
    const double low = f < h ? f : h;
    const double high = f < h ? h : f;
    if (low == 0.0) return 0.0;
    // After LAPACK's dlas2: every quotient is at most 1, nothing overflows.
    const double as = 1.0 + low / high;
    const double at = (high - low) / high;
    if (g < high) {
        const double au = (g / high) * (g / high);
        return low * (2.0 / (__builtin_sqrt(as * as + au) + __builtin_sqrt(at * at + au)));
    }
    const double au = high / g;
    if (au == 0.0) return (low * high) / g;
    const double x = as * au;
    const double y = at * au;
    return 2.0 * ((low * (1.0 / (__builtin_sqrt(1.0 + x * x) + __builtin_sqrt(1.0 + y * y)))) * au);
}

// One sweep over the block l .. k, chasing the bulge from top to bottom.
void sweep(uint64_t l, uint64_t k, double *d, double *e, Batch &left, Batch &right) {
    double *left_cs = left.begin_sweep(l, k);
    double *right_cs = right.begin_sweep(l, k);
    const double shift = smaller_singular_value(d[k - 1], e[k - 1], d[k]);
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
        right_cs[2 * i] = p.c;
        right_cs[2 * i + 1] = p.s;
        left_cs[2 * i] = q.c;
        left_cs[2 * i + 1] = q.s;
    }
    e[k - 1] = f;
    left.end_sweep();
    right.end_sweep();
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

// First row of the block that ends at row k and does not fall apart; e is cut where it does.
uint64_t find_block(uint64_t k, double *d, double *e, double negligible, Batch &left) {
    for (uint64_t l = k; l > 0; l--) {
        if (magnitude(e[l - 1]) <= negligible) {
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
    const double negligible = eps * norm;
    Batch left(n, Qt, work);
    Batch right(n, Pt, work + batch_sweeps * round_up(2 * n));
    for (uint64_t k = n; k-- > 0;) { // d[k+1 ..] are singular values
        uint32_t sweeps = 0;
        for (;;) {
            const uint64_t l = find_block(k, d, e, negligible, left);
            if (l == k) break;
            if (sweeps == max_sweeps) return false;
            sweeps++;
            sweep(l, k, d, e, left, right);
        }
    }
    left.flush();
    right.flush();
    for (uint64_t k = 0; k < n; k++) {
        if (!(d[k] < 0.0)) continue;
        d[k] = -d[k];
        simd::kernels().scale(Pt.cols, -1.0, Pt.row(k), Pt.row(k));
    }
    return true;
}

uint64_t diagonal_work(uint64_t n) { return 2 * batch_sweeps * round_up(2 * n); }

} // namespace sarvo::nr
