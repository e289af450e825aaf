// Every distribution function and every inverse answers soon, for every argument, in every rounding mode, also where
// subnormal numbers are flushed to zero; and the answers of large shapes are right.
#include <cfenv>
#include <cfloat>
#include <chrono>
#include <cmath>
#include <cstring>
#include <string>
#include <vector>

#if defined(__x86_64__)
#include <immintrin.h>
#endif

#include "literal.h"
#include "specfunc/large_shapes.h"
#include "test_support.h"

namespace {

const double inf = HUGE_VAL, not_a_number = std::nan("");

std::vector<double> shapes() {
    return {5e-324, 1e-20, 1e-5, 0.003,  0.5,     17.0, 1e5,  2e7, 5e7,  1e8,
            1.1e8,  1e9,   1e12, 0x1p53, DBL_MAX, 0.0,  -1.0, inf, -inf, not_a_number};
}
std::vector<double> probabilities() {
    return {5e-324,     1e-300,        1e-17, 1e-7, 0.1, 0.4,  0.5, 0.75,        0.999,
            1.0 - 1e-9, 1.0 - 0x1p-53, 1.0,   0.0,  1.5, -0.5, inf, not_a_number};
}

// Times single calls; the slowest is told. A call that takes longer than `limit` seconds fails.
class Watch {
public:
    explicit Watch(double limit) : limit_(limit) {}
    template <class F> double operator()(const char *name, const std::vector<double> &arguments, F f) {
        const auto begin = std::chrono::steady_clock::now();
        const double value = f();
        const std::chrono::duration<double> taken = std::chrono::steady_clock::now() - begin;
        if (taken.count() > limit_) ADD_FAILURE() << taken.count() << " s: " << describe(name, arguments);
        if (taken.count() > slowest_) {
            slowest_ = taken.count();
            what_ = describe(name, arguments);
        }
        return value;
    }
    std::string slowest() const { return std::to_string(slowest_) + " s: " + what_; }

private:
    static std::string describe(const char *name, const std::vector<double> &arguments) {
        std::string text = name;
        for (const double x : arguments) {
            char number[40];
            snprintf(number, sizeof number, " %.17g", x);
            text += number;
        }
        return text;
    }
    double limit_, slowest_ = 0.0;
    std::string what_;
};

// Arguments where a function of shape a changes, and some far away.
std::vector<double> places(double a) {
    const double sd = std::sqrt(a);
    return {5e-324, 1e-9, 30.0, DBL_MAX, inf, not_a_number, -1.0, 0.0, a, a + 1, a - 3 * sd, a + 37 * sd};
}

void call_gamma(Watch &watch, double a) {
    for (const double x : places(a)) {
        watch("gammadf_value", {a, x}, [&] { return sarvo_rnd_gammadf_value(a, x); });
        watch("gammadf_series", {a, x}, [&] { return sarvo_rnd_gammadf_series(a, x); });
        watch("gammadf_fraction", {a, x}, [&] { return sarvo_rnd_gammadf_fraction(a, x); });
    }
    for (const double p : probabilities()) {
        watch("gammadf_inv", {a, p}, [&] { return sarvo_rnd_gammadf_inv(a, p); });
        watch("chi2df_inv", {a, p}, [&] { return sarvo_rnd_chi2df_inv(a, p); });
    }
}

void call_beta(Watch &watch, double a, double b) {
    const double split = (1.0 + a) / (a + b + 2.0), mean = a / (a + b),
                 spread = std::sqrt(mean * (1 - mean) / (a + b + 1));
    for (const double x : {5e-324, 1e-12, 1.0 - 0x1p-53, 2.0, not_a_number, split, std::nextafter(split, 0.0), mean,
                           mean - 3 * spread, mean + 3 * spread}) {
        watch("betadf_value", {a, b, x}, [&] { return sarvo_rnd_betadf_value(a, b, x); });
        watch("betadf_fraction", {a, b, x}, [&] { return sarvo_rnd_betadf_fraction(a, b, x); });
    }
    for (const double x : {1e-300, 0.1, 1.0, 3.0, 1e300, inf, not_a_number})
        watch("fdf", {a, b, x}, [&] { return sarvo_rnd_fdf(a, b, x); });
    for (const double p : probabilities()) {
        watch("betadf_inv", {a, b, p}, [&] { return sarvo_rnd_betadf_inv(a, b, p); });
        watch("fdf_inv", {a, b, p}, [&] { return sarvo_rnd_fdf_inv(a, b, p); });
    }
}

void call_student(Watch &watch, double nu) {
    for (const double t : {-1e300, -3.0, -1e-9, 1e-300, 0.5, 2.0, 40.0, 1e10, inf, not_a_number})
        watch("studentdf", {nu, t}, [&] { return sarvo_rnd_studentdf(nu, t); });
    for (const double p : probabilities())
        watch("studentdf_inv", {nu, p}, [&] { return sarvo_rnd_studentdf_inv(nu, p); });
}

// Half a second on a machine with nothing else to do; more where others work, much more where code is not optimised.
double time_limit() {
#if defined(__OPTIMIZE__) && !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
    return 2.0;
#else
    return 60.0;
#endif
}

TEST(Durations, OfGammaAndStudentFunctionsAreBoundedForEveryArgument) {
    Watch watch(time_limit());
    for (const double a : shapes()) {
        call_gamma(watch, a);
        call_student(watch, a);
    }
    RecordProperty("slowest", watch.slowest());
    printf("slowest %s\n", watch.slowest().c_str());
}

TEST(Durations, OfBetaFunctionsAreBoundedForEveryArgument) {
    Watch watch(time_limit());
    const std::vector<double> some = {5e-324, 0.003, 0.5, 1e6, 0x1p30, 1e15, DBL_MAX, inf};
    for (const double a : some)
        for (const double b : some)
            if (a >= 0.0 || b >= 0.0) call_beta(watch, a, b);
    call_beta(watch, not_a_number, 1e12);
    call_beta(watch, 1e12, not_a_number);
    printf("slowest %s\n", watch.slowest().c_str());
}

// ---- What is answered where the plain loops are given up ----

struct GammaRow {
    double a, x, lower, upper;
};
struct BetaRow {
    double a, b, x, lower, upper;
};

// Integrals of the densities in 50 digits.
const GammaRow gamma_rows[] = {
    {100000000.0, 99700000.0, 1.9908822896527921251e-198, 1.0},
    {100000000.0, 99990000.0, 0.15865525352814383041, 0.84134474647185616959},
    {100000000.0, 100000000.0, 0.50001329807601411987, 0.49998670192398588013},
    {100000000.0, 100025000.0, 0.99378726707105764296, 0.0062127329289423570407},
    {100000000.0, 100300000.0, 1.0, 1.2044173125230013174e-197},
    {3000000000000.0, 3000005000000.0, 0.99805378270950640605, 0.0019462172904935939506},
    {3000000000000.0, 2999980000000.0, 3.8207471318408291348e-31, 1.0},
    {1e+16, 1e+16, 0.50000000132980760134, 0.49999999867019239866},
    {1e+16, 1.00000001e+16, 0.84134474606854295262, 0.15865525393145704738},
    {1e+16, 9999999000000000.0, 7.6198276320254609489e-24, 1.0},
    {1e+30, 1.000000000000003e+30, 0.99843912202858806979, 0.0015608779714119302061},
};
const BetaRow beta_rows[] = {
    {0.5, 2000000000.0, 1e-10, 0.47291074311896867597, 0.52708925688103132403},
    {0.5, 2000000000.0, 1e-08, 0.99999999974603716641, 2.5396283359433926335e-10},
    {2000000000.0, 0.5, 0.9999999999, 0.52708923978880573135, 0.47291076021119426865},
    {3.0, 1000000000000.0, 5e-12, 0.87534798051839275914, 0.12465201948160724086},
    {1000000000000.0, 3.0, 0.99999999999, 0.0027693938371724818964, 0.9972306061628275181},
    {1000.0, 5000000000.0, 2.2e-07, 0.99894070107476013472, 0.0010592989252398652798},
    {200000.0, 5000000000.0, 4e-05, 0.50743344908459677235, 0.49256655091540322765},
    {200000.0, 5000000000.0, 4.02e-05, 0.98780913972182112628, 0.012190860278178873717},
    {5000000000.0, 200000.0, 0.99996, 0.49256655073701460041, 0.50743344926298539959},
    {3000000000.0, 2000000000.0, 0.6, 0.49999923223394478866, 0.50000076776605521134},
    {3000000000.0, 2000000000.0, 0.60002, 0.99805387873528489058, 0.0019461212647151094205},
    {3000000000.0, 2000000000.0, 0.5998, 1.5996888378304974521e-183, 1.0},
    {1000000000000000.0, 2000000000000000.0, 0.33333334, 0.78071098671232942133, 0.21928901328767057867},
    {1000000000000000.0, 2000000000000000.0, 0.3333333, 0.000053755575046882811593, 0.99994624442495311719},
};

void expect_near(double actual, double expected, double relative, const std::string &what) {
    EXPECT_LE(std::fabs(actual - expected), relative * expected) << what << ": " << actual << " " << expected;
}

TEST(LargeShapes, TailsAreNearTheIntegrals) {
    for (const GammaRow &row : gamma_rows) {
        const sarvo::special::Tails t = sarvo::special::gamma_tails(row.a, row.x);
        const std::string what = std::to_string(row.a) + " " + std::to_string(row.x);
        expect_near(t.lower, row.lower, 1e-10, what);
        expect_near(t.upper, row.upper, 1e-10, what);
        if (row.a != 1e16) continue; // the series ends, or the fraction does whose n - a is rounded
        expect_near(sarvo_rnd_gammadf_value(row.a, row.x), row.lower, 1e-10, what);
    }
    for (const BetaRow &row : beta_rows) {
        const sarvo::special::Tails t = sarvo::special::beta_tails(row.a, row.b, row.x);
        const std::string what = std::to_string(row.a) + " " + std::to_string(row.b) + " " + std::to_string(row.x);
        expect_near(t.lower, row.lower, 2e-8, what);
        expect_near(t.upper, row.upper, 2e-8, what);
    }
}

// At the border the tails meet those of the plain loops, as far as these are right: they take the exponent from three
// logarithms of Gamma.
TEST(LargeShapes, TailsMeetThePlainLoops) {
    for (const double z : {-6.0, -2.0, -0.1, 0.0, 0.1, 2.0, 6.0}) {
        const double a = 1e8, x = a + z * 1e4;
        const sarvo::special::Tails t = sarvo::special::gamma_tails(a, x);
        expect_near(literal::gamma(a, x), t.lower, 1e-6, "gamma " + std::to_string(z));
        for (const double b : {0.5, 20.0, 3e5, 5e8}) {
            const double mean = b / (b + 0x1p30), w = mean * std::exp(z / std::sqrt(b + 1.0));
            const sarvo::special::Tails u = sarvo::special::beta_tails(b, 0x1p30, w);
            expect_near(literal::beta(b, 0x1p30, w), u.lower, 1e-5, "beta " + std::to_string(b));
        }
    }
}

TEST(LargeShapes, InversesLeadBack) {
    for (const double a : {1.5e8, 1e9, 3e12, 1e15, 0x1p53, 1e40, 1e300})
        for (const double p : {1e-300, 1e-9, 0.1, 0.5, 0.9, 1.0 - 1e-9, 1.0}) {
            const double x = sarvo_rnd_gammadf_inv(a, p);
            const std::string what = std::to_string(a) + " " + std::to_string(p);
            EXPECT_FALSE(sarvo::special::gamma_tails(a, std::nextafter(x, inf)).below(p)) << what;
            EXPECT_TRUE(sarvo::special::gamma_tails(a, std::nextafter(x, 0.0)).below(p)) << what;
            EXPECT_EQ(sarvo_rnd_chi2df_inv(2.0 * a, p), 2.0 * x);
        }
    const double large = 0x1.0000001p30;
    for (const double a : {1e-3, 0.5, 3.0, 1e4, 1e7, 1e12, 1e200})
        for (const double b : {large, 1e12, 1e100})
            for (const double p : {1e-12, 0.1, 0.5, 0.9, 1.0 - 1e-12}) {
                const double x = sarvo_rnd_betadf_inv(a, b, p), y = sarvo_rnd_betadf_inv(b, a, p);
                const std::string what = std::to_string(a) + " " + std::to_string(b) + " " + std::to_string(p);
                EXPECT_TRUE(x >= 0.0 && x <= 1.0 && y > 0.0 && y <= 1.0) << what;
                if (!(x > 0.0 && x < 0.9)) continue;
                EXPECT_TRUE(sarvo::special::beta_tails(a, b, x * (1.0 - 1e-9)).below(p)) << what;
                EXPECT_FALSE(sarvo::special::beta_tails(a, b, x * (1.0 + 1e-9)).below(p)) << what;
            }
    EXPECT_TRUE(std::isnan(sarvo_rnd_betadf_inv(0.0, 1e12, 0.5)));
    EXPECT_TRUE(std::isnan(sarvo_rnd_betadf_inv(1e12, inf, 0.5)));
}

TEST(Distributions, LookAtANaNFrontFactorFirst) {
    EXPECT_TRUE(std::isnan(sarvo_rnd_betadf_fraction(2.0, 3.0, 2.0)));
    EXPECT_TRUE(std::isnan(sarvo_rnd_betadf_fraction(2.0, 3.5, -0.5)));
    EXPECT_TRUE(std::isnan(sarvo_rnd_gammadf_fraction(-2.5, 1.0)));
    EXPECT_TRUE(std::isnan(sarvo_rnd_gammadf_series(-1e15, 1e15)));
    // A fraction far out of its domain is answered by the series.
    EXPECT_NEAR(sarvo_rnd_gammadf_fraction(0.3, 1e-9), 1.0 - sarvo_rnd_gammadf_series(0.3, 1e-9), 1e-15);
}

// ---- Other rounding modes, and subnormal numbers flushed to zero: no bits are promised there, but an end ----

class Mode {
public:
    Mode(int rounding, bool flush) {
        std::fegetenv(&usual_);
        std::fesetround(rounding);
#if defined(__x86_64__)
        if (flush) _mm_setcsr(_mm_getcsr() | 0x8040u); // FTZ and DAZ
#else
        (void)flush;
#endif
    }
    Mode(const Mode &) = delete;
    ~Mode() { std::fesetenv(&usual_); }

private:
    std::fenv_t usual_;
};

void call_special(Watch &watch, double x) {
    double value = 0.0, error = 0.0, sign = 0.0;
    const auto call = [&](const char *name, auto f) {
        watch(name, {x}, [&] {
            sarko_error_clear(f());
            return value;
        });
    };
    call("lngamma", [&] { return sarvo_lngamma_f(&value, &error, &sign, x); });
    call("gamma", [&] { return sarvo_gamma_f(&value, &error, x); });
    call("psi", [&] { return sarvo_psi_e(x, &value, &error); });
    call("psi1", [&] { return sarvo_psi1_e(x, &value, &error); });
    call("exp_mult", [&] { return sarvo_exp_mult_err_e(&value, &error, x, 0.1, x, 0.1); });
    call("gammastar", [&] { return gammastar_ser(&value, &error, x), sarko_error_t{0}; });
    for (const int32_t n : {-3, 1, 2, 7, 200, INT32_MAX}) {
        call("psin", [&] { return sarvo_psin_e(n, x, &value, &error); });
        call("psi_int", [&] { return sarvo_psi_int_e(n, &value, &error); });
        call("lnfact", [&] { return sarvo_lnfact_f(static_cast<uint32_t>(n), &value, &error); });
        call("sgn_sing", [&] { return lngamma_sgn_sing(n, x, &value, &error, &sign); });
    }
    for (const double s : {1.5, 2.0, 30.0, 60.0, 1e300, inf, not_a_number})
        call("hzeta", [&] { return sarvo_hzeta_e(s, x, &value, &error); });
    watch("stirling", {x}, [&] { return sarvo_lngamma_stirling(x); });
    watch("gauss", {x}, [&] { return sarvo_rnd_gauss_df(x, 1.0); });
}

TEST(Durations, AreBoundedInEveryRoundingModeAndWithoutSubnormalNumbers) {
    const std::vector<double> some = {5e-324, 0.5, 5e7, 1e10, DBL_MAX};
    for (const int rounding : {FE_TONEAREST, FE_UPWARD, FE_DOWNWARD, FE_TOWARDZERO})
        for (const bool flush : {false, true}) {
            SCOPED_TRACE("rounding " + std::to_string(rounding) + (flush ? ", flushed" : ""));
            const Mode mode(rounding, flush);
            Watch watch(5.0 * time_limit());
            for (const double x : shapes()) call_special(watch, x);
            for (const double a : some) {
                call_gamma(watch, a);
                call_student(watch, a);
                call_beta(watch, a, 2.5);
            }
            printf("rounding %d%s: slowest %s\n", rounding, flush ? ", flushed" : "", watch.slowest().c_str());
        }
}

} // namespace
