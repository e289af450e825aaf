// ln Gamma(x) by Stirling's series, shifted to x >= 7: absolute accuracy, no error estimate, no checks.
#include "stirling.h"

#include <sarvo/specfunc.h>

#include "core/elementary.h"

namespace sarvo::special {

using elementary::log;

namespace {

constexpr int terms = 20;
// B_2k / (2k (2k - 1))
constexpr double stirling[terms] = {
    0.08333333333333333,    -0.002777777777777778, 0.0007936507936507937, -0.0005952380952380953, 0.0008417508417508417,
    -0.0019175269175269176, 0.00641025641025641,   -0.029550653594771242, 0.17964437236883057,    -1.3924322169059011,
    13.402864044168393,     -156.84828462600203,   2193.1033333333335,    -36108.77125372499,     691472.268851313,
    -15238221.539407415,    382900751.39141417,    -10882266035.784391,   347320283765.00226,     -12369602142269.275};

} // namespace

// (x - 1/2) ln x - x + ln sqrt(2 pi), then B_k / x^(2k - 1) for k = 1, 2, ... until a term leaves the sum unchanged;
// the power is multiplied up by x^2. For x < 7 minus the sum of ln(x + k), k ascending.
double lngamma_stirling(double x) {
    if (x == 1.0 || x == 2.0) return 0.0;
    if (x < 0.0) return __builtin_nan(""); // the first logarithm of the shift, which might take for ever, is one
    double acc = 0.0, shifted = x;
    for (int k = 1; shifted < 7.0; k++) {
        acc += log(shifted);
        shifted = x + k;
    }
    const double square = shifted * shifted;
    double sum = (shifted - 0.5) * log(shifted) - shifted + 0.9189385332046727;
    double power = shifted;
    for (int k = 0; k < terms; k++) {
        const double before = sum;
        sum += stirling[k] / power;
        if (sum == before) break;
        power *= square;
    }
    return sum - acc;
}

} // namespace sarvo::special

extern "C" double sarvo_lngamma_stirling(double x) { return sarvo::special::lngamma_stirling(x); }
