// The inverse of the incomplete gamma function: the answer of the plain upward search and bisection.
#include "bisection.h"
#include "gamma_distribution.h"

#include <sarvo/rnd.h>

#include "core/elementary.h"
#include "large_shapes.h"
#include "simd/simd.h"

namespace sarvo::special {

using elementary::exp;
using elementary::log;

namespace {

constexpr double eps = 0x1p-52;
constexpr double infinity = __builtin_inf();

// The series to some nine digits.
double rough_series(double a, double x) {
    double sum = 1.0 / a, del = sum, ap = a;
    do {
        ap += 1.0;
        del *= x / ap;
        sum += del;
    } while (del > 1e-10 * sum);
    return sum;
}

// The continued fraction to some nine digits: 1/(x + 1 - a - 1 (1 - a)/(x + 3 - a - 2 (2 - a)/(x + 5 - a - ...))).
double rough_fraction(double a, double x) {
    double A_prev = 0.0, A = 1.0, B_prev = 1.0, B = x + 1.0 - a;
    double g = A / B;
    for (double n = 1.0; n < 1e6;) {
        for (int i = 0; i < 4; i++, n += 1.0) {
            const double num = n * (a - n), den = x + (2.0 * n + 1.0) - a;
            const double A_next = den * A + num * A_prev, B_next = den * B + num * B_prev;
            A_prev = A, A = A_next;
            B_prev = B, B = B_next;
        }
        const double s = 1.0 / B, g_old = g;
        g = A * s;
        A_prev *= s;
        B_prev *= s;
        A = g;
        B = 1.0;
        if (__builtin_fabs(g - g_old) < 1e-9 * g) break;
    }
    return g;
}

class GammaFunction {
public:
    explicit GammaFunction(const GammaShape &shape) : shape_(shape) {}

    // The sums of a batch: fractions beside each other, series one by one.
    void prepare(const double *x, int n, double *f) const {
        bool upper = n > 1;
        for (int i = 0; i < n; i++) upper = upper && !(x[i] < shape_.a + 1.0);
        if (!upper) {
            for (int i = 0; i < n; i++)
                f[i] = x[i] < shape_.a + 1.0 ? gamma_series(shape_.a, x[i]) : gamma_fraction(shape_.a, x[i]);
            return;
        }
        simd::kernels().gamma_fractions(static_cast<uint64_t>(n), shape_.a, x, f);
    }

    double value(double x, double f) const {
        const double front = gamma_front(shape_, x);
        if (x < shape_.a + 1.0) return f * front;
        return 1.0 - (front == 0.0 ? 0.0 : f * front);
    }

    // y = ln x; E = x^a e^-x / Gamma(a) = dP/dy, E'/E = a - x.
    Tail tail(double y) const {
        const double a = shape_.a, x = exp(y);
        const bool upper = !(x < a + 1.0);
        const double ratio = upper ? rough_fraction(a, x) : rough_series(a, x);
        return {upper, a * y - x - shape_.ln_gamma + log(ratio), ratio, a - x, -x};
    }

    Local local(double x) const { return local(x, !(x < shape_.a + 1.0)); }

    Local local(double x, bool upper) const {
        const double a = shape_.a, power = a * log(x), difference = power - x;
        const double exponent = difference - shape_.ln_gamma, front = exp(exponent);
        const double f = upper ? gamma_fraction(a, x) : gamma_series(a, x);
        const double ga = __builtin_fabs(a - 1.0) + 1.0, G = ga + x;
        Local at;
        at.upper = upper;
        at.e = f * front;
        at.scale = x;
        at.slope = front;
        at.curvature = a - 1.0 - x;
        at.bend = 2.0 * G * G + ga;
        // The exponent (a logarithm, a product, two differences), the exponential, the last product; then the sums: the
        // worst errors found against 113-bit arithmetic were 34 eps (4 + a f) / 81 and 3.1 x f eps, shapes 10^-4 ..
        // 10^5.
        const double sums = upper ? 16.0 * x * f : 2.0 * a * f;
        at.margin = eps * (1.25 * __builtin_fabs(power) +
                           0.6 * (__builtin_fabs(difference) + __builtin_fabs(exponent)) + 16.0 + sums);
        at.blur = 0.0;
        at.jump = 0x1p-44 * (__builtin_fabs(shape_.ln_gamma) + 8.0 + a * (2.0 + log(1.0 + a))) * (1.0 + 1.0 / a);
        return at;
    }

