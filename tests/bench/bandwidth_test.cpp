// The bandwidth run: layout of the buffers, calls of the kernel, rates and their spread on a clock of the test, errors.
#include <sarvo/membench.h>

#include <algorithm>
#include <cmath>

#include "bench_support.h"

namespace {

using test::bench::Clock;

// ---- Buffers ----

uint64_t rounded(uint64_t address) { return (address + 0xFFFFF) & ~uint64_t{0xFFFFF}; }

TEST(Buffers, StartAtTheirMasksBeyondWholeMebibytes) {
    constexpr uint64_t masks[] = {0xAAAAA, 0x55555, 0xCCCCC, 0x33333};
    for (const uint32_t alignment : {0u, 1u, 128u, 4096u})
        for (const uint32_t wanted : {0u, 5u, 10u, 15u}) { // a bit for each buffer
            const test::bench::SystemFree blocks;
            const uint64_t size[] = {4096, 100, 0xFFFFFFFF80000000u, 1u << 20}, counted[] = {4096, 100, 0, 1u << 20};
            void *p[4] = {}, **out[4], *base = nullptr;
            uint64_t total = 9437184;
            for (uint32_t i = 0; i < 4; i++) {
                out[i] = wanted >> i & 1 ? &p[i] : nullptr;
                if (out[i]) total += counted[i];
            }
            test::expect_success(alloc_nonaliased_buffers(alignment, out[0], size[0], out[1], size[1], out[2], size[2],
                                                          out[3], size[3], &base));
            EXPECT_EQ(blocks.largest(), total);
            uint64_t from = reinterpret_cast<uint64_t>(base);
            for (uint32_t i = 0; i < 4; i++) {
                if (!out[i]) continue;
                const uint64_t expected = rounded(from) + (((uint64_t{1} << 32) - alignment) & masks[i]);
                EXPECT_EQ(reinterpret_cast<uint64_t>(p[i]), expected) << "buffer " << i << " of " << wanted;
                from = expected + counted[i];
            }
            EXPECT_LE(from, reinterpret_cast<uint64_t>(base) + total);
            const char *const bytes = static_cast<const char *>(base);
            EXPECT_TRUE(std::all_of(bytes, bytes + total, [](char b) { return b == '\xCC'; }));
            sarko_mem_free(base);
        }
}

// ---- The measurement ----

struct Call {
    int64_t to, from; // from the start of the destination, or of the source; -1: the temporary
    int32_t size;
    bool operator==(const Call &) const = default;
};

char destination[4096], source[4096], temporary[512];
std::vector<Call> calls;

void recording_kernel(void *to, const void *from, int32_t size) {
    calls.push_back({to == temporary ? -1 : static_cast<char *>(to) - destination,
                     from == temporary ? -1 : static_cast<const char *>(from) - source, size});
}

sarvo_membench_bandwidth_t measured(int32_t repeats, double min_time, double precision, uint64_t size = 640,
                                    uint64_t block = 0, int32_t two_pass = 0) {
    calls.clear();
    sarvo_membench_bandwidth_t record = {"unchanged", 1, 2, 3, repeats, min_time, -1.0, -1.0, precision};
    test::expect_success(
        bandwidth_bench_helper(destination, source, temporary, size, block, two_pass, recording_kernel, &record));
    EXPECT_TRUE(record.size == 1 && record.block_size == 2 && record.alignment == 3 && record.repeats == repeats &&
                record.min_time == min_time && record.precision == precision);
    EXPECT_STREQ(record.test_name, "unchanged");
    return record;
}

TEST(Measurement, DoublesTheCallsUntilTheTimeIsReached) {
    const Clock clock(0.25); // each reading: three rounds reach 0.75
    const auto record = measured(1, 0.75, 0.0);
    EXPECT_EQ(calls, std::vector<Call>(1 + 1 + 2 + 4, {0, 0, 640}));
    EXPECT_EQ(record.best, 7.0 * 640 / 0.75 / 1e6);
    EXPECT_EQ(record.deviation, 0.0);
    EXPECT_EQ(clock.readings, 4);
}

TEST(Measurement, WalksTwoPassesThroughTheTemporaryBuffer) {
    const Clock clock(1.0);
    (void)measured(1, 0.5, 0.0, 250, 100, 1); // offsets 0, 100, 200, taken down to multiples of 8
    EXPECT_EQ(
        calls,
        (std::vector<Call>{
            {0, 0, 250}, {-1, 0, 100}, {0, -1, 100}, {-1, 96, 100}, {96, -1, 100}, {-1, 200, 100}, {200, -1, 100}}));
}

TEST(Measurement, HasNoSpreadBelowThreeAndTheSampleDeviationFromThereOn) {
    const std::vector<double> seconds = {1.0, 2.0, 4.0, 2.0}; // after the first reading of a pair
    for (int32_t repeats = 1; repeats <= 4; repeats++) {
        const Clock clock([&](int64_t k) { return k % 2 ? seconds[static_cast<size_t>(k / 2)] : 0.5; });
        const auto record = measured(repeats, 0.5, -1.0);
        double mean = 0.0, squares = 0.0;
        for (int32_t i = 0; i < repeats; i++) mean += 640 / seconds[static_cast<size_t>(i)] / 1e6 / repeats;
        for (int32_t i = 0; i < repeats; i++)
            squares += std::pow(640 / seconds[static_cast<size_t>(i)] / 1e6 - mean, 2);
        EXPECT_EQ(record.best, 640 / 1.0 / 1e6);
        if (repeats < 3) {
            EXPECT_EQ(record.deviation, 0.0);
        } else {
            EXPECT_NEAR(record.deviation, std::sqrt(squares / (repeats - 1)), 1e-12);
        }
    }
}

TEST(Measurement, EndsEarlyWhenTheSpreadIsSmall) {
    const auto measurements = [](double precision, double wobble) {
        const Clock clock([=](int64_t k) { return k / 2 % 2 ? 1.0 + wobble : 1.0; });
        (void)measured(10, 0.5, precision);
        return calls.size() / 2;
    };
    EXPECT_EQ(measurements(0.001, 0.0), 3u); // all alike: the variance may not come out below 0
    EXPECT_EQ(measurements(0.0, 0.0), 10u);  // 0 > 0 is not reached
    EXPECT_EQ(measurements(0.2, 0.1), 3u);
    EXPECT_EQ(measurements(0.01, 0.1), 10u);
}

TEST(Measurement, OfNothingIsNothing) {
    const Clock clock(1.0);
    for (const auto &record : {measured(0, 0.5, 0.1), measured(-3, 0.5, 0.1), measured(2, 0.5, 0.1, 640, 0, 1),
                               measured(2, 0.5, 0.1, 640, 0x80000000, 1)}) {
        EXPECT_EQ(record.best, 0.0);
        EXPECT_EQ(record.deviation, 0.0);
    }
    EXPECT_TRUE(calls.empty());
    EXPECT_EQ(measured(1, 0.5, 0.1, 0x80000000).best, 0.0);
    EXPECT_EQ(calls, std::vector<Call>(2, {0, 0, 0}));
    (void)measured(1, -1.0, 0.1, (uint64_t{7} << 32) + 64); // the low half of a size counts
    EXPECT_EQ(calls, std::vector<Call>(2, {0, 0, 64}));
}

// ---- The run ----

TEST(Run, OfARecordOfZerosLeavesTheDefaultsInIt) {
    const Clock clock(1.0);
    sarvo_membench_bandwidth_t record = {};
    test::expect_success(sarvo_membench_bandwidth(14, &record));
    EXPECT_STREQ(record.test_name, "Standard memcpy");
    EXPECT_EQ(record.size, 33554432u);
    EXPECT_EQ(record.block_size, 2048u);
    EXPECT_EQ(record.alignment, 128u);
    EXPECT_EQ(record.repeats, 10);
    EXPECT_EQ(record.min_time, 0.5);
    EXPECT_EQ(record.precision, 0.001);
    EXPECT_EQ(record.best, 33.554432);
    EXPECT_EQ(record.deviation, 0.0);
    EXPECT_EQ(clock.readings, 6) << "three alike are enough";
}

TEST(Run, KnowsFifteenTests) {
    const char *const names[] = {"Copy backwards",
                                 "Copy backwards (32 byte blocks)",
                                 "Copy backwards (64 byte blocks)",
                                 "Copy",
                                 "Copy prefetched (32 bytes step)",
                                 "Copy prefetched (64 bytes step)",
                                 "2-pass copy",
                                 "2-pass copy prefetched (32 bytes step)",
                                 "2-pass copy prefetched (64 bytes step)",
                                 "Fill",
                                 "Fill (shuffle within 16 byte blocks)",
                                 "Fill (shuffle within 32 byte blocks)",
                                 "Fill (shuffle within 64 byte blocks)",
                                 "Standard memcpy",
                                 "Standard memset"};
    for (uint32_t test = 1; test <= 15; test++) {
        sarvo_membench_bandwidth_t record = {nullptr, 5000, 999, 64, 3, 1e-6, 0.0, 0.0, 1e-9};
        test::expect_success(sarvo_membench_bandwidth(test, &record));
        EXPECT_STREQ(record.test_name, names[test - 1]);
        EXPECT_TRUE(record.best > 0.0 && std::isfinite(record.best) && record.deviation >= 0.0) << test;
    }
    // Sizes below 0: nothing is copied, in buffers of no bytes.
    sarvo_membench_bandwidth_t record = {nullptr, 0xFFFFFFC0, 0x80000000, 64, 1, 1e-6, 0.0, 0.0, 0.1};
    for (const uint32_t test : {4u, 7u, 14u, 15u}) test::expect_success(sarvo_membench_bandwidth(test, &record));
    EXPECT_EQ(record.best, 0.0);
    EXPECT_EQ(record.size, 0xFFFFFFC0u);
}

TEST(Run, RefusesOtherTestsAndLeavesTheRecord) {
    for (const auto &[test, text] : {std::pair{0u, "0"}, {16u, "16"}, {4294967295u, "-1"}}) {
        sarvo_membench_bandwidth_t record = {};
        test::expect_error(sarvo_membench_bandwidth(test, &record), 0,
                           {"Cannot determine memory bandwidth.",
                            "Invalid test number " + std::string(text) + ", allowed range 1...15"});
        EXPECT_EQ(test::bytes(&record, sizeof record), std::string(sizeof record, '\0'));
    }
}

TEST(Run, WithoutMemoryLeavesTheDefaultsAlone) {
    sarvo_membench_bandwidth_t record = {nullptr, 0, 0, 0, 0, 0.0, -1.0, -2.0, 0.0};
    test::memory::arm(1, false);
    const sarko_error_t e = sarvo_membench_bandwidth(4, &record);
    test::memory::disarm();
    test::expect_error(e, 0, {"Cannot determine memory bandwidth.", "Cannot allocate 76548096 bytes."});
    EXPECT_TRUE(record.size == 33554432 && record.block_size == 2048 && record.alignment == 128 &&
                record.repeats == 10 && record.min_time == 0.5 && record.precision == 0.001);
    EXPECT_TRUE(record.test_name == nullptr && record.best == -1.0 && record.deviation == -2.0);
}

} // namespace
