// The Hurwitz zeta function by a few explicit terms or by the Euler-Maclaurin sum.
#include "hzeta.h"

#include <string.h>

namespace sarvo::special {

using elementary::log;
using elementary::pow;

namespace {

// B_2k / (2k)!, k = 1 .. 13
constexpr double euler_maclaurin[13] = {0.08333333333333333,    -0.001388888888888889,   3.306878306878307e-05,
                                        -8.267195767195768e-07, 2.08767569878681e-08,    -5.284190138687493e-10,
                                        1.3382536530684679e-11, -3.3896802963225827e-13, 8.586062056277845e-15,
                                        -2.174868698558062e-16, 5.5090028283602295e-18,  -1.3954465684812522e-19,
                                        3.534707039629467e-21};

// sum_{k < 10} (q + k)^-s, k ascending, then w^-s (w / (s - 1) + 1/2) with w = q + 10, then the corrections
// B_2j / (2j)! s (s + 1) ... (s + 2j) w^(-s - 2j - 1) until one is below half an eps of the sum.
Estimate by_sum(double s, double q) {
    const double w = q + 10.0;
    const double p = pow(w, -s);
    double sum = 0.0;
    for (int k = 0; k < 10; k++) sum += pow(q + k, -s);
    sum += p * (w / (s - 1.0) + 0.5);
    double scp = s, pcp = p / w;
    for (int j = 0; j <= 12; j++) {
        const double delta = euler_maclaurin[j] * scp * pcp;
        sum += delta;
        if (magnitude(delta / sum) < 0.5 * SarvoDblEps) break;
        scp *= (s + 2 * j + 1.0) * (s + 2 * j + 2.0);
        pcp /= w * w;
    }
    return {sum, 26.0 * SarvoDblEps * magnitude(sum)};
}

// Whether |s ln q| < 700, by the exponent k of q: |ln q| < 0.6932 (|k| + 1). Saves the logarithm.
bool surely_in_range(double s, double q) {
    uint64_t bits;
    memcpy(&bits, &q, sizeof bits);
    const double exponent = static_cast<double>(static_cast<int64_t>(bits >> 52) - 1023);
    return s * (magnitude(exponent) + 1.0) < 1000.0; // so |s ln q| < 693.2; a NaN is not
}

} // namespace

sarko_error_t hurwitz_zeta(double s, double q, Estimate *r) {
    if (s <= 1.0 || q <= 0.0) return fail(SarvoDomainEC);
    if (!surely_in_range(s, q)) {
        const double L = -s * log(q);
        if (L < SarvoDblLnXmin + 1.0) return fail(SarvoUnderflowEC);
        if (L > SarvoDblLnXmax - 1.0) return fail(SarvoOverflowEC);
    }
    if ((s > 54.0 && q < 1.0) || (s > 27.0 && q < 0.25)) {
        const double value = pow(q, -s);
        *r = {value, 2.0 * SarvoDblEps * magnitude(value)};
    } else if (s > 27.0 && q < 1.0) {
        const double value = pow(q, -s) * (1.0 + pow(q / (1.0 + q), s) + pow(q / (2.0 + q), s));
        *r = {value, SarvoDblEps * (0.5 * s + 2.0) * magnitude(value)};
    } else {
        *r = by_sum(s, q);
    }
    return 0;
}

} // namespace sarvo::special

extern "C" sarko_error_t sarvo_hzeta_e(double s, double q, double *value, double *error) {
    sarvo::special::Estimate r;
    if (sarko_error_t e = sarvo::special::hurwitz_zeta(s, q, &r)) return e;
    sarvo::special::deliver(r, value, error);
    return 0;
}
