// Deviates one at a time: bits of the stated loops, distributions, other ranges of integers, the ziggurat's tables.
#include "literal.h"
#include "rng/fill.h"
#include "rng/variates.h"
#include "rng/ziggurat_tables.h"
#include "rng_support.h"
#include "statistics.h"

namespace {

using test::make;
using test::Rng;

TEST(Uniform, ScaledAndPositiveOnesAreTheStatedOnes) {
    const Rng rng = make(11);
    literal::Mt mt(11);
    for (int i = 0; i < 1000; i++) {
        ASSERT_EQ(sarvo_rng_uniform_scale(rng.get(), -3.0, 0.1), -3.0 + (0.1 - -3.0) * mt.uniform());
        ASSERT_EQ(sarvo_rng_uniformp(rng.get()), mt.positive());
    }
    int calls = 0;
    void *const state = rng->state;
    rng->state = &calls;
    rng->get_double = [](void *count) { return (*static_cast<int *>(count))++ < 3 ? 0.0 : 0.5; };
    EXPECT_EQ(sarvo_rng_uniformp(rng.get()), 0.5);
    EXPECT_EQ(calls, 4);
    rng->state = state;
}

TEST(Polar, RefusesTheCentreOfTheDiscButNotItsEdge) {
    static const double draws[] = {0.5, 0.5, 0.0, 0.5, 1.0}; // the centre; a zero, drawn again; the point (0, 1)
    int calls = 0;
    const Rng rng = make(1, 1);
    void *const state = rng->state;
    rng->state = &calls;
    rng->get_double = [](void *count) { return draws[(*static_cast<int *>(count))++ % 5]; };
    EXPECT_EQ(sarvo_rng_gauss(rng.get(), 1.0), 0.0);
    EXPECT_EQ(calls, 5);
    rng->state = state;
}

// The literal layers come from bisection in extended precision, the library's from a script with 50 digits.
TEST(Ziggurat, TablesFollowFromTheirDefinition) {
    using namespace sarvo::ziggurat;
    EXPECT_NEAR(static_cast<double>(literal::layers.R), R, 5e-12);
    for (int i = 0; i < 128; i++) {
        EXPECT_EQ(height[i], literal::layers.y[i]) << i;
        EXPECT_EQ(width[i], literal::layers.w[i]) << i;
        EXPECT_EQ(inside[i], literal::layers.k[i]) << i;
    }
    const struct {
        int i;
        double y, w;
        uint64_t k;
    } rows[] = {{0, 1.0, 1.62318314817e-08, 0},
                {1, 0.963598623011, 2.16291505214e-08, 12590644},
                {2, 0.936280813353, 2.54246305087e-08, 14272653},
                {126, 0.00553245272614, 2.05295471952e-07, 15704248},
                {127, 0.00265435214565, 2.22600839893e-07, 15472926}};
    for (const auto &row : rows) {
        EXPECT_EQ(height[row.i], row.y);
        EXPECT_EQ(width[row.i], row.w);
        EXPECT_EQ(inside[row.i], row.k);
    }
}

struct Kind {
    const char *name;
    uint32_t gauss_method;
    double shape; // 0: normal
};
const Kind kinds[] = {{"polar", 1, 0},    {"ziggurat", 2, 0},           {"gamma 0.3", 2, 0.3},
                      {"gamma 1", 2, 1},  {"gamma 2.5, polar", 1, 2.5}, {"gamma 0.5, polar", 1, 0.5},
                      {"gamma 40", 2, 40}};

TEST(Deviates, TheFirstMillionOfEachKindHasTheBitsOfTheStatedLoops) {
    for (const Kind &kind : kinds) {
        const Rng rng = make(2024, kind.gauss_method);
        literal::Mt mt(2024);
        for (int i = 0; i < 1000000; i++) {
            const double expected = kind.shape == 0 ? mt.normal(static_cast<int>(kind.gauss_method), 1.7)
                                                    : mt.gamma(static_cast<int>(kind.gauss_method), kind.shape, 0.3);
            const double drawn =
                kind.shape == 0 ? sarvo_rng_gauss(rng.get(), 1.7) : sarvo_rng_gamma(rng.get(), kind.shape, 0.3);
            ASSERT_EQ(test::bits(drawn), test::bits(expected)) << kind.name << ", deviate " << i;
        }
    }
}

TEST(Deviates, HaveTheirDistributions) {
    for (const Kind &kind : kinds) {
        const Rng rng = make(77, kind.gauss_method);
        std::vector<double> sample(test::draws());
        for (double &x : sample)
            x = kind.shape == 0 ? sarvo_rng_gauss(rng.get(), 2.0) : sarvo_rng_gamma(rng.get(), kind.shape, 2.0);
        const double p = test::kolmogorov_smirnov_p(sample, [&](double x) {
            return kind.shape == 0 ? 0.5 * std::erfc(-x / 2.0 / std::sqrt(2.0)) : test::gamma_p(kind.shape, x / 2.0);
        });
        EXPECT_GT(p, 1e-6) << kind.name;
    }
}

// A source of 24-bit integers takes two draws a point; one of 16 bits cannot fill the offset: a malfunction.
struct Narrow {
    literal::Mt mt{5};
    uint64_t offset, mask;
};
uint64_t narrow_get(void *state) {
    Narrow &s = *static_cast<Narrow *>(state);
    return s.offset + (s.mt.get() & s.mask);
}

TEST(Ziggurat, NarrowerSourcesTakeTwoDrawsOrAreRefused) {
    Narrow narrow{.offset = 1000, .mask = 0xFFFFFF};
    literal::Mt mt(5);
    const Rng rng = make(1, 2);
    void *const state = rng->state;
    rng->state = &narrow;
    rng->get = narrow_get;
    rng->get_double = [](void *s) { return static_cast<Narrow *>(s)->mt.uniform(); };
    rng->min = 1000;
    rng->max = 1000 + 0xFFFFFF;
    for (int i = 0; i < 10000; i++) {
        const double drawn = sarvo_rng_gauss(rng.get(), 1.0);
        double expected;
        for (;;) {
            const uint32_t layer = mt.get() & 0xFF;
            const uint32_t j = mt.get() & 0xFFFFFF;
            const uint32_t l = layer & 0x7F;
            double x = j * literal::layers.w[l];
            bool taken = j < literal::layers.k[l];
            if (!taken && l < 127) {
                taken = literal::layers.y[l + 1] + (literal::layers.y[l] - literal::layers.y[l + 1]) * mt.uniform() <
                        std::exp(-x * x / 2);
            } else if (!taken) {
                const double u1 = 1 - mt.uniform(), u2 = mt.uniform();
                x = 3.44428647676 - std::log(u1) / 3.44428647676;
                taken = std::exp(-3.44428647676 * (x - 1.72214323838)) * u2 < std::exp(-x * x / 2);
            }
            expected = layer & 0x80 ? x : -x;
            if (taken) break;
        }
        ASSERT_EQ(test::bits(drawn), test::bits(expected)) << i;
    }
    int reports = 0;
    sarko_error_set_malfunction_handler([](sarko_error_t, void *count) { ++*static_cast<int *>(count); }, &reports);
    rng->max = 1000 + 0xFFFF;
    narrow.mask = 0xFFFF;
    sarvo_rng_gauss(rng.get(), 1.0);
    EXPECT_GT(reports, 0);
    sarko_error_set_malfunction_handler(nullptr, nullptr);
    rng->state = state;
}

// The bounds that stand for the logarithms decide as these do, however near u is to the edge.
TEST(Deviates, OfAnyShapeEnd) {
    for (const uint32_t method : {1u, 2u}) {
        const Rng rng = make(7, method), untouched = make(7, method);
        double filled[3];
        for (const double shape : {static_cast<double>(NAN), -HUGE_VAL, -1e300, -1e9, -1000.5}) {
            EXPECT_TRUE(std::isnan(sarvo_rng_gamma(rng.get(), shape, 1.0))) << shape;
            sarvo::rng_fill_gamma(rng.get(), shape, 1.0, 3, filled);
            for (const double x : filled) EXPECT_TRUE(std::isnan(x)) << shape;
        }
        EXPECT_EQ(sarvo_rng_uniform(rng.get()), sarvo_rng_uniform(untouched.get())) << "nothing was drawn";
        for (const double shape : {HUGE_VAL, 1e300, 5e-324, 0.0, -0.5, -1000.0}) {
            sarvo_rng_gamma(rng.get(), shape, 1.0);
            sarvo::rng_fill_gamma(rng.get(), shape, 1.0, 3, filled);
        }
    }
}

TEST(GammaTrials, AreDecidedAsByTheLogarithms) {
    test::Random random(11);
    uint64_t taken = 0, refused = 0;
    for (const double a : {1.0, 1.3, 2.5, 10.0, 1000.0, 1e6, 1e9}) {
        const sarvo::GammaShape shape(a);
        for (int round = 0; round < 200000; round++) {
            const double x = 4.0 * random.symmetric(), v = 1.0 + shape.c * x;
            if (v <= 0.0) continue;
            const double V = v * v * v, h = 0.5 * (x * x) + shape.d * ((1.0 - V) + std::log(V));
            const double off = std::ldexp(random.symmetric(), -static_cast<int>(random.below(54)));
            const double u = round % 4 == 0 ? random.uniform() : std::exp(h) * (1.0 + off);
            if (!(u > 0.0 && u < 1.0)) continue;
            const bool expected = std::log(u) < h;
            (expected ? taken : refused)++;
            ASSERT_EQ(shape.takes_by_logarithms(x, V, u), expected) << a << ' ' << x << ' ' << u;
        }
    }
    EXPECT_GT(taken, 100000u);
    EXPECT_GT(refused, 100000u);
}

} // namespace
