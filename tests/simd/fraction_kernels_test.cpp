// Every level of the continued fractions gives the bits of the literal loops.
#include <cmath>

#include "level_support.h"

namespace {

using test::simd::expect_same_bits;
using test::simd::Kernels;

// 10^6 lanes each. Now and then special values, shapes whose fraction flickers (left after 10^5 steps), tiny arguments.
TEST(FractionKernels, GiveTheBitsOfTheLiteralLoops) {
    test::Random random(1);
    const auto shape = [&](double decades) { return std::pow(10.0, decades * random.symmetric()); };
    for (int round = 0; round < 222300; round++) {
        const uint64_t n = 1 + static_cast<uint64_t>(round % 8);
        const bool special = round % 100 == 0;
        const double a = special ? random.special() : shape(2.0), b = special ? random.special() : shape(2.0);
        const double split = (1.0 + a) / (a + b + 2.0);
        std::vector<double> x(n), y(n);
        for (uint64_t i = 0; i < n; i++) {
            x[i] = special ? random.special() : split * random.uniform();
            y[i] = special ? std::fabs(random.special()) + 1.0 : a + 1.0 + shape(1.0);
        }
        if (round % 30000 == 1) x[0] = 3e-16; // may flicker
        std::vector<double> out(2 * n, -7.25);
        expect_same_bits(out, "fractions of " + std::to_string(n), [&](const Kernels &k, double *f) {
            k.beta_fractions(n, a, b, x.data(), f);
            if (!special || a > 0.0) k.gamma_fractions(n, special ? 2.0 : a, y.data(), f + n);
        });
        ASSERT_FALSE(HasFailure()) << "round " << round << std::hexfloat << " " << a << " " << b;
    }
    double untouched = -7.25;
    for (const Kernels *table : test::simd::levels()) table->beta_fractions(0, 1.0, 1.0, &untouched, &untouched);
    EXPECT_EQ(untouched, -7.25);
}

} // namespace