    const GammaShape &shape() const { return shape_; }

private:
    const GammaShape &shape_;
};

struct Target {
    double ln_p, ln_q;
};

// First guess of ln x: the leading terms of the series, of the upper tail, or Wilson and Hilferty's cube (1931).
double first_guess(const GammaShape &shape, const Target &target) {
    const double a = shape.a;
    const double ln_x = (target.ln_p + log(a) + shape.ln_gamma) / a;
    if (ln_x < 1.0 && exp(ln_x) < 0.4 * (a + 1.0)) return ln_x + exp(ln_x) / (a + 1.0);
    const double z = rough_normal_quantile(target.ln_p, target.ln_q);
    const double root = 1.0 - 1.0 / (9.0 * a) + z / (3.0 * __builtin_sqrt(a));
    if (a > 0.5 && root > 0.2) return log(a) + 3.0 * log(root);
    const double tail = -target.ln_q - shape.ln_gamma; // x - (a - 1) ln x there
    if (tail > 1.0) return log(tail + (a - 1.0) * log(tail));
    return ln_x < 0.0 ? ln_x : log(a + 1.0);
}

// x near the root; NaN when none is found.
double search(const GammaFunction &P, const Target &target) {
    double y = first_guess(P.shape(), target);
    for (int i = 0; i < 40; i++) {
        if (!(__builtin_fabs(y) < 745.0)) return y < 0.0 ? 0.0 : y;
        const Tail tail = P.tail(y);
        const Step step = approach(tail, tail.upper ? target.ln_q : target.ln_p);
        y += step.y > 3.0 ? 3.0 : step.y;
        if (step.last) return exp(y);
    }
    return __builtin_nan("");
}

// Whether errors that grow with the distance from x cannot overtake the distance of P from p.
bool regular(const Local &at, const GammaShape &shape, double x) {
    const double threshold = 0x1p-36 * (1.0 + shape.a + x);
    return at.slope >= threshold * at.e && (!at.upper || 1.0 - at.e >= threshold);
}

// The window for an r where the exact P is nearly p - offset.
Window window_about(const GammaFunction &P, double r, double p, double offset) {
    constexpr double tiny = 0x1p-1073;
    if (r < tiny) return {-infinity, surely_above(P.local(tiny), p) ? tiny : infinity};
    for (int i = 0; i < 3; i++) {
        if (!(r >= tiny && r < 0x1p52)) return undecided;
        const Local at = P.local(r);
        if (!regular(at, P.shape(), r)) return undecided;
        const double d = (at.upper ? at.e - (1.0 - p) - offset : p - offset - at.e) / at.slope;
        if (!near_enough(at, d)) {
            r += at.scale * d;
            continue;
        }
        return window_across(P, at, r, p, P.shape().a + 1.0);
    }
    return undecided;
}

Window find_window(const GammaFunction &P, double p) {
    const double a = P.shape().a;
    if (!(a >= 1e-5)) return undecided;
    const double q = 1.0 - p, ln_p = log(p);
    if (q > 1e-6) return window_about(P, search(P, {ln_p, log(q)}), p, 0.0);
    // P = 1 - e is p on a whole interval, whose ends are roots of their own.
    const Spacing s = spacing(p);
    Window window = undecided;
    window.A = window_about(P, search(P, {ln_p, log(q + 0.5 * s.down)}), p, 0.5 * s.down).A;
    if (q > 0.5 * s.up) window.B = window_about(P, search(P, {ln_p, log(q - 0.5 * s.up)}), p, -0.5 * s.up).B;
    return window;
}

// The largest (smallest) integer of [lo, hi] found by bisection at which P is below (above) p for sure, and with it at
// all smaller (larger) arguments, whichever tail is computed there: the window where the series about the root does not
// reach as far as the errors do.
Window window_of_integers(const GammaFunction &P, double p) {
    const double a = P.shape().a, split = a + 1.0;
    const Local below_split = P.local(split, false), above_split = P.local(split, true);
    const bool lower_is_below = surely_below(below_split, p), upper_is_above = surely_above(above_split, p);
    const double doubt = p < 1e-290 ? 2.0 : 1.0; // next to subnormal numbers the errors are not relative
    const auto below = [&](double n) {
        const Local at = P.local(n);
        if (!regular(at, P.shape(), n) || !surely_below(at, p)) return false;
        return at.upper ? lower_is_below : at.e * doubt <= p;
    };
    const auto above = [&](double n) {
        const Local at = P.local(n);
        if (!regular(at, P.shape(), n) || !surely_above(at, p)) return false;
        return at.upper || (upper_is_above && at.e >= p * doubt);
    };
    const double end = __builtin_floor(2.0 * a + 4096.0); // e^-x is 0 from here on: P is 1
    double A = 0.0, B = end;
    for (double hi = end; hi - A > 1.0;) {
        const double n = __builtin_floor(A + (hi - A) / 2.0);
        (below(n) ? A : hi) = n;
    }
    for (double lo = A; B - lo > 1.0;) {
        const double n = __builtin_floor(lo + (B - lo) / 2.0);
        (above(n) ? B : lo) = n;
    }
    return {A > 0.0 ? A : -infinity, B < end ? B : infinity};
}

// The first n = 1, 2, 3, ... with P(a, n) >= p; NaN when P is. To nearest some hundred steps lead there; rounded in
// other ways P may stay below a p of 1 up to where e^-x vanishes, and larger steps end the search.
double first_reaching(const GammaFunction &P, double p, const Window &window) {
    constexpr int single_steps = 4096;
    double n = window.A >= 1.0 ? __builtin_floor(window.A) + 1.0 : 1.0; // all up to A are below
    double step = 1.0;
    for (int i = 0; n < window.B; i++, n += step) {
        const double value = gamma_value(P.shape(), n);
        if (value >= p) break;
        if (value != value) return value;
        if (n >= 0x1p53) return infinity;
        if (i >= single_steps) step *= 2.0;
    }
    return n;
}

} // namespace
} // namespace sarvo::special

using namespace sarvo::special;

extern "C" {

double sarvo_rnd_gammadf_inv(double a, double p) {
    if (p <= 0.0) return 0.0;
    if (!(p <= 1.0)) return p > 1.0 ? infinity : p;
    if (!(a > 0.0 && a < infinity)) return __builtin_nan("");
    if (a > least_large_gamma) {
        constexpr double beside = 0x1p-6; // P is 0 and 1 there
        const double hi = a * (1.0 + beside), largest = 0x1.fffffffffffffp+1023;
        return last_midpoint(a * (1.0 - beside), hi < largest ? hi : largest,
                             [&](double x) { return gamma_tails(a, x).below(p); });
    }
    const GammaShape shape(a);
    const GammaFunction P(shape);
    Window window = find_window(P, p);
    if (a > 64.0 && (window.A == undecided.A || (window.B == undecided.B && p < 1.0)))
        window = window_of_integers(P, p);
    const double n = first_reaching(P, p, window);
    return n < infinity ? bisect(P, p, n - 1.0, n, window) : n;
}

double sarvo_rnd_chi2df_inv(double k, double p) { return 2.0 * sarvo_rnd_gammadf_inv(k / 2.0, p); }

} // extern "C"
