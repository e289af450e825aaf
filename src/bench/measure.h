// The measuring loop of the suite's kernels: twice the cycles in each pass, until a pass takes long enough.
#pragma once

#include <stdlib.h>

#include <sarvo/scimark.h>

#include "core/fail.h"

namespace sarvo::bench {

constexpr int64_t most_cycles = int64_t{1} << 62; // ends the run of a kernel that has nothing to do

// A stopwatch of the suite, which the system's free releases.
class Watch {
public:
    Watch() = default;
    Watch(const Watch &) = delete;
    Watch &operator=(const Watch &) = delete;
    ~Watch() { Stopwatch_delete(watch_); }
    [[nodiscard]] sarko_error_t allocate() { return new_Stopwatch(&watch_); }
    Stopwatch *get() const { return watch_; }

private:
    Stopwatch *watch_ = nullptr;
};

struct Outcome {
    double *mflops, *result;
    int64_t *cycles;
};

// run(cycles) is timed and may fail, result() of a pass is not and may not; flops(cycles) counts the last pass.
template <class Run, class Result, class Flops>
sarko_error_t measure(double min_time, Run run, Result result, Flops flops, const Outcome &out) {
    Watch watch;
    if (sarko_error_t e = watch.allocate()) return e;
    double total = 0.0, elapsed;
    int64_t cycles = 1;
    for (;; cycles *= 2) {
        Stopwatch_reset(watch.get());
        Stopwatch_start(watch.get());
        const sarko_error_t e = run(cycles);
        Stopwatch_stop(watch.get());
        if (e) return e;
        total += result();
        elapsed = Stopwatch_read(watch.get());
        if (!(elapsed < min_time) || cycles >= most_cycles) break; // a NaN ends it, too
    }
    *out.mflops = flops(cycles) / elapsed * 1e-6;
    *out.result = total;
    *out.cycles = cycles;
    return 0;
}

[[nodiscard]] inline sarko_error_t refuse_negative(int32_t size) { return size < 0 ? fail(SarvoSMInvalidNumEC) : 0; }

// For functions that count iterations in 32 bits: f(iterations) as often as it takes.
template <class F> void in_parts(int64_t cycles, F f) {
    constexpr int64_t most = INT32_MAX;
    for (; cycles > most; cycles -= most) f(INT32_MAX);
    f(static_cast<int32_t>(cycles));
}

} // namespace sarvo::bench
