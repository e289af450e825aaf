// The two kernels of the special functions: a Chebyshev series, and exp(x) y with errors.
#include "special.h"

namespace sarvo::special {

using elementary::exp;
using elementary::log;

sarko_error_t exp_mult(double x, double dx, double y, double dy, Estimate *r) {
    const double ay = magnitude(y);
    if (y == 0.0) {
        *r = {0.0, magnitude(dy * exp(x))};
        return 0;
    }
    if (x < 0.5 * SarvoDblLnXmax && x > 0.5 * SarvoDblLnXmin && ay < 0.8 * SarvoDblSqrtXmax &&
        ay > 1.2 * SarvoDblSqrtXmin) {
        const double ex = exp(x);
        const double value = y * ex;
        *r = {value, ex * (magnitude(dx * y) + magnitude(dy)) + 2.0 * SarvoDblEps * magnitude(value)};
        return 0;
    }
    const double ly = log(ay);
    const double lnr = x + ly;
    if (lnr > SarvoDblLnXmax - 0.01) return fail(SarvoOverflowEC);
    if (lnr < SarvoDblLnXmin + 0.01) return fail(SarvoUnderflowEC);
    const double M = __builtin_floor(x), N = __builtin_floor(ly);
    const double eMN = exp(M + N), eab = exp((x - M) + (ly - N));
    // Each term from left to right: eMN eab by itself rounds, and underflows, in other places.
    const double error = 2.0 * SarvoDblEps * eMN * eab + magnitude(dx) * eMN * eab + magnitude(dy / y) * eMN * eab;
    *r = {(y > 0.0 ? eMN : -eMN) * eab, error};
    return 0;
}

} // namespace sarvo::special

using namespace sarvo::special;

extern "C" {

sarko_error_t cheb_eval_e(const sarvo_cheb_series *series, double *value, double *error, double x) {
    deliver(error ? chebyshev(*series, x) : chebyshev<false>(*series, x), value, error);
    return 0;
}

sarko_error_t sarvo_exp_mult_err_e(double *value, double *error, double x, double dx, double y, double dy) {
    Estimate r;
    if (sarko_error_t e = exp_mult(x, dx, y, dy, &r)) return e;
    deliver(r, value, error);
    return 0;
}

} // extern "C"
