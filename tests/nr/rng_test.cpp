// The classic generator: its stated streams, deviates with the bits of the stated loops, distributions, errors.
#include <cmath>
#include <functional>
#include <memory>
#include <vector>

#include "nr/rng_fill.h"
#include "statistics.h"
#include "test_support.h"

namespace {

struct Release {
    void operator()(sarvo_nr_rng_t *rng) const { sarvo_nr_rng_free(rng); }
};
using Rng = std::unique_ptr<sarvo_nr_rng_t, Release>;

Rng make(int32_t method, uint64_t seed) {
    sarvo_nr_rng_t *rng = nullptr;
    test::expect_success(sarvo_nr_rng_init(&rng, method, seed));
    return Rng(rng);
}

// The generator and its deviates as stated.
struct Literal {
    int method;
    uint64_t u = 0, v = 0, w = 0;

    Literal(int m, uint64_t seed) : method(m) {
        const uint64_t mask = 0x38ECAC5FB3251641, s = seed ^ mask;
        if (m == 0) {
            v = mask, w = 1, u = s;
            next();
            v = u;
            next();
            w = v;
            next();
        } else if (m == 1) {
            v = s;
            v = next();
        } else {
            v = s, w = 1;
            w = next();
            v = next();
        }
    }
    uint64_t next() {
        if (method == 1) {
            v ^= v >> 21;
            v ^= v << 35;
            v ^= v >> 4;
            return v * 0x2545F4914F6CDD1D;
        }
        v ^= v >> 17;
        v ^= v << 31;
        v ^= v >> 8;
        w = 4294957665 * (w & 0xFFFFFFFF) + (w >> 32);
        if (method == 2) return w ^ v;
        u = u * 2862933555777941757 + 7046029254386353087;
        uint64_t x = u ^ (u << 21);
        x ^= x >> 35;
        x ^= x << 4;
        return (x + v) ^ w;
    }
    double uniform() { return 5.421010862427522e-20 * static_cast<double>(next()); }
    double positive() {
        for (;;)
            if (const double x = uniform(); x != 0) return x;
    }
    double exponential(double beta) { return -std::log(positive()) / beta; }
    double logistic(double mu, double sigma) {
        for (;;) {
            const double x = uniform();
            if (x * (1 - x) != 0) return mu + 0.5513288954217921 * sigma * std::log(x / (1 - x));
        }
    }
    double cauchy(double mu, double sigma) {
        for (;;) {
            const double x = 2 * uniform() - 1;
            const double u2 = uniform();
            if (u2 != 0 && u2 * u2 + x * x < 1) return x * sigma / u2 + mu;
        }
    }
    double normal(double mu, double sigma) {
        for (;;) {
            const double a = uniform();
            const double b = 1.7156 * (uniform() - 0.5);
            const double x = a - 0.449871;
            const double y = std::fabs(b) + 0.386595;
            const double q = x * x + y * (0.196 * y - 0.25472 * x);
            if (q > 0.27846) continue;
            if (q <= 0.27597 || b * b <= -4 * std::log(a) * (a * a)) return mu + sigma * b / a;
        }
    }
    double gamma(double alpha, double beta) {
        const double alph = alpha < 1 ? alpha + 1 : alpha;
        const double a1 = alph - 1.0 / 3.0;
        const double a2 = 1 / std::sqrt(9 * a1);
        for (;;) {
            const double x = normal(0, 1);
            double t = 1 + a2 * x;
            if (t <= 0) continue;
            t = t * t * t;
            const double r = uniform();
            if (r > 1 - 0.331 * ((x * x) * (x * x)) && std::log(r) > 0.5 * (x * x) + a1 * ((1 - t) + std::log(t)))
                continue;
            return alph == alpha ? a1 * t / beta : a1 * t * std::pow(positive(), 1 / alpha) / beta;
        }
    }
};

TEST(ClassicStream, IsTheStatedOneForEachMethod) {
    for (const int method : {0, 1, 2})
        for (const uint64_t seed : {uint64_t{0}, uint64_t{1}, uint64_t{12345678901234567890u}, ~uint64_t{0}}) {
            const Rng rng = make(method, seed);
            Literal literal(method, seed);
            for (int i = 0; i < 100000; i++) {
                ASSERT_EQ(sarvo_nr_rng_uint64(rng.get()), literal.next()) << method << " " << seed << " " << i;
                ASSERT_EQ(sarvo_nr_rng_uint32(rng.get()), static_cast<uint32_t>(literal.next()));
                ASSERT_EQ(sarvo_nr_rng_double(rng.get()), literal.uniform());
            }
        }
}

TEST(ClassicStream, OtherMethodsAreKeptAndDrawZeros) {
    for (const int method : {3, -1}) {
        const Rng rng = make(method, 1);
        EXPECT_EQ(rng->method, method);
        EXPECT_EQ(rng->u | rng->v | rng->w, 0u);
        EXPECT_EQ(sarvo_nr_rng_uint64(rng.get()), 0u);
        EXPECT_EQ(sarvo_nr_rng_uint32(rng.get()), 0u);
        EXPECT_EQ(sarvo_nr_rng_double(rng.get()), 0.0);
        double out[3] = {1, 1, 1};
        sarvo::nr_rng_fill(rng.get(), 3, out);
        EXPECT_EQ(out[0] + out[1] + out[2], 0.0);
        sarvo_nr_rng_gamma_t gamma;
        test::expect_success(sarvo_nr_rng_gammadev_init(&gamma, 2.5, 1.0));
        for (const double x : {sarvo_nr_rng_expdev(rng.get(), 1.0), sarvo_nr_rng_logdev(rng.get(), 0.0, 1.0),
                               sarvo_nr_rng_cauchydev(rng.get(), 0.0, 1.0), sarvo_nr_rng_normdev(rng.get(), 0.0, 1.0),
                               sarvo_nr_rng_gammadev(rng.get(), &gamma)})
            EXPECT_TRUE(std::isnan(x)) << "no deviate can be had of zeros";
    }
    sarvo_nr_rng_free(nullptr);
}

// The state of method 1 from which `value` is drawn next: the multiplication and the shifts undone.
uint64_t state_before(uint64_t value) {
    uint64_t inverse = 1;
    for (int i = 0; i < 6; i++) inverse *= 2 - inverse * 2685821657736338717u; // Newton, modulo 2^64
    const auto undo = [](uint64_t y, int right, int left) {
        uint64_t x = y;
        for (int i = 0; i < 64; i++) x = y ^ (right ? x >> right : x << left);
        return x;
    };
    return undo(undo(undo(value * inverse, 4, 0), 0, 35), 21, 0);
}

TEST(ClassicStream, LargeDrawsRoundTo1) {
    const struct {
        uint64_t drawn;
        double value;
    } rows[] = {{~uint64_t{0}, 1.0},
                {~uint64_t{0} - 1023, 1.0},
                {~uint64_t{0} - 1024, 1.0 - 0x1p-53},
                {1, 0x1p-64},
                {(uint64_t{1} << 63) + 1024, 0.5},
                {(uint64_t{1} << 63) + 1025, 0.5 + 0x1p-53},
                {(uint64_t{1} << 63) + 3072, 0.5 + 0x1p-52}};
    const Rng rng = make(1, 1);
    for (const auto &row : rows) {
        rng->v = state_before(row.drawn);
        EXPECT_EQ(sarvo_nr_rng_double(rng.get()), row.value) << row.drawn;
        rng->v = state_before(row.drawn);
        double filled;
        sarvo::nr_rng_fill(rng.get(), 1, &filled);
        EXPECT_EQ(filled, row.value) << row.drawn;
    }
}

TEST(ClassicStream, FillsEqualSingleDraws) {
    for (const int method : {0, 1, 2}) {
        const Rng bulk = make(method, 5), single = make(method, 5);
        for (const uint64_t count : {0u, 1u, 2u, 7u, 8u, 9u, 511u, 512u, 513u, 1025u, 1000000u}) {
            std::vector<double> actual(count + 1, -7.25), expected(count + 1, -7.25);
            sarvo::nr_rng_fill(bulk.get(), count, actual.data());
            for (uint64_t i = 0; i < count; i++) expected[i] = sarvo_nr_rng_double(single.get());
            test::expect_equal_bits(actual.data(), expected.data(), count + 1, "method " + std::to_string(method));
        }
        EXPECT_EQ(test::bytes(bulk.get(), sizeof *bulk), test::bytes(single.get(), sizeof *single));
    }
}

struct Kind {
    std::string name;
    std::function<double(sarvo_nr_rng_t *)> draw;
    std::function<double(Literal &)> literal;
    std::function<double(double)> cdf;
};

std::vector<Kind> kinds() {
    const double pi = 3.14159265358979323846;
    std::vector<Kind> list = {{"exponential", [](sarvo_nr_rng_t *r) { return sarvo_nr_rng_expdev(r, 2.5); },
                               [](Literal &l) { return l.exponential(2.5); },
                               [](double x) { return -std::expm1(-2.5 * x); }},
                              {"logistic", [](sarvo_nr_rng_t *r) { return sarvo_nr_rng_logdev(r, 1.5, 0.7); },
                               [](Literal &l) { return l.logistic(1.5, 0.7); },
                               [=](double x) { return 1 / (1 + std::exp(-(x - 1.5) / 0.7 * pi / std::sqrt(3.0))); }},
                              {"Cauchy", [](sarvo_nr_rng_t *r) { return sarvo_nr_rng_cauchydev(r, -1.0, 3.0); },
                               [](Literal &l) { return l.cauchy(-1.0, 3.0); },
                               [=](double x) { return 0.5 + std::atan((x + 1.0) / 3.0) / pi; }},
                              {"normal", [](sarvo_nr_rng_t *r) { return sarvo_nr_rng_normdev(r, 0.3, 1.7); },
                               [](Literal &l) { return l.normal(0.3, 1.7); },
                               [](double x) { return 0.5 * std::erfc(-(x - 0.3) / 1.7 / std::sqrt(2.0)); }}};
    for (const double alpha : {0.4, 1.0, 7.5}) {
        sarvo_nr_rng_gamma_t g;
        test::expect_success(sarvo_nr_rng_gammadev_init(&g, alpha, 1.3));
        list.push_back(
            {"gamma " + std::to_string(alpha), [=](sarvo_nr_rng_t *r) { return sarvo_nr_rng_gammadev(r, &g); },
             [=](Literal &l) { return l.gamma(alpha, 1.3); }, [=](double x) { return test::gamma_p(alpha, 1.3 * x); }});
    }
    return list;
}

TEST(ClassicDeviates, TheFirstMillionOfEachKindHasTheBitsOfTheStatedLoopsAndItsDistribution) {
    int method = 0;
    for (const Kind &kind : kinds()) {
        method = (method + 1) % 3;
        const Rng rng = make(method, 99);
        Literal literal(method, 99);
        std::vector<double> sample(test::draws());
        for (size_t i = 0; i < sample.size(); i++) {
            sample[i] = kind.draw(rng.get());
            if (i >= 1000000) continue;
            ASSERT_EQ(test::bits(sample[i]), test::bits(kind.literal(literal))) << kind.name << " " << i;
        }
        EXPECT_GT(test::kolmogorov_smirnov_p(sample, kind.cdf), 1e-6) << kind.name << ", method " << method;
    }
}

TEST(ClassicGamma, ParametersAreFilledOrRefused) {
    sarvo_nr_rng_gamma_t g = {1, 2, 3, 4, 5};
    const std::string before = test::bytes(&g, sizeof g);
    test::expect_error(sarvo_nr_rng_gammadev_init(&g, 0.0, 1.0), SarvoDomainEC, {"0.000000 as alpha is not allowed"});
    test::expect_error(sarvo_nr_rng_gammadev_init(&g, -1.5, 1.0), SarvoDomainEC, {"-1.500000 as alpha is not allowed"});
    EXPECT_EQ(test::bytes(&g, sizeof g), before);
    test::expect_success(sarvo_nr_rng_gammadev_init(&g, 0.5, 2.0));
    EXPECT_EQ(g.alph, 1.5);
    EXPECT_EQ(g.bet, 2.0);
    EXPECT_EQ(g.oalph, 0.5);
    EXPECT_EQ(g.a1, 1.5 - 1.0 / 3.0);
    EXPECT_EQ(g.a2, 1.0 / std::sqrt(9.0 * (1.5 - 1.0 / 3.0)));
}

struct Scenario : test::AllocationScenario {
    bool creates;
    sarvo_nr_rng_t *rng = nullptr;
    sarvo_nr_rng_gamma_t g = {1, 2, 3, 4, 5};
    explicit Scenario(bool c) : creates(c) {}
    ~Scenario() override { sarvo_nr_rng_free(rng); }
    sarko_error_t run() override {
        return creates ? sarvo_nr_rng_init(&rng, 0, 1) : sarvo_nr_rng_gammadev_init(&g, -1.0, 1.0);
    }
    std::string inputs() const override { return test::bytes(&g, sizeof g); }
    std::string result() const override { return test::bytes(rng, sizeof *rng); }
};

TEST(ClassicAllocation, EveryFailureComesBackAndNothingIsLost) {
    for (const bool creates : {true, false})
        EXPECT_GT(test::expect_survives_allocation_failures(creates ? "init" : "gammadev_init",
                                                            [&] { return std::make_unique<Scenario>(creates); }),
                  0u);
}

} // namespace
