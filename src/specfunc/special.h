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

Estimate chebyshev(const sarvo_cheb_series &series, double x);
sarko_error_t exp_mult(double x, double dx, double y, double dy, Estimate *r);

Estimate lngamma_lanczos(double x);
sarko_error_t lngamma(double x, Estimate *r, double *sign);
Estimate ln_factorial(double n); // n a non-negative integer

Estimate psi_integer(double n); // n a positive integer
Estimate psi1_integer(double n);
sarko_error_t polygamma(int32_t n, double x, Estimate *r); // n > 1, x > 0

} // namespace sarvo::special
