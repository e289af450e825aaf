// The integers of the generator: published values, seeds, bounded draws, what a failed creation leaves.
#include <sarvo/rng.h>

#include <fstream>
#include <memory>
#include <random>

#include "literal.h"
#include "rng_support.h"
#include "statistics.h"
#include "test_support.h"

namespace {

using test::make;
using test::Rng;

TEST(Stream, IsTheStandardOne) {
    EXPECT_EQ(sarvo_rng_uint32(make(5489).get()), 3499211612u);
    for (const uint32_t seed : {1u, 42u, 4357u, 5489u, 0x80000000u, 0xFFFFFFFFu}) {
        std::mt19937 standard(seed);
        const Rng a = make(seed), b = make(seed), c = make(seed);
        for (int i = 0; i < 2000; i++) {
            const auto value = static_cast<uint32_t>(standard());
            ASSERT_EQ(sarvo_rng_uint64(a.get()), value) << seed << " " << i;
            ASSERT_EQ(sarvo_rng_uint32(b.get()), value);
            ASSERT_EQ(sarvo_rng_uniform(c.get()), value * 0x1p-32);
        }
    }
}

TEST(Stream, OnlyTheLowHalfOfASeedCountsAndSeed0Is4357) {
    const struct {
        uint64_t seed, same_as;
        bool same;
    } rows[] = {{0, 4357, true},
                {5489, 5489 + (uint64_t{1} << 32), true},
                {uint64_t{1} << 32, uint64_t{7} << 32, true},
                {uint64_t{1} << 32, 0, false}};
    for (const auto &row : rows) {
        const Rng a = make(row.seed), b = make(row.same_as);
        bool same = true;
        for (int i = 0; i < 1500; i++) same &= sarvo_rng_uint64(a.get()) == sarvo_rng_uint64(b.get());
        EXPECT_EQ(same, row.same) << row.seed << " and " << row.same_as;
    }
    literal::Mt zero(uint64_t{1} << 32);
    EXPECT_EQ(sarvo_rng_uint32(make(uint64_t{1} << 32).get()), zero.get());
}

TEST(Stream, AgreesWithTheReferenceRowsAndSums) {
    std::ifstream rows(SARVO_SHARED_DATA "/rng/mt19937.csv"), sums(SARVO_SHARED_DATA "/rng/mt19937_sums.csv");
    if (!rows || !sums) GTEST_SKIP() << "no reference data at " SARVO_SHARED_DATA "/rng";
    std::string line;
    std::getline(rows, line);
    Rng rng;
    uint64_t current = ~uint64_t{0}, drawn = 0, value = 0;
    int checked = 0;
    for (; std::getline(rows, line); checked++) {
        unsigned long long seed, position, expected;
        ASSERT_EQ(std::sscanf(line.c_str(), "%llu,%llu,%llu", &seed, &position, &expected), 3);
        if (seed != current) {
            rng = make(current = seed);
            drawn = 0;
        }
        for (; drawn < position; drawn++) value = sarvo_rng_uint64(rng.get());
        ASSERT_EQ(value, expected) << line;
    }
    EXPECT_GT(checked, 300);
    std::getline(sums, line);
    while (std::getline(sums, line)) {
        unsigned long long seed, count, sum = 0, combined = 0;
        unsigned long long expected_sum, expected_xor;
        double expected_doubles, doubles = 0;
        ASSERT_EQ(std::sscanf(line.c_str(), "%llu,%llu,%llu,%llu,%lf", &seed, &count, &expected_sum, &expected_xor,
                              &expected_doubles),
                  5);
        const Rng a = make(seed), b = make(seed);
        for (uint64_t i = 0; i < count; i++) {
            const uint64_t k = sarvo_rng_uint64(a.get());
            sum += k;
            combined ^= k;
            doubles += sarvo_rng_uniform(b.get());
        }
        EXPECT_EQ(sum, expected_sum) << line;
        EXPECT_EQ(combined, expected_xor) << line;
        EXPECT_EQ(doubles, expected_doubles) << line;
    }
}

TEST(Record, IsFilledAsDeclaredAndKeepsItsMethodsUntilToldOtherwise) {
    sarvo_rng_t *fresh = nullptr;
    test::expect_success(sarvo_rng_init(&fresh, 1, 1));
    const Rng rng(fresh);
    EXPECT_EQ(rng->method, 1u);
    EXPECT_STREQ(rng->name, "MT19937");
    EXPECT_EQ(rng->max, 4294967295u);
    EXPECT_EQ(rng->min, 0u);
    EXPECT_EQ(rng->state_size, 5000u);
    EXPECT_EQ(rng->gauss_method, 0u);
    EXPECT_EQ(rng->gauss, nullptr);
    EXPECT_EQ(rng->gamma_method, 0u);
    EXPECT_EQ(rng->gamma, nullptr);
    const struct {
        sarko_error_t (*init)(sarvo_rng_t *, uint32_t);
        uint32_t method, stored_gauss, stored_gamma;
        bool fails;
    } rows[] = {{sarvo_rng_gauss_init, 3, 0, 0, true},  {sarvo_rng_gauss_init, 0, 1, 0, false},
                {sarvo_rng_gauss_init, 2, 2, 0, false}, {sarvo_rng_gauss_init, 3, 2, 0, true},
                {sarvo_rng_gauss_init, 1, 1, 0, false}, {sarvo_rng_gamma_init, 2, 1, 0, true},
                {sarvo_rng_gamma_init, 0, 1, 1, false}, {sarvo_rng_gamma_init, 9, 1, 1, true}};
    for (const auto &row : rows) {
        const std::string before = test::bytes(rng.get(), sizeof *rng);
        const sarko_error_t e = row.init(rng.get(), row.method);
        if (row.fails) {
            test::expect_error(e, SarvoRngInvalidMethodEC, {"Invalid method"});
            EXPECT_EQ(test::bytes(rng.get(), sizeof *rng), before);
        } else {
            test::expect_success(e);
        }
        EXPECT_EQ(rng->gauss_method, row.stored_gauss);
        EXPECT_EQ(rng->gamma_method, row.stored_gamma);
    }
    sarvo_rng_free(nullptr);
}

TEST(Record, AFailedCreationLeavesWhatTheHeaderSays) {
    sarvo_rng_t *const before = reinterpret_cast<sarvo_rng_t *>(16);
    sarvo_rng_t *rng = before;
    test::expect_error(sarvo_rng_init(&rng, 2, 1), SarvoRngInvalidMethodEC, {"Invalid method"});
    EXPECT_EQ(rng, nullptr);
    for (const uint64_t failing : {1u, 2u}) {
        rng = before;
        test::memory::arm(failing, false);
        const sarko_error_t e = sarvo_rng_init(&rng, 0, 1);
        EXPECT_TRUE(test::memory::disarm());
        EXPECT_EQ(sarko_error_kind(e), SARKO_KIND_MEMORY);
        sarko_error_clear(e);
        if (failing == 1) EXPECT_EQ(rng, nullptr);
        else EXPECT_TRUE(rng != nullptr && rng != before) << "the released address stays";
    }
}

struct Creation : test::AllocationScenario {
    uint32_t method;
    sarvo_rng_t *rng = nullptr;
    explicit Creation(uint32_t m) : method(m) {}
    ~Creation() override { sarvo_rng_free(rng); }
    sarko_error_t run() override {
        const sarko_error_t e = sarvo_rng_init(&rng, method, 7);
        if (e) rng = nullptr; // whatever it holds
        return e;
    }
    std::string result() const override { return test::bytes(rng->state, rng->state_size); }
};

TEST(Record, EveryAllocationMayFail) {
    for (const uint32_t method : {1u, 2u})
        EXPECT_GT(test::expect_survives_allocation_failures("method " + std::to_string(method),
                                                            [&] { return std::make_unique<Creation>(method); }),
                  0u);
}

TEST(Bounded, IsTheStatedRejectionAndUniform) {
    const uint64_t bounds[] = {1,        2,          3,          5,          6,          7,         10,
                               13,       16,         100,        255,        256,        1000,      1000003,
                               16777216, 1431655765, 2147483648, 3000000000, 4294967294, 4294967295};
    for (const uint64_t s : bounds) {
        const Rng rng = make(s);
        literal::Mt mt(s);
        constexpr uint64_t n = 100000;
        const uint64_t cells = s < 1000 ? s : 1000;
        std::vector<double> count(cells);
        for (uint64_t i = 0; i < n; i++) {
            uint64_t k;
            do k = mt.get() / (4294967295 / s);
            while (k >= s);
            const uint64_t drawn = sarvo_rng_uint64_scale(rng.get(), s);
            ASSERT_EQ(drawn, k) << s;
            count[k * cells / s]++;
        }
        double chi_square = 0;
        for (uint64_t c = 0; c < cells; c++) { // the cell's share: integers k with k cells / s = c
            const uint64_t first = (c * s + cells - 1) / cells, last = ((c + 1) * s + cells - 1) / cells;
            const double expected = static_cast<double>(n) * static_cast<double>(last - first) / static_cast<double>(s);
            chi_square += (count[c] - expected) * (count[c] - expected) / expected;
        }
        if (cells == 1) continue;
        const double p = test::chi_square_p(chi_square, static_cast<double>(cells - 1));
        EXPECT_GT(p, 1e-6) << s;
        EXPECT_LT(p, 1 - 1e-6) << s;
    }
}

uint64_t largest_then_zeros(void *state) { return (*static_cast<int *>(state))++ == 0 ? 4294967295 : 0; }

TEST(Bounded, DrawsAgainInThePartialBucketEvenForOneValue) {
    int calls = 0;
    sarvo_rng_t rng = {};
    rng.max = 4294967295;
    rng.get = largest_then_zeros;
    rng.state = &calls;
    EXPECT_EQ(sarvo_rng_uint64_scale(&rng, 1), 0u);
    EXPECT_EQ(calls, 2);
}

struct Report {
    int calls = 0, kind = 0;
    uint32_t code = 99;
    std::string message;
};
void keep_report(sarko_error_t e, void *ctx) {
    Report &report = *static_cast<Report *>(ctx);
    report.calls++;
    report.kind = sarko_error_kind(e);
    report.code = sarko_error_code(e);
    report.message = sarko_error_message(e);
}

TEST(Bounded, AnInvalidBoundIsAMalfunctionAndDrawsNothing) {
    Report report;
    sarko_error_set_malfunction_handler(keep_report, &report);
    const Rng rng = make(3), untouched = make(3);
    int expected_calls = 0;
    for (const uint64_t s : {uint64_t{0}, uint64_t{4294967296}, ~uint64_t{0}}) {
        EXPECT_EQ(sarvo_rng_uint64_scale(rng.get(), s), 0u);
        EXPECT_EQ(report.calls, ++expected_calls) << s;
        EXPECT_EQ(report.kind, SARKO_KIND_MALFUNCTION);
        EXPECT_EQ(report.code, 0u);
        EXPECT_EQ(report.message, "Invalid s in sarvo_rng_uint64_scale.");
    }
    sarko_error_set_malfunction_handler(nullptr, nullptr);
    EXPECT_EQ(sarvo_rng_uint64(rng.get()), sarvo_rng_uint64(untouched.get()));
    EXPECT_DEATH(sarvo_rng_uint64_scale(rng.get(), 0), "Invalid s in sarvo_rng_uint64_scale");
}

} // namespace
