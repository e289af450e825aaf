// Errors over the reference tables: values within four times what the stated formulas reach, estimates that bound them.
#include <sarvo/rnd.h>
#include <sarvo/specfunc.h>

#include <chrono>
#include <functional>

#include "reference_table.h"

namespace {

using test::Attainable;
using test::Row;

struct Result {
    double value, error = 0.0;
    double sign = 0.0;
};

struct Worst {
    long double rel = 0, abs = 0;
    double seconds = 0;
    int rows = 0, within = 0, within_twice = 0, within_16 = 0;
};

// Runs a table; every row must be within four times the attainable error of its tag, relatively or absolutely.
Worst run(
    const std::string &file, const std::string &name, size_t inputs, const std::function<Result(const Row &)> &f,
    const std::function<bool(const Row &)> &counts = [](const Row &) { return true; }, size_t outputs = 1) {
    const auto limits = test::attainable(name);
    Worst worst;
    for (const Row &row : test::table(file, inputs, outputs)) {
        if (!counts(row)) continue;
        const auto limit = limits.find(row.tag);
        if (limit == limits.end()) continue;
        const auto start = std::chrono::steady_clock::now();
        const Result r = f(row);
        const std::chrono::duration<double> time = std::chrono::steady_clock::now() - start;
        const long double abs = std::fabs(r.value - row.out[0]);
        const long double rel = row.out[0] != 0 ? abs / std::fabs(row.out[0]) * 0x1p52L : (abs == 0 ? 0 : INFINITY);
        EXPECT_TRUE(rel <= 4 * limit->second.rel || abs <= 4 * limit->second.abs)
            << file << " " << row.tag << std::hexfloat << " at " << row.in[0] << ", " << row.in.back() << ": "
            << r.value << std::defaultfloat << ", errors " << rel << " eps, " << abs;
        if (outputs == 2 && r.sign != 0.0) {
            EXPECT_EQ(r.sign, static_cast<double>(row.out[1])) << row.in[0];
        }
        worst.rel = std::max(worst.rel, rel);
        worst.abs = std::max(worst.abs, abs);
        worst.seconds = std::max(worst.seconds, time.count());
        worst.rows++;
        worst.within += abs <= r.error;
        worst.within_16 += abs <= 16 * r.error;
        worst.within_twice += abs <= 2 * r.error + 0x1p-53 * std::fabs(row.out[0]);
    }
    EXPECT_GT(worst.rows, 0) << file;
    EXPECT_LT(worst.seconds, 1.0) << file;
    return worst;
}

Result checked(sarko_error_t e, const Result &r) {
    test::expect_success(e);
    return r;
}

int32_t integer(double x) { return static_cast<int32_t>(x); }

class ReferenceTables : public testing::Test {
protected:
    void SetUp() override {
        if (!test::reference_tables_present()) GTEST_SKIP() << "no reference tables beside the source tree";
    }
};

TEST_F(ReferenceTables, SpecialFunctionsAreWithinFourTimesTheAttainableErrorAndBoundIt) {
    struct Case {
        std::string file;
        size_t inputs;
        double share, share_twice; // of rows that the estimate must bound
        std::function<Result(const Row &)> f;
        std::function<bool(const Row &)> counts;
        size_t outputs = 1;
    };
    const auto all = [](const Row &) { return true; };
    const auto positive = [](const Row &row) { return row.in[0] > 0; };
    const auto negative = [](const Row &row) { return row.in[0] < 0; };
    const auto psi = [](const Row &row) {
        Result r;
        return checked(sarvo_psi_e(row.in[0], &r.value, &r.error), r);
    };
    const auto psi1 = [](const Row &row) {
        Result r;
        return checked(sarvo_psi1_e(row.in[0], &r.value, &r.error), r);
    };
    const std::vector<Case> cases = {
        {"lgamma", 1, 0.99, 0.99,
         [](const Row &row) {
             Result r;
             const sarko_error_t e = sarvo_lngamma_f(&r.value, &r.error, &r.sign, row.in[0]);
             return checked(e, r);
         },
         all, 2},
        {"gamma", 1, 0.99, 0.99,
         [](const Row &row) {
             Result r;
             return checked(sarvo_gamma_f(&r.value, &r.error, row.in[0]), r);
         },
         all},
        {"lnfact", 1, 0.99, 0.99,
         [](const Row &row) {
             Result r;
             return checked(sarvo_lnfact_f(static_cast<uint32_t>(row.in[0]), &r.value, &r.error), r);
         },
         all},
        {"digamma", 1, 0.95, 0.99, psi, positive},
        {"digamma", 1, 0.78, 0.99, psi, negative},
        {"trigamma", 1, 0.99, 0.99, psi1, positive},
        {"trigamma", 1, 0.0, 0.0, psi1, negative}, // the formula ignores the rounding of pi x
        {"polygamma", 2, 0.92, 0.92,
         [](const Row &row) {
             Result r;
             return checked(sarvo_psin_e(integer(row.in[0]), row.in[1], &r.value, &r.error), r);
         },
         all},
        {"hzeta", 2, 0.99, 0.99,
         [](const Row &row) {
             Result r;
             return checked(sarvo_hzeta_e(row.in[0], row.in[1], &r.value, &r.error), r);
         },
         all}};
    for (const Case &c : cases) {
        const Worst w = run(c.file, c.file, c.inputs, c.f, c.counts, c.outputs);
        std::printf("%-10s %4d rows, estimate bounds the error of %5.1f%%, twice and half a unit %5.1f%%\n",
                    c.file.c_str(), w.rows, 100.0 * w.within / w.rows, 100.0 * w.within_twice / w.rows);
        EXPECT_GE(w.within, c.share * w.rows) << c.file;
        EXPECT_GE(w.within_twice, c.share_twice * w.rows) << c.file;
        EXPECT_TRUE(w.within_16 == w.rows || c.file != "polygamma") << w.within_16;
    }
    run(
        "lgamma", "lngamma_stirling", 1, [](const Row &row) { return Result{sarvo_lngamma_stirling(row.in[0])}; },
        positive, 2);
}

TEST_F(ReferenceTables, DistributionsAndInversesAreWithinFourTimesTheAttainableError) {
    struct Case {
        std::string file;
        size_t inputs;
        std::function<double(const std::vector<double> &)> f;
    };
    const std::vector<Case> cases = {
        {"gauss_pdf", 2, [](auto &in) { return sarvo_rnd_gauss_df(in[0], in[1]); }},
        {"beta_cdf", 3, [](auto &in) { return sarvo_rnd_betadf_value(in[0], in[1], in[2]); }},
        {"gamma_cdf", 2, [](auto &in) { return sarvo_rnd_gammadf_value(in[0], in[1]); }},
        {"f_cdf", 3, [](auto &in) { return sarvo_rnd_fdf(in[0], in[1], in[2]); }},
        {"student_cdf", 2, [](auto &in) { return sarvo_rnd_studentdf(in[0], in[1]); }},
        {"chi2_cdf", 2, [](auto &in) { return sarvo_rnd_chi2df(in[0], in[1]); }},
        {"beta_quantile", 3, [](auto &in) { return sarvo_rnd_betadf_inv(in[0], in[1], in[2]); }},
        {"gamma_quantile", 2, [](auto &in) { return sarvo_rnd_gammadf_inv(in[0], in[1]); }},
        {"f_quantile", 3, [](auto &in) { return sarvo_rnd_fdf_inv(in[0], in[1], in[2]); }},
        {"student_quantile", 2, [](auto &in) { return sarvo_rnd_studentdf_inv(in[0], in[1]); }},
        {"chi2_quantile", 2, [](auto &in) { return sarvo_rnd_chi2df_inv(in[0], in[1]); }}};
    for (const Case &c : cases) {
        const Worst w = run(c.file, c.file, c.inputs, [&](const Row &row) { return Result{c.f(row.in)}; });
        std::printf("%-17s %4d rows, largest absolute error %.3Lg, slowest row %.3f ms\n", c.file.c_str(), w.rows,
                    w.abs, w.seconds * 1e3);
    }
}

TEST_F(ReferenceTables, QuantilesLeadBackToTheirProbabilities) {
    // A quantile is a double: its neighbours' probabilities bound what can be demanded of it; for F and Student those
    // of the neighbours of w, from which the probability is taken.
    const auto blur = [](double a, double b, double w) {
        const double below = sarvo_rnd_betadf_value(a, b, std::nextafter(w, 0.0));
        return sarvo_rnd_betadf_value(a, b, std::nextafter(w, 2.0)) - below;
    };
    const auto back = [](const std::string &file, size_t inputs, long double abs, auto cdf, auto quantile,
                         auto resolution) {
        for (const Row &row : test::table(file, inputs, 1)) {
            const double p = row.in.back(), x = quantile(row.in);
            const double next = cdf(row.in, std::nextafter(x, INFINITY)) - cdf(row.in, std::nextafter(x, 0.0));
            const double step = std::max(std::fabs(next), resolution(row.in, x));
            EXPECT_LE(std::fabs(cdf(row.in, x) - std::fabs(p)), 4 * static_cast<double>(abs) + step)
                << file << " " << row.in[0] << " " << p << " " << x;
        }
    };
    const auto none = [](const auto &, double) { return 0.0; };
    const double beta = static_cast<double>(test::attainable("beta_cdf")[""].abs);
    const double gamma = static_cast<double>(test::attainable("gamma_cdf")[""].abs);
    back(
        "beta_quantile", 3, beta, [](auto &in, double x) { return sarvo_rnd_betadf_value(in[0], in[1], x); },
        [](auto &in) { return sarvo_rnd_betadf_inv(in[0], in[1], in[2]); }, none);
    back(
        "f_quantile", 3, test::attainable("f_cdf")[""].abs,
        [](auto &in, double x) { return sarvo_rnd_fdf(in[0], in[1], x); },
        [](auto &in) { return sarvo_rnd_fdf_inv(in[0], in[1], in[2]); },
        [&](auto &in, double x) { return blur(in[1] / 2.0, in[0] / 2.0, in[1] / (in[0] * x + in[1])); });
    back(
        "student_quantile", 2, test::attainable("student_cdf")[""].abs,
        [](auto &in, double t) { return 2.0 * sarvo_rnd_studentdf(in[0], std::fabs(t)) - 1.0; },
        [](auto &in) { return sarvo_rnd_studentdf_inv(in[0], in[1]); },
        [&](auto &in, double t) { return blur(in[0] / 2.0, 0.5, in[0] / (t * t + in[0])); });
    back(
        "gamma_quantile", 2, gamma, [](auto &in, double x) { return sarvo_rnd_gammadf_value(in[0], x); },
        [](auto &in) { return sarvo_rnd_gammadf_inv(in[0], in[1]); }, none);
    back(
        "chi2_quantile", 2, gamma, [](auto &in, double x) { return sarvo_rnd_chi2df(in[0], x); },
        [](auto &in) { return sarvo_rnd_chi2df_inv(in[0], in[1]); }, none);
}

TEST_F(ReferenceTables, DistributionFunctionsAscendUpToTheirError) {
    const double beta = 4.0 * static_cast<double>(test::attainable("beta_cdf")[""].abs);
    const double gamma = 4.0 * static_cast<double>(test::attainable("gamma_cdf")[""].abs);
    for (const double a : {0.01, 0.7, 3.0, 250.0})
        for (const double b : {0.05, 2.0, 90.0}) {
            double last_beta = 0.0, last_gamma = 0.0, last_F = 0.0, last_t = 0.0;
            for (int i = 1; i < 10000; i++) {
                const double x = i * 1e-4, wide = 3.0 * b * a * x;
                const double I = sarvo_rnd_betadf_value(a, b, x), P = sarvo_rnd_gammadf_value(a, wide);
                const double F = sarvo_rnd_fdf(a, b, wide), t = sarvo_rnd_studentdf(a, 20.0 * x - 10.0);
                EXPECT_TRUE(I >= last_beta - beta && P >= last_gamma - gamma && F >= last_F - beta &&
                            t >= last_t - beta)
                    << a << " " << b << " " << x;
                last_beta = I, last_gamma = P, last_F = F, last_t = t;
            }
        }
}

} // namespace
