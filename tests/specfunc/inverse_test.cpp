// The inverses are the last midpoints of the plain bisections, bit for bit.
#include <cstdlib>
#include <vector>

#include "literal.h"
#include "reference_table.h"

namespace {

using test::bits;

void expect_beta(double a, double b, double p) {
    EXPECT_EQ(bits(sarvo_rnd_betadf_inv(a, b, p)), bits(literal::beta_bisection(a, b, p)))
        << std::hexfloat << "beta " << a << ", " << b << ", " << p;
}

void expect_gamma(double a, double p) {
    EXPECT_EQ(bits(sarvo_rnd_gammadf_inv(a, p)), bits(literal::gamma_bisection(a, p)))
        << std::hexfloat << "gamma " << a << ", " << p;
}

// Probabilities of all kinds: anywhere, tiny, next to 1, in the middle, short ones that F may meet exactly.
double probability(test::Random &random, int kind) {
    switch (kind % 5) {
    case 0: return random.uniform();
    case 1: return std::pow(10.0, -300.0 * random.uniform() * random.uniform());
    case 2: return 1.0 - std::ldexp(1.0 + random.uniform(), -1 - static_cast<int>(random.below(53)));
    case 3: return 0.001 + 0.998 * random.uniform();
    default: return static_cast<double>(1 + random.below(255)) / 256.0;
    }
}

double shape(test::Random &random, double decades) { return std::pow(10.0, decades * random.symmetric()); }

// 4000 draws of each; SARVO_TEST_DRAWS says how many before a release.
int draws() {
    const char *text = std::getenv("SARVO_TEST_DRAWS");
    return text ? std::atoi(text) : 4000;
}

TEST(Inverses, AreThePlainBisectionsOverTheTables) {
    if (!test::reference_tables_present()) GTEST_SKIP() << "no reference tables beside the source tree";
    for (const test::Row &row : test::table("beta_quantile", 3, 1)) expect_beta(row.in[0], row.in[1], row.in[2]);
    for (const test::Row &row : test::table("gamma_quantile", 2, 1)) expect_gamma(row.in[0], row.in[1]);
    for (const test::Row &row : test::table("chi2_quantile", 2, 1))
        EXPECT_EQ(bits(sarvo_rnd_chi2df_inv(row.in[0], row.in[1])),
                  bits(2 * literal::gamma_bisection(row.in[0] / 2, row.in[1])));
    for (const test::Row &row : test::table("f_quantile", 3, 1)) {
        const double w = literal::beta_bisection(row.in[0] / 2, row.in[1] / 2, row.in[2]);
        EXPECT_EQ(bits(sarvo_rnd_fdf_inv(row.in[0], row.in[1], row.in[2])), bits(row.in[1] * w / row.in[0] / (1 - w)));
    }
    for (const test::Row &row : test::table("student_quantile", 2, 1)) {
        const double nu = row.in[0], p = row.in[1];
        if (p == 0.5) continue;
        const double w = literal::beta_bisection(0.5, nu / 2, p), t = std::sqrt(nu * w / (1 - w));
        EXPECT_EQ(bits(sarvo_rnd_studentdf_inv(nu, p)), bits(p < 0.5 ? -t : t)) << nu << " " << p;
    }
}

TEST(Inverses, AreThePlainBisectionsAtRandom) {
    test::Random random(61);
    for (int i = 0; i < draws(); i++) {
        const double decades = i % 2 ? 3.0 : 1.0;
        const double a = shape(random, decades), b = i % 7 ? shape(random, decades) : a;
        const double p = probability(random, i);
        if (p > 0.0 && p < 1.0) expect_beta(a, b, p);
        if (p > 0.0) expect_gamma(i % 3 ? a : 0.5 * static_cast<double>(1 + random.below(40)), p);
        ASSERT_FALSE(HasFailure());
    }
}

TEST(Inverses, AreThePlainBisectionsWhereTheComputedTailChanges) {
    // Roots at and beside the split, where the two tails do not fit together. The first once came out a unit too high:
    // the tail of one side of the split decided midpoints on the other.
    expect_beta(0x1.74ae6bdf0fbb7p+6, 0x1.08ab15e7ab2e3p+7, 0x1.06592ac262e16p-1);
    test::Random random(62);
    for (int i = 0; i < draws() / 8; i++) {
        const double a = shape(random, 2.5), b = shape(random, 2.5), split = (1 + a) / (a + b + 2);
        const double w = split * (1.0 + random.symmetric() * std::ldexp(1.0, -static_cast<int>(random.below(50))));
        const double p = literal::beta(a, b, w);
        if (p > 0.0 && p < 1.0) expect_beta(a, b, p);
        const double P = literal::gamma(a, (a + 1) * (w / split));
        if (P > 0.0 && P <= 1.0) expect_gamma(a, P);
        ASSERT_FALSE(HasFailure());
    }
}

TEST(Inverses, AreThePlainBisectionsAtTheEndsOfTheirRange) {
    const double smallest = 0x1p-1074;
    for (const double a : {1e-7, 1e-5, 0.003, 0.5, 1.0, 2.0, 1e5})
        for (const double p : {smallest, 1e-310, 0x1p-53, 0.25, 0.5, 1.0 - 0x1p-53, 1.0 - 0x1p-52}) {
            for (const double b : {1e-7, 0.02, 0.5, 1.0, 3e3}) expect_beta(a, b, p);
            if (a < 100.0) expect_gamma(a, p); // the plain search takes a steps up
        }
    for (const double a : {0.01, 0.5, 1.0, 30.0}) expect_gamma(a, 1.0);
    // Roots where the fraction flickers.
    for (const double w : {3e-13, 1e-14, 4e-16}) expect_beta(0.01, 0.02, literal::beta(0.01, 0.02, w));
}

// Shapes whose plain search takes hours: that all n below the last are below p is left to the bounds, the rest of the
// plain bisection is made.
TEST(Inverses, OfShapesUpToTheLargestPlainOnesEndAsThePlainBisections) {
    for (const double a : {3e5, 3e7, 5e7, 99999999.0, 1e8})
        for (const double p : {1e-300, 1e-12, 0.1, 0.4, 0.5, 0.6, 0.9, 1.0 - 1e-12, 1.0 - 0x1p-53, 1.0}) {
            const double x = sarvo_rnd_gammadf_inv(a, p);
            double hi = std::ceil(x), lo = hi - 1.0;
            EXPECT_GE(literal::gamma(a, hi), p) << a << " " << p;
            EXPECT_LT(literal::gamma(a, lo), p) << a << " " << p;
            double m = 0.0;
            for (;;) {
                m = (lo + hi) / 2;
                if (m == lo || m == hi) break;
                const double P = literal::gamma(a, m);
                if (P == p) break;
                (P > p ? hi : lo) = m;
            }
            EXPECT_EQ(bits(x), bits(m)) << a << " " << p;
        }
}

} // namespace
