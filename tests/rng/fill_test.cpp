// Bulk draws give the values of single draws and leave the same state, at every level of vector kernels.
#include "rng/fill.h"

#include <algorithm>
#include <functional>
#include <vector>

#include "rng/mt19937.h"
#include "rng_support.h"
#include "simd/simd.h"

namespace {

using test::make;
using test::Rng;

struct Kind {
    const char *name;
    uint32_t gauss_method;
    std::function<void(sarvo_rng_t *, uint64_t, double *)> fill;
    std::function<double(sarvo_rng_t *)> single;
};

std::vector<Kind> kinds() {
    std::vector<Kind> list = {{"uniform", 1, sarvo::rng_fill_uniform, sarvo_rng_uniform}};
    for (const uint32_t method : {1u, 2u}) {
        list.push_back({method == 1 ? "polar" : "ziggurat", method,
                        [](sarvo_rng_t *r, uint64_t n, double *out) { sarvo::rng_fill_gauss(r, -0.7, n, out); },
                        [](sarvo_rng_t *r) { return sarvo_rng_gauss(r, -0.7); }});
        for (const double shape : {0.05, 0.5, 1.0, 2.5, 1e6, -0.5})
            list.push_back(
                {method == 1 ? "gamma, polar" : "gamma", method,
                 [=](sarvo_rng_t *r, uint64_t n, double *out) { sarvo::rng_fill_gamma(r, shape, 3.1, n, out); },
                 [=](sarvo_rng_t *r) { return sarvo_rng_gamma(r, shape, 3.1); }});
    }
    return list;
}

// The word that is handed out as `drawn`: each step of the tempering undone by repetition.
uint64_t word_of(uint64_t drawn) {
    uint64_t a = drawn ^ (drawn >> 18), b = a, c, d;
    for (int i = 0; i < 3; i++) b = a ^ ((b << 15) & 0xEFC60000);
    c = b;
    for (int i = 0; i < 5; i++) c = b ^ ((c << 7) & 0x9D2C5680);
    d = c;
    for (int i = 0; i < 3; i++) d = c ^ (d >> 11);
    return d;
}

// Draws that need care are one in 2^32: zeros, and pairs of 0.5, the centre of the polar method's disc, are put where
// deviates begin, go on and end.
void plant_rare_draws(sarvo_rng_t *rng, test::Random &random) {
    auto &state = *static_cast<sarvo::Mt19937 *>(rng->state);
    for (int i = 0; i < 6; i++) {
        const uint64_t at = random.below(623);
        state.word[at] = state.word[at + 1] = word_of(0x80000000);
    }
    for (int i = 0; i < 6; i++) state.word[random.below(624)] = 0;
    state.word[623] = 0;
}

void expect_fills_equal_singles(const Kind &kind, const std::vector<uint64_t> &counts, bool rare) {
    const Rng bulk = make(31, kind.gauss_method), single = make(31, kind.gauss_method);
    test::Random random(9), same_random(9);
    for (const uint64_t count : counts) {
        if (rare) {
            plant_rare_draws(bulk.get(), random);
            plant_rare_draws(single.get(), same_random);
        }
        std::vector<double> actual(count + 1, -7.25), expected(count + 1, -7.25);
        kind.fill(bulk.get(), count, actual.data());
        std::generate_n(expected.begin(), count, [&] { return kind.single(single.get()); });
        test::expect_equal_bits(actual.data(), expected.data(), count + 1, kind.name + std::to_string(count));
        ASSERT_EQ(test::bytes(bulk->state, 5000), test::bytes(single->state, 5000)) << kind.name << " " << count;
    }
}

TEST(Fill, EqualsSingleDrawsAtEveryCountFromAnyPosition) {
    std::vector<uint64_t> counts = {0, 1, 2, 3, 4, 7, 8, 9, 31, 32, 33, 63, 64, 65, 207, 208, 311, 312, 313, 500};
    for (const uint64_t long_one : {623u, 624u, 625u, 1248u, 1249u, 5000u, 20000u}) counts.push_back(long_one);
    test::Random random(4);
    for (int i = 0; i < 200; i++) counts.push_back(random.below(i % 10 ? 40 : 900));
    const sarvo::simd::Kernels *tables[sarvo::simd::most_levels];
    const uint32_t levels = sarvo::simd::available_levels(tables, sarvo::simd::most_levels);
    for (uint32_t l = 0; l < levels; l++) {
        sarvo::simd::force_level(tables[l]);
        for (const Kind &kind : kinds())
            for (const bool rare : {false, true}) {
                SCOPED_TRACE(std::string(tables[l]->level) + (rare ? ", rare draws planted" : ""));
                expect_fills_equal_singles(kind, counts, rare);
            }
    }
    sarvo::simd::force_level(nullptr);
}

TEST(Fill, AMillionOfEachKindEqualSingleDraws) {
    for (const Kind &kind : kinds()) expect_fills_equal_singles(kind, {1, 1000000}, false);
}

int calls;

TEST(Fill, ReplacedFunctionsAreCalledOncePerValue) {
    double out[100];
    const auto replaced_double = [](void *) { return ++calls * 0.001; };
    const auto replaced_gauss = [](sarvo_rng_t *, double sigma) { return ++calls * sigma; };
    const auto replaced_gamma = [](sarvo_rng_t *, double a, double b) { return ++calls * a * b; };
    const Rng rng = make(1, 2);
    rng->get_double = replaced_double;
    sarvo::rng_fill_uniform(rng.get(), 100, out);
    EXPECT_EQ(calls, 100);
    EXPECT_EQ(out[99], 100 * 0.001);
    const Rng singles = make(1, 2);
    singles->get_double = replaced_double;
    calls = 0;
    sarvo::rng_fill_gauss(rng.get(), 1.0, 100, out); // the ziggurat takes the replaced doubles in its wedges
    calls = 0;
    for (const double x : out) ASSERT_EQ(x, sarvo_rng_gauss(singles.get(), 1.0));
    EXPECT_GT(calls, 0);
    calls = 0;
    rng->gauss = replaced_gauss;
    sarvo::rng_fill_gauss(rng.get(), 2.0, 100, out);
    EXPECT_EQ(out[99], 200.0);
    calls = 0;
    rng->gamma = replaced_gamma;
    sarvo::rng_fill_gamma(rng.get(), 2.0, 3.0, 100, out);
    EXPECT_EQ(out[99], 600.0);
}

} // namespace
