// Windows of uncertainty around the root of a bisection, and its dyadic intervals.
#include "bisection.h"

#include <string.h>

namespace sarvo::special {
namespace {

constexpr double infinity = __builtin_inf();

uint64_t bits(double x) {
    uint64_t b;
    memcpy(&b, &x, sizeof b);
    return b;
}

double from_bits(uint64_t b) {
    double x;
    memcpy(&x, &b, sizeof x);
    return x;
}

// Where F has changed by `change` from r on, by the inverse series: d - curvature d^2 / 2, d = change / slope; what
// follows is below bend d^3, which goes to the safe side (-1: left, +1: right). side * infinity where the series does
// not reach.
double place(const Local &at, double r, double change, double side) {
    const double d = change / at.slope, d2 = d * d;
    if (!(at.bend * d2 < 1e-4)) return side * infinity;
    const double rest = at.bend * d2 * __builtin_fabs(d) + 0x1p-40 * __builtin_fabs(d);
    return r + (at.scale * (d - 0.5 * at.curvature * d2 + side * rest) + side * (0x1p-52 * r + 0x1p-1073));
}

// How far below and above p the exact tail must be at an argument where the computed one is e, in terms of F, for F < p
// or F > p to be sure there: the errors of two values of the tail, and for the upper one, F = 1 - e rounded, half the
// distance to p's neighbour and the rounding of 1 - p itself.
struct Clearance {
    double below, above;
};

Clearance clearance(const Local &at, double p) {
    const double slack = 2.0 * at.margin * at.e + at.blur;
    if (!at.upper) return {slack, slack};
    const Spacing s = spacing(p);
    const double rounded = p < 0.5 ? 0x1p-53 : 0.0;
    return {0.5 * s.down + slack + rounded, 0.5 * s.up + slack + rounded};
}

// F - p at the argument of `at`, as the tail has it.
double excess(const Local &at, double p) { return at.upper ? (1.0 - p) - at.e : at.e - p; }

} // namespace

Spacing spacing(double p) { return {from_bits(bits(p) + 1) - p, p - before(p)}; }

double before(double x) { return from_bits(bits(x) - 1); }

bool near_enough(const Local &at, double d) {
    const double curved = at.bend * d * d;
    return curved < 1e-5 && curved * __builtin_fabs(d) * at.slope < 0.1 * at.margin * at.e;
}

Window window_near(const Local &at, double r, double p, double extra) {
    const Clearance c = clearance(at, p);
    const double e = excess(at, p);
    Window window = {place(at, r, -e - c.below - extra, -1.0), place(at, r, -e + c.above + extra, 1.0)};
    if (at.upper && 1.0 - p - c.above <= 0.0) window.B = infinity; // F > p nowhere
    return window;
}

bool surely_below(const Local &at, double p) { return excess(at, p) < -clearance(at, p).below; }
bool surely_above(const Local &at, double p) { return excess(at, p) > clearance(at, p).above; }

Window dyadic_cell(double lo, double hi, const Window &window) {
    if (lo == 0.0)
        while (0.5 * hi >= window.B && hi > 0x1p-1070) hi *= 0.5;
    double A = window.A > lo ? window.A : lo;
    const double B = window.B < hi ? window.B : hi;
    if (lo == 0.0) {
        if (!(A >= 0.5 * hi)) return {lo, hi};
        lo = 0.5 * hi;
    }
    if (!(A < B) || lo == 0.0) return {lo, hi};
    // All of [lo, hi) has one exponent now.
    uint64_t differ = bits(A) ^ (bits(B) - 1);
    for (int shift = 1; shift < 64; shift *= 2) differ |= differ >> shift;
    const double cell_lo = from_bits(bits(A) & ~differ), cell_hi = from_bits((bits(A) | differ) + 1);
    return {cell_lo, cell_hi};
}

int likely_midpoints(double lo, double hi, const Window &window, double *w) {
    const double middle = 0.5 * (window.A + window.B);
    double turn[batch]; // the midpoint after the other outcome at w
    const auto open = [&](double m) { return m > window.A && m < window.B; };
    int way = 0;
    while (way < batch) {
        const double m = (lo + hi) / 2.0;
        if (m == lo || m == hi) break;
        const bool right = open(m) ? m < middle : m <= window.A;
        if (open(m)) {
            w[way] = m;
            turn[way++] = right ? (lo + m) / 2.0 : (m + hi) / 2.0;
        }
        (right ? lo : hi) = m;
    }
    int n = way;
    for (int i = way - 1; i >= 0 && n < batch; i--)
        if (open(turn[i])) w[n++] = turn[i];
    return n;
}

double rough_normal_quantile(double ln_p, double ln_q) {
    const bool low = ln_p < ln_q;
    const double t = __builtin_sqrt(-2.0 * (low ? ln_p : ln_q));
    const double x =
        t - (2.515517 + t * (0.802853 + t * 0.010328)) / (1.0 + t * (1.432788 + t * (0.189269 + t * 0.001308)));
    return low ? -x : x;
}

} // namespace sarvo::special
