// Eigenvalues and eigenvectors of symmetric matrices beside LAPACK's QR iteration and divide and conquer.
//
// In favour of the peers: their workspace is allocated beforehand and their copy of the matrix is not timed; ours
// allocates its scratch and copies within the timed call. Ours computes with the whole matrix, theirs with a triangle.
#include <lapacke.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <random>
#include <vector>

#include <sarvo/mh.h>

#include "growth.h"
#include "harness.h"

namespace {

// LAPACK with everything prepared; the drivers overwrite the matrix by the vectors, `restore` writes it again.
struct Lapack {
    int n;
    char job;
    std::vector<double> source, a, w, work;
    std::vector<int> iwork;

    Lapack(const MAT *A, bool vectors) : n(static_cast<int>(A->rows)), job(vectors ? 'V' : 'N'), w(A->rows) {
        for (uint64_t i = 0; i < A->rows; i++) source.insert(source.end(), A->row_ptrs[i], A->row_ptrs[i] + A->cols);
        a = source;
        double qr = 0, divide = 0;
        int integers = 0;
        LAPACKE_dsyev_work(LAPACK_COL_MAJOR, job, 'L', n, a.data(), n, w.data(), &qr, -1);
        LAPACKE_dsyevd_work(LAPACK_COL_MAJOR, job, 'L', n, a.data(), n, w.data(), &divide, -1, &integers, -1);
        work.resize(static_cast<size_t>(std::max(qr, divide)));
        iwork.resize(static_cast<size_t>(integers));
    }
    void restore() { a = source; }
    void dsyev() {
        LAPACKE_dsyev_work(LAPACK_COL_MAJOR, job, 'L', n, a.data(), n, w.data(), work.data(),
                           static_cast<int>(work.size()));
    }
    void dsyevd() {
        LAPACKE_dsyevd_work(LAPACK_COL_MAJOR, job, 'L', n, a.data(), n, w.data(), work.data(),
                            static_cast<int>(work.size()), iwork.data(), static_cast<int>(iwork.size()));
    }
};

// Largest |A q - w q| over |A| n eps, and the eigenvalues against LAPACK's.
bool check(const MAT *A, const MAT *Q, const VEC *w, Lapack &lapack) {
    double residual = 0, norm = 0, worst = 0;
    for (uint64_t k = 0; Q && k < A->rows; k++)
        for (uint64_t i = 0; i < A->rows; i++) {
            double sum = 0;
            for (uint64_t j = 0; j < A->rows; j++) sum += A->row_ptrs[i][j] * Q->row_ptrs[j][k];
            residual = std::max(residual, std::fabs(sum - w->elems[k] * Q->row_ptrs[i][k]));
        }
    lapack.restore();
    lapack.dsyevd();
    std::vector<double> ours(w->elems, w->elems + w->dim);
    std::sort(ours.begin(), ours.end());
    for (size_t k = 0; k < ours.size(); k++) {
        worst = std::max(worst, std::fabs(ours[k] - lapack.w[k]));
        norm = std::max(norm, std::fabs(lapack.w[k]));
    }
    const double scale = norm * static_cast<double>(A->rows) * 0x1p-52;
    if (residual < 30 * scale && worst < 30 * scale) return true;
    std::printf("wrong result: residual %g, values differ by %g, in units of |A| n eps\n", residual / scale,
                worst / scale);
    return false;
}

bool run(uint64_t n, bool vectors, int rounds, bench::Growth &growth) {
    std::mt19937_64 generator(n);
    std::normal_distribution<double> normal;
    MAT *A = nullptr, *Q = nullptr;
    VEC *w = nullptr;
    if (sarvo_mh_m_get(n, n, &A)) return false;
    for (uint64_t i = 0; i < n; i++)
        for (uint64_t j = 0; j <= i; j++) A->row_ptrs[i][j] = A->row_ptrs[j][i] = normal(generator);
    Lapack lapack(A, vectors);
    MAT **out = vectors ? &Q : nullptr;
    bool right = sarvo_mh_symmeig(A, out, &w) == 0 && check(A, Q, w, lapack);
    const auto t = bench::interleave({{"sarvo", {}, [&] { right = sarvo_mh_symmeig(A, out, &w) == 0 && right; }},
                                      {"dsyev", [&] { lapack.restore(); }, [&] { lapack.dsyev(); }},
                                      {"dsyevd", [&] { lapack.restore(); }, [&] { lapack.dsyevd(); }}},
                                     rounds);
    std::printf("%5zu %-7s | %-32s | %-32s %5.2f | %-32s %5.2f\n", static_cast<size_t>(n),
                vectors ? "vectors" : "values", bench::format(t[0]).c_str(), bench::format(t[1]).c_str(),
                t[1].median / t[0].median, bench::format(t[2]).c_str(), t[2].median / t[0].median);
    std::fflush(stdout);
    growth.add(static_cast<double>(n), t[0].median);
    sarvo_mh_m_free(A);
    sarvo_mh_m_free(Q);
    sarvo_mh_v_free(w);
    return right;
}

} // namespace

int main(int, char **argv) {
    bench::use_best_openblas_kernels(argv);
    if (sarvo_initialize() != 0) return 1;
    bench::print_environment("LAPACK and OpenBLAS of Debian 12 (0.3.21)");
    std::printf("%13s | %-32s | dsyev, ratio | dsyevd, ratio\n", "n", "sarvo_mh_symmeig");
    bool right = true;
    for (const bool vectors : {true, false}) {
        bench::Growth growth;
        for (const auto &[n, rounds] : {std::pair{16u, 301}, {64u, 201}, {128u, 101}, {256u, 31}, {512u, 9}})
            right = run(n, vectors, rounds, growth) && right;
        growth.print("sarvo_mh_symmeig", vectors ? "3" : "3, with n^2 square roots and divisions");
    }
    sarvo_terminate();
    return right ? 0 : 1;
}
