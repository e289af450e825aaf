// ln |Gamma(x)| with its sign: rational forms about 1 and 2, Lanczos' sum, reflection, series about the poles.
#include <stdlib.h>

#include "special.h"
#include "tables.h"

namespace sarvo::special {

using elementary::log;
using elementary::sin;

namespace {

constexpr double pi = 3.14159265358979323846;

// C. Lanczos, SIAM J. Numer. Anal. 1 (1964); g = 7.
constexpr double lanczos_c[9] = {0.9999999999998099,   676.5203681218851,    -1259.1392167224028,
                                 771.3234287776531,    -176.6150291621406,   12.507343278686905,
                                 -0.13857109526572012, 9.984369578019572e-6, 1.5056327351493116e-7};

// ln Gamma(x0 + e) = e (c (e + a1)(e + a2) / ((e + b1)(e + b2)) + e^5 P(e)), x0 = 1 or 2.
struct RationalForm {
    double a1, a2, b1, b2, c;
    double p[5];
};
constexpr RationalForm about_1 = {
    -1.001741928234951,
    1.736483920992288,
    1.2433006018858752,
    5.045627410027401,
    2.081626518866269,
    {0.004785324257581753, -0.01192457083645441, 0.01931961413960498, -0.0259402739872502, 0.03141928755021455}};
constexpr RationalForm about_2 = {
    1.0008958347866692,
    4.209376735287755,
    2.618851904903217,
    10.857665599009835,
    2.853379987657819,
    {0.0001139406357036744, -0.0001365435269792533, 0.0001067287169183665, -6.93271800931282e-5, 4.0722092786795e-5}};

// c[0] + e (c[1] + ... ), by Horner's rule.
template <int n> double polynomial(const double (&c)[n], double e) {
    double sum = c[n - 1];
    for (int k = n - 2; k >= 0; k--) sum = c[k] + e * sum;
    return sum;
}

Estimate about_zero(const RationalForm &form, double e) {
    const double rational = form.c * (e + form.a1) * (e + form.a2) / ((e + form.b1) * (e + form.b2));
    const double e5 = e * e * e * e * e;
    const double value = e * (rational + e5 * polynomial(form.p, e));
    return {value, 2.0 * SarvoDblEps * magnitude(value)};
}

// Series about the pole at 0 of Gamma(x) - 1/(1 + x) / x - 1/2.
constexpr double near_0[10] = {
    -0.07721566490153287,  -0.010944004672027444, 0.0925209239191137,    -0.018271913165599812, 0.018004931096854797,
    -0.006850885378723807, 0.003998239557568466,  -0.001894306216871078, 0.0009747323780451322, -0.0004843439272225589};

Estimate about_pole_0(double x) {
    const double g = x * polynomial(near_0, x);
    const double gee = g + 1.0 / (1.0 + x) + 0.5 * x;
    const double value = log(gee / magnitude(x));
    return {value, 4.0 * SarvoDblEps * magnitude(value)};
}

constexpr double near_minus_1[10] = {0.07721566490153287,    0.0881596695735603,    -0.0043612543455534055,
                                     0.013910658820046407,   -0.004094272276808391, 0.002756613101915416,
                                     -0.0012416264556530502, 0.0006526797612180278, -0.0003220526168271044,
                                     0.00016229131039545457};

Estimate about_pole_1(double e) {
    const double g = e * polynomial(near_minus_1, e);
    const double gam_e = g - 1.0 - 0.5 * e * (1.0 + 3.0 * e) / (1.0 - e * e);
    const double value = log(magnitude(gam_e) / magnitude(e));
    return {value, 2.0 * SarvoDblEps * magnitude(value)};
}

// sin(pi e) / (pi e) in e^2.
constexpr double sine_series[6] = {
    1.0, -1.6449340668482264, 0.8117424252833536, -0.19075182412208422, 0.0261478478176548, -0.0023460810354558235};

// Gamma(-N + e) = pi / (sin(pi (-N + e)) Gamma(N + 1 - e)), the last by Taylor's series about N + 1; higher terms only
// where e is large enough for them to show.
sarko_error_t about_pole_N(int32_t N, double e, Estimate *r) {
    static constexpr double above[5] = {1e-05, 0.0002, 0.001, 0.005, 0.01};
    static constexpr double divisor[5] = {6.0, 24.0, 120.0, 720.0, 5040.0};
    const double n1 = static_cast<double>(N) + 1.0;
    const Estimate c0 = ln_factorial(static_cast<double>(N));
    double c[8] = {c0.value, psi_integer(n1).value, psi1_integer(n1).value / 2.0, 0.0, 0.0, 0.0, 0.0, 0.0};
    for (int32_t k = 0; k < 5; k++) {
        if (!(magnitude(e) > above[k])) break;
        Estimate derivative;
        if (sarko_error_t failure = polygamma(k + 2, n1, &derivative)) return failure;
        c[k + 3] = derivative.value / divisor[k];
    }
    double lng = c[7];
    for (int k = 6; k >= 0; k--) lng = c[k] - e * lng;
    const double g = -lng - log(polynomial(sine_series, e * e));
    const double value = g - log(magnitude(e));
    *r = {value, c0.error + 2.0 * SarvoDblEps * (magnitude(g) + magnitude(value))};
    return 0;
}

sarko_error_t about_pole(int32_t N, double e, Estimate *r, double *sign) {
    if (e == 0.0 || N < 0) return fail(SarvoDomainEC);
    if (N == 1) *r = about_pole_1(e);
    else if (sarko_error_t failure = about_pole_N(N, e, r)) return failure;
    *sign = (N % 2 ? -1.0 : 1.0) * (e > 0.0 ? 1.0 : -1.0);
    return 0;
}

sarko_error_t reflected(double x, Estimate *r, double *sign) {
    const double z = 1.0 - x;
    const double s = sin(pi * z);
    const double as = magnitude(s);
    if (s == 0.0) return fail(SarvoDomainEC);
    if (as < 0.047123889803846894) { // 0.015 pi
        if (x < -2147483646.0) return fail(SarvoRoundEC);
        const int32_t N = -static_cast<int32_t>(x - 0.5);
        return about_pole(N, x + static_cast<double>(N), r, sign);
    }
    const Estimate lanczos = lngamma_lanczos(z);
    const double value = 1.1447298858494002 - (log(as) + lanczos.value); // ln pi
    *r = {value, lanczos.error + 2.0 * SarvoDblEps * magnitude(value)};
    *sign = s > 0.0 ? 1.0 : -1.0;
    return 0;
}

} // namespace

Estimate lngamma_lanczos(double x) {
    const double z = x - 1.0;
    double term[9];
    for (int k = 1; k <= 8; k++) term[k] = lanczos_c[k] / (z + k);
    double Ag = lanczos_c[0];
    for (int k = 1; k <= 8; k++) Ag += term[k];
    const double term1 = (z + 0.5) * log((z + 7.5) / 2.718281828459045);
    const double term2 = 0.9189385332046728 + log(Ag);
    const double value = term1 + (term2 - 7.0);
    return {value, 2.0 * SarvoDblEps * (magnitude(term1) + magnitude(term2) + 7.0) + SarvoDblEps * magnitude(value)};
}

Estimate ln_factorial(double n) {
    if (n > static_cast<double>(largest_factorial)) return lngamma_lanczos(n + 1.0); // its form of ln Gamma
    const double value = log(factorials[static_cast<uint32_t>(n)].value);
    return {value, 2.0 * SarvoDblEps * magnitude(value)};
}

sarko_error_t lngamma(double x, Estimate *r, double *sign) {
    *sign = 1.0;
    if (magnitude(x - 1.0) < 0.01 || magnitude(x - 2.0) < 0.01) {
        const bool first = x < 1.5;
        const double e = x - (first ? 1.0 : 2.0);
        *r = about_zero(first ? about_1 : about_2, e);
        r->error *= 1.0 / (magnitude(e) + SarvoDblEps);
        return 0;
    }
    if (x >= 0.5) {
        *r = lngamma_lanczos(x);
        return 0;
    }
    if (x == 0.0) return fail(SarvoDomainEC);
    if (magnitude(x) < 0.02) {
        *r = about_pole_0(x);
        *sign = x >= 0.0 ? 1.0 : -1.0;
        return 0;
    }
    if (x <= -0.5 / (SarvoDblEps * pi)) return fail(SarvoRoundEC);
    return reflected(x, r, sign);
}

} // namespace sarvo::special

