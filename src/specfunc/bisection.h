// The inverse of a distribution function as the last midpoint of a bisection, with few evaluations.
//
// The stated answer is that of the plain bisection on the computed function F, whose rounding errors take part: near
// the root F goes up and down, and each midpoint there must be evaluated. Far from it the outcome of a comparison with
// p is known: the exact function is monotone, and F stays within a bounded relative error of it. So:
//
//      0 ............ A ....... root ....... B ............ 1
//        F < p for sure   evaluate F itself    F > p for sure
//
// 1. Newton's method with cheap values finds the root to a few digits (approach, below).
// 2. One careful value there gives, by the inverse series, where the exact function passes p (1 -+ margin): A and B.
// 3. The bisection runs; its intervals are dyadic, so the first one that A and B do not both fit into on one side of
// the
//    midpoint is read off their bits, and only from there on it steps.
#pragma once

#include <stdint.h>

namespace sarvo::special {

// F for sure below p up to A, above it from B on.
struct Window {
    double A, B;
};

// What is known of a distribution at w: the tail that is computed there (lower: e = F, upper: e = 1 - F).
struct Local {
    bool upper;
    double e;
    double scale;     // unit of length in which the derivatives are meant
    double slope;     // of F, its density
    double curvature; // density' / density
    double bend;      // bounds |density''| / density, and curvature^2
    double margin;    // bounds the relative error of e against an exact multiple of the tail, common to all w
    double blur;      // bounds the absolute error that a rounded argument makes in e
    double jump;      // bounds the difference between the multiples of the two tails
};

constexpr Window undecided = {-__builtin_inf(), __builtin_inf()};

// Distances between p and its neighbours.
struct Spacing {
    double up, down;
};
Spacing spacing(double p);
double before(double x); // the double before x > 0

// The window from what is known at r near the root; A = -inf, B = +inf where the series does not reach. `extra` widens
// it by an error of F that depends on the tail.
Window window_near(const Local &at, double r, double p, double extra);

// Whether the root, d scales away, is near enough for the window to depend on the margin rather than on the series.
bool near_enough(const Local &at, double d);

// Whether F < p (F > p) for sure at the argument of `at`, and with it at all smaller (larger) ones with the same tail.
bool surely_below(const Local &at, double p);
bool surely_above(const Local &at, double p);

// The window about the root near r. The tail at r tells of the arguments on its own side of the split; beyond, the
// other tail is computed, which is another multiple of the exact one: there the jump between the two counts, unless the
// other tail at the split is already sure.
template <class Function> Window window_across(const Function &F, const Local &at, double r, double p, double split) {
    const Window near = window_near(at, r, p, 0.0), far = window_near(at, r, p, at.jump);
    Window window = near;
    if (at.upper) {
        if (near.B < split) window.B = far.B < split ? far.B : split;
        if (far.A < split && !surely_below(F.local(split, false), p)) window.A = far.A;
    } else {
        const double last = before(split);
        if (near.A >= split) window.A = far.A > last ? far.A : last;
        if (far.B > split && !surely_above(F.local(split, true), p)) window.B = far.B;
    }
    return window;
}

// The last interval on the way of the bisection of [lo, hi] that A and B alone lead to (at least there); hi - lo a
// power of two, lo a multiple of it.
Window dyadic_cell(double lo, double hi, const Window &window);

constexpr int batch = 8;

// Midpoints of [lo, hi] inside the window that the bisection may come to: those on the way to the middle of the window,
// from which only F's noise there can divert it, then those one wrong turn off that way, the last turn first. Returns
// their number.
int likely_midpoints(double lo, double hi, const Window &window, double *w);

// F.prepare(w, n, out) does the costly part of evaluating F at n <= batch arguments, several at once in little more
// than the time of one; F.value(w, prepared) ends it. The bisection ends where the midpoint is an end of its interval,
// or F(w) = p; NaN where F is.
template <class Function> double bisect(const Function &F, double p, double lo, double hi, const Window &window) {
    const Window cell = dyadic_cell(lo, hi, window);
    lo = cell.A;
    hi = cell.B;
    const bool known = window.B - window.A < 1.0;
    double w[batch], prepared[batch];
    for (;;) {
        const int n = known ? likely_midpoints(lo, hi, window, w) : 1;
        if (!known) w[0] = (lo + hi) / 2.0;
        if (n > 0) F.prepare(w, n, prepared);
        for (;;) {
            const double m = (lo + hi) / 2.0;
            if (m == lo || m == hi) return m;
            if (m <= window.A) {
                lo = m;
            } else if (m >= window.B) {
                hi = m;
            } else {
                int i = 0;
                while (i < n && w[i] != m) i++;
                if (i == n) break;
                const double v = F.value(m, prepared[i]);
                if (v > p) hi = m;
                else if (v < p) lo = m;
                else return v == p ? m : v + p; // NaN when one of them is
            }
        }
    }
}

// The last midpoint of the bisection that goes right where below(m) holds, without any windows.
template <class Below> double last_midpoint(double lo, double hi, const Below &below) {
    for (;;) {
        const double m = lo + (hi - lo) / 2.0;
        if (!(m > lo && m < hi)) return m;
        (below(m) ? lo : hi) = m;
    }
}

// What Newton's method needs at y, with t the logarithm of the tail computed there and E = +-dF/dy.
struct Tail {
    bool upper;
    double ln;    // ln of the tail
    double ratio; // tail / E
    double c, dc; // E'/E and its derivative, by y
};

struct Step {
    double y;
    bool last; // the root is this step away, to some six digits
};

// A step from y towards ln tail = target. With h = ratio (negative for the upper tail), d = target - ln, k = 1 - h c,
// near the root to fourth order: h d + h k d^2 / 2 + h (k (k - h c) - h^2 c') d^3 / 6. Far from it the root of the
// quadratic model, as both tails are log-concave in y (k >= 0): exact for a normal distribution.
inline Step approach(const Tail &tail, double target) {
    const double h = tail.upper ? -tail.ratio : tail.ratio;
    const double d = target - tail.ln;
    const double hc = h * tail.c, k = 1.0 - hc;
    const double second = k * d / 2.0;
    const double third = (k * (k - hc) - h * h * tail.dc) * d * d / 6.0;
    const double size2 = __builtin_fabs(second), size3 = __builtin_fabs(third);
    if (size2 < 0.25 && size3 < 0.1) {
        const bool last = size2 < 1e-2 && size3 < 2e-4 && __builtin_fabs(d) < 0.5;
        return {h * d * (1.0 + second + third), last};
    }
    const double square = 1.0 - 2.0 * k * d;
    return {2.0 * h * d / (1.0 + (square > 0.0 ? __builtin_sqrt(square) : 0.0)), false};
}

// Standard normal quantile to 4.5e-4 (Hastings 1955, sheet 68), 0 < p < 1, q = 1 - p: where a search begins.
double rough_normal_quantile(double ln_p, double ln_q);

} // namespace sarvo::special
