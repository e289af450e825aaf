// The special functions at exact and special arguments: tables, branches, signs, errors, NaN, optional outputs.
#include <sarvo/specfunc.h>

#include <cmath>
#include <limits>

#include "literal_functions.h"
#include "specfunc/tables.h"
#include "test_support.h"

namespace {

constexpr double nan = std::numeric_limits<double>::quiet_NaN();
constexpr double inf = std::numeric_limits<double>::infinity();
constexpr double eps = 0x1p-52;

struct Result {
    double value = -7.25, error = -7.25, sign = -7.25;
};

using Function = sarko_error_t (*)(double x, Result *r);
sarko_error_t lngamma(double x, Result *r) { return sarvo_lngamma_f(&r->value, &r->error, &r->sign, x); }
sarko_error_t gamma(double x, Result *r) { return sarvo_gamma_f(&r->value, &r->error, x); }
sarko_error_t half(double x, Result *r) { return gamma_xgthalf(&r->value, &r->error, x); }
sarko_error_t psi(double x, Result *r) { return sarvo_psi_e(x, &r->value, &r->error); }
sarko_error_t psi1(double x, Result *r) { return sarvo_psi1_e(x, &r->value, &r->error); }
sarko_error_t psi4(double x, Result *r) { return sarvo_psin_e(4, x, &r->value, &r->error); }
sarko_error_t zeta(double x, Result *r) { return sarvo_hzeta_e(2.5, x, &r->value, &r->error); }
sarko_error_t zeta_of_s(double s, Result *r) { return sarvo_hzeta_e(s, 3.0, &r->value, &r->error); }

Result value(Function f, double x) {
    Result r;
    test::expect_success(f(x, &r));
    return r;
}

TEST(SpecialTables, HoldTheNearestDoubles) {
    long double factorial = 1, psi_n = -0.577215664901532860606512090082402431L;
    long double psi1_n = 1.64493406684822643647241516664602519L;
    uint64_t exact = 1;
    for (int n = 0; n <= 170; n++) {
        const auto &entry = sarvo::special::factorials[n];
        if (n > 0) factorial *= n;
        if (n > 0 && n <= 20) exact *= static_cast<uint64_t>(n);
        EXPECT_EQ(entry.n, n);
        EXPECT_EQ(entry.exact, n <= 12 ? exact : 0u);
        if (n <= 18) {
            EXPECT_EQ(entry.value, static_cast<double>(exact));
        }
        EXPECT_NEAR(static_cast<double>(entry.value / factorial), 1.0, 0x1p-53 * 1.1) << n;
    }
    for (int n = 1; n <= 100; n++) {
        // Half a unit in the last place and the rounding of n additions of 64-bit mantissas.
        EXPECT_LE(std::fabs(sarvo::special::psi_at_integer[n] / psi_n - 1), 0x1p-53L * 1.02L) << n;
        EXPECT_LE(std::fabs(sarvo::special::psi1_at_integer[n] / psi1_n - 1), 0x1p-53L * 1.5L) << n;
        psi_n += 1.0L / n;
        psi1_n -= 1.0L / n / n;
    }
}

TEST(SpecialFunctions, AreExactWhereTheFormSaysSo) {
    EXPECT_EQ(value(gamma, 0.5).value, 1.772453850905516);
    for (int n = 1; n <= 171; n++) EXPECT_EQ(value(gamma, n).value, sarvo::special::factorials[n - 1].value) << n;
    for (const double x : {1.0, 2.0}) {
        const Result r = value(lngamma, x);
        EXPECT_TRUE(r.value == 0.0 && r.error == 0.0 && r.sign == 1.0) << x;
        EXPECT_EQ(sarvo_lngamma_stirling(x), 0.0);
    }
    Result r;
    test::expect_success(sarvo_lnfact_f(0, &r.value, &r.error));
    EXPECT_EQ(r.value, 0.0);
    test::expect_success(sarvo_lnfact_f(171, &r.value, &r.error));
    EXPECT_EQ(r.value, value(lngamma, 172.0).value);
    for (const int32_t n : {1, 2, 100}) {
        test::expect_success(sarvo_psi_int_e(n, &r.value, &r.error));
        EXPECT_EQ(r.value, sarvo::special::psi_at_integer[n]);
        EXPECT_EQ(r.error, std::fabs(r.value) * eps);
        test::expect_success(sarvo_psi1_int_e(n, &r.value, &r.error));
        EXPECT_EQ(r.value, sarvo::special::psi1_at_integer[n]);
    }
    test::expect_success(sarvo_psin_e(0, 2.5, &r.value, &r.error));
    EXPECT_EQ(r.value, value(psi, 2.5).value);
    test::expect_success(sarvo_psin_e(1, 2.5, &r.value, &r.error));
    EXPECT_EQ(r.value, value(psi1, 2.5).value);
    EXPECT_EQ(value(lngamma, -2.5).sign, -1.0);
    EXPECT_EQ(value(lngamma, -0.001).sign, -1.0);
    EXPECT_EQ(value(gamma, 1e-310).value, inf); // success, as the reflection formula has it
    EXPECT_EQ(sarvo_lngamma(-2.5), value(lngamma, -2.5).value);
}

TEST(SpecialFunctions, AreThePlainFormulas) {
    test::Random random(2);
    for (int i = 0; i < 20000; i++) {
        const double x = std::pow(10.0, 3.0 * random.symmetric()), s = 1.0 + 60.0 * random.uniform();
        const int32_t n = 2 + static_cast<int32_t>(random.below(16));
        EXPECT_EQ(test::bits(value(psi, x).value), test::bits(literal::digamma(x))) << x;
        Result r;
        if (std::fabs(s * std::log(x)) > 690.0) continue;
        test::expect_success(sarvo_hzeta_e(s, x, &r.value, &r.error));
        EXPECT_EQ(test::bits(r.value), test::bits(literal::hurwitz_zeta(s, x))) << s << " " << x;
        test::expect_success(sarvo_psin_e(n, x, &r.value, &r.error));
        EXPECT_EQ(test::bits(r.value), test::bits(literal::polygamma(n, x))) << n << " " << x;
    }
}

// Where a branch ends the next one must agree with it: a wrong constant in either shows.
TEST(SpecialFunctions, BranchesMeet) {
    const struct {
        Function f;
        double x;
        double tolerance; // relative, for both sides' estimates and the distance of 2 ulps
    } seams[] = {{lngamma, 0.99, 1e-12},  {lngamma, 1.01, 1e-12}, {lngamma, 1.99, 1e-12},   {lngamma, 2.01, 1e-12},
                 {lngamma, 0.5, 1e-13},   {lngamma, 0.02, 1e-13}, {lngamma, -0.02, 1e-13},  {lngamma, -2.985, 1e-12},
                 {gamma, 0.5, 1e-13},     {gamma, 0.99, 1e-14},   {gamma, 1.01, 1e-14},     {gamma, 2.01, 1e-14},
                 {gamma, 5.0, 1e-13},     {gamma, 10.0, 1e-13},   {gamma, 170.0, 1e-12},    {gamma, -168.5, 1e-9},
                 {psi, 2.0, 1e-14},       {psi, 1.0, 1e-14},      {psi, -1.0000001, 1e-7},  {psi1, 1.0, 1e-14},
                 {zeta, 1.0, 1e-14},      {zeta, 0.25, 1e-14},    {zeta_of_s, 27.0, 1e-13}, {zeta_of_s, 54.0, 1e-13},
                 {psi1, -4.999999, 1e-8}, {psi, -1.9999999, 1e-7}};
    for (const auto &s : seams) {
        const double down = value(s.f, std::nextafter(s.x, -1e9)).value,
                     up = value(s.f, std::nextafter(s.x, 1e9)).value;
        EXPECT_NEAR(down / up, 1.0, s.tolerance) << s.x;
    }
    // psi'(x) is zeta(2, x); the polygammas at N + 1 that the poles of ln Gamma use are those of the recurrence.
    for (const double x : {-4.5, -5.0 - 0.25, -0.5}) {
        const double next = value(psi1, x + 1.0).value;
        EXPECT_NEAR(value(psi1, x).value, next + 1.0 / (x * x), 1e-12 * std::fabs(next)) << x;
        EXPECT_NEAR(value(psi, x).value, value(psi, x + 1.0).value - 1.0 / x, 1e-12) << x;
    }
}

TEST(SpecialFunctions, RefuseWhatTheyCannotTell) {
    Result r;
    const struct {
        const char *what;
        sarko_error_t e;
        uint32_t code;
        const char *text;
    } cases[] = {
        {"lngamma(0)", lngamma(0.0, &r), SarvoDomainEC, "Domain error"},
        {"lngamma(-0.0)", lngamma(-0.0, &r), SarvoDomainEC, "Domain error"},
        {"lngamma(-1)", lngamma(-1.0, &r), SarvoDomainEC, "Domain error"},
        {"lngamma(-2)", lngamma(-2.0, &r), SarvoDomainEC, "Domain error"},
        {"lngamma(-1e15)", lngamma(-1e15, &r), SarvoRoundEC, "Roundoff error"},
        {"lngamma(-inf)", lngamma(-inf, &r), SarvoRoundEC, "Roundoff error"},
        {"lngamma(-3e9)", lngamma(-3e9, &r), SarvoRoundEC, "Roundoff error"},
        {"sing(2, 0)", lngamma_sgn_sing(2, 0.0, &r.value, &r.error, &r.sign), SarvoDomainEC, "Domain error"},
        {"sing(-1, .01)", lngamma_sgn_sing(-1, 0.01, &r.value, &r.error, &r.sign), SarvoDomainEC, "Domain error"},
        {"gamma(0)", gamma(0.0, &r), SarvoDomainEC, "Domain error"},
        {"gamma(-3)", gamma(-3.0, &r), SarvoDomainEC, "Domain error"},
        {"gamma(-1e300)", gamma(-1e300, &r), SarvoDomainEC, "Domain error"},
        {"gamma(171.5)", gamma(171.5, &r), SarvoOverflowEC, "Overflow error"},
        {"gamma(inf)", gamma(inf, &r), SarvoOverflowEC, "Overflow error"},
        {"half(172)", half(172.0, &r), SarvoOverflowEC, "Overflow error"},
        {"gamma(-200.5)", gamma(-200.5, &r), SarvoUnderflowEC, "Underflow error"},
        {"gamma(-inf)", gamma(-1e15 - 0.5, &r), SarvoRoundEC, "Roundoff error"},
        {"exp_mult", sarvo_exp_mult_err_e(&r.value, &r.error, 700.0, 0.0, 1e10, 0.0), SarvoOverflowEC,
         "Overflow error"},
        {"exp_mult", sarvo_exp_mult_err_e(&r.value, &r.error, -700.0, 0.0, -1e-10, 0.0), SarvoUnderflowEC,
         "Underflow error"},
        {"psi_int(0)", sarvo_psi_int_e(0, &r.value, &r.error), SarvoDomainEC, "Domain error"},
        {"psi1_int(-1)", sarvo_psi1_int_e(-1, &r.value, &r.error), SarvoDomainEC, "Domain error"},
        {"psi(0)", psi(0.0, &r), SarvoDomainEC, "Domain error"},
        {"psi(-1)", psi(-1.0, &r), SarvoDomainEC, "Domain error"},
        {"psi(-2)", psi(-2.0, &r), SarvoDomainEC, "Domain error"},
        {"psi1(0)", psi1(0.0, &r), SarvoDomainEC, "Domain error"},
        {"psi1(-4)", psi1(-4.0, &r), SarvoDomainEC, "Domain error"},
        {"psi4(0)", psi4(0.0, &r), SarvoDomainEC, "Domain error"},
        {"psin(-1, 2)", sarvo_psin_e(-1, 2.0, &r.value, &r.error), SarvoDomainEC, "Domain error"},
        {"psi4(1e-80)", psi4(1e-80, &r), SarvoOverflowEC, "Overflow error"},
        {"psi4(1e80)", psi4(1e80, &r), SarvoUnderflowEC, "Underflow error"},
        {"zeta_of_s(1)", zeta_of_s(1.0, &r), SarvoDomainEC, "Domain error"},
        {"zeta(0)", zeta(0.0, &r), SarvoDomainEC, "Domain error"},
        {"zeta(1e-200)", zeta(1e-200, &r), SarvoOverflowEC, "Overflow error"},
        {"zeta(1e200)", zeta(1e200, &r), SarvoUnderflowEC, "Underflow error"},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.what);
        test::expect_error(c.e, c.code, {c.text});
    }
    EXPECT_TRUE(r.value == -7.25 && r.error == -7.25 && r.sign == -7.25) << "a failed call wrote its outputs";
}

