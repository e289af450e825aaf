// The latency run: both chains over a region, less what they take in the cache.
#include <sarvo/membench.h>

#include <string.h>

#include "chains.h"
#include "core/fail.h"
#include "spread.h"

namespace sarvo::bench {
namespace {

constexpr uint64_t smallest_size = 1024, page = 4096;

uint32_t place_state; // of the generator that places the region in the buffer; never reset

uint32_t next_place() {
    const uint32_t first = congruential(place_state);
    place_state = congruential(first);
    return (first & 0xFFFF0000) + static_cast<uint32_t>(static_cast<int32_t>(place_state) >> 16);
}

void fill_defaults(sarvo_membench_latency_t &record) {
    if (record.repeats == 0) record.repeats = 10;
    if (record.reads == 0) record.reads = 10000000;
    if (record.single_precision == 0.0) record.single_precision = 0.001;
    if (record.dual_precision == 0.0) record.dual_precision = 0.001;
}

// Zero bytes from a multiple of `page` on; base receives what to release.
sarko_error_t make_region(uint64_t size, Buffer<int8_t> &base, const int8_t **region) {
    const uint64_t bytes = size > UINT64_MAX - (page - 1) ? UINT64_MAX : size + (page - 1);
    if (sarko_error_t e = base.allocate_unset(bytes)) return e;
    const uintptr_t address = reinterpret_cast<uintptr_t>(base.get());
    int8_t *const start = base.get() + ((address + page - 1) / page * page - address);
    memset(start, 0, size);
    *region = start;
    return 0;
}

double smaller(double a, double b) { return a < b ? a : b; }

// The runs of one chain.
class Chain {
public:
    typedef uint32_t (*Run)(const int8_t *, int32_t, uint32_t);
    explicit Chain(Run run) : run_(run) {}

    void calibrate(const int8_t *region, int32_t reads) { overhead_ = smaller(overhead_, time(region, reads, 1)); }

    void measure(const int8_t *region, int32_t reads, uint32_t bits) {
        double t = time(region, reads, bits) - overhead_;
        if (t < 0.0) t = 0.0;
        best_ = smaller(best_, t);
        times_.add(t);
        if (times_.tells()) deviation_ = times_.deviation();
    }

    bool precise(double precision) const { return times_.tells() && precision * best_ > deviation_; }
    double nanoseconds(int32_t reads) const { return best_ * 1e9 / reads; }
    double deviation() const { return deviation_; }

private:
    double time(const int8_t *region, int32_t reads, uint32_t bits) const {
        const double start = sarko_time_real();
        run_(region, reads, bits);
        return sarko_time_real() - start;
    }

    Run run_;
    double overhead_ = SarvoDblXmax, best_ = SarvoDblXmax, deviation_ = 0.0;
    Spread times_;
};

void run_chains(const int8_t *buffer, uint64_t size, sarvo_membench_latency_t &record) {
    const int32_t reads = record.reads;
    Chain single(single_chain), dual(dual_chain);
    for (int32_t pass = 0; pass < record.repeats; pass++) {
        single.calibrate(buffer, reads);
        dual.calibrate(buffer, reads);
    }
    const uint32_t bits = 63 - static_cast<uint32_t>(__builtin_clzll(size));
    record.test_size = uint64_t{1} << bits;
    const uint64_t blocks = size / record.test_size;
    for (int32_t measured = 0; measured < record.repeats; measured++) {
        const int8_t *const region = buffer + next_place() % blocks * record.test_size;
        single.measure(region, reads, bits);
        dual.measure(region, reads, bits);
        if (single.precise(record.single_precision) && dual.precise(record.dual_precision)) break;
    }
    record.single_ns = single.nanoseconds(reads);
    record.dual_ns = dual.nanoseconds(reads);
    record.single_deviation = single.deviation();
    record.dual_deviation = dual.deviation();
}

} // namespace
} // namespace sarvo::bench

using namespace sarvo;
using namespace sarvo::bench;

extern "C" sarko_error_t sarvo_membench_latency(uint64_t size, sarvo_membench_latency_t *record) {
    constexpr const char *text = "Cannot determine memory latency.";
    if (size < smallest_size)
        return wrap(failf(0, "Invalid size of buffer %zu, must be at least %d", static_cast<size_t>(size),
                          static_cast<int>(smallest_size)),
                    text);
    fill_defaults(*record);
    Buffer<int8_t> base;
    const int8_t *buffer;
    if (sarko_error_t e = make_region(size, base, &buffer)) return wrap(e, text);
    run_chains(buffer, size, *record);
    return 0;
}
