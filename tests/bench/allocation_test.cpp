// Every allocating operation of the benchmarks under every failure of the allocator.
#include <sarvo/membench.h>
#include <sarvo/scimark.h>

#include "bench_support.h"

namespace {

using test::bench::Clock;

struct Scenario : test::AllocationScenario {
    Random generator = {};
    double mflops[6] = {}, result_[6] = {};
    int64_t cycles[6] = {};
    void *base = nullptr;
    double *vector = nullptr;
    double **matrix = nullptr;
    Random *made = nullptr;
    Stopwatch *watch = nullptr;
    std::function<sarko_error_t(Scenario &)> operation;

    ~Scenario() override {
        for (void *p : {base, static_cast<void *>(vector), static_cast<void *>(matrix)}) sarko_mem_free(p);
        Random_delete(made);
        Stopwatch_delete(watch);
    }
    sarko_error_t run() override {
        const Clock steady(1.0);
        for (int32_t k = 0; k < 17; k++) generator.m[k] = 1000003 * (k + 1);
        generator.i = 4;
        generator.j = 16;
        return operation(*this);
    }
    std::string result() const override {
        return test::bytes(mflops, sizeof mflops) + test::bytes(result_, sizeof result_) +
               test::bytes(cycles, sizeof cycles) + (vector ? test::bytes(vector, 40) : "") +
               (matrix ? test::bytes(matrix[1], 40) : "") + (made ? test::bytes(made->m, sizeof made->m) : "");
    }
};

TEST(Benchmarks, SurviveEveryAllocationFailure) {
    using S = Scenario;
    const struct {
        const char *name;
        uint64_t allocations; // at least
        std::function<sarko_error_t(S &)> operation;
    } cases[] = {
        {"buffers", 1,
         [](S &s) {
             void *p;
             return alloc_nonaliased_buffers(64, &p, 10, nullptr, 0, &p, 20, nullptr, 0, &s.base);
         }},
        {"bandwidth", 1,
         [](S &) {
             sarvo_membench_bandwidth_t record = {nullptr, 4096, 0, 0, 2, 0.5, 0.0, 0.0, 0.0};
             return sarvo_membench_bandwidth(7, &record);
         }},
        {"latency", 1,
         [](S &) {
             sarvo_membench_latency_t record = {2, 16, 0, 0, 0, 0, 0, 0, 0};
             return sarvo_membench_latency(4096, &record);
         }},
        {"generator", 1, [](S &s) { return new_Random_seed(1, &s.made); }},
        {"stopwatch", 1, [](S &s) { return new_Stopwatch(&s.watch); }},
        {"vector", 1, [](S &s) { return RandomVector(5, &s.generator, &s.vector); }},
        {"matrix", 1, [](S &s) { return RandomMatrix(2, 5, &s.generator, &s.matrix); }},
        {"integral", 1, [](S &s) { return MonteCarlo_integrate(100, s.result_); }},
        {"FFT", 3, [](S &s) { return kernel_measureFFT(8, 0.5, &s.generator, s.mflops, s.result_, s.cycles); }},
        {"SOR", 2, [](S &s) { return kernel_measureSOR(8, 0.5, &s.generator, s.mflops, s.result_, s.cycles); }},
        {"Monte Carlo", 2, [](S &s) { return kernel_measureMonteCarlo(0.5, nullptr, s.mflops, s.result_, s.cycles); }},
        {"sparse", 6,
         [](S &s) { return kernel_measureSparseMatMult(8, 20, 0.5, &s.generator, s.mflops, s.result_, s.cycles); }},
        {"LU", 6, [](S &s) { return kernel_measureLU(8, 0.5, &s.generator, s.mflops, s.result_, s.cycles); }},
        {"suite", 20, [](S &s) { return sarvo_scimark_all(8, 8, 8, 20, 8, 1, 0.5, s.mflops, s.result_, s.cycles); }},
    };
    const test::bench::SystemFree blocks;
    for (const auto &c : cases) {
        const uint64_t allocations = test::expect_survives_allocation_failures(c.name, [&] {
            auto scenario = std::make_unique<Scenario>();
            scenario->operation = c.operation;
            return scenario;
        });
        EXPECT_GE(allocations, c.allocations) << c.name;
    }
}

TEST(Suite, WrapsTheAllocatorsError) {
    double mflops[6], result[6];
    int64_t cycles[6];
    test::memory::arm(1, false);
    const sarko_error_t e = sarvo_scimark_all(8, 0, 0, 0, 0, 0, 0.5, mflops, result, cycles);
    test::memory::disarm();
    test::expect_error(e, 0, {"SciMark error.", "Cannot allocate 112 bytes."});
}

} // namespace
