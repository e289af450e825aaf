// Incomplete gamma and beta functions of large shapes by their uniform expansions (N. M. Temme 1979, 1982): a normal
// distribution of eta, the square root of the exponent, and one correction.
#include "large_shapes.h"

#include "core/elementary.h"
#include "gamma_distribution.h"

namespace sarvo::special {

using elementary::exp;
using elementary::log;

namespace {

constexpr double underflows = 750.0; // exp(-this) is 0
constexpr double root_2_pi = 2.5066282746310007;

// t - ln(1 + t), t >= -1. Small t: with s = t / (2 + t) the logarithm is 2 (s + s^3/3 + s^5/5 + ...), so what is left
// is t s - 2 s^3 (1/3 + s^2/5 + ...); |s| < 0.18, and the term after the last kept is below 2^-53.
double excess(double t) {
    if (!(__builtin_fabs(t) < 0.3)) return t - log(1.0 + t);
    const double s = t / (2.0 + t), s2 = s * s;
    double sum = 0.0;
    for (int k = 23; k >= 3; k -= 2) sum = sum * s2 + 1.0 / k;
    return t * s - 2.0 * s * s2 * sum;
}

// The tails where the exponent is -D on the side of `above` the centre, and the correction is added to the upper one:
// erfc(sqrt(D)) / 2 is half of Q(1/2, D).
Tails around_normal(bool above, double D, double correction) {
    if (!(D < underflows)) return D != D ? Tails{D, D} : above ? Tails{1.0, 0.0} : Tails{0.0, 1.0};
    const GammaShape shape(0.5);
    const double half = 0.5 * (D < 1.5 ? 1.0 - gamma_value(shape, D) : gamma_upper(shape, D));
    const double rest = exp(-D) * correction;
    if (above) return {1.0 - (half + rest), half + rest};
    return {half - rest, 1.0 - (half - rest)};
}

double square_root(double x) { return __builtin_sqrt(x); }

// ln(1 - t), 0 <= t < 1.
double log_of_rest(double t) {
    if (t >= 0x1p-10) return log(1.0 - t);
    return -(t + t * t * (0.5 + t * (1.0 / 3.0 + t * (0.25 + t * (0.2 + t / 6.0)))));
}

// A normal distribution of both shapes, b >= 10^5 and a >= b or the other way round. With n = a + b, x0 = a / n,
// y0 = b / n the exponent is a excess((x - x0) / x0) + b excess((y - y0) / y0) = n eta^2 / 2, and the correction
// 1 / w - 1 / eta, w = (x - x0) / sqrt(x0 y0); at w = 0 its limit.
Tails both_large(double a, double b, double x) {
    const double scale = a > b ? a : b, ra = a / scale, rb = b / scale; // a + b must not overflow
    const double sum = ra + rb, n = scale * sum;
    const double distance = (rb * x - ra * (1.0 - x)) / sum; // x - x0
    const double x0 = ra / sum, y0 = rb / sum, spread = square_root(x0 * y0);
    const double per_n = x0 * excess(distance / x0) + y0 * excess(-distance / y0);
    const double w = distance / spread, eta = square_root(2.0 * per_n);
    const double limit = (y0 - x0) / (3.0 * spread);
    const double c = __builtin_fabs(w) < 5e-8 * spread ? -limit : 1.0 / w - (w < 0.0 ? -1.0 : 1.0) / eta;
    return around_normal(w >= 0.0, n * per_n, c / (root_2_pi * square_root(n)));
}

} // namespace

// With mu = x/a - 1 the exponent is a excess(mu) = a eta^2 / 2, and the correction 1 / mu - 1 / eta by its series; eta
// is below 0.004 where the exponential is not 0, and the next correction is 10^-10 of this one.
Tails gamma_tails(double a, double x) {
    const double mu = (x - a) / a;
    const double half_square = excess(mu);
    const double root = square_root(2.0 * half_square), eta = mu < 0.0 ? -root : root;
    const double c =
        -1.0 / 3.0 +
        eta * (1.0 / 12.0 + eta * (-2.0 / 135.0 + eta * (1.0 / 864.0 + eta * (1.0 / 2835.0 - eta * 139.0 / 777600.0))));
    return around_normal(mu >= 0.0, a * half_square, c / (root_2_pi * square_root(a)));
}

// One shape below 10^5: -T ln of the other one's argument has nearly a gamma distribution, T its shape plus half of
// (the small one - 1); relative errors of some (small / large)^2 / 12.
Tails beta_tails(double a, double b, double x) {
    const bool a_is_small = a < b;
    const double small = a_is_small ? a : b, large = a_is_small ? b : a;
    if (small >= 1e5) return both_large(a, b, x);
    const double u = (large + 0.5 * (small - 1.0)) * -(a_is_small ? log_of_rest(x) : log(x));
    const GammaShape shape(small);
    const double lower = gamma_value(shape, u), upper = u < small + 1.0 ? 1.0 - lower : gamma_upper(shape, u);
    return a_is_small ? Tails{lower, upper} : Tails{upper, lower};
}

} // namespace sarvo::special
