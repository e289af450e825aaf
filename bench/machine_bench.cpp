// The memory kernels beside a plain copy loop and memcpy; the suite's kernels beside the plain loops.
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <vector>

#include <sarvo/membench.h>
#include <sarvo/scimark.h>

#include "../tests/bench/literal_kernels.h"
#include "harness.h"
#include "machine_literal.h"

namespace {

namespace plain = bench::plain; // -O3; those of literal:: here for this very processor, fused operations too

using Doubles = std::vector<double>;
bool all_right = true;
volatile double sink;

void check(bool right, const char *what) {
    if (!right) std::printf("%s: WRONG RESULT\n", what);
    all_right = all_right && right;
}

// ---- Copies and fills of 32 MiB, and of 16 KiB in the nearest cache ----

void memory(int32_t size) {
    void *source, *destination, *base;
    check(alloc_nonaliased_buffers(128, &source, static_cast<uint64_t>(size), &destination, static_cast<uint64_t>(size),
                                   nullptr, 0, nullptr, 0, &base) == 0,
          "buffers");
    struct {
        const char *name;
        sarvo_membench_kernel kernel;
    } const kernels[] = {{"copy", aligned_block_copy},
                         {"backwards", aligned_block_copy_backwards},
                         {"backwards 32", aligned_block_copy_backwards_bs32},
                         {"backwards 64", aligned_block_copy_backwards_bs64},
                         {"prefetch 32", aligned_block_copy_pf32},
                         {"prefetch 64", aligned_block_copy_pf64},
                         {"memcpy", memcpy_wrapper},
                         {"fill", aligned_block_fill},
                         {"fill 16", aligned_block_fill_shuffle16},
                         {"fill 32", aligned_block_fill_shuffle32},
                         {"fill 64", aligned_block_fill_shuffle64},
                         {"memset", memset_wrapper}};
    std::vector<bench::Candidate> candidates;
    for (const auto &k : kernels) {
        const auto run = [=] { k.kernel(destination, source, size); };
        candidates.push_back({k.name, run, run}); // once before: what lies in the caches is its own
    }
    const auto loop = [=] {
        plain::stream_copy(static_cast<double *>(destination), static_cast<double *>(source), size / 8);
    };
    candidates.push_back({"plain loop", loop, loop});
    const auto t = bench::interleave(candidates, size > 1 << 20 ? 41 : 201, std::max(1, (1 << 20) / size));
    const double best = std::min({t[0].median, t[1].median, t[2].median, t[3].median, t[4].median, t[5].median});
    const double peer = std::min(t[6].median, t.back().median);
    for (size_t c = 0; c < t.size(); c++)
        std::printf("%-12s %8d bytes | %9.0f MB/s (%.0f .. %.0f)\n", candidates[c].name.c_str(), size,
                    size / t[c].median * 1e-6, size / t[c].high * 1e-6, size / t[c].low * 1e-6);
    std::printf("best copy kernel / better of memcpy and the plain loop: %.3f%s\n", peer / best,
                size <= 1 << 20      ? ""
                : peer / best < 0.95 ? ", wanted 0.95: BELOW"
                                     : ", wanted 0.95");
    sarko_mem_free(base);
}

// ---- The suite ----

Doubles numbers(size_t n) {
    Random *R;
    check(new_Random_seed(101010, &R) == 0, "generator");
    Doubles x(n);
    for (double &v : x) v = Random_nextDouble(R);
    Random_delete(R);
    return x;
}

std::vector<double *> rows_of(Doubles &a, size_t M) {
    std::vector<double *> rows(M);
    for (size_t i = 0; i < M; i++) rows[i] = a.data() + i * (a.size() / M);
    return rows;
}

void fourier(int N) {
    const Doubles x = numbers(2 * static_cast<size_t>(N));
    Doubles ours = x, loop = x, native = x;
    FFT_transform(N, ours.data());
    plain::fft(N, -1.0, loop.data());
    double worst = 0.0;
    for (size_t i = 0; i < x.size(); i++) worst = std::max(worst, std::fabs(ours[i] - loop[i]));
    check(worst < 1e-9, "FFT");
    ours = loop = x;
    bench::compare("FFT", static_cast<uint64_t>(N), 2 * FFT_num_flops(N),
                   {{"sarvo",
                     {},
                     [&] {
                         FFT_transform(N, ours.data());
                         FFT_inverse(N, ours.data());
                     }},
                    {"loops",
                     {},
                     [&] {
                         plain::fft(N, -1.0, loop.data());
                         plain::fft(N, 1.0, loop.data());
                         for (double &v : loop) v /= N;
                     }},
                    {"loops native", {}, [&] {
                         literal::fft_by_recurrence(N, -1.0, native.data());
                         literal::fft_by_recurrence(N, 1.0, native.data());
                         for (double &v : native) v /= N;
                     }}});
}

void relaxation(int N) {
    const Doubles x = numbers(static_cast<size_t>(N) * static_cast<size_t>(N));
    Doubles a = x, b = x, c = x;
    const auto ours = rows_of(a, static_cast<size_t>(N)), loop = rows_of(b, static_cast<size_t>(N)),
               native = rows_of(c, static_cast<size_t>(N));
    SOR_execute(N, N, 1.25, const_cast<double **>(ours.data()), 3);
    plain::sor(N, N, 1.25, const_cast<double **>(loop.data()), 3);
    check(a == b, "SOR");
    bench::compare("SOR", static_cast<uint64_t>(N), SOR_num_flops(N, N, 1),
                   {{"sarvo", {}, [&] { SOR_execute(N, N, 1.25, const_cast<double **>(ours.data()), 1); }},
                    {"loops", {}, [&] { plain::sor(N, N, 1.25, const_cast<double **>(loop.data()), 1); }},
                    {"loops native", {}, [&] { literal::sor(N, N, 1.25, const_cast<double **>(native.data()), 1); }}});
}

void monte_carlo(int samples) {
    double estimate;
    check(MonteCarlo_integrate(samples, &estimate) == 0 && estimate == plain::monte_carlo(samples), "Monte Carlo");
    bench::compare("Monte Carlo", static_cast<uint64_t>(samples), MonteCarlo_num_flops(samples),
                   {{"sarvo",
                     {},
                     [&] {
                         (void)MonteCarlo_integrate(samples, &estimate);
                         sink = estimate;
                     }},
                    {"loops", {}, [=] { sink = plain::monte_carlo(samples); }},
                    {"loops native", {}, [=] { sink = literal::monte_carlo(samples); }}});
}

void sparse(int N, int nz) {
    const int n = nz / N;
    const Doubles val = numbers(static_cast<size_t>(n * N)), x = numbers(static_cast<size_t>(N));
    std::vector<int32_t> row, col;
    for (int r = 0; r <= N; r++) row.push_back(r * n);
    for (int r = 0; r < N; r++)
        for (int64_t i = 0; i < n; i++) col.push_back(static_cast<int32_t>((r + i * N / n) % N));
    Doubles ours(x.size()), loop = ours, native = ours;
    SparseCompRow_matmult(N, ours.data(), val.data(), row.data(), col.data(), x.data(), 1);
    plain::matmult(N, loop.data(), val.data(), row.data(), col.data(), x.data(), 1);
    check(ours == loop, "sparse");
    const auto run = [&](auto *kernel, Doubles &y) {
        return [&, kernel] { kernel(N, y.data(), val.data(), row.data(), col.data(), x.data(), 10); };
    };
    bench::compare("sparse", static_cast<uint64_t>(nz), SparseCompRow_num_flops(N, nz, 10),
                   {{"sarvo", {}, run(SparseCompRow_matmult, ours)},
                    {"loops", {}, run(plain::matmult, loop)},
                    {"loops native", {}, run(literal::matmult, native)}});
}

void factorisation(int N) {
    const size_t n = static_cast<size_t>(N);
    const Doubles x = numbers(n * n);
    Doubles a = x, b = x, c = x;
    const auto ours = rows_of(a, n), loop = rows_of(b, n), native = rows_of(c, n);
    std::vector<int32_t> pivot(n), expected(n);
    check(LU_factor(N, N, const_cast<double **>(ours.data()), pivot.data()) == 0 &&
              plain::lu(N, N, const_cast<double **>(loop.data()), expected.data()) == 0 && a == b && pivot == expected,
          "LU");
    const auto run = [&](auto *kernel, const auto &rows, Doubles &to) {
        return [&, kernel] {
            std::copy(x.begin(), x.end(), to.begin());
            sink = kernel(N, N, const_cast<double **>(rows.data()), pivot.data());
        };
    };
    bench::compare("LU", static_cast<uint64_t>(N), LU_num_flops(N),
                   {{"sarvo", {}, run(LU_factor, ours, a)},
                    {"loops", {}, run(plain::lu, loop, b)},
                    {"loops native", {}, run(literal::lu, native, c)}});
}

} // namespace

int main() {
    if (sarvo_initialize() != 0) return 1;
    bench::print_environment("the loops of the tests, plain -O3 and for this processor");
    memory(32 << 20);
    memory(16 << 10);
    for (const int N : {64, 1024, 65536, 1 << 20}) fourier(N);
    for (const int N : {100, 1000}) relaxation(N);
    monte_carlo(100000);
    sparse(1000, 5000);
    sparse(1000, 100000);
    sparse(100000, 1000000);
    for (const int N : {10, 100, 1000}) factorisation(N);
    sarvo_terminate();
    return all_right ? 0 : 1;
}
