// The error estimates are those of the stated formulas, each term grouped from left to right, bit for bit.
#include <cmath>
#include <cstring>

#include <sarvo/specfunc.h>

#include "literal_functions.h"
#include "test_support.h"

namespace {

const double pi = 3.14159265358979323846;

struct Pair {
    double value = 0.0, error = 0.0;
    bool fails = false;
};

// ---- The formulas, written down once more ----

Pair exp_mult(double x, double dx, double y, double dy) {
    const double eps = SarvoDblEps;
    if (y == 0) return {0.0, std::fabs(dy * std::exp(x))};
    if (x < 0.5 * SarvoDblLnXmax && x > 0.5 * SarvoDblLnXmin && std::fabs(y) < 0.8 * SarvoDblSqrtXmax &&
        std::fabs(y) > 1.2 * SarvoDblSqrtXmin) {
        const double ex = std::exp(x), value = y * ex;
        return {value, ex * (std::fabs(dx * y) + std::fabs(dy)) + 2 * eps * std::fabs(value)};
    }
    const double ly = std::log(std::fabs(y)), lnr = x + ly;
    if (lnr > SarvoDblLnXmax - 0.01 || lnr < SarvoDblLnXmin + 0.01) return {0, 0, true};
    const double M = std::floor(x), N = std::floor(ly);
    const double eMN = std::exp(M + N), eab = std::exp((x - M) + (ly - N));
    const double sign = y > 0 ? 1.0 : -1.0;
    return {sign * eMN * eab, 2 * eps * eMN * eab + std::fabs(dx) * eMN * eab + std::fabs(dy / y) * eMN * eab};
}

Pair lanczos(double x) {
    static const double c[9] = {0.9999999999998099,   676.5203681218851,    -1259.1392167224028,
                                771.3234287776531,    -176.6150291621406,   12.507343278686905,
                                -0.13857109526572012, 9.984369578019572e-6, 1.5056327351493116e-7};
    const double eps = SarvoDblEps, z = x - 1;
    double Ag = c[0];
    for (int k = 1; k <= 8; k++) Ag += c[k] / (z + k);
    const double term1 = (z + 0.5) * std::log((z + 7.5) / 2.718281828459045);
    const double term2 = 0.9189385332046728 + std::log(Ag);
    const double value = term1 + (term2 - 7);
    return {value, 2 * eps * (std::fabs(term1) + std::fabs(term2) + 7) + eps * std::fabs(value)};
}

Pair chebyshev(const double *c, int order, double a, double b, double x) {
    const double y = (2 * x - a - b) / (b - a), y2 = 2 * y;
    double d = 0, dd = 0, e = 0;
    for (int j = order; j >= 1; j--) {
        const double temp = d;
        d = y2 * d - dd + c[j];
        e += std::fabs(y2 * temp) + std::fabs(dd) + std::fabs(c[j]);
        dd = temp;
    }
    const double value = y * d - dd + 0.5 * c[0];
    e += std::fabs(y * d) + std::fabs(dd) + 0.5 * std::fabs(c[0]);
    return {value, SarvoDblEps * e + std::fabs(c[order])};
}

// The estimate of Gamma(x), x >= 0.5, from its value.
double gamma_error_above_half(double x, double value) {
    static const double c[24] = {
        -1.5285594096661578,    4.82591523005959,        0.2277712320977615,     -0.013886766568561788,
        0.0012704876495201083,  -0.00013938412402549936, 1.697092429923227e-5,   -2.210852882021058e-6,
        3.019660285420231e-7,   -4.2705675000079116e-8,  6.20264238180514e-9,    -9.199397320888091e-10,
        1.3875551258028146e-10, -2.1218861491906788e-11, 3.282173604038144e-12,  -5.126000100995379e-13,
        8.071353255487464e-14,  -1.2798522376569208e-14, 2.04177116008525e-15,   -3.2745239502992355e-16,
        5.275941842203658e-17,  -8.535414715169523e-18,  1.3858639703888078e-18, -2.2574398807738626e-19};
    const double eps = SarvoDblEps;
    if (x == 0.5 || x == std::floor(x)) return eps * value;
    if (std::fabs(x - 1) < 0.01 || std::fabs(x - 2) < 0.01) return eps;
    if (x < 5) return value * (lanczos(x).error + 2 * eps);
    if (x < 10) return value * chebyshev(c, 23, -1, 1, (2 * x - 15) / 5).error + 2 * eps * value;
    return (x + 2.5) * eps * value;
}

double value_of(sarko_error_t (*f)(double *, double *, double), double x) {
    double value = 0.0;
    test::expect_success(f(&value, nullptr, x));
    return value;
}

Pair gamma(double x) {
    const double eps = SarvoDblEps;
    if (x >= 0.5) {
        const double value = value_of(gamma_xgthalf, x);
        return {value, gamma_error_above_half(x, value)};
    }
    const double r = std::floor(x + 0.5);
    double sin_term = std::sin(pi * (x - r)) / pi;
    if (std::fmod(r, 2.0) != 0) sin_term = -sin_term;
    if (x > -169) {
        const double g = value_of(gamma_xgthalf, 1 - x), value = 1 / (sin_term * g);
        return {value, std::fabs(value) * (gamma_error_above_half(1 - x, g) / g) + 2 * eps * std::fabs(value)};
    }
    double ln = 0.0, ln_error = 0.0, sign = 0.0;
    test::expect_success(sarvo_lngamma_f(&ln, &ln_error, &sign, x));
    return exp_mult(ln, ln_error, sign, 0);
}

Pair zeta(double s, double q) {
    const double eps = SarvoDblEps, value = literal::hurwitz_zeta(s, q);
    if (std::isnan(value)) return {0, 0, true};
    if ((s > 54 && q < 1) || (s > 27 && q < 0.25)) return {value, 2 * eps * std::fabs(value)};
    if (s > 27 && q < 1) return {value, eps * (0.5 * s + 2) * std::fabs(value)};
    return {value, 26 * eps * std::fabs(value)};
}

Pair psi1(double x) {
    const auto by_zeta = [](double q) {
        const Pair z = zeta(2, q);
        return z.fails ? z : exp_mult(0, 0, z.value, z.error);
    };
    const double eps = SarvoDblEps;
    if (x > 0) return by_zeta(x);
    if (x <= -5) {
        const double s = std::sin(pi * x), first = 9.869604401089358 / (s * s);
        const Pair z = by_zeta(1 - x);
        return {first - z.value, first * 2 * eps + z.error};
    }
    const int M = -static_cast<int>(std::floor(x));
    double fact = 0;
    int k = 0;
    for (; k + 1 < M; k += 2) fact += 1 / ((x + k) * (x + k)) + 1 / ((x + k + 1) * (x + k + 1));
    if (k < M) fact += 1 / ((x + k) * (x + k));
    const Pair z = by_zeta(x + M);
    return {z.value + fact, z.error + fact * M * eps};
}

Pair psin(int32_t n, double x) {
    const Pair hz = zeta(n + 1.0, x);
    if (hz.fails) return hz;
    double ln = 0.0, ln_error = 0.0;
    test::expect_success(sarvo_lnfact_f(static_cast<uint32_t>(n), &ln, &ln_error));
    Pair r = exp_mult(ln, ln_error, hz.value, hz.error);
    if (n % 2 == 0) r.value = -r.value;
    return r;
}

// ---- Comparison over many arguments ----

struct Tally {
    uint64_t compared = 0, values = 0, errors = 0;
    void add(const Pair &expected, sarko_error_t e, double value, double error) {
        EXPECT_EQ(e != 0, expected.fails);
        sarko_error_clear(e);
        if (expected.fails) return;
        compared++;
        values += test::bits(value) != test::bits(expected.value);
        errors += test::bits(error) != test::bits(expected.error);
    }
    void expect_none(const char *name) const {
        EXPECT_EQ(values, 0u) << name << ": values that differ, of " << compared;
        EXPECT_EQ(errors, 0u) << name << ": estimates that differ, of " << compared;
        EXPECT_GT(compared, 1000u) << name;
    }
};

double anywhere(test::Random &random, double decades) { return std::pow(10.0, decades * random.symmetric()); }

TEST(Estimates, OfTheProductAreTheFormulas) {
    test::Random random(31);
    Tally tally;
    for (int i = 0; i < 200000; i++) {
        const double x = i % 3 ? 700.0 * random.symmetric() : 5.0 * random.symmetric();
        const double y = (i % 2 ? 1.0 : -1.0) * anywhere(random, i % 5 ? 300.0 : 10.0);
        const double dx = i % 7 ? anywhere(random, 12.0) : 0.0, dy = i % 11 ? y * anywhere(random, 12.0) : 0.0;
        double value = 0.0, error = 0.0;
        const sarko_error_t e = sarvo_exp_mult_err_e(&value, &error, x, dx, i % 1000 ? y : 0.0, dy);
        tally.add(exp_mult(x, dx, i % 1000 ? y : 0.0, dy), e, value, error);
    }
    tally.expect_none("exp_mult");
}

TEST(Estimates, OfGammaAreTheFormulas) {
    test::Random random(32);
    Tally tally;
    for (int i = 0; i < 60000; i++) {
        const double x = i % 4 == 0   ? 0.5 + 170.0 * random.uniform()
                         : i % 4 == 1 ? -169.0 * random.uniform()
                         : i % 4 == 2 ? -169.0 - 8.0 * random.uniform()
                                      : 0.5 + 10.0 * random.uniform();
        double value = 0.0, error = 0.0;
        const sarko_error_t e = sarvo_gamma_f(&value, &error, x);
        if (e) { // an underflow
            sarko_error_clear(e);
            continue;
        }
        tally.add(gamma(x), 0, value, error);
    }
    tally.expect_none("gamma");
}

TEST(Estimates, OfTrigammaAndPolygammaAreTheFormulas) {
    test::Random random(33);
    Tally trigamma, polygamma;
    for (int i = 0; i < 40000; i++) {
        const double x = i % 3 == 0   ? anywhere(random, 3.0)
                         : i % 3 == 1 ? anywhere(random, 160.0)
                                      : -30.0 * random.uniform();
        double value = 0.0, error = 0.0;
        const sarko_error_t e = sarvo_psi1_e(x, &value, &error);
        trigamma.add(psi1(x), e, value, error);
        const int32_t n = 2 + static_cast<int32_t>(random.below(i % 2 ? 30 : 200));
        const double q = i % 4 ? anywhere(random, 2.0) : anywhere(random, 30.0);
        value = error = 0.0;
        const sarko_error_t f = sarvo_psin_e(n, q, &value, &error);
        polygamma.add(psin(n, q), f, value, error);
    }
    trigamma.expect_none("psi1");
    polygamma.expect_none("psin");
}

} // namespace
