// Digamma, trigamma and polygamma functions.
#include "hzeta.h"
#include "special.h"
#include "tables.h"

namespace sarvo::special {

using elementary::cos;
using elementary::log;
using elementary::sin;

namespace {

constexpr double pi = 3.14159265358979323846;

// psi on [1, 2] in t = 2(x - 1) - 1.
constexpr double on_1_2[23] = {-0.03805708083521792,
                               0.49141539302938714,
                               -0.05681574782124473,
                               0.008357821225914313,
                               -0.001333232857994342,
                               0.000220313287069308,
                               -3.7040238178456e-05,
                               6.283793654854e-06,
                               -1.071263908506e-06,
                               1.83128394654e-07,
                               -3.1353509361e-08,
                               5.372808776e-09,
                               -9.21168141e-10,
                               1.57981265e-10,
                               -2.7098646e-11,
                               4.648722e-12,
                               -7.97527e-13,
                               1.36827e-13,
                               -2.3475e-14,
                               4.027e-15,
                               -6.91e-16,
                               1.18e-16,
                               -2e-17};
constexpr sarvo_cheb_series series_1_2 = {on_1_2, 22, -1.0, 1.0};

// psi(x) - ln|x| + 1/(2x), |x| >= 2, in t = 8/x^2 - 1.
constexpr double beyond_2[16] = {-0.0204749044678185,
                                 -0.0101801271534859,
                                 5.59718725387e-05,
                                 -1.291717657e-06,
                                 5.72858606e-08,
                                 -3.8213539e-09,
                                 3.397434e-10,
                                 -3.74838e-11,
                                 4.899e-12,
                                 -7.344e-13,
                                 1.233e-13,
                                 -2.28e-14,
                                 4.5e-15,
                                 -9e-16,
                                 2e-16,
                                 0.0};
constexpr sarvo_cheb_series series_beyond_2 = {beyond_2, 15, -1.0, 1.0};

template <bool with_error> inline Estimate asymptotic(double x) {
    const Estimate c = chebyshev<with_error>(series_beyond_2, 8.0 / (x * x) - 1.0);
    if (x >= 0.0) {
        const double value = log(x) - 0.5 / x + c.value;
        return {value, c.error + magnitude(value) * SarvoDblEps};
    }
    const double s = sin(pi * x);
    const double value = log(magnitude(x)) - 0.5 / x + c.value - pi * cos(pi * x) / s;
    return {value, c.error + magnitude(x) * pi * SarvoDblEps / (s * s) + magnitude(value) * SarvoDblEps};
}

// psi(x) = psi(x + shift) - 1/x - ... - 1/(x + shift - 1), 1 <= x + shift < 2: the series, then the terms in this
// order.
template <bool with_error, int shift> inline Estimate shifted(double x) {
    Estimate r = chebyshev<with_error>(series_1_2, 2.0 * (x + (shift - 1)) - 1.0);
    for (int k = 0; k < shift; k++) {
        const double term = 1.0 / (x + k);
        r.value -= term;
        r.error += magnitude(term) * SarvoDblEps;
    }
    r.error += magnitude(r.value) * SarvoDblEps;
    return r;
}

// Poles that psi and psi' refuse by name; further down the formulas stand as they are.
bool named_pole(double x) { return x <= 0.0 && (x == 0.0 || x == -1.0 || x == -2.0); }

template <bool with_error> inline Estimate digamma(double x) {
    if (magnitude(x) >= 2.0) return asymptotic<with_error>(x);
    if (x >= 1.0) return shifted<with_error, 0>(x);
    if (x > 0.0) return shifted<with_error, 1>(x);
    if (x > -1.0) return shifted<with_error, 2>(x);
    return shifted<with_error, 3>(x);
}

// exp(0) zeta(2, x) with its error, x > 0: exp_mult's product where exp(0) = 1 leaves zeta as it is.
sarko_error_t inverse_squares(double x, Estimate *r) {
    Estimate zeta;
    if (sarko_error_t e = hurwitz_zeta(2.0, x, &zeta)) return e;
    if (!(zeta.value < 0.8 * SarvoDblSqrtXmax && zeta.value > 1.2 * SarvoDblSqrtXmin))
        return exp_mult(0.0, 0.0, zeta.value, zeta.error, r);
    *r = {zeta.value, zeta.error + 2.0 * SarvoDblEps * zeta.value};
    return 0;
}

sarko_error_t trigamma(double x, Estimate *r) {
    if (named_pole(x)) return fail(SarvoDomainEC);
    if (x > 0.0) return inverse_squares(x, r);
    Estimate zeta;
    if (x <= -5.0) {
        const double s = sin(pi * x);
        const double first = 9.869604401089358 / (s * s); // pi^2
        if (sarko_error_t e = inverse_squares(1.0 - x, &zeta)) return e;
        *r = {first - zeta.value, first * 2.0 * SarvoDblEps + zeta.error};
        return 0;
    }
    if (x != x) {
        *r = {x, x};
        return 0;
    }
    const int M = -static_cast<int>(__builtin_floor(x));
    if (x + M == 0.0) return fail(SarvoDomainEC);
    const auto square = [x](int k) { return (x + k) * (x + k); };
    double fact = 0.0;
    int k = 0;
    for (; k + 1 < M; k += 2) fact += 1.0 / square(k) + 1.0 / square(k + 1);
    if (k < M) fact += 1.0 / square(k);
    if (sarko_error_t e = inverse_squares(x + M, &zeta)) return e;
    *r = {zeta.value + fact, zeta.error + fact * M * SarvoDblEps};
    return 0;
}

} // namespace

Estimate psi_integer(double n) {
    if (n <= static_cast<double>(largest_psi)) {
        const double value = psi_at_integer[static_cast<int32_t>(n)];
        return {value, magnitude(value) * SarvoDblEps};
    }
    const double t = 1.0 / (n * n);
    const double c =
        (((t * 0.004166666666666667 - 0.003968253968253968) * t + 0.008333333333333333) * t - 0.08333333333333333) * t;
    const double ln = log(n);
    const double value = ln - 0.5 / n + c;
    return {value, (magnitude(c) + magnitude(0.5 / n) + magnitude(ln)) * SarvoDblEps + magnitude(value) * SarvoDblEps};
}

Estimate psi1_integer(double n) {
    if (n <= static_cast<double>(largest_psi)) {
        const double value = psi1_at_integer[static_cast<int32_t>(n)];
        return {value, value * SarvoDblEps};
    }
    const double t = 1.0 / (n * n);
    const double c = t * t * (-0.03333333333333333 + t * (0.023809523809523808 + t * -0.03333333333333333));
    const double value = (1.0 + 0.5 / n + 1.0 / (6.0 * n * n) + c) / n;
    return {value, value * SarvoDblEps};
}

sarko_error_t polygamma(int32_t n, double x, Estimate *r) {
    Estimate hz;
    const double order = static_cast<double>(n);
    if (sarko_error_t e = hurwitz_zeta(order + 1.0, x, &hz)) return e;
    const Estimate ln = ln_factorial(order);
    if (sarko_error_t e = exp_mult(ln.value, ln.error, hz.value, hz.error, r)) return e;
    if (n % 2 == 0) r->value = -r->value;
    return 0;
}

} // namespace sarvo::special

