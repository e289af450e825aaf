// Implementation of the bench harness.
#include "harness.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fstream>

#include <unistd.h>

#include "simd/simd.h"

extern "C" char *openblas_get_corename(void);

namespace bench {
namespace {

double now() { return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count(); }

std::string processor() {
    std::ifstream info("/proc/cpuinfo");
    std::string line;
    while (std::getline(info, line))
        if (line.rfind("model name", 0) == 0) return line.substr(line.find(':') + 2);
    return "unknown processor";
}

double quantile(const std::vector<double> &sorted, double q) {
    return sorted[static_cast<size_t>(q * static_cast<double>(sorted.size() - 1))];
}

} // namespace

void print_environment(const std::string &peers) {
    std::printf("processor: %s; kernels chosen: %s; OpenBLAS kernels: %s\n", processor().c_str(),
                sarvo::simd::kernels().level, openblas_get_corename());
    std::printf("compiler: %s; library flags: %s; commit: %s\n", __VERSION__, SARVO_BENCH_FLAGS, SARVO_BENCH_COMMIT);
    std::printf("peers: %s\n", peers.c_str());
}

std::vector<Timing> interleave(const std::vector<Candidate> &candidates, int rounds, int repeats) {
    std::vector<std::vector<double>> seconds(candidates.size());
    for (int round = -1; round < rounds; round++)
        for (size_t c = 0; c < candidates.size(); c++) {
            if (candidates[c].prepare) candidates[c].prepare();
            const double start = now();
            for (int r = 0; r < repeats; r++) candidates[c].run();
            const double end = now();
            if (round >= 0) seconds[c].push_back((end - start) / repeats);
        }
    std::vector<Timing> timings;
    for (std::vector<double> &s : seconds) {
        std::sort(s.begin(), s.end());
        timings.push_back({quantile(s, 0.5), quantile(s, 0.25), quantile(s, 0.75)});
    }
    return timings;
}

double compare(const std::string &what, uint64_t n, double work, const std::vector<Candidate> &candidates,
               double at_least) {
    constexpr double shortest = 20e-6, budget = 0.5; // seconds: of one timing, of all of them
    const double once = interleave({candidates[0]}, 3)[0].median;
    const bool repeatable = !candidates[0].prepare;
    const int repeats = repeatable ? std::max(1, static_cast<int>(shortest / once)) : 1;
    const double round = once * repeats * static_cast<double>(candidates.size());
    const auto t = interleave(candidates, std::clamp(static_cast<int>(budget / round), 5, 501), repeats);
    std::printf("%-12s %8llu | %11.3f us (%.3f .. %.3f) %7.2f G/s |", what.c_str(), static_cast<unsigned long long>(n),
                t[0].median * 1e6, t[0].low * 1e6, t[0].high * 1e6, work / t[0].median * 1e-9);
    double best = 0.0;
    for (size_t c = 1; c < t.size(); c++) {
        const double ratio = t[c].median / t[0].median;
        best = c == 1 ? ratio : std::min(best, ratio);
        std::printf(" %s %.2f", candidates[c].name.c_str(), ratio);
    }
    if (at_least > 0.0) std::printf(" | best %.2f, wanted %.2f%s", best, at_least, best < at_least ? ": BELOW" : "");
    std::printf("\n");
    std::fflush(stdout);
    return t[0].median;
}

double addition_latency() {
    constexpr int count = 10000000;
    double best = 1.0;
    for (int round = 0; round < 5; round++) {
        volatile double seed = 1e-3;
        const double step = seed;
        double sum = 0.0;
        const double start = now();
        for (int i = 0; i < count; i++) {
            sum += step;
            asm volatile("" : "+x"(sum)); // one addition after the other
        }
        best = std::min(best, (now() - start) / count);
        seed = sum;
    }
    return best;
}

std::string format(const Timing &t) {
    char text[64];
    std::snprintf(text, sizeof text, "%.3f ms (%.3f .. %.3f)", t.median * 1e3, t.low * 1e3, t.high * 1e3);
    return text;
}

void use_best_openblas_kernels(char **argv) {
    if (std::getenv("OPENBLAS_CORETYPE")) return;
#if defined(__x86_64__)
    const char *best = nullptr;
    if (__builtin_cpu_supports("avx2") && __builtin_cpu_supports("fma")) best = "Haswell";
    if (__builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512dq") && __builtin_cpu_supports("avx512vl"))
        best = "SkylakeX";
    if (!best) return;
    setenv("OPENBLAS_CORETYPE", best, 1);
    execv("/proc/self/exe", argv);
#else
    (void)argv;
#endif
}

} // namespace bench
