// The distributions of `sarvo dist`.
#include "special/distributions.h"

#include <cmath>
#include <limits>

#include <sarvo/rnd.h>
#include <sarvo/specfunc.h>

#include "elementary.h"
#include "special/special_functions.h"

namespace command {
namespace {

namespace el = elementary;
using Parameters = std::span<const double>;

constexpr double infinity = std::numeric_limits<double>::infinity();

// The upper tail of the gamma distribution, small ones to full accuracy.
double gamma_upper(double a, double x) {
    if (x <= 0.0) return 1.0;
    return x < a + 1.0 ? 1.0 - sarvo_rnd_gammadf_value(a, x) : sarvo_rnd_gammadf_fraction(a, x);
}

// I_x(a, b) with y = 1 - x, which may be known better.
double beta_lower(double a, double b, double x, double y) {
    if (x <= 0.0) return 0.0;
    if (y <= 0.0) return 1.0;
    return x < (1.0 + a) / (a + b + 2.0) ? sarvo_rnd_betadf_fraction(a, b, x)
                                         : 1.0 - sarvo_rnd_betadf_fraction(b, a, y);
}

// ---- Normal: |Z|^2 / 2 has a gamma distribution of shape 1/2 ----

double normal_tail(double z) { return 0.5 * gamma_upper(0.5, 0.5 * z * z); } // P(Z > z), z >= 0
double normal_lower(Parameters p, double x) {
    const double z = (x - p[0]) / p[1];
    return z < 0.0 ? normal_tail(-z) : 1.0 - normal_tail(z);
}
double normal_upper(Parameters p, double x) {
    const double z = (x - p[0]) / p[1];
    return z > 0.0 ? normal_tail(z) : 1.0 - normal_tail(-z);
}
// The z >= 0 whose tail is q <= 1/2, by bisection to the last bit.
double normal_tail_inverse(double q) {
    if (q == 0.0) return infinity;
    double lo = 0.0, hi = 40.0;
    for (double z = 20.0; z > lo && z < hi; z = 0.5 * (lo + hi)) (normal_tail(z) > q ? lo : hi) = z;
    return hi;
}
double normal_quantile(Parameters p, double q) {
    if (q == 0.5) return p[0];
    return q < 0.5 ? p[0] - p[1] * normal_tail_inverse(q) : p[0] + p[1] * normal_tail_inverse(1.0 - q);
}

// ---- Student: w = nu / (nu + t^2) has a beta distribution ----

double student_tail(double nu, double t) { // P(T > t), t >= 0
    const double square = t * t;
    return 0.5 * beta_lower(0.5 * nu, 0.5, nu / (nu + square), square / (nu + square));
}
double student_lower(Parameters p, double t) { return t < 0.0 ? student_tail(p[0], -t) : 1.0 - student_tail(p[0], t); }
double student_upper(Parameters p, double t) { return t > 0.0 ? student_tail(p[0], t) : 1.0 - student_tail(p[0], -t); }
double student_tail_inverse(double nu, double q) {
    if (q == 0.0) return infinity;
    if (q > 0.25) return std::fabs(sarvo_rnd_studentdf_inv(nu, 1.0 - 2.0 * q)); // two-sided
    const double w = sarvo_rnd_betadf_inv(0.5 * nu, 0.5, 2.0 * q);
    return el::sqrt(nu * (1.0 - w) / w);
}
double student_quantile(Parameters p, double q) {
    if (q == 0.5) return 0.0;
    return q < 0.5 ? -student_tail_inverse(p[0], q) : student_tail_inverse(p[0], 1.0 - q);
}

const Distribution table[] = {
    {"normal",
     {"mean", "sd"},
     "normal of a mean and standard deviation",
     [](Parameters p, double x) { return sarvo_rnd_gauss_df(x - p[0], p[1]); },
     normal_lower,
     normal_upper,
     normal_quantile},
    {"student",
     {"nu"},
     "Student's t with nu degrees of freedom",
     [](Parameters p, double t) {
         const double nu = p[0];
         return el::exp(special::lngamma(0.5 * (nu + 1.0)) - special::lngamma(0.5 * nu) -
                        0.5 * (nu + 1.0) * el::log1p(t * t / nu)) /
                el::sqrt(nu * 3.141592653589793);
     },
     student_lower,
     student_upper,
     student_quantile},
    {"chi2",
     {"k"},
     "chi-square with k degrees of freedom",
     [](Parameters p, double x) {
         const double a = 0.5 * p[0];
         return x < 0.0 ? 0.0 : 0.5 * el::exp((a - 1.0) * el::log(0.5 * x) - 0.5 * x - special::lngamma(a));
     },
     [](Parameters p, double x) { return sarvo_rnd_chi2df(p[0], x); },
     [](Parameters p, double x) { return gamma_upper(0.5 * p[0], 0.5 * x); },
     [](Parameters p, double q) { return q == 1.0 ? infinity : sarvo_rnd_chi2df_inv(p[0], q); }},
    {"f",
     {"d1", "d2"},
     "F with d1 and d2 degrees of freedom",
     [](Parameters p, double x) {
         const double a = 0.5 * p[0], b = 0.5 * p[1];
         return x < 0.0
                    ? 0.0
                    : el::exp(special::lngamma(a + b) - special::lngamma(a) - special::lngamma(b) +
                              a * el::log(p[0] / p[1]) + (a - 1.0) * el::log(x) - (a + b) * el::log1p(p[0] * x / p[1]));
     },
     [](Parameters p, double x) { // not as 1 - the other tail
         const double u = p[0] * x, sum = u + p[1];
         return x <= 0.0 ? 0.0 : beta_lower(0.5 * p[0], 0.5 * p[1], u / sum, p[1] / sum);
     },
     [](Parameters p, double x) {
         const double u = p[0] * x, sum = u + p[1];
         return x <= 0.0 ? 1.0 : beta_lower(0.5 * p[1], 0.5 * p[0], p[1] / sum, u / sum);
     },
     [](Parameters p, double q) { return sarvo_rnd_fdf_inv(p[0], p[1], q); }},
    {"beta",
     {"a", "b"},
     "beta of shapes a and b",
     [](Parameters p, double x) {
         return x < 0.0 || x > 1.0
                    ? 0.0
                    : el::exp(special::lngamma(p[0] + p[1]) - special::lngamma(p[0]) - special::lngamma(p[1]) +
                              (p[0] - 1.0) * el::log(x) + (p[1] - 1.0) * el::log1p(-x));
     },
     [](Parameters p, double x) { return sarvo_rnd_betadf_value(p[0], p[1], x); },
     [](Parameters p, double x) { return beta_lower(p[1], p[0], 1.0 - x, x); },
     [](Parameters p, double q) { return sarvo_rnd_betadf_inv(p[0], p[1], q); }},
    {"gamma",
     {"a"},
     "gamma of shape a",
     [](Parameters p, double x) {
         return x < 0.0 ? 0.0 : el::exp((p[0] - 1.0) * el::log(x) - x - special::lngamma(p[0]));
     },
     [](Parameters p, double x) { return sarvo_rnd_gammadf_value(p[0], x); },
     [](Parameters p, double x) { return gamma_upper(p[0], x); },
     [](Parameters p, double q) { return q == 1.0 ? infinity : sarvo_rnd_gammadf_inv(p[0], q); }},
};

} // namespace

std::span<const Distribution> distributions() { return table; }

} // namespace command
