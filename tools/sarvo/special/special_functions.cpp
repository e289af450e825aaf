// Special functions of the library.
#include "special/special_functions.h"

#include <cmath>
#include <cstdint>
#include <limits>

#include <sarvo/specfunc.h>

#include "library.h"
#include "numbers.h"

namespace command::special {
namespace {

using Pair = sarko_error_t (*)(double x, double *value, double *error);

template <Pair function> Result of_one(std::span<const double> x) {
    Result r{0.0, 0.0, std::nullopt};
    check(function(x[0], &r.value, &*r.error));
    return r;
}

int64_t integer(double x, int64_t lowest, int64_t highest, const char *what) {
    if (x == std::floor(x) && x >= static_cast<double>(lowest) && x <= static_cast<double>(highest))
        return static_cast<int64_t>(x);
    throw usage_error(std::string(what) + " must be an integer from " + std::to_string(lowest) + " to " +
                      std::to_string(highest) + ", not " + shortest(x));
}

template <sarko_error_t (*function)(int32_t n, double *value, double *error)>
Result of_integer(std::span<const double> x) {
    Result r{0.0, 0.0, std::nullopt};
    check(function(static_cast<int32_t>(integer(x[0], INT32_MIN, INT32_MAX, "n")), &r.value, &*r.error));
    return r;
}

const Function table[] = {
    {"lngamma",
     {"x"},
     "ln |Gamma(x)|, with the sign of Gamma",
     [](std::span<const double> x) {
         Result r{0.0, 0.0, 0.0};
         check(sarvo_lngamma_f(&r.value, &*r.error, &*r.sign, x[0]));
         return r;
     }},
    {"gamma",
     {"x"},
     "Gamma(x)",
     [](std::span<const double> x) {
         Result r{0.0, 0.0, std::nullopt};
         check(sarvo_gamma_f(&r.value, &*r.error, x[0]));
         return r;
     }},
    {"lnfact",
     {"n"},
     "ln n!",
     [](std::span<const double> x) {
         Result r{0.0, 0.0, std::nullopt};
         check(sarvo_lnfact_f(static_cast<uint32_t>(integer(x[0], 0, UINT32_MAX, "n")), &r.value, &*r.error));
         return r;
     }},
    {"stirling",
     {"x"},
     "ln Gamma(x), x > 0, by Stirling's series; no estimate",
     [](std::span<const double> x) {
         return Result{sarvo_lngamma_stirling(x[0]), std::nullopt, std::nullopt};
     }},
    {"psi", {"x"}, "digamma, the derivative of ln Gamma", of_one<sarvo_psi_e>},
    {"psi1", {"x"}, "trigamma, the derivative of psi", of_one<sarvo_psi1_e>},
    {"psi_int", {"n"}, "psi at a positive integer, from a table up to 100", of_integer<sarvo_psi_int_e>},
    {"psi1_int", {"n"}, "psi1 at a positive integer, from a table up to 100", of_integer<sarvo_psi1_int_e>},
    {"psin",
     {"n", "x"},
     "the n-th derivative of psi",
     [](std::span<const double> x) {
         Result r{0.0, 0.0, std::nullopt};
         check(sarvo_psin_e(static_cast<int32_t>(integer(x[0], 0, INT32_MAX, "n")), x[1], &r.value, &*r.error));
         return r;
     }},
    {"hzeta",
     {"s", "q"},
     "Hurwitz zeta: the sum of (q + k)^-s over k = 0, 1, ...",
     [](std::span<const double> x) {
         Result r{0.0, 0.0, std::nullopt};
         check(sarvo_hzeta_e(x[0], x[1], &r.value, &*r.error));
         return r;
     }},
    {"expmul",
     {"x", "y"},
     "exp(x) y, also where exp(x) alone overflows",
     [](std::span<const double> x) {
         Result r{0.0, 0.0, std::nullopt};
         check(sarvo_exp_mult_err_e(&r.value, &*r.error, x[0], 0.0, x[1], 0.0));
         return r;
     }},
};

double or_nan(sarko_error_t e, double value) {
    if (!e) return value;
    sarko_error_clear(e);
    return std::numeric_limits<double>::quiet_NaN();
}

} // namespace

std::span<const Function> functions() { return table; }

const Function *find(std::string_view name) {
    for (const Function &f : table)
        if (f.name == name) return &f;
    return nullptr;
}

double lngamma(double x) {
    double value = 0.0, sign = 0.0;
    const sarko_error_t e = sarvo_lngamma_f(&value, nullptr, &sign, x);
    return or_nan(e, value);
}

double gamma(double x) {
    double value = 0.0;
    const sarko_error_t e = sarvo_gamma_f(&value, nullptr, x);
    return or_nan(e, value);
}

double psi(double x) {
    double value = 0.0;
    const sarko_error_t e = sarvo_psi_e(x, &value, nullptr);
    return or_nan(e, value);
}

double trigamma(double x) {
    double value = 0.0;
    const sarko_error_t e = sarvo_psi1_e(x, &value, nullptr);
    return or_nan(e, value);
}

double tetragamma(double x) {
    double value = 0.0;
    const sarko_error_t e = sarvo_psin_e(2, x, &value, nullptr);
    return or_nan(e, value);
}

} // namespace command::special
