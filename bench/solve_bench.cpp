// LU, triangular solves, inverse and exponential beside OpenBLAS and Eigen, small orders included; sums of one vector
// beside the latency of their additions; sorting beside std::sort.
#include <lapacke.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>

#include <unsupported/Eigen/MatrixFunctions>

#include "blis.h"
#include "dense_support.h"
#include "growth.h"
#include "harness.h"

namespace {

using bench::Candidate;
using bench::Mat;
using bench::Vec;

bench::Right right;

struct Orders {
    bench::Growth factor, solve, inverse, exponential;
};

// One copy of the matrix is in every candidate's time.
void factorisations(uint64_t n, Orders &orders) {
    Orders small; // where calls cost more than arithmetic
    Orders &growth = n < 64 ? small : orders;
    const Mat A(n, n, 1);
    Mat LU(n, n, 1), inverse;
    PERM *pivot = nullptr;
    right(sarvo_mh_px_get(static_cast<int32_t>(n), &pivot));
    const int order = static_cast<int>(n);
    std::vector<double> copy(n * n), work(64 * n);
    std::vector<int> ipiv(n);
    const bench::Matrix a = A.eigen();
    const auto bytes = n * n * sizeof(double);
    Eigen::PartialPivLU<bench::Matrix> eigen_lu(a.rows());
    const double cubed = static_cast<double>(n * n * n), size = static_cast<double>(n);
    const bool stated = n == 64 || n == 256 || n == 1024;
    const auto dgetrf = [&] {
        std::memcpy(copy.data(), A.p->base, bytes);
        LAPACKE_dgetrf_work(LAPACK_COL_MAJOR, order, order, copy.data(), order, ipiv.data());
    };
    growth.factor.add(size, bench::compare("LUfactor", n, 2.0 / 3.0 * cubed,
                                           {{"sarvo",
                                             {},
                                             [&] {
                                                 std::memcpy(LU.p->base, A.p->base, bytes);
                                                 right(sarvo_mh_LUfactor(LU.p, pivot));
                                             }},
                                            {"dgetrf", {}, dgetrf},
                                            {"Eigen", {}, [&] { eigen_lu.compute(a); }}},
                                           stated ? 1.0 : 0.0));
    const Vec b(n, 2);
    Vec x;
    const Eigen::VectorXd be = b.eigen();
    Eigen::VectorXd xe;
    std::vector<double> rhs(n);
    const double floor = bench::addition_latency() * size * size / 2.0;
    const double solve = bench::compare("LUsolve", n, 2.0 * size * size,
                                        {{"sarvo", {}, [&] { right(sarvo_mh_LUsolve(LU.p, pivot, b.p, &x.p)); }},
                                         {"dgetrs",
                                          {},
                                          [&] {
                                              std::memcpy(rhs.data(), b.p->elems, n * sizeof(double));
                                              LAPACKE_dgetrs_work(LAPACK_COL_MAJOR, 'N', order, 1, copy.data(), order,
                                                                  ipiv.data(), rhs.data(), order);
                                          }},
                                         {"Eigen", {}, [&] { xe = eigen_lu.solve(be); }}});
    growth.solve.add(size, solve);
    std::printf("  chain of the back substitution: %.3f us, %.2f of it%s\n", floor * 1e6, solve / floor,
                stated && solve > 1.2 * floor ? ": ABOVE 1.20" : "");
    Vec xt;
    bench::compare("LUTsolve", n, 2.0 * size * size,
                   {{"sarvo", {}, [&] { right(sarvo_mh_LUTsolve(LU.p, pivot, b.p, &xt.p)); }},
                    {"dgetrs",
                     {},
                     [&] {
                         std::memcpy(rhs.data(), b.p->elems, n * sizeof(double));
                         LAPACKE_dgetrs_work(LAPACK_COL_MAJOR, 'T', order, 1, copy.data(), order, ipiv.data(),
                                             rhs.data(), order);
                     }},
                    {"Eigen", {}, [&] { xe = eigen_lu.transpose().solve(be); }}},
                   n == 2048  ? 0.8
                   : n == 256 ? 1.0
                              : 0.0);
    if (n > 1024) return sarvo_mh_px_free(pivot);
    bench::Matrix inverse_e;
    growth.inverse.add(size, bench::compare("m_inverse", n, 2.0 * cubed,
                                            {{"sarvo", {}, [&] { right(sarvo_mh_m_inverse(A.p, &inverse.p)); }},
                                             {"dgetri",
                                              {},
                                              [&] {
                                                  dgetrf();
                                                  LAPACKE_dgetri_work(LAPACK_COL_MAJOR, order, copy.data(), order,
                                                                      ipiv.data(), work.data(), 64 * order);
                                              }},
                                             {"Eigen", {}, [&] { inverse_e.noalias() = a.inverse(); }}},
                                            n == 512 ? 0.9 : 0.0));
    const double scale = inverse_e.cwiseAbs().maxCoeff();
    right.close(inverse.p->base, inverse_e.data(), n * n, 1e-9 * scale);
    sarvo_mh_px_free(pivot);
}

void exponentials(uint64_t n, Orders &orders) {
    const Mat A(n, n, 3);
    Mat out;
    right(sarvo_mh_sm_mlt(A.p, const_cast<MAT **>(&A.p), 4.0 / static_cast<double>(n)));
    const bench::Matrix a = A.eigen();
    bench::Matrix e;
    Orders small;
    (n < 32 ? small : orders)
        .exponential.add(static_cast<double>(n),
                         bench::compare("m_exp", n, static_cast<double>(n * n * n),
                                        {{"sarvo", {}, [&] { right(sarvo_mh_m_exp(A.p, 0.0, &out.p)); }},
                                         {"Eigen", {}, [&] { e = a.exp(); }}},
                                        n == 64 || n == 256 ? 0.7 : 0.0));
    right.close(out.p->base, e.data(), n * n, 1e-11);
}

void chains() {
    const uint64_t n = 4096;
    const Vec x(n, 4), y(n, 5);
    const Mat A(64, 64, 6);
    double result = 0.0;
    const double floor = bench::addition_latency() * static_cast<double>(n);
    std::printf("chain of %llu additions: %.3f us\n", static_cast<unsigned long long>(n), floor * 1e6);
    const std::pair<const char *, std::function<sarko_error_t()>> sums[] = {
        {"v_sum", [&] { return sarvo_mh_v_sum(x.p, &result); }},
        {"in_prod", [&] { return sarvo_mh_in_prod_(x.p, y.p, 0, &result); }},
        {"v_norm1", [&] { return sarvo_mh_v_norm1_s(x.p, nullptr, &result); }},
        {"v_norm2", [&] { return sarvo_mh_v_norm2_s(x.p, nullptr, &result); }},
        {"m_norm_frob", [&] { return sarvo_mh_m_norm_frob(A.p, &result); }}};
    for (const auto &[name, run] : sums) {
        const double t =
            bench::compare(name, n, static_cast<double>(n), {{"sarvo", {}, [&run = run] { right(run()); }}});
        std::printf("  %.2f of the chain%s\n", t / floor, t > 1.1 * floor ? ": ABOVE 1.10" : "");
    }
}

void sorts(uint64_t n, bench::Growth &growth) {
    const Vec source(n, 7);
    Vec ours(n, 7), mirrored(n, 7);
    std::vector<double> std_copy(n);
    PERM *order = nullptr;
    const auto bytes = n * sizeof(double);
    const Candidate peer = {"std::sort", [&] { std::memcpy(std_copy.data(), source.p->elems, bytes); },
                            [&] { std::sort(std_copy.begin(), std_copy.end()); }};
    growth.add(static_cast<double>(n),
               bench::compare("v_sort", n, static_cast<double>(n),
                              {{"sarvo", [&] { std::memcpy(ours.p->elems, source.p->elems, bytes); },
                                [&] { right(sarvo_mh_v_sort(ours.p, nullptr)); }},
                               peer},
                              n == 1000000 ? 4.0 : 0.0));
    bench::compare("with order", n, static_cast<double>(n),
                   {{"sarvo", [&] { std::memcpy(mirrored.p->elems, source.p->elems, bytes); },
                     [&] { right(sarvo_mh_v_sort(mirrored.p, &order)); }},
                    peer},
                   n == 1000000 ? 1.0 : 0.0);
    right.close(ours.p->elems, std_copy.data(), n, 0.0);
    right.close(mirrored.p->elems, std_copy.data(), n, 0.0);
    sarvo_mh_px_free(order);
}

} // namespace

int main(int, char **argv) {
    bench::use_best_openblas_kernels(argv);
    if (sarvo_initialize() != 0) return 1;
    bench::print_environment("OpenBLAS and LAPACK 0.3.21, Eigen 3.4 (fused multiply-add), libstdc++'s std::sort");
    Orders orders;
    bench::Growth sorting;
    for (const uint64_t n : {2, 4, 8, 16, 24, 32, 48, 64, 256, 512, 1024, 2048}) factorisations(n, orders);
    for (const uint64_t n : {4, 16, 32, 64, 128, 256, 512}) exponentials(n, orders);
    chains();
    for (const uint64_t n : {100, 1000, 10000, 100000, 1000000}) sorts(n, sorting);
    orders.factor.print("LUfactor", "3");
    orders.solve.print("LUsolve", "2");
    orders.inverse.print("m_inverse", "3");
    orders.exponential.print("m_exp", "3");
    sorting.print("v_sort", "1");
    sarvo_terminate();
    std::printf("%s\n", right.all ? "all results right" : "WRONG RESULT");
    return right.all ? 0 : 1;
}