using namespace sarvo::special;

extern "C" {

sarko_error_t sarvo_lnfact_f(uint32_t n, double *value, double *error) {
    deliver(ln_factorial(static_cast<double>(n)), value, error);
    return 0;
}

sarko_error_t sarvo_lngamma_f(double *value, double *error, double *sign, double x) {
    Estimate r;
    double s = 0.0;
    if (sarko_error_t e = lngamma(x, &r, &s)) return e;
    deliver(r, value, error);
    if (sign) *sign = s;
    return 0;
}

double sarvo_lngamma(double x) {
    Estimate r;
    double sign;
    if (sarko_error_t e = lngamma(x, &r, &sign)) {
        sarko_error_clear(sarko_error_handle(e, sarko_error_stdhandler, stderr));
        abort();
    }
    return r.value;
}

void lngamma_1_pade(double *value, double *error, double e) { deliver(about_zero(about_1, e), value, error); }
void lngamma_2_pade(double *value, double *error, double e) { deliver(about_zero(about_2, e), value, error); }
void lngamma_lanczos(double *value, double *error, double x) {
    deliver(sarvo::special::lngamma_lanczos(x), value, error);
}

void lngamma_sgn_0(double *value, double *error, double *sign, double x) {
    deliver(about_pole_0(x), value, error);
    if (sign) *sign = x >= 0.0 ? 1.0 : -1.0;
}

sarko_error_t lngamma_sgn_sing(int32_t N, double e, double *value, double *error, double *sign) {
    Estimate r;
    double s = 0.0;
    if (sarko_error_t failure = about_pole(N, e, &r, &s)) return failure;
    deliver(r, value, error);
    if (sign) *sign = s;
    return 0;
}

} // extern "C"
