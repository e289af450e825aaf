// Fourier transforms beside FFTW, and convolutions beside what multiply and add allow on this processor.
//
// In favour of the peer: its plan is made beforehand by measurement (FFTW_MEASURE, split arrays, in place) and keeps
// its factors; ours is the whole call, which makes its own.
#include <fftw3.h>

#include <cmath>
#include <cstdio>
#include <random>
#include <vector>

#include <sarvo/mh.h>

#include "growth.h"
#include "harness.h"
#include "peak.h"

namespace {

std::vector<double> numbers(size_t count, unsigned seed) {
    std::mt19937_64 generator(seed);
    std::uniform_real_distribution<double> uniform(-1.0, 1.0);
    std::vector<double> all(count);
    for (double &x : all) x = uniform(generator);
    return all;
}

VEC *vector_of(const std::vector<double> &values) {
    VEC *v = nullptr;
    if (sarvo_mh_v_get(values.size(), &v)) std::abort();
    std::copy(values.begin(), values.end(), v->elems);
    return v;
}

// The peer: one plan for split arrays in place. The exponent of +2 pi i is the backward sign, got by exchanging parts.
struct Peer {
    std::vector<double> re, im;
    fftw_plan plan;
    Peer(const std::vector<double> &x, const std::vector<double> &y) : re(x), im(y) {
        const fftw_iodim dim = {static_cast<int>(x.size()), 1, 1};
        plan = fftw_plan_guru_split_dft(1, &dim, 0, nullptr, im.data(), re.data(), im.data(), re.data(), FFTW_MEASURE);
        re = x;
        im = y;
    }
    ~Peer() { fftw_destroy_plan(plan); }
};

bool transform(unsigned log, int rounds, bench::Growth &growth) {
    const size_t n = size_t{1} << log;
    const auto x = numbers(n, log), y = numbers(n, log + 100);
    VEC *re = vector_of(x), *im = vector_of(y);
    Peer peer(x, y);
    bool right = sarvo_mh_fft(re, im) == 0;
    fftw_execute(peer.plan);
    double error = 0, size = 0;
    for (size_t i = 0; i < n; i++) {
        error += std::pow(re->elems[i] - peer.re[i], 2) + std::pow(im->elems[i] - peer.im[i], 2);
        size += std::pow(peer.re[i], 2) + std::pow(peer.im[i], 2);
    }
    right = right && std::sqrt(error / size) < 1e-16 * static_cast<double>(log + 1);

    const size_t times = std::max<size_t>(1, (size_t{1} << 13) / n); // in one timed run
    const auto restore = [&](double *a, double *b) {
        std::copy(x.begin(), x.end(), a);
        std::copy(y.begin(), y.end(), b);
    };
    const auto t = bench::interleave({{"sarvo", [&] { restore(re->elems, im->elems); },
                                       [&] {
                                           for (size_t i = 0; i < times; i++)
                                               right = sarvo_mh_fft(re, im) == 0 && right;
                                       }},
                                      {"FFTW", [&] { restore(peer.re.data(), peer.im.data()); },
                                       [&] {
                                           for (size_t i = 0; i < times; i++) fftw_execute(peer.plan);
                                       }}},
                                     rounds);
    const double each = 1.0 / static_cast<double>(times), flops = 5.0 * static_cast<double>(n) * log;
    std::printf("2^%-3u | %10.3f us (%.3f .. %.3f) %5.1f GFLOP/s | %10.3f us (%.3f .. %.3f) | ratio %.2f%s\n", log,
                t[0].median * each * 1e6, t[0].low * each * 1e6, t[0].high * each * 1e6,
                flops / (t[0].median * each) * 1e-9, t[1].median * each * 1e6, t[1].low * each * 1e6,
                t[1].high * each * 1e6, t[1].median / t[0].median, right ? "" : " WRONG RESULT");
    std::fflush(stdout);
    growth.add(static_cast<double>(n), t[0].median * each);
    sarvo_mh_v_free(re);
    sarvo_mh_v_free(im);
    return right;
}

bool convolution(const char *name, sarko_error_t (*operation)(const VEC *, const VEC *, VEC **), size_t n1, size_t n2,
                 double peak, bench::Growth *growth) {
    VEC *x1 = vector_of(numbers(n1, 1)), *x2 = vector_of(numbers(n2, 2)), *out = nullptr;
    bool right = operation(x1, x2, &out) == 0;
    const auto t = bench::interleave({{name, {}, [&] { right = operation(x1, x2, &out) == 0 && right; }}},
                                     n1 * n2 > 10000 ? 301 : 3001);
    const double flops = 2.0 * static_cast<double>(n1) * static_cast<double>(n2) / t[0].median * 1e-9;
    std::printf("%-8s %6zu x %-6zu | %10.3f us | %5.1f GFLOP/s | %.2f of the peak\n", name, n1, n2, t[0].median * 1e6,
                flops, flops / peak);
    if (growth) growth->add(static_cast<double>(n1), t[0].median);
    for (VEC *v : {x1, x2, out}) sarvo_mh_v_free(v);
    return right;
}

} // namespace

int main() {
    if (sarvo_initialize() != 0) return 1;
    bench::print_environment(std::string("FFTW of Debian 12, ") + fftw_version);
    std::printf("%-5s | sarvo_mh_fft, 5 n log2 n operations | FFTW | ratio\n", "n");
    bool right = true;
    bench::Growth growth;
    for (const auto &[log, rounds] : {std::pair{2u, 301},
                                      {4u, 301},
                                      {5u, 301},
                                      {6u, 1001},
                                      {8u, 1001},
                                      {10u, 1001},
                                      {12u, 601},
                                      {14u, 301},
                                      {16u, 101},
                                      {18u, 41},
                                      {20u, 21}})
        right = transform(log, rounds, growth) && right;
    growth.print("sarvo_mh_fft", "n log2 n: 1 and a little");
    const double peak = bench::multiply_add_peak();
    std::printf("multiply then add from registers: %.1f GFLOP/s\n", peak);
    bench::Growth conv;
    for (const size_t n : {16, 64, 256, 1024, 4096})
        right = convolution("v_conv", sarvo_mh_v_conv, n, n, peak, &conv) && right;
    conv.print("sarvo_mh_v_conv n x n", "2");
    for (const auto &[n1, n2] : {std::pair<size_t, size_t>{4096, 512}, {512, 4096}, {100000, 3}, {3, 100000}}) {
        right = convolution("v_conv", sarvo_mh_v_conv, n1, n2, peak, nullptr) && right;
        right = convolution("v_pconv", sarvo_mh_v_pconv, n1, n2, peak, nullptr) && right;
    }
    sarvo_terminate();
    return right ? 0 : 1;
}
