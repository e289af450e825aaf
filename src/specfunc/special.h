// The special functions as the library calls them among themselves: value and error together, no pointers to check.
#pragma once

#include <sarvo/specfunc.h>

#include "core/elementary.h"
#include "core/fail.h"

namespace sarvo::special {

struct Estimate {
    double value = 0.0;
    double error = 0.0; // absolute
};

inline void deliver(const Estimate &r, double *value, double *error) {
    *value = r.value;
    if (error) *error = r.error;
}

inline double magnitude(double x) { return __builtin_fabs(x); }

// The series at x. Without the error estimate the recurrence alone: half of the work.
template <bool with_error = true> inline Estimate chebyshev(const sarvo_cheb_series &series, double x) {
    const double y = (2.0 * x - series.a - series.b) / (series.b - series.a);
    const double y2 = 2.0 * y;
    double d = 0.0, dd = 0.0, e = 0.0;
#pragma GCC unroll 24
    for (int32_t j = series.order; j >= 1; j--) {
        const double before = d;
        d = y2 * d - dd + series.c[j];
        if (with_error) e += magnitude(y2 * before) + magnitude(dd) + magnitude(series.c[j]);
        dd = before;
    }
    const double value = y * d - dd + 0.5 * series.c[0];
    if (!with_error) return {value, 0.0};
    e += magnitude(y * d) + magnitude(dd) + 0.5 * magnitude(series.c[0]);
    return {value, SarvoDblEps * e + magnitude(series.c[series.order])};
}

sarko_error_t exp_mult(double x, double dx, double y, double dy, Estimate *r);

Estimate lngamma_lanczos(double x);
sarko_error_t lngamma(double x, Estimate *r, double *sign);
Estimate ln_factorial(double n); // n a non-negative integer

Estimate psi_integer(double n); // n a positive integer
Estimate psi1_integer(double n);
sarko_error_t polygamma(int32_t n, double x, Estimate *r); // n > 1, x > 0

} // namespace sarvo::special
