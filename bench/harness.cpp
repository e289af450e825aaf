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

std::vector<Timing> interleave(const std::vector<Candidate> &candidates, int rounds) {
    std::vector<std::vector<double>> seconds(candidates.size());
    for (int round = -1; round < rounds; round++)
        for (size_t c = 0; c < candidates.size(); c++) {
            if (candidates[c].prepare) candidates[c].prepare();
            const double start = now();
            candidates[c].run();
            const double end = now();
            if (round >= 0) seconds[c].push_back(end - start);
        }
    std::vector<Timing> timings;
    for (std::vector<double> &s : seconds) {
        std::sort(s.begin(), s.end());
        timings.push_back({quantile(s, 0.5), quantile(s, 0.25), quantile(s, 0.75)});
    }
    return timings;
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
