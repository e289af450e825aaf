// Bulk draws of the two random sources beside the standard library and NumPy: nanoseconds a value, 10^6 values a run.
//
// NumPy runs in a process of its own (random_bench.py), asked for one fill per round, so that the rounds interleave.
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <random>
#include <stdexcept>
#include <vector>

#include "harness.h"
#include "nr/rng_fill.h"
#include "rng/fill.h"

namespace {

constexpr uint64_t count = 1000000;
constexpr int rounds = 41;

class NumPy {
public:
    NumPy() {
        int to[2], from[2];
        if (pipe(to) != 0 || pipe(from) != 0) throw std::runtime_error("no pipe");
        child_ = fork();
        if (child_ == 0) {
            dup2(to[0], 0);
            dup2(from[1], 1);
            for (const int end : {to[0], to[1], from[0], from[1]}) close(end);
            execl("/usr/bin/python3", "python3", SARVO_BENCH_PEER, nullptr);
            _exit(127);
        }
        close(to[0]);
        close(from[1]);
        requests_ = fdopen(to[1], "w");
        answers_ = fdopen(from[0], "r");
        version_ = line();
    }
    NumPy(const NumPy &) = delete;
    NumPy &operator=(const NumPy &) = delete;
    ~NumPy() {
        std::fclose(requests_);
        std::fclose(answers_);
        waitpid(child_, nullptr, 0);
    }
    const std::string &version() const { return version_; }
    double nanoseconds(const std::string &name, double shape) {
        std::fprintf(requests_, "%s %g\n", name.c_str(), shape);
        std::fflush(requests_);
        return std::stod(line());
    }

private:
    std::string line() {
        char text[200];
        if (!std::fgets(text, sizeof text, answers_)) throw std::runtime_error("NumPy does not answer");
        std::string s(text);
        return s.substr(0, s.find('\n'));
    }
    pid_t child_;
    FILE *requests_, *answers_;
    std::string version_;
};

std::string nanoseconds(const bench::Timing &t, uint64_t n = count) {
    char text[64];
    const double unit = 1e9 / static_cast<double>(n);
    std::snprintf(text, sizeof text, "%.2f (%.2f .. %.2f)", t.median * unit, t.low * unit, t.high * unit);
    return text;
}

void print_row(const std::string &name, const std::vector<bench::Timing> &t, uint64_t n = count) {
    std::printf("%-24s | %s", name.c_str(), nanoseconds(t[0], n).c_str());
    for (size_t i = 1; i < t.size(); i++)
        std::printf(" | %s | %.2f", nanoseconds(t[i], n).c_str(), t[i].median / t[0].median);
    std::printf("\n");
    std::fflush(stdout);
}

// Ours timed here, NumPy's fills by NumPy, in turn.
std::vector<bench::Timing> beside_numpy(NumPy &numpy, const std::function<void()> &fill,
                                        const std::vector<std::string> &peers, double shape) {
    std::vector<std::vector<double>> seconds(1 + peers.size());
    for (int round = 0; round < rounds; round++) {
        seconds[0].push_back(bench::interleave({{"sarvo", {}, fill}}, 1)[0].median);
        for (size_t i = 0; i < peers.size(); i++)
            seconds[1 + i].push_back(numpy.nanoseconds(peers[i], shape) * 1e-9 * static_cast<double>(count));
    }
    std::vector<bench::Timing> timings;
    for (std::vector<double> &s : seconds) {
        std::sort(s.begin(), s.end());
        timings.push_back({s[s.size() / 2], s[s.size() / 4], s[3 * s.size() / 4]});
    }
    return timings;
}

// Bulk values against as many single draws of a twin in the same state.
template <class Record, class Fill, class Single> bool same(Record *bulk, Record *twin, Fill fill, Single single) {
    std::vector<double> out(10000);
    fill(bulk, out.size(), out.data());
    return std::all_of(out.begin(), out.end(), [&](double x) { return x == single(twin); });
}

void seed_again(sarvo_rng_t *rng, sarvo_rng_t *twin) {
    for (sarvo_rng_t *r : {rng, twin}) r->set(r->state, 1);
}

// One block of memory for all candidates: with one each they would time the memory.
bool uniforms(sarvo_rng_t *rng, sarvo_rng_t *twin, uint64_t n) {
    std::vector<double> out(n);
    std::mt19937 engine(1), other(1);
    std::uniform_real_distribution<double> uniform(0.0, 1.0);
    const bool right = same(rng, twin, sarvo::rng_fill_uniform, sarvo_rng_uniform);
    const auto t = bench::interleave({{"fill", {}, [&] { sarvo::rng_fill_uniform(rng, n, out.data()); }},
                                      {"scaled",
                                       {},
                                       [&] {
                                           for (double &x : out) x = static_cast<double>(engine()) * 0x1p-32;
                                       }},
                                      {"distribution",
                                       {},
                                       [&] {
                                           for (double &x : out) x = uniform(other);
                                       }},
                                      {"single",
                                       {},
                                       [&] {
                                           for (double &x : out) x = sarvo_rng_uniform(twin);
                                       }}},
                                     rounds);
    print_row(n == count ? "uniform" : "uniform, 10^5 values", t, n);
    return right;
}

bool classic() {
    std::vector<double> out(count);
    bool right = true;
    for (const int method : {0, 1, 2}) {
        sarvo_nr_rng_t *rng = nullptr, *twin = nullptr;
        if (sarvo_nr_rng_init(&rng, method, 1) || sarvo_nr_rng_init(&twin, method, 1)) return false;
        right = same(rng, twin, sarvo::nr_rng_fill, sarvo_nr_rng_double) && right;
        print_row("classic " + std::to_string(method),
                  bench::interleave({{"fill", {}, [&] { sarvo::nr_rng_fill(rng, count, out.data()); }},
                                     {"single",
                                      {},
                                      [&] {
                                          for (double &x : out) x = sarvo_nr_rng_double(twin);
                                      }}},
                                    rounds));
        sarvo_nr_rng_free(rng);
        sarvo_nr_rng_free(twin);
    }
    return right;
}

bool normals(NumPy &numpy, sarvo_rng_t *rng, sarvo_rng_t *twin) {
    std::vector<double> ours(count);
    bool right = true;
    const auto fill = [](sarvo_rng_t *r, uint64_t n, double *out) { sarvo::rng_fill_gauss(r, 1.0, n, out); };
    for (const uint32_t method : {2u, 1u}) {
        if (sarvo_rng_gauss_init(rng, method) || sarvo_rng_gauss_init(twin, method)) return false;
        seed_again(rng, twin);
        right = same(rng, twin, fill, [](sarvo_rng_t *r) { return sarvo_rng_gauss(r, 1.0); }) && right;
        print_row(method == 2 ? "normal, ziggurat" : "normal, polar",
                  beside_numpy(
                      numpy, [&] { fill(rng, count, ours.data()); }, {"normal", "normal_legacy"}, 0.0));
    }
    return right;
}

bool gammas(NumPy &numpy, sarvo_rng_t *rng, sarvo_rng_t *twin) {
    std::vector<double> ours(count);
    bool right = true;
    for (sarvo_rng_t *r : {rng, twin})
        if (sarvo_rng_gauss_init(r, 2) || sarvo_rng_gamma_init(r, 0)) return false;
    for (const double shape : {0.5, 2.5, 10.0}) {
        const auto fill = [=](sarvo_rng_t *r, uint64_t n, double *out) {
            sarvo::rng_fill_gamma(r, shape, 1.0, n, out);
        };
        seed_again(rng, twin);
        right = same(rng, twin, fill, [=](sarvo_rng_t *r) { return sarvo_rng_gamma(r, shape, 1.0); }) && right;
        char name[32];
        std::snprintf(name, sizeof name, "gamma, shape %g", shape);
        print_row(name, beside_numpy(
                            numpy, [&] { fill(rng, count, ours.data()); }, {"gamma", "gamma_legacy"}, shape));
    }
    // What bounds small shapes: the power alone. Volatile: the compiler must not turn it into a square.
    const volatile double shape = 0.5;
    const double power = 1.0 / shape;
    std::vector<double> powers(count);
    sarvo::rng_fill_uniform(rng, count, ours.data());
    const auto t = bench::interleave({{"pow",
                                       {},
                                       [&] {
                                           for (uint64_t i = 0; i < count; i++) powers[i] = std::pow(ours[i], power);
                                       }}},
                                     rounds);
    std::printf("the platform's pow alone | %s\n", nanoseconds(t[0]).c_str());
    return right;
}

} // namespace

