// Products of square matrices (typed mm_mlt) beside OpenBLAS, and the share of what multiply-then-add allows on this
// processor.
#include <cblas.h>

#include <cmath>
#include <cstdio>
#include <random>
#include <vector>

#include <sarvo/array.h>

#include "harness.h"

namespace {

bool run(int n, int rounds) {
    std::mt19937_64 generator(static_cast<unsigned>(n));
    std::uniform_real_distribution<double> uniform(-1.0, 1.0);
    const auto order = static_cast<uint64_t>(n);
    sarvo_matrix *a = nullptr, *b = nullptr, *c = nullptr;
    if (sarvo_matrix_alloc(&a, SARVO_DOUBLE, 0, order, order) || sarvo_matrix_alloc(&b, SARVO_DOUBLE, 0, order, order))
        return false;
    for (sarvo_matrix *m : {a, b})
        for (uint64_t i = 0; i < order * order; i++) static_cast<double *>(m->data)[i] = uniform(generator);
    std::vector<double> blas(order * order);
    bool right = true;
    const auto t = bench::interleave({{"sarvo", {}, [&] { right = sarvo_mm_mlt(a, b, &c) == 0 && right; }},
                                      {"dgemm",
                                       {},
                                       [&] {
                                           cblas_dgemm(CblasRowMajor, CblasNoTrans, CblasNoTrans, n, n, n, 1.0,
                                                       static_cast<double *>(a->data), n,
                                                       static_cast<double *>(b->data), n, 0.0, blas.data(), n);
                                       }}},
                                     rounds);
    double worst = 0;
    for (uint64_t i = 0; i < order * order; i++)
        worst = std::max(worst, std::fabs(static_cast<double *>(c->data)[i] - blas[i]));
    right = right && worst <= 4e-16 * static_cast<double>(n) * std::sqrt(static_cast<double>(n));
    const double flops = 2.0 * n * n * n;
    std::printf("%5d | %-32s %6.1f GFLOP/s | %-32s %6.1f GFLOP/s | ratio %.2f%s\n", n, bench::format(t[0]).c_str(),
                flops / t[0].median * 1e-9, bench::format(t[1]).c_str(), flops / t[1].median * 1e-9,
                t[1].median / t[0].median, right ? "" : " WRONG RESULT");
    for (sarvo_matrix *m : {a, b, c}) sarvo_matrix_free(m);
    return right;
}

} // namespace

int main(int, char **argv) {
    bench::use_best_openblas_kernels(argv);
    if (sarvo_initialize() != 0) return 1;
    bench::print_environment("OpenBLAS of Debian 12 (0.3.21), fused multiply-add");
    std::printf("%5s | sarvo | dgemm | ratio\n", "n");
    bool right = true;
    for (const auto &[n, rounds] : {std::pair{2, 9001}, {4, 9001}, {8, 9001}, {16, 1001}, {32, 1001}, {64, 301}, {96, 301}, {128, 301}, {256, 101}, {512, 31}, {1024, 9}})
        right = run(n, rounds) && right;
    sarvo_terminate();
    return right ? 0 : 1;
}
