// Products of matrices with matrices and vectors beside OpenBLAS, BLIS and Eigen.
#include <cmath>
#include <cstdio>
#include <memory>

#include <sarvo/array.h>

#include "blis.h"
#include "dense_support.h"
#include "growth.h"
#include "harness.h"
#include "peak.h"

namespace {

using bench::Candidate;
using bench::Mat;
using bench::Vec;

bench::Right right;

std::vector<Candidate> gemm_peers(int n, const Mat &A, const Mat &B, CBLAS_TRANSPOSE ta, CBLAS_TRANSPOSE tb,
                                  std::vector<double> &c) {
    const auto call = [=, &A, &B, &c](auto dgemm) {
        dgemm(CblasRowMajor, ta, tb, n, n, n, 1.0, A.p->base, n, B.p->base, n, 0.0, c.data(), n);
    };
    std::vector<Candidate> peers = {{"OpenBLAS", {}, [=] { call(cblas_dgemm); }}};
    if (bench::blis().dgemm) peers.push_back({"BLIS", {}, [=] { call(bench::blis().dgemm); }});
    return peers;
}

// The three products and the typed one; times of m_mlt go to `growth`.
void matrix_products(uint64_t n, bench::Growth &growth) {
    const Mat A(n, n, 1), B(n, n, 2);
    Mat C;
    std::vector<double> c(n * n);
    const double flops = 2.0 * static_cast<double>(n * n * n), tolerance = 1e-14 * static_cast<double>(n);
    const struct {
        const char *name;
        sarko_error_t (*run)(const MAT *, const MAT *, MAT **);
        CBLAS_TRANSPOSE ta, tb;
    } forms[] = {{"m_mlt", sarvo_mh_m_mlt, CblasNoTrans, CblasNoTrans},
                 {"mmtr_mlt", sarvo_mh_mmtr_mlt, CblasNoTrans, CblasTrans},
                 {"mtrm_mlt", sarvo_mh_mtrm_mlt, CblasTrans, CblasNoTrans}};
    for (const auto &form : forms) {
        auto candidates = gemm_peers(static_cast<int>(n), A, B, form.ta, form.tb, c);
        candidates.insert(candidates.begin(), {"sarvo", {}, [&] { right(form.run(A.p, B.p, &C.p)); }});
        if (n <= 64) {
            const auto a = std::make_shared<bench::Matrix>(A.eigen()), b = std::make_shared<bench::Matrix>(B.eigen()),
                       out = std::make_shared<bench::Matrix>();
            candidates.push_back({"Eigen", {}, [=] {
                                      if (form.ta == CblasTrans) out->noalias() = a->transpose() * *b;
                                      else if (form.tb == CblasTrans) out->noalias() = *a * b->transpose();
                                      else out->noalias() = *a * *b;
                                  }});
        }
        const double seconds = bench::compare(form.name, n, flops, candidates, n < 64 ? 0.0 : 0.95);
        if (form.run == sarvo_mh_m_mlt && n >= 64) growth.add(static_cast<double>(n), seconds);
        right.close(C.p->base, c.data(), n * n, tolerance);
    }
    sarvo_matrix *a = nullptr, *b = nullptr, *out = nullptr;
    right(sarvo_matrix_alloc(&a, SARVO_DOUBLE, 0, n, n));
    right(sarvo_matrix_alloc(&b, SARVO_DOUBLE, 0, n, n));
    std::copy(A.p->base, A.p->base + n * n, static_cast<double *>(a->data));
    std::copy(B.p->base, B.p->base + n * n, static_cast<double *>(b->data));
    auto candidates = gemm_peers(static_cast<int>(n), A, B, CblasNoTrans, CblasNoTrans, c);
    candidates.insert(candidates.begin(), {"sarvo", {}, [&] { right(sarvo_mm_mlt(a, b, &out)); }});
    bench::compare("mm_mlt", n, flops, candidates, n < 64 ? 0.0 : 0.95);
    for (sarvo_matrix *m : {a, b, out}) sarvo_matrix_free(m);
}

void vector_products(uint64_t n, bench::Growth &growth) {
    const Mat A(n, n, 3);
    const Vec x(n, 4), u(n, 5);
    Vec y, updated;
    std::vector<double> c(n);
    const bench::Matrix a = A.eigen();
    const Eigen::VectorXd xe = x.eigen();
    Eigen::VectorXd ye(a.rows());
    const int order = static_cast<int>(n);
    const double flops = 2.0 * static_cast<double>(n * n);
    const auto peers = [&](CBLAS_TRANSPOSE t, double beta) {
        const auto call = [=, &A, &x, &c](auto dgemv) {
            dgemv(CblasRowMajor, t, order, order, 1.0, A.p->base, order, x.p->elems, 1, beta, c.data(), 1);
        };
        std::vector<Candidate> list = {{"OpenBLAS", {}, [=] { call(cblas_dgemv); }}};
        if (bench::blis().dgemv) list.push_back({"BLIS", {}, [=] { call(bench::blis().dgemv); }});
        list.push_back({"Eigen", {}, [&, t] {
                            if (t == CblasTrans) ye.noalias() = a.transpose() * xe;
                            else ye.noalias() = a * xe;
                        }});
        return list;
    };
    const auto with = [](std::vector<Candidate> list, std::function<void()> ours) {
        list.insert(list.begin(), {"sarvo", {}, std::move(ours)});
        return list;
    };
    const bool large = n >= 2048;
    const bool stated = n == 256 || n == 2048;
    growth.add(static_cast<double>(n),
               bench::compare("mv_mlt", n, flops,
                              with(peers(CblasNoTrans, 0.0), [&] { right(sarvo_mh_mv_mlt(A.p, x.p, &y.p)); }),
                              stated ? (large ? 0.8 : 0.6) : 0.0));
    right.close(y.p->elems, c.data(), n, 1e-12);
    bench::compare("vm_mlt", n, flops, with(peers(CblasTrans, 0.0), [&] { right(sarvo_mh_vm_mlt(A.p, x.p, &y.p)); }),
                   stated ? (large ? 0.8 : 1.0) : 0.0);
    right.close(y.p->elems, c.data(), n, 1e-12);
    bench::compare("vm_mltadd", n, flops,
                   with(peers(CblasTrans, 1.0), [&] { right(sarvo_mh_vm_mltadd(u.p, x.p, A.p, 0.5, &updated.p)); }),
                   stated ? (large ? 0.8 : 1.0) : 0.0);
    bench::compare("mv_mltadd", n, flops,
                   with(peers(CblasNoTrans, 1.0), [&] { right(sarvo_mh_mv_mltadd(u.p, x.p, A.p, 0.5, &updated.p)); }),
                   stated ? (large ? 0.8 : 0.6) : 0.0);
}

} // namespace

int main(int, char **argv) {
    bench::use_best_openblas_kernels(argv);
    if (sarvo_initialize() != 0) return 1;
    bench::print_environment("OpenBLAS 0.3.21, BLIS 0.9.0, Eigen 3.4 (fused multiply-add)");
    std::printf("multiply then add from registers: %.1f GFLOP/s\n", bench::multiply_add_peak());
    bench::Growth products, vectors;
    for (const uint64_t n : {2, 4, 8, 16, 64, 256, 512, 1024, 2048}) matrix_products(n, products);
    for (const uint64_t n : {16, 64, 256, 1024, 2048}) vector_products(n, vectors);
    products.print("m_mlt", "3");
    vectors.print("mv_mlt", "2");
    sarvo_terminate();
    std::printf("%s\n", right.all ? "all results right" : "WRONG RESULT");
    return right.all ? 0 : 1;
}