int main() {
    sarvo_rng_t *rng = nullptr, *twin = nullptr;
    if (sarvo_initialize() != 0 || sarvo_rng_init(&rng, 0, 1) || sarvo_rng_init(&twin, 0, 1)) return 1;
    bool right;
    {
        NumPy numpy;
        bench::print_environment(numpy.version() + ", the standard library of the compiler");
        std::printf(
            "ns a value | sarvo | std::mt19937 scaled by 2^-32 | ratio | uniform_real_distribution<double> | ratio | "
            "sarvo, single draws | ratio\n");
        right = uniforms(rng, twin, count);
        seed_again(rng, twin);
        right = uniforms(rng, twin, count / 10) && right; // in the second-level cache
        std::printf("ns a value | sarvo | sarvo, single draws | ratio\n");
        right = classic() && right;
        std::printf("ns a value | sarvo | NumPy, Generator(PCG64) | ratio | NumPy, RandomState | ratio\n");
        right = normals(numpy, rng, twin) && right;
        right = gammas(numpy, rng, twin) && right;
    }
    if (!right) std::printf("WRONG RESULT: bulk and single draws differ\n");
    sarvo_rng_free(rng);
    sarvo_rng_free(twin);
    sarvo_terminate();
    return right ? 0 : 1;
}
