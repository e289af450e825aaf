// Singular value decomposition with vectors, square matrices, beside LAPACK's two drivers and Eigen's divide and
// conquer.
//
// In favour of the peers: their workspace is queried and allocated beforehand and their copy of the matrix is not
// timed; ours allocates its scratch and copies within the timed call. The matrices do not fit the first-level cache
// from n = 128 on and are not rotated.
#include <lapacke.h>

#include <cmath>
#include <cstdio>
#include <random>
#include <vector>

#include <Eigen/Dense>
#include <sarvo/nr.h>

#include "harness.h"

namespace {

using Matrix = Eigen::Matrix<double, Eigen::Dynamic, Eigen::Dynamic, Eigen::RowMajor>;

// LAPACK with everything prepared. dgesdd destroys its matrix, which `restore` writes again.
struct Lapack {
    int n;
    std::vector<double> source, a, u, vt, w, work;
    std::vector<int> iwork;

    Lapack(int order, const double *matrix)
        : n(order),
          source(matrix, matrix + size()),
          a(source),
          u(size()),
          vt(size()),
          w(static_cast<size_t>(n)),
          iwork(8 * static_cast<size_t>(n)) {
        double divide = 0, qr = 0;
        LAPACKE_dgesdd_work(LAPACK_COL_MAJOR, 'S', n, n, a.data(), n, w.data(), u.data(), n, vt.data(), n, &divide, -1,
                            iwork.data());
        LAPACKE_dgesvd_work(LAPACK_COL_MAJOR, 'S', 'S', n, n, a.data(), n, w.data(), u.data(), n, vt.data(), n, &qr,
                            -1);
        work.resize(static_cast<size_t>(std::max(divide, qr)));
    }
    size_t size() const { return static_cast<size_t>(n) * static_cast<size_t>(n); }
    void restore() { a = source; }
    void dgesdd() {
        LAPACKE_dgesdd_work(LAPACK_COL_MAJOR, 'S', n, n, a.data(), n, w.data(), u.data(), n, vt.data(), n, work.data(),
                            static_cast<int>(work.size()), iwork.data());
    }
    void dgesvd() {
        LAPACKE_dgesvd_work(LAPACK_COL_MAJOR, 'S', 'S', n, n, a.data(), n, w.data(), u.data(), n, vt.data(), n,
                            work.data(), static_cast<int>(work.size()));
    }
};

// |A - U w V'| / (|A| n eps), and the largest difference of singular values from LAPACK's over the largest.
bool check(const sarvo_matrix *a, sarvo_nr_svd *svd, Lapack &lapack) {
    const auto n = static_cast<Eigen::Index>(svd->n);
    const auto view = [n](const void *p) { return Eigen::Map<const Matrix>(static_cast<const double *>(p), n, n); };
    const Eigen::Map<const Eigen::VectorXd> w(static_cast<const double *>(svd->w->data), n);
    const Matrix difference = view(a->data) - view(svd->U->data) * w.asDiagonal() * view(svd->V->data).transpose();
    const double residual = difference.norm() / (view(a->data).norm() * static_cast<double>(n) * 0x1p-52);
    lapack.restore();
    lapack.dgesdd();
    sarko_error_clear(sarvo_nr_svd_reorder(svd));
    double worst = 0;
    for (Eigen::Index k = 0; k < n; k++)
        worst = std::max(worst, std::fabs(w[k] - lapack.w[static_cast<size_t>(k)]) / w[0]);
    if (residual < 30 && worst < 1e-13) return true;
    std::printf("wrong result: residual ratio %g, values differ by %g\n", residual, worst);
    return false;
}

bool run(int n, int rounds) {
    std::mt19937_64 generator(static_cast<unsigned>(n));
    std::normal_distribution<double> normal;
    sarvo_matrix *a = nullptr;
    sarvo_nr_svd *svd = nullptr;
    const auto order = static_cast<uint64_t>(n);
    if (sarvo_matrix_alloc(&a, SARVO_DOUBLE, 0, order, order) || sarvo_nr_svd_init(&svd)) return false;
    double *elements = static_cast<double *>(a->data);
    for (uint64_t i = 0; i < order * order; i++) elements[i] = normal(generator);
    Lapack lapack(n, elements);
    const Eigen::MatrixXd matrix = Eigen::Map<const Eigen::MatrixXd>(elements, n, n);
    Eigen::BDCSVD<Eigen::MatrixXd> eigen(n, n, Eigen::ComputeThinU | Eigen::ComputeThinV);

    bool right = sarvo_nr_svd_decompose(a, 0, 0, 0, 0, svd) == 0 && check(a, svd, lapack);
    const auto t =
        bench::interleave({{"sarvo", {}, [&] { right = sarvo_nr_svd_decompose(a, 0, 0, 0, 0, svd) == 0 && right; }},
                           {"dgesdd", [&] { lapack.restore(); }, [&] { lapack.dgesdd(); }},
                           {"dgesvd", [&] { lapack.restore(); }, [&] { lapack.dgesvd(); }},
                           {"BDCSVD", {}, [&] { eigen.compute(matrix); }}},
                          rounds);
    std::printf("%5d | %-29s | %-29s %5.2f | %-30s %5.2f | %-29s %5.2f\n", n, bench::format(t[0]).c_str(),
                bench::format(t[1]).c_str(), t[1].median / t[0].median, bench::format(t[2]).c_str(),
                t[2].median / t[0].median, bench::format(t[3]).c_str(), t[3].median / t[0].median);
    std::fflush(stdout);
    sarvo_nr_svd_free(svd);
    sarvo_matrix_free(a);
    return right;
}

} // namespace

int main(int, char **argv) {
    bench::use_best_openblas_kernels(argv);
    if (sarvo_initialize() != 0) return 1;
    bench::print_environment("LAPACK and OpenBLAS of Debian 12 (0.3.21), Eigen " + std::to_string(EIGEN_WORLD_VERSION) +
                             "." + std::to_string(EIGEN_MAJOR_VERSION) + "." + std::to_string(EIGEN_MINOR_VERSION) +
                             " compiled with -O3 -march=native");
    std::printf("%5s | %-29s | %-35s | %-36s | %-35s\n", "n", "sarvo", "dgesdd, ratio", "dgesvd, ratio",
                "BDCSVD, ratio");
    bool right = true;
    for (const auto &[n, rounds] : {std::pair{16, 301}, {64, 201}, {128, 51}, {256, 31}, {512, 9}})
        right = run(n, rounds) && right;
    sarvo_terminate();
    return right ? 0 : 1;
}
