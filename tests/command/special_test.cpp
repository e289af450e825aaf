// Special functions and distributions by the command: values, estimates, tails, densities against differences.
#include <cmath>
#include <limits>

#include "command_support.h"
#include "formula/parser.h"
#include "special/distributions.h"
#include "test_support.h"

namespace {

using namespace test::cli;
using command::Distribution;

std::vector<std::vector<double>> shapes(const Distribution &d) {
    if (d.name == "normal") return {{0.0, 1.0}, {-3.0, 2.5}};
    if (d.parameters.size() == 1) return {{0.7}, {1.0}, {3.0}, {40.0}};
    return {{0.6, 3.0}, {2.0, 2.0}, {8.0, 30.0}};
}

TEST(Distributions, TailsDensitiesAndQuantilesAgree) {
    for (const Distribution &d : command::distributions())
        for (const auto &p : shapes(d))
            for (const double q : {1e-12, 1e-5, 0.01, 0.2, 0.4, 0.5, 0.6, 0.9, 0.999, 1.0 - 1e-9}) {
                const double x = d.quantile(p, q), lower = d.lower(p, x), upper = d.upper(p, x);
                const std::string what = std::string(d.name) + " " + std::to_string(p[0]) + " at " + std::to_string(q);
                EXPECT_NEAR(lower + upper, 1.0, 1e-12) << what;
                // As near as one unit of x allows; beta near 1 and F far out know 1 - w no better.
                const double step =
                    std::fabs(x) * 0x1p-50 + (d.name == "beta" || d.name == "f" ? 1e-15 * (1.0 + x * x) : 0.0);
                EXPECT_NEAR(lower, q, 1e-12 * q + 4.0 * d.density(p, x) * step) << what;
                const bool whole_line = d.name == "normal" || d.name == "student";
                const double h =
                    1e-4 * (d.name == "beta" ? std::fmin(x, 1.0 - x) : std::fabs(x) + (whole_line ? 1.0 : 0.0));
                const double slope = q < 0.5 ? (d.lower(p, x + h) - d.lower(p, x - h)) / (2.0 * h)
                                             : (d.upper(p, x - h) - d.upper(p, x + h)) / (2.0 * h);
                EXPECT_NEAR(d.density(p, x) / slope, 1.0, 1e-4) << what;
            }
}

TEST(Distributions, KeepSmallTailsAndEnds) {
    const auto named = [](std::string_view name) -> const Distribution & {
        for (const Distribution &d : command::distributions())
            if (d.name == name) return d;
        throw std::runtime_error("no such distribution");
    };
    const std::vector<double> standard = {0.0, 1.0}, one = {1.0}, three_seven = {3.0, 7.0};
    EXPECT_NEAR(named("normal").lower(standard, -20.0) / 2.7536241186062337e-89, 1.0, 1e-12);
    EXPECT_NEAR(named("normal").upper(standard, 1.0) / 0.15865525393145707, 1.0, 1e-14);
    EXPECT_NEAR(named("student").upper(one, 1e10) / 3.183098861837907e-11, 1.0, 1e-13); // Cauchy
    EXPECT_NEAR(named("student").quantile(one, 1e-10) / -3183098861.837907, 1.0, 1e-13);
    EXPECT_NEAR(named("f").lower(three_seven, 1e-6) / 1.5241689050866e-09, 1.0, 1e-9);
    EXPECT_EQ(named("normal").quantile(standard, 0.0), -HUGE_VAL);
    EXPECT_EQ(named("gamma").quantile(one, 1.0), HUGE_VAL);
    EXPECT_EQ(named("student").quantile(one, 0.5), 0.0);
}

TEST(Formula, GammaFunctionsHaveTheirDerivatives) {
    command::Table table;
    for (const char *text : {"lngamma(a)", "gamma(a)", "psi(a)", "psi1(a)"}) {
        const auto model = command::formula::parse_model(std::string("1 ~ ") + text, table, {"a"});
        auto work = model.right.work(1);
        const auto at = [&](double a, double *gradient) {
            return model.right.evaluate({}, 0, std::span<const double>(&a, 1), gradient, work);
        };
        double slope = 0.0;
        at(2.3, &slope);
        EXPECT_NEAR(slope, (at(2.3 + 1e-5, nullptr) - at(2.3 - 1e-5, nullptr)) / 2e-5, 1e-8) << text;
    }
}

TEST(SpecialCommands, AnswerAndRefuse) {
    const struct {
        const char *arguments;
        int code;
        const char *text; // on standard output, or error when the code is not 0
    } rows[] = {
        {"eval 'lngamma(0.5)'", 0, "0.57236494292470"},
        {"eval 'lngamma(-1.5)'", 0, "\t1\n"},
        {"eval 'lngamma(-0.5)' --format json", 0, "\"sign\": -1"},
        {"eval 'lnfact(10)' 'exp(lngamma(5))' --format csv", 0, "\nexp(lngamma(5)),2"},
        {"eval '2^10 + 1'", 0, "1025"},
        {"eval ' hzeta( 2 , (1) ) '", 0, "1.6449340668482"},
        {"eval 'psin(3, 1/4)'", 0, "1538.782144009188"},
        {"eval 'psi_int(1)'", 0, "-0.577215664901532"},
        {"eval 'psi1_int(0)'", 1, "psi1_int(0): Domain error"},
        {"eval 'expmul(1000, 1e-400)'", 2, "1e-400"},
        {"eval 'gamma(-1)'", 1, "gamma(-1): Domain error"},
        {"eval 'exp(1000)'", 1, "beyond the largest number"},
        {"eval '0/0'", 1, "0/0: the value is not a number"},
        {"eval '1+1' 'gamma(-1)' '2*3'", 1, "\n2*3\t6\t"}, // what there is, and the error
        {"eval '1+1' 'gamma(-1)' '2*3'", 1, "sarvo: gamma(-1): Domain error"},
        {"eval '1+1' 'gamma(-1)' --format json", 1, "\"reason\": \"gamma(-1): Domain error\""},
        {"eval 'hzeta(2)'", 2, "hzeta takes 2 arguments"},
        {"eval 'psin(2.5, 1)'", 2, "n must be an integer from 0 to 2147483647, not 2.5"},
        {"eval '1 +'", 2, "the expression ends too early"},
        {"eval 'lngama(2)'", 2, "Did you mean 'lngamma'?"},
        {"dist student cdf 10 2.228 -2.228", 0, "0.97499411409"},
        {"dist chi2 quantile 3 0.95 --bare", 0, "7.81472790325"},
        {"dist normal pdf 0 1 0 --bare", 0, "0.39894228040143"},
        {"dist f cdf 3 7 1 --format json", 0, "\"upper\": 0.44707961346"},
        {"dist gama cdf 1 1", 2, "there is no distribution 'gama'. Did you mean 'gamma'?"},
        {"dist beta cdf 1 2", 2, "beta cdf takes a, b, then one or more points"},
        {"dist beta cdf 0 2 0.5", 2, "a must be greater than 0"},
        {"dist beta quantile 1 2 1.5", 2, "a probability lies between 0 and 1, not at 1.5"},
        {"dist beta cdf 1 2 x", 2, "'x' is not a finite number"},
    };
    for (const auto &row : rows) {
        const Answer answer = sarvo(row.arguments);
        EXPECT_EQ(answer.exit_code, row.code) << row.arguments << answer.out << answer.err;
        EXPECT_NE((row.code == 0 ? answer.out : answer.out + answer.err).find(row.text), std::string::npos)
            << row.arguments << answer.out << answer.err;
    }
}

} // namespace
