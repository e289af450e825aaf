// Gamma(x): the factorial table, series about 1 and 2, exponentials of ln Gamma, Stirling's form, reflection.
#include "special.h"
#include "tables.h"

namespace sarvo::special {

using elementary::exp;
using elementary::pow;
using elementary::sin;

namespace {

constexpr double pi = 3.14159265358979323846;

// ln(Gamma(x) / 5040) on [5, 10] in t = (2x - 15) / 5.
constexpr double on_5_10[24] = {
    -1.5285594096661578,    4.82591523005959,        0.2277712320977615,     -0.013886766568561788,
    0.0012704876495201083,  -0.00013938412402549936, 1.697092429923227e-5,   -2.210852882021058e-6,
    3.019660285420231e-7,   -4.2705675000079116e-8,  6.20264238180514e-9,    -9.199397320888091e-10,
    1.3875551258028146e-10, -2.1218861491906788e-11, 3.282173604038144e-12,  -5.126000100995379e-13,
    8.071353255487464e-14,  -1.2798522376569208e-14, 2.04177116008525e-15,   -3.2745239502992355e-16,
    5.275941842203658e-17,  -8.535414715169523e-18,  1.3858639703888078e-18, -2.2574398807738626e-19};
constexpr sarvo_cheb_series series_5_10 = {on_5_10, 23, -1.0, 1.0};

Estimate about_1(double x) {
    const double e = x - 1.0;
    const double series =
        0.42278433509846713 +
        e * (-0.010944004672027444 +
             e * (0.0925209239191137 +
                  e * (-0.018271913165599812 +
                       e * (0.018004931096854797 + e * (-0.006850885378723807 + e * 0.003998239557568466)))));
    return {1.0 / x + e * series, SarvoDblEps};
}

Estimate about_2(double x) {
    const double e = x - 2.0;
    const double series =
        0.42278433509846713 +
        e * (0.4118403304264397 +
             e * (0.08157691924708627 +
                  e * (0.0742490107535139 +
                       e * (-0.00026698206874501475 +
                            e * (0.011154045718130992 + e * (-0.0028526458211553408 + e * 0.002103933340697388))))));
    return {1.0 + e * series, SarvoDblEps};
}

Estimate gammastar(double x) {
    const double y = 1.0 / (x * x);
    const double ser =
        (0.08333333333333333 +
         y * (-0.002777777777777778 +
              y * (0.0007936507936507937 +
                   y * (-0.0005952380952380953 +
                        y * (0.0008417508417508417 +
                             y * (-0.0019175269175269176 + y * (0.00641025641025641 + y * -0.029550653594771242))))))) /
        x;
    const double value = exp(ser);
    return {value, 2.0 * SarvoDblEps * value * (ser > 1.0 ? ser : 1.0)};
}

// 5 <= x < 10
Estimate by_series(double x) {
    const Estimate c = chebyshev(series_5_10, (2.0 * x - 15.0) / 5.0);
    const double value = exp(c.value) * 5040.0;
    return {value, value * c.error + 2.0 * SarvoDblEps * value};
}

// 10 <= x < 171; x^x would overflow, so its root is multiplied in twice.
Estimate by_stirling(double x) {
    const double p = pow(x, x / 2.0);
    const double pre = 2.5066282746310007 * (p * exp(-x)) * p / __builtin_sqrt(x); // sqrt(2 pi)
    const double value = pre * gammastar(x).value;
    return {value, (x + 2.5) * SarvoDblEps * value};
}

sarko_error_t above_half(double x, Estimate *r) {
    if (x == 0.5) {
        *r = {1.772453850905516, SarvoDblEps * 1.772453850905516}; // sqrt(pi)
    } else if (x <= 171.0 && x == __builtin_floor(x)) {
        const double value = factorials[static_cast<uint32_t>(x) - 1].value;
        *r = {value, SarvoDblEps * value};
    } else if (magnitude(x - 1.0) < 0.01) {
        *r = about_1(x);
    } else if (magnitude(x - 2.0) < 0.01) {
        *r = about_2(x);
    } else if (x < 5.0) {
        const Estimate ln = lngamma_lanczos(x);
        const double value = exp(ln.value);
        *r = {value, value * (ln.error + 2.0 * SarvoDblEps)};
    } else if (x < 10.0) {
        *r = by_series(x);
    } else if (x < 171.0) {
        *r = by_stirling(x);
    } else if (x > 171.0) {
        return fail(SarvoOverflowEC);
    } else {
        *r = {x, x}; // NaN
    }
    return 0;
}

// Gamma(x) Gamma(1 - x) = pi / sin(pi x)
sarko_error_t reflected(double x, Estimate *r) {
    const double nearest = __builtin_floor(x + 0.5);
    const bool odd = 0.5 * nearest != __builtin_floor(0.5 * nearest);
    const double sine = sin(pi * (x - nearest)) / pi;
    const double sin_term = odd ? -sine : sine;
    if (sin_term == 0.0) return fail(SarvoDomainEC);
    if (x > -169.0) {
        Estimate g;
        if (sarko_error_t e = above_half(1.0 - x, &g)) return e;
        if (!(magnitude(sin_term) * g.value * SarvoDblXmin < 1.0)) return fail(SarvoUnderflowEC);
        const double value = 1.0 / (sin_term * g.value);
        *r = {value, magnitude(value) * (g.error / g.value) + 2.0 * SarvoDblEps * magnitude(value)};
        return 0;
    }
    Estimate ln;
    double sign;
    if (sarko_error_t e = lngamma(x, &ln, &sign)) return e;
    return exp_mult(ln.value, ln.error, sign, 0.0, r);
}

} // namespace
} // namespace sarvo::special

using namespace sarvo::special;

extern "C" {

sarko_error_t gamma_xgthalf(double *value, double *error, double x) {
    Estimate r;
    if (sarko_error_t e = above_half(x, &r)) return e;
    deliver(r, value, error);
    return 0;
}

sarko_error_t sarvo_gamma_f(double *value, double *error, double x) {
    Estimate r;
    if (sarko_error_t e = x >= 0.5 ? above_half(x, &r) : reflected(x, &r)) return e;
    deliver(r, value, error);
    return 0;
}

void gammastar_ser(double *value, double *error, double x) { deliver(gammastar(x), value, error); }

} // extern "C"
