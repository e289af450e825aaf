// The inverse of the incomplete beta function: the plain bisection's answer.
#include "beta.h"
#include "bisection.h"

#include "core/elementary.h"
#include "large_shapes.h"
#include "simd/simd.h"

namespace sarvo::special {

using elementary::exp;
using elementary::log;

namespace {

constexpr double eps = 0x1p-52;

// The continued fraction to some seven digits, without divisions: with (a + k) as partial denominators the partial
// numerators are -(a + m)(a + b + m) x for k = 2m + 1 and m (b - m) x for k = 2m.
double rough_fraction(double a, double b, double x) {
    double A_prev = 0.0, A = 1.0, B_prev = 1.0 / a, B = 1.0; // both over a
    double f = 1.0, m = 0.0;
    for (int round = 0; round < 5000; round++) {
        for (int i = 0; i < 4; i++) {
            double n = -(a + m) * (a + b + m) * x;
            double r = a + 2.0 * m + 1.0;
            A_prev = r * A + n * A_prev;
            B_prev = r * B + n * B_prev;
            m += 1.0;
            n = m * (b - m) * x;
            r += 1.0;
            A = r * A_prev + n * A;
            B = r * B_prev + n * B;
        }
        const double s = 1.0 / B, f_old = f;
        f = A * s;
        A_prev *= s;
        B_prev *= s;
        A = f;
        B = 1.0;
        if (__builtin_fabs(f - f_old) < 1e-6 * f) break;
    }
    return f;
}

// Shapes and argument of the tail that is computed.
struct Side {
    double a, b, x;
    Side(const Beta &beta, double w, bool upper)
        : a(upper ? beta.b : beta.a), b(upper ? beta.a : beta.b), x(upper ? 1.0 - w : w) {}
};

class BetaFunction {
public:
    explicit BetaFunction(const Beta &beta) : beta_(beta) {}

    // The fractions of a batch, all at once where they have the same tail.
    void prepare(const double *w, int n, double *f) const {
        const bool upper = !(w[0] < beta_.split);
        bool alike = n > 1;
        for (int i = 1; i < n; i++) alike = alike && !(w[i] < beta_.split) == upper;
        if (!alike) {
            for (int i = 0; i < n; i++) {
                const Side side(beta_, w[i], !(w[i] < beta_.split));
                f[i] = beta_continued_fraction(side.a, side.b, side.x);
            }
            return;
        }
        double x[batch];
        for (int i = 0; i < n; i++) x[i] = Side(beta_, w[i], upper).x;
        const Side side(beta_, w[0], upper);
        simd::kernels().beta_fractions(static_cast<uint64_t>(n), side.a, side.b, x, f);
    }

    double value(double w, double f) const {
        const bool upper = !(w < beta_.split);
        const Side side(beta_, w, upper);
        const double tail = beta_front(side.a, side.b, beta_.ln_beta, side.x) * f / side.a;
        return upper ? 1.0 - tail : tail;
    }

    // y = ln(w / (1 - w)); E = w^a (1 - w)^b / B(a, b) = dF/dy, E'/E = a - (a + b) w.
    Tail tail(double y) const {
        const double small = exp(-__builtin_fabs(y));
        const double ln_large = -log(1.0 + small), ln_small = ln_large - __builtin_fabs(y);
        const double large = 1.0 / (1.0 + small), lesser = small * large;
        const double w = y < 0.0 ? lesser : large, v = y < 0.0 ? large : lesser;
        const double ln_E =
            beta_.a * (y < 0.0 ? ln_small : ln_large) + beta_.b * (y < 0.0 ? ln_large : ln_small) - beta_.ln_beta;
        const bool upper = !(w < beta_.split);
        const double ratio =
            upper ? rough_fraction(beta_.b, beta_.a, v) / beta_.b : rough_fraction(beta_.a, beta_.b, w) / beta_.a;
        return {upper, ln_E + log(ratio), ratio, beta_.a * v - beta_.b * w, -(beta_.a + beta_.b) * w * v};
    }

    Local local(double w) const { return local(w, !(w < beta_.split)); }

