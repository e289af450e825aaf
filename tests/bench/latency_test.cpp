// The latency run: chains against their formulas in wide integers, the record's rules on a clock of the test, errors.
#include <sarvo/membench.h>

#include <algorithm>
#include <cmath>

#include "bench/chains.h"
#include "bench_support.h"

namespace {

using test::bench::Clock;

// ---- Chains ----

struct Chain {
    uint64_t x = 0;
    std::vector<uint64_t> indices;
};

constexpr uint64_t word = uint64_t{1} << 32;

uint64_t extended(int8_t byte) { return static_cast<uint64_t>(int64_t{byte}) % word; }

std::vector<uint64_t> steps(uint64_t x, int count) {
    std::vector<uint64_t> all = {x};
    for (int i = 0; i < count; i++) all.push_back((all.back() * 1103515245 + 12345) % word);
    return all;
}

void single_step(Chain &c, const std::vector<int8_t> &bytes, uint64_t mask) {
    const auto x = steps(c.x, 3);
    const uint64_t index = ((x[3] & 0x7FFF0000) | (x[2] / 256 & 0xFF00) | (x[1] / 65536 & 0xFF)) & mask;
    c.x = extended(bytes[index]) | x[3];
    c.indices.push_back(index);
}

void dual_step(Chain &c, const std::vector<int8_t> &bytes, uint64_t mask) {
    const auto x = steps(c.x, 5);
    const uint64_t i1 = (x[5] / 16777216 | (x[4] & 0x7FFF0000) | (x[2] / 256 & 0xFF00)) & mask;
    const uint64_t i2 = (i1 ^ ((x[5] / 65536 & 0xFF) | (x[3] & 0x7FFF0000) | (x[1] / 256 & 0xFF00))) & mask;
    c.x = (extended(bytes[i2]) + (extended(bytes[i1]) | x[5])) % word;
    c.indices.insert(c.indices.end(), {i1, i2});
}

TEST(Chains, FollowTheirFormulasInWholeGroupsOfSixteen) {
    test::Random random(1);
    for (const uint32_t bits : {1u, 4u, 10u, 16u, 20u}) {
        std::vector<int8_t> bytes(size_t{1} << bits);
        for (int8_t &b : bytes) b = static_cast<int8_t>(random.next());
        for (const int32_t reads : {-16, 0, 15, 16, 17, 31, 32, 1000}) {
            Chain single, dual;
            for (int32_t i = 0; i < reads / 16 * 16; i++) {
                single_step(single, bytes, bytes.size() - 1);
                dual_step(dual, bytes, bytes.size() - 1);
            }
            EXPECT_EQ(sarvo::bench::single_chain(bytes.data(), reads, bits), single.x) << bits << " " << reads;
            EXPECT_EQ(sarvo::bench::dual_chain(bytes.data(), reads, bits), dual.x) << bits << " " << reads;
        }
    }
}

TEST(Chains, ReadAllOverTheRegion) {
    const std::vector<int8_t> zeros(1 << 16);
    Chain single, dual;
    for (int i = 0; i < 20000; i++) {
        single_step(single, zeros, zeros.size() - 1);
        dual_step(dual, zeros, zeros.size() - 1);
    }
    for (const Chain *c : {&single, &dual}) {
        std::vector<int> lines(zeros.size() / 64);
        for (const uint64_t index : c->indices) lines[index / 64]++;
        EXPECT_EQ(std::count(lines.begin(), lines.end(), 0), 0);
    }
}

// ---- The run ----

// Seconds of the timed runs in their order: single and dual in turn.
struct Times {
    std::vector<double> seconds;
    double operator()(int64_t reading) const {
        return reading % 2 ? seconds.at(static_cast<size_t>(reading / 2)) : 0.0;
    }
};

TEST(Run, SubtractsWhatTheChainsTakeInTheCacheAndKeepsTheSmallest) {
    sarvo_membench_latency_t record = {2, 1000, 0, -1, -1, 0.001, -1, -1, 0.001};
    const Clock clock(Times{{0.5, 0.75, 0.25, 1.0, /* overheads 0.25, 0.75 */ 1.25, 0.5, 0.75, 1.0}});
    test::expect_success(sarvo_membench_latency(3000, &record));
    EXPECT_EQ(record.test_size, 2048u);
    EXPECT_NEAR(record.single_ns, 0.5 * 1e9 / 1000, 1e-3);
    EXPECT_EQ(record.dual_ns, 0.0) << "no time is below 0";
    EXPECT_EQ(record.single_deviation, 0.0);
    EXPECT_EQ(record.dual_deviation, 0.0);
    EXPECT_EQ(clock.readings, 16);
}

TEST(Run, ReportsTheSampleDeviationOfSecondsAndEndsWhenBothAreSmall) {
    const auto run = [](double single_precision, double dual_precision, int64_t *readings) {
        sarvo_membench_latency_t record = {5, 16, 0, 0, 0, single_precision, 0, 0, dual_precision};
        Times times{std::vector<double>(10, 0.0)}; // no overhead
        for (const double t : {1.0, 2.0, 3.0, 4.0, 5.0}) times.seconds.insert(times.seconds.end(), {t, 1.0});
        const Clock clock(times);
        test::expect_success(sarvo_membench_latency(1024, &record));
        *readings = clock.readings;
        return record;
    };
    int64_t readings;
    const auto all = run(0.001, 0.001, &readings);
    EXPECT_EQ(readings, 40);
    EXPECT_NEAR(all.single_deviation, std::sqrt(2.5), 1e-12);
    EXPECT_EQ(all.dual_deviation, 0.0);
    EXPECT_EQ(all.single_ns, 1e9 / 16);
    const auto early = run(1.5, 0.001, &readings); // 1.5 times 1 is above the deviation 1 of three
    EXPECT_EQ(readings, 20 + 12);
    EXPECT_NEAR(early.single_deviation, 1.0, 1e-12);
    (void)run(1.5, -1.0, &readings);
    EXPECT_EQ(readings, 40) << "both must be precise";
}

TEST(Run, WithoutMeasurementsStillTellsTheRegion) {
    sarvo_membench_latency_t record = {-1, 100, 0, -1, -1, 0.1, -1, -1, 0.1};
    test::expect_success(sarvo_membench_latency(65535, &record));
    EXPECT_EQ(record.test_size, 32768u);
    EXPECT_EQ(record.single_ns, SarvoDblXmax * 1e9 / 100);
    EXPECT_EQ(record.dual_ns, SarvoDblXmax * 1e9 / 100);
    EXPECT_EQ(record.single_deviation, 0.0);
    EXPECT_EQ(record.dual_deviation, 0.0);
}

TEST(Run, MeasuresThisMachine) {
    sarvo_membench_latency_t record = {3, 100000, 0, -1, -1, 0.1, -1, -1, 0.1};
    test::expect_success(sarvo_membench_latency(1 << 22, &record));
    EXPECT_EQ(record.test_size, 1u << 22);
    for (const double t : {record.single_ns, record.dual_ns}) EXPECT_TRUE(t >= 0.0 && t < 1e6) << t;
}

TEST(Run, RefusesSmallBuffersAndLeavesTheRecord) {
    sarvo_membench_latency_t record = {};
    test::expect_error(sarvo_membench_latency(1023, &record), 0,
                       {"Cannot determine memory latency.", "Invalid size of buffer 1023, must be at least 1024"});
    EXPECT_EQ(test::bytes(&record, sizeof record), std::string(sizeof record, '\0'));
}

TEST(Run, WithoutMemoryLeavesTheDefaultsAlone) {
    for (const auto &[size, text] : {std::pair{uint64_t{1024}, "5119"}, {UINT64_MAX, "18446744073709551615"}}) {
        sarvo_membench_latency_t record = {0, 0, 7, -1, -1, 0, -1, -1, 0};
        if (size == 1024) test::memory::arm(1, false); // the other size no allocator has
        const sarko_error_t e = sarvo_membench_latency(size, &record);
        test::memory::disarm();
        test::expect_error(e, 0,
                           {"Cannot determine memory latency.", "Cannot allocate " + std::string(text) + " bytes."});
        EXPECT_TRUE(record.repeats == 10 && record.reads == 10000000 && record.single_precision == 0.001 &&
                    record.dual_precision == 0.001);
        EXPECT_TRUE(record.test_size == 7 && record.single_ns == -1 && record.dual_ns == -1);
    }
}

} // namespace
