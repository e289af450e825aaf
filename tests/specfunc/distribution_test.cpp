// The distribution functions: the plain loops' bits, sentinels, exact points, and loops that end.
#include <limits>

#include "literal.h"
#include "test_support.h"

namespace {

using test::bits;

constexpr double nan = std::numeric_limits<double>::quiet_NaN();
constexpr double inf = std::numeric_limits<double>::infinity();

TEST(Distributions, AreThePlainLoops) {
    test::Random random(71);
    const auto shape = [&] { return std::pow(10.0, 3.0 * random.symmetric()); };
    for (int i = 0; i < 3000; i++) {
        const double a = shape(), b = shape(), x = i % 2 ? random.uniform() : shape() * 1e-3;
        EXPECT_EQ(bits(sarvo_rnd_betadf_value(a, b, x)), bits(literal::beta(a, b, x))) << a << " " << b << " " << x;
        const double w = b / (a * x + b), I = literal::beta(b / 2, a / 2, w);
        EXPECT_EQ(bits(sarvo_rnd_fdf(a, b, x)), bits(1 - I));
        const double t = 5.0 * random.symmetric(), T = literal::beta(a / 2, 0.5, a / (t * t + a));
        EXPECT_EQ(bits(sarvo_rnd_studentdf(a, t)), bits(t > 0 ? 1 - T / 2 : T / 2)) << a << " " << t;
        const double y = 3.0 * a * random.uniform();
        EXPECT_EQ(bits(sarvo_rnd_gammadf_value(a, y)), bits(literal::gamma(a, y))) << a << " " << y;
        EXPECT_EQ(bits(sarvo_rnd_chi2df(a, y)), bits(literal::gamma(a / 2, y / 2)));
    }
    EXPECT_EQ(bits(sarvo_rnd_betadf_fraction(2.5, 1.5, 0.25)), bits(literal::beta(2.5, 1.5, 0.25)));
    EXPECT_EQ(bits(sarvo_rnd_gammadf_series(2.5, 1.5)), bits(literal::gamma(2.5, 1.5)));
    EXPECT_EQ(1.0 - sarvo_rnd_gammadf_fraction(2.5, 6.0), literal::gamma(2.5, 6.0));
}

TEST(Distributions, HaveTheirSentinelsAndExactPoints) {
    const struct {
        const char *what;
        double actual, expected;
    } cases[] = {
        {"gauss(0, 1)", sarvo_rnd_gauss_df(0.0, 1.0), 1.0 / 2.5066282746310002},
        {"gauss(0, -2)", sarvo_rnd_gauss_df(0.0, -2.0), 1.0 / (2.0 * 2.5066282746310002)},
        {"beta at 0", sarvo_rnd_betadf_value(2.0, 3.0, 0.0), 0.0},
        {"beta below 0", sarvo_rnd_betadf_value(2.0, 3.0, -1.0), 0.0},
        {"beta at 1", sarvo_rnd_betadf_value(2.0, 3.0, 1.0), 1.0},
        {"beta_inv at 0", sarvo_rnd_betadf_inv(2.0, 3.0, 0.0), 0.0},
        {"beta_inv at 1", sarvo_rnd_betadf_inv(2.0, 3.0, 1.0), 1.0},
        {"beta_inv above 1", sarvo_rnd_betadf_inv(2.0, 3.0, 1.5), -1.0},
        {"beta_inv below 0", sarvo_rnd_betadf_inv(2.0, 3.0, -0.5), -1.0},
        {"F below 0", sarvo_rnd_fdf(2.0, 3.0, -1.0), -1.0},
        {"F at 0", sarvo_rnd_fdf(2.0, 3.0, 0.0), 0.0},
        {"F at infinity", sarvo_rnd_fdf(2.0, 3.0, inf), 1.0},
        {"F_inv outside", sarvo_rnd_fdf_inv(2.0, 3.0, 1.5), -0.75},
        {"F_inv at 0", sarvo_rnd_fdf_inv(2.0, 3.0, 0.0), 0.0},
        {"F_inv at 1", sarvo_rnd_fdf_inv(2.0, 3.0, 1.0), inf},
        {"t at 0", sarvo_rnd_studentdf(4.0, 0.0), 0.5},
        {"t, nu below 0", sarvo_rnd_studentdf(-1.0, 2.0), -1.0},
        {"t at infinity", sarvo_rnd_studentdf(4.0, inf), 1.0},
        {"t at -infinity", sarvo_rnd_studentdf(4.0, -inf), 0.0},
        {"t_inv at 0.5", sarvo_rnd_studentdf_inv(4.0, 0.5), 0.0},
        {"t_inv at 0", sarvo_rnd_studentdf_inv(4.0, 0.0), -0.0},
        {"t_inv at 1", sarvo_rnd_studentdf_inv(4.0, 1.0), inf},
        {"t_inv at -1", sarvo_rnd_studentdf_inv(4.0, -1.0), -inf},
        {"t_inv outside", sarvo_rnd_studentdf_inv(4.0, 1.5), nan},
        {"gamma at 0", sarvo_rnd_gammadf_value(2.0, 0.0), 0.0},
        {"gamma far up", sarvo_rnd_gammadf_value(2.0, 1e200), 1.0},
        {"gamma_inv at 0", sarvo_rnd_gammadf_inv(2.0, 0.0), 0.0},
        {"gamma_inv above 1", sarvo_rnd_gammadf_inv(2.0, 1.5), inf},
        {"chi2_inv at 0", sarvo_rnd_chi2df_inv(2.0, 0.0), 0.0},
    };
    for (const auto &c : cases) test::expect_equal_bits(&c.actual, &c.expected, 1, c.what);
    for (const double x : {0.1, 1.0, 10.0}) EXPECT_NEAR(sarvo_rnd_chi2df(2.0, x), -std::expm1(-x / 2), 4e-16) << x;
    EXPECT_NEAR(sarvo_rnd_studentdf(7.0, sarvo_rnd_studentdf_inv(7.0, 0.975)), 0.9875, 1e-15);
}

TEST(Distributions, EndForNaNInfinityAndFlickeringFractions) {
    int steps = 0;
    const double I = literal::beta_fraction(0.01, 0.02, 3.044231533522179e-13, &steps);
    EXPECT_GE(steps, 100000) << "this one is to flicker";
    EXPECT_EQ(bits(sarvo_rnd_betadf_value(0.01, 0.02, 3.044231533522179e-13)), bits(I));
    // Whatever comes back, it comes back: one argument at least is not finite.
    const double odd[] = {nan, inf, -inf, 0.0, -0.0, 0.3, 1e308, 1e-310, 2.0, -1.5};
    for (const double x : odd)
        for (const double y : odd) {
            if (!std::isfinite(x) || !std::isfinite(y)) {
                sarvo_rnd_studentdf(x, y), sarvo_rnd_studentdf_inv(x, y), sarvo_rnd_gauss_df(x, y);
                sarvo_rnd_gammadf_value(x, y), sarvo_rnd_gammadf_series(x, y), sarvo_rnd_gammadf_fraction(x, y);
                sarvo_rnd_gammadf_inv(x, y), sarvo_rnd_chi2df_inv(x, y);
            }
            for (const double z : odd) {
                if (std::isfinite(x) && std::isfinite(y) && std::isfinite(z)) continue;
                sarvo_rnd_betadf_value(x, y, z), sarvo_rnd_betadf_fraction(x, y, z), sarvo_rnd_betadf_inv(x, y, z);
                sarvo_rnd_fdf(x, y, z), sarvo_rnd_fdf_inv(x, y, z);
            }
        }
    for (const double value :
         {sarvo_rnd_betadf_value(nan, 1.0, 0.5), sarvo_rnd_betadf_value(1.0, nan, 0.5),
          sarvo_rnd_betadf_value(1.0, 1.0, nan), sarvo_rnd_betadf_inv(nan, 1.0, 0.5),
          sarvo_rnd_betadf_inv(1.0, 1.0, nan), sarvo_rnd_fdf(1.0, 1.0, nan), sarvo_rnd_fdf_inv(1.0, 1.0, nan),
          sarvo_rnd_studentdf(3.0, nan), sarvo_rnd_studentdf_inv(nan, 0.9), sarvo_rnd_gammadf_value(nan, 1.0),
          sarvo_rnd_gammadf_value(1.0, nan), sarvo_rnd_gammadf_inv(nan, 0.5), sarvo_rnd_gammadf_inv(1.0, nan),
          sarvo_rnd_gammadf_inv(inf, 0.5)})
        EXPECT_TRUE(std::isnan(value));
}

} // namespace