TEST(SpecialFunctions, GiveNaNForNaNAndEndForEverything) {
    for (const Function f : {lngamma, gamma, half, psi, psi1, psi4, zeta, zeta_of_s})
        EXPECT_TRUE(std::isnan(value(f, nan).value));
    EXPECT_TRUE(std::isnan(sarvo_lngamma_stirling(nan)));
    EXPECT_TRUE(std::isnan(sarvo_lngamma_stirling(-1e300))); // where a shift by 1 is none
    test::Random random(1);
    for (int i = 0; i < 20000; i++) {
        const double x = random.special() * std::ldexp(1.0, static_cast<int>(random.below(2000)) - 1000);
        for (const Function f : {lngamma, gamma, half, psi, psi1, psi4, zeta, zeta_of_s}) {
            Result r;
            sarko_error_clear(f(f == half ? std::fabs(x) + 0.5 : x, &r));
        }
    }
}

TEST(SpecialFunctions, TakeNullForWhatIsOptional) {
    const double c[] = {1.0, 0.5, 0.25};
    const sarvo_cheb_series series = {c, 2, 0.0, 2.0};
    double v[2][16];
    for (const int with : {0, 1}) {
        double error, sign, *e = with ? &error : nullptr, *s = with ? &sign : nullptr, *out = v[with];
        sarko_error_t failure = cheb_eval_e(&series, out, e, 1.75);
        lngamma_1_pade(out + 1, e, 0.005);
        lngamma_2_pade(out + 2, e, -0.005);
        gammastar_ser(out + 3, e, 12.0);
        lngamma_lanczos(out + 4, e, 3.25);
        lngamma_sgn_0(out + 5, e, s, -0.01);
        failure |= lngamma_sgn_sing(3, 0.015, out + 6, e, s) | lngamma_sgn_sing(1, 0.015, out + 7, e, s);
        failure |= gamma_xgthalf(out + 8, e, 7.5) | sarvo_gamma_f(out + 9, e, -0.75);
        failure |= sarvo_lngamma_f(out + 10, e, s, -0.75) | sarvo_lnfact_f(200, out + 11, e);
        failure |= sarvo_exp_mult_err_e(out + 12, e, 600.0, 0.0, 1e-200, 0.0) | sarvo_hzeta_e(3.0, 0.5, out + 13, e);
        failure |= psi_n_xg0(3, 1.5, out + 14, e) | sarvo_psi_int_e(1000, out + 15, e);
        EXPECT_EQ(failure, 0u);
    }
    test::expect_equal_bits(v[0], v[1], 16, "without error pointers");
    // The pieces are those of the whole; the series by its definition, T_2(y) = 2 y^2 - 1 at y = 0.75.
    EXPECT_EQ(v[0][0], 0.5 + 0.5 * 0.75 + 0.25 * 0.125);
    EXPECT_EQ(v[0][5], value(lngamma, -0.01).value);
    EXPECT_EQ(v[0][4], value(lngamma, 3.25).value);
    EXPECT_NEAR(v[0][6], value(lngamma, -2.985).value, 1e-13);
    EXPECT_NEAR(v[0][15], std::log(1000.0) - 0.0005 - 1.0 / 12e6, 1e-14);
}

TEST(SpecialFunctions, TheProductKeepsItsErrorTogether) {
    double value, error;
    test::expect_success(sarvo_exp_mult_err_e(&value, &error, 2.0, 1e-3, 0.0, 0.5));
    EXPECT_TRUE(value == 0.0 && error == 0.5 * std::exp(2.0));
    // Both ways of forming it, and the errors carried on: |dx value| + |dy exp(x)|.
    for (const double x : {1.0, 400.0}) {
        const double y = x == 1.0 ? -3.0 : -3e-100;
        test::expect_success(sarvo_exp_mult_err_e(&value, &error, x, 1e-3, y, 1e-4 * y));
        const double exact = y * std::exp(x);
        EXPECT_NEAR(value / exact, 1.0, 1e-13);
        EXPECT_NEAR(error / std::fabs(exact), 1.1e-3, 1e-9);
    }
}

TEST(SpecialFunctionsDeathTest, ThePlainFormReportsAndAborts) {
    EXPECT_DEATH(sarvo_lngamma(-2.0), "error [0-9]+: Domain error");
}

} // namespace
