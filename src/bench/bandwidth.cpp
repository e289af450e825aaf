// The bandwidth run: the table of tests, buffers whose addresses differ in the low bits, repeated timing.
#include <sarvo/membench.h>

#include <string.h>

#include "core/fail.h"
#include "spread.h"

namespace sarvo::bench {
namespace {

struct Test {
    const char *name;
    sarvo_membench_kernel kernel;
    bool two_pass;
};

constexpr Test tests[] = {
    {"Copy backwards", aligned_block_copy_backwards, false},
    {"Copy backwards (32 byte blocks)", aligned_block_copy_backwards_bs32, false},
    {"Copy backwards (64 byte blocks)", aligned_block_copy_backwards_bs64, false},
    {"Copy", aligned_block_copy, false},
    {"Copy prefetched (32 bytes step)", aligned_block_copy_pf32, false},
    {"Copy prefetched (64 bytes step)", aligned_block_copy_pf64, false},
    {"2-pass copy", aligned_block_copy, true},
    {"2-pass copy prefetched (32 bytes step)", aligned_block_copy_pf32, true},
    {"2-pass copy prefetched (64 bytes step)", aligned_block_copy_pf64, true},
    {"Fill", aligned_block_fill, false},
    {"Fill (shuffle within 16 byte blocks)", aligned_block_fill_shuffle16, false},
    {"Fill (shuffle within 32 byte blocks)", aligned_block_fill_shuffle32, false},
    {"Fill (shuffle within 64 byte blocks)", aligned_block_fill_shuffle64, false},
    {"Standard memcpy", memcpy_wrapper, false},
    {"Standard memset", memset_wrapper, false},
};
constexpr uint32_t test_count = sizeof tests / sizeof tests[0];
static_assert(test_count == 15);

constexpr uint64_t page = 0x100000;         // what the buffers start beyond multiples of
constexpr uint64_t most_padding = 9 * page; // four buffers lose less than 2 page each
constexpr uint64_t masks[4] = {0xAAAAA, 0x55555, 0xCCCCC, 0x33333};

// The kernels take 32-bit sizes.
int32_t used_size(uint64_t size) {
    const int32_t used = static_cast<int32_t>(static_cast<uint32_t>(size));
    return used > 0 ? used : 0;
}

void fill_defaults(sarvo_membench_bandwidth_t &record) {
    if (record.size == 0) record.size = 33554432;
    if (record.block_size == 0) record.block_size = 2048;
    if (record.alignment == 0) record.alignment = 128;
    if (record.repeats == 0) record.repeats = 10;
    if (record.min_time == 0.0) record.min_time = 0.5;
    if (record.precision == 0.0) record.precision = 0.001;
}

char *align_up(char *p) {
    const uintptr_t address = reinterpret_cast<uintptr_t>(p);
    return p + ((address + page - 1) / page * page - address);
}

struct Buffers {
    char *destination;
    const char *source;
    char *temporary;
};

void copy_two_pass(const Buffers &b, int32_t size, int32_t block, sarvo_membench_kernel kernel) {
    for (int64_t offset = 0; offset < size; offset += block) {
        const int64_t at = offset & ~int64_t{7};
        kernel(b.temporary, b.source + at, block);
        kernel(b.destination + at, b.temporary, block);
    }
}

// Runs the body 1, 2, 4, ... times until min_time has passed; returns its rate for `size` bytes.
template <class Body> double measure_rate(int32_t size, double min_time, Body body) {
    const double start = sarko_time_real();
    uint64_t calls = 0;
    double elapsed;
    uint64_t n = 1;
    do {
        for (uint64_t i = 0; i < n; i++) body();
        calls += n;
        n *= 2;
        elapsed = sarko_time_real() - start;
    } while (elapsed < min_time);
    return static_cast<double>(calls) * size / elapsed / 1e6;
}

sarko_error_t run_test(const Test &test, sarvo_membench_bandwidth_t &record) {
    void *source, *destination, *temporary, *base;
    if (sarko_error_t e = alloc_nonaliased_buffers(record.alignment, &source, record.size, &destination, record.size,
                                                   &temporary, record.block_size, nullptr, 0, &base))
        return e;
    record.test_name = test.name;
    const sarko_error_t e = bandwidth_bench_helper(destination, source, temporary, record.size, record.block_size,
                                                   test.two_pass, test.kernel, &record);
    sarko_mem_free(base);
    return e;
}

} // namespace
} // namespace sarvo::bench

using namespace sarvo;
using namespace sarvo::bench;

extern "C" {

sarko_error_t alloc_nonaliased_buffers(uint32_t alignment, void **p1, uint64_t size1, void **p2, uint64_t size2,
                                       void **p3, uint64_t size3, void **p4, uint64_t size4, void **base) {
    void **const out[4] = {p1, p2, p3, p4};
    const int32_t size[4] = {used_size(size1), used_size(size2), used_size(size3), used_size(size4)};
    uint64_t total = most_padding;
    for (int i = 0; i < 4; i++)
        if (out[i]) total += static_cast<uint64_t>(size[i]);
    if (sarko_error_t e = sarko_mem_malloc(total, base)) return e;
    memset(*base, 0xCC, total);
    char *free_from = static_cast<char *>(*base);
    for (int i = 0; i < 4; i++)
        if (out[i]) {
            char *const buffer = align_up(free_from) + ((uint64_t{0} - alignment) & masks[i]);
            *out[i] = buffer;
            free_from = buffer + size[i];
        }
    return 0;
}

sarko_error_t bandwidth_bench_helper(void *destination, const void *source, void *temporary, uint64_t size,
                                     uint64_t block_size, int32_t two_pass, sarvo_membench_kernel kernel,
                                     sarvo_membench_bandwidth_t *record) {
    const Buffers buffers = {static_cast<char *>(destination), static_cast<const char *>(source),
                             static_cast<char *>(temporary)};
    const int32_t bytes = used_size(size), block = used_size(block_size);
    record->best = 0.0;
    record->deviation = 0.0;
    if (two_pass && block == 0) return 0;
    Spread rates;
    for (int32_t measured = 0; measured < record->repeats; measured++) {
        kernel(destination, source, bytes);
        const double rate =
            two_pass ? measure_rate(bytes, record->min_time, [&] { copy_two_pass(buffers, bytes, block, kernel); })
                     : measure_rate(bytes, record->min_time, [&] { kernel(destination, source, bytes); });
        rates.add(rate);
        if (rate > record->best) record->best = rate;
        if (!rates.tells()) continue;
        record->deviation = rates.deviation();
        if (record->precision * record->best > record->deviation) break;
    }
    return 0;
}

sarko_error_t sarvo_membench_bandwidth(uint32_t test, sarvo_membench_bandwidth_t *record) {
    constexpr const char *text = "Cannot determine memory bandwidth.";
    if (test < 1 || test > test_count)
        return wrap(failf(0, "Invalid test number %d, allowed range 1...%d", static_cast<int>(test),
                          static_cast<int>(test_count)),
                    text);
    fill_defaults(*record);
    return wrap(run_test(tests[test - 1], *record), text);
}

} // extern "C"