    // The tail chosen by the caller: past the split for what it says about the other side.
    Local local(double w, bool upper) const {
        const double v = 1.0 - w;
        const Side side(beta_, w, upper);
        const double a = side.a, b = side.b, x = side.x;
        const double from_b = b * log(1.0 - x), from_a = a * log(x);
        const double exponent = from_b + from_a - beta_.ln_beta;
        const double front = exp(exponent), f = beta_continued_fraction(a, b, x);
        Local at;
        at.upper = upper;
        at.e = front * f / a;
        at.scale = w * v;
        at.slope = front;
        at.curvature = (beta_.a - 1.0) * v - (beta_.b - 1.0) * w;
        const double ga = __builtin_fabs(beta_.a - 1.0) + 1.0, gb = __builtin_fabs(beta_.b - 1.0) + 1.0;
        const double G = ga * v + gb * w;
        at.bend = 2.0 * G * G + ga * v * v + gb * w * w;
        at.margin = margin(a, b, x, from_a, from_b, exponent, f);
        at.blur = upper ? front / (w * v) * 0x1p-53 : 0.0; // 1 - w is rounded
        at.jump = 0x1p-44 * (__builtin_fabs(beta_.ln_beta) + spread_) * (1.0 + 1.0 / beta_.a + 1.0 / beta_.b);
        return at;
    }

    const Beta &shapes() const { return beta_; }

private:
    // Rounding of the exponent (two logarithms within a unit in the last place, two products, two sums, 1 - x under the
    // logarithm), of the exponential and of the last products; then of the fraction, whose first denominator takes a as
    // (a + 1) - 1. Its error against 113-bit arithmetic was at most 0.4 of this over 800000 random shapes in [10^-3,
    // 10^5] and arguments; sure outcomes ask for twice the margin. Where a convergent may flicker it drifts by a unit a
    // step.
    static double margin(double a, double b, double x, double from_a, double from_b, double exponent, double f) {
        const double logarithms = 1.25 * (__builtin_fabs(from_a) + __builtin_fabs(from_b));
        const double sums = 0.6 * (__builtin_fabs(from_a + from_b) + __builtin_fabs(exponent)) + 0.3 * b / (1.0 - x);
        const double lost = __builtin_fabs((a + 1.0) - 1.0 - a) / (a * eps);
        const double fraction = f * (20.0 + 1.5 * lost + 0.3 * __builtin_sqrt(a + b));
        const double smaller = a < b ? a : b;
        const double flicker = smaller < 1.0 && x * smaller < 1e-11 && x < 1e-6 ? 3e5 : 0.0;
        return eps * (logarithms + sums + 4.0 + fraction + flicker);
    }

