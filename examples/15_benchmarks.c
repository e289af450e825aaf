/* Lesson 15: measuring the machine: bandwidth, latency, the SciMark kernels. What is printed holds on every machine. */
#include <stdio.h>

#include <sarvo/membench.h>
#include <sarvo/scimark.h>

/* Zeros in a record stand for defaults (32 MiB, half a second a measurement); those that were used stay in it. */
static sarko_error_t memory(void) {
    sarvo_membench_bandwidth_t copy = {.size = 1 << 20, .repeats = 3, .min_time = 1e-3};
    sarvo_membench_latency_t latency = {.repeats = 3, .reads = 16000};
    sarko_error_t e = sarvo_membench_bandwidth(4, &copy);
    if (!e) e = sarvo_membench_latency(100000, &latency);
    if (e) return e;
    printf("%s: %s MB/s, alignment %u, precision %g\n", copy.test_name, copy.best > 0.0 ? "some" : "no", copy.alignment,
           copy.precision);
    printf("latency: %llu of 100000 bytes are read at random\n", (unsigned long long)latency.test_size);
    return 0;
}

/* 1 ms a kernel is enough for a lesson; 0 would stand for 2 s. A size of 0, here that of LU, leaves a kernel out. */
static sarko_error_t suite(void) {
    static const char *const names[] = {"composite", "FFT", "SOR", "Monte Carlo", "sparse", "LU"};
    double mflops[6], result[6];
    int64_t cycles[6];
    sarko_error_t e = sarvo_scimark_all(1024, 100, 1000, 5000, 0, 1, 1e-3, mflops, result, cycles);
    if (e) return e;
    for (int slot = 0; slot < 6; slot++) printf("%-11s %s\n", names[slot], mflops[slot] > 0.0 ? "timed" : "left out");
    int passes = 1; /* of 1, 2, 4, .. cycles; results are summed over them */
    for (int64_t c = cycles[1]; c > 1; c /= 2) passes++;
    printf("a transform and its inverse change the data by %s\n", result[1] / passes < 1e-15 ? "below 1e-15" : "more");
    return 0;
}

/* The numbers are the same everywhere; an even seed stands for the odd one below it. */
static sarko_error_t numbers(void) {
    for (int seed = 101010; seed >= 101009; seed--) {
        Random *R = NULL;
        sarko_error_t e = new_Random_seed(seed, &R);
        if (e) return e;
        const double first = Random_nextDouble(R), second = Random_nextDouble(R);
        printf("seed %d: %.9f %.9f\n", seed, first, second);
        Random_delete(R);
    }
    double pi;
    sarko_error_t e = MonteCarlo_integrate(1000000, &pi);
    if (!e) printf("pi by a million samples: %.6f\n", pi);
    return e;
}

int main(void) {
    if (sarvo_initialize() != 0) return 1;
    sarko_error_t e = memory();
    if (!e) e = suite();
    if (!e) e = numbers();
    sarko_error_clear(sarko_error_handle(e, sarko_error_stdhandler, stderr));

    sarvo_membench_bandwidth_t record = {0};
    e = sarvo_membench_bandwidth(16, &record);
    printf("%s %s\n", sarko_error_message(e), sarko_error_message(sarko_error_cause(e)));
    sarko_error_clear(e);
    sarvo_terminate();
    return 0;
}