using namespace sarvo::special;

namespace {

sarko_error_t deliver_unless(sarko_error_t e, const Estimate &r, double *value, double *error) {
    if (!e) deliver(r, value, error);
    return e;
}

} // namespace

extern "C" {

sarko_error_t sarvo_psi_int_e(int32_t n, double *value, double *error) {
    if (n <= 0) return sarvo::fail(SarvoDomainEC);
    deliver(psi_integer(static_cast<double>(n)), value, error);
    return 0;
}

sarko_error_t sarvo_psi1_int_e(int32_t n, double *value, double *error) {
    if (n <= 0) return sarvo::fail(SarvoDomainEC);
    deliver(psi1_integer(static_cast<double>(n)), value, error);
    return 0;
}

sarko_error_t sarvo_psi_e(double x, double *value, double *error) {
    if (named_pole(x)) return sarvo::fail(SarvoDomainEC);
    if (error) deliver(digamma<true>(x), value, error);
    else *value = digamma<false>(x).value;
    return 0;
}

sarko_error_t sarvo_psi1_e(double x, double *value, double *error) {
    Estimate r;
    const sarko_error_t e = trigamma(x, &r);
    return deliver_unless(e, r, value, error);
}

sarko_error_t psi_n_xg0(int32_t n, double x, double *value, double *error) {
    Estimate r;
    const sarko_error_t e = polygamma(n, x, &r);
    return deliver_unless(e, r, value, error);
}

sarko_error_t sarvo_psin_e(int32_t n, double x, double *value, double *error) {
    if (n == 0) return sarvo_psi_e(x, value, error);
    if (n == 1) return sarvo_psi1_e(x, value, error);
    if (n < 0 || x <= 0.0) return sarvo::fail(SarvoDomainEC);
    return psi_n_xg0(n, x, value, error);
}

} // extern "C"