    const Beta &beta_;
    double spread_ = 8.0 + (beta_.a + beta_.b) * (2.0 + log(1.0 + beta_.a + beta_.b));
};

// The target of a search as both tails have it.
struct Target {
    double ln_p, ln_q;
};

// Abramowitz and Stegun 26.5.22: a normal distribution of the logarithm.
double central_guess(const Beta &beta, const Target &target) {
    const double z = rough_normal_quantile(target.ln_p, target.ln_q);
    const double al = 1.0 / (2.0 * beta.a - 1.0), be = 1.0 / (2.0 * beta.b - 1.0);
    const double lambda = (z * z - 3.0) / 6.0, h = 2.0 / (al + be);
    const double root = h + lambda > 0.0 ? __builtin_sqrt(h + lambda) : 0.0;
    return log(beta.a / beta.b) + 2.0 * (z * root / h - (be - al) * (lambda + 5.0 / 6.0 - 2.0 / (3.0 * h)));
}

// First guess of y: the leading term of a tail where it is small enough to hold, else a normal distribution.
double first_guess(const Beta &beta, const Target &target) {
    const double a = beta.a, b = beta.b;
    const bool central = a > 1.0 && b > 1.0 && target.ln_p > -5.0 && target.ln_q > -5.0;
    if (central) return central_guess(beta, target);
    const double ln_w = (target.ln_p + log(a) + beta.ln_beta) / a;
    const double ln_v = (target.ln_q + log(b) + beta.ln_beta) / b;
    if (ln_w < -1.0 && exp(ln_w) * (a + b + 2.0) < 0.5 * (a + 1.0)) {
        const double w = exp(ln_w);
        return ln_w + w + w * ((b - 1.0) / (a + 1.0)); // F = w^a / (a B) (1 - a (b - 1) / (a + 1) w ...)
    }
    if (ln_v < -1.0 && exp(ln_v) * (a + b + 2.0) < 0.5 * (b + 1.0)) {
        const double v = exp(ln_v);
        return -(ln_v + v + v * ((a - 1.0) / (b + 1.0)));
    }
    if (a > 1.0 && b > 1.0) return central_guess(beta, target);
    if (a == 0.5 && b > 1.0) { // w / (1 - w) = t^2 / nu of Student's distribution
        const double t = rough_normal_quantile(0.0, target.ln_q - 0.6931471805599453);
        return 2.0 * log(t * (1.0 + (t * t + 1.0) / (8.0 * b))) - log(2.0 * b);
    }
    return log(a / b);
}

// w near the root; NaN when none is found.
double search(const BetaFunction &F, const Target &target) {
    double y = first_guess(F.shapes(), target);
    for (int i = 0; i < 40; i++) {
        if (!(__builtin_fabs(y) < 745.0)) return y < 0.0 ? 0.0 : y > 0.0 ? 1.0 : y;
        const Tail tail = F.tail(y);
        const Step step = approach(tail, tail.upper ? target.ln_q : target.ln_p);
        y += step.y;
        if (step.last) {
            const double small = exp(-__builtin_fabs(y));
            return y < 0.0 ? small / (1.0 + small) : 1.0 / (1.0 + small);
        }
    }
    return __builtin_nan("");
}

// Whether errors that grow with the distance from r cannot overtake the distance of F from p.
bool regular(const Local &at, const Beta &beta, double r) {
    const double threshold = 0x1p-36 * (1.0 + beta.a + beta.b);
    const double to_end =
        at.slope / (at.upper ? r : 1.0 - r); // of the change of F per relative change of the tail's argument
    if (!(to_end >= threshold * at.e)) return false;
    return !at.upper || (at.slope / (1.0 - r) >= threshold * at.e && 1.0 - at.e >= threshold);
}

// The window for an r where the exact F is nearly p - offset.
Window window_about(const BetaFunction &F, double r, double p, double offset) {
    const Beta &beta = F.shapes();
    constexpr double tiny = 0x1p-1073, last = 1.0 - 0x1p-39;
    if (r < tiny) return {-__builtin_inf(), surely_above(F.local(tiny), p) ? tiny : __builtin_inf()};
    if (r > last) return {surely_below(F.local(last), p) ? last : -__builtin_inf(), __builtin_inf()};
    for (int i = 0; i < 3; i++) {
        if (!(r >= tiny && r <= last)) return undecided;
        const Local at = F.local(r);
        if (!regular(at, beta, r)) return undecided;
        const double d = (at.upper ? at.e - (1.0 - p) - offset : p - offset - at.e) / at.slope;
        if (!near_enough(at, d)) {
            r += at.scale * d;
            continue;
        }
        return window_across(F, at, r, p, beta.split);
    }
    return undecided;
}

Window find_window(const BetaFunction &F, double p) {
    const Beta &beta = F.shapes();
    const auto usable = [](double shape) { return shape >= 1e-5 && shape <= 1e6; };
    if (!usable(beta.a) || !usable(beta.b)) return undecided;
    const double q = 1.0 - p, ln_p = log(p);
    if (q > 1e-6) return window_about(F, search(F, {ln_p, log(q)}), p, 0.0);
    // F = 1 - e is p on a whole interval, whose ends are roots of their own.
    const Spacing s = spacing(p);
    const double below = search(F, {ln_p, log(q + 0.5 * s.down)}), above = search(F, {ln_p, log(q - 0.5 * s.up)});
    return {window_about(F, below, p, 0.5 * s.down).A, window_about(F, above, p, -0.5 * s.up).B};
}

} // namespace

double beta_inverse(double a, double b, double p) {
    if (a > least_large_beta || b > least_large_beta) {
        const auto valid = [](double shape) { return shape > 0.0 && shape < __builtin_inf(); };
        if (!valid(a) || !valid(b)) return __builtin_nan("");
        return last_midpoint(0.0, 1.0, [&](double w) { return beta_tails(a, b, w).below(p); });
    }
    const Beta beta(a, b);
    const BetaFunction F(beta);
    return bisect(F, p, 0.0, 1.0, find_window(F, p));
}

} // namespace sarvo::special
