// Sparse matrices: assembly beside plain arrays, products beside a sum over the same records, factorisations of grid
// Laplacians beside Eigen and SuiteSparse, with fill, memory and growth.
#include <malloc.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>

#include <Eigen/CholmodSupport>
#include <Eigen/SparseCholesky>
#include <Eigen/SparseLU>
#include <Eigen/UmfPackSupport>

#include "dense_support.h"
#include "growth.h"
#include "harness.h"

namespace {

using EigenSparse = Eigen::SparseMatrix<double>;

bench::Right right;

// ---- Memory: blocks counted through the hooks, for runs that are not timed ----

struct Count {
    int64_t live = 0, peak = 0;
    void add(void *p) {
        if (p) live += static_cast<int64_t>(malloc_usable_size(p)) + 8;
        peak = std::max(peak, live);
    }
    void drop(void *p) { live -= static_cast<int64_t>(malloc_usable_size(p)) + 8; }
};

// Bytes that `run` leaves allocated, and the most that it had at once.
std::pair<int64_t, int64_t> bytes_of(const std::function<void()> &run) {
    Count count;
    const sarko_mem_hooks hooks = {[](uint64_t bytes, int32_t zeroed, void *ctx) {
                                       void *p = zeroed ? std::calloc(1, bytes) : std::malloc(bytes);
                                       static_cast<Count *>(ctx)->add(p);
                                       return p;
                                   },
                                   [](void *p, uint64_t bytes, void *ctx) {
                                       static_cast<Count *>(ctx)->drop(p);
                                       void *q = std::realloc(p, bytes);
                                       static_cast<Count *>(ctx)->add(q);
                                       return q;
                                   },
                                   [](void *p, void *ctx) {
                                       static_cast<Count *>(ctx)->drop(p);
                                       std::free(p);
                                   },
                                   &count};
    sarko_mem_set_hooks(&hooks);
    run();
    sarko_mem_set_hooks(nullptr);
    return {count.live, count.peak};
}

double entries(const SPMAT *A) {
    double count = 0.0;
    for (int32_t i = 0; i < A->m; i++) count += A->row[i].len;
    return count;
}

void report_bytes(const char *what, double count, const std::pair<int64_t, int64_t> &bytes) {
    std::printf("  %s: %.0f entries, %.1f bytes an entry, %.1f at the peak\n", what, count,
                static_cast<double>(bytes.first) / count, static_cast<double>(bytes.second) / count);
}

// ---- Assembly ----

void assemble(int32_t rows, int32_t each, int32_t room, SPMAT **A) {
    right(sarvo_mh_sp_get(rows, rows, room, A));
    sarko_error_t e = 0;
    for (int32_t i = 0; i < rows; i++)
        for (int32_t k = 0; k < each; k++) e |= sarvo_mh_sp_set_val(*A, i, k * (rows / each), i + k);
    right(e);
}

void assembly() {
    constexpr int32_t rows = 1000000, each = 10;
    SPMAT *A = nullptr;
    const auto drop = [&A] {
        sarvo_mh_sp_free(A);
        A = nullptr;
    };
    double sum = 0.0;
    const auto append = [&sum] {
        std::vector<int32_t> col;
        std::vector<double> val;
        std::vector<size_t> start;
        for (int32_t i = 0; i < rows; i++) {
            start.push_back(col.size());
            for (int32_t k = 0; k < each; k++) {
                col.push_back(k * (rows / each));
                val.push_back(i + k);
            }
        }
        sum += val.back() + col.back() + static_cast<double>(start.back());
    };
    for (const int32_t room : {each, 1})
        bench::compare(room == 1 ? "sp_set_val 1" : "sp_set_val", rows * each, rows * double{each},
                       {{"sarvo", drop, [&] { assemble(rows, each, room, &A); }}, {"arrays", {}, append}}, 0.1);
    drop();
    report_bytes("room known", rows * double{each}, bytes_of([&] { assemble(rows, each, each, &A); }));
    drop();
    report_bytes("room for 1 at first", rows * double{each}, bytes_of([&] { assemble(rows, each, 1, &A); }));
    drop();
    right.all = right.all && sum > 0.0;
}

// ---- Products ----

SPMAT *laplacian(int32_t side) {
    SPMAT *A = nullptr;
    right(sarvo_mh_sp_get(side * side, side * side, 5, &A));
    const auto set = [A](int32_t i, int32_t j, double x) { right(sarvo_mh_sp_set_val(A, i, j, x)); };
    for (int32_t i = 0; i < side * side; i++) {
        if (i >= side) set(i, i - side, -1.0);
        if (i % side) set(i, i - 1, -1.0);
        set(i, i, 4.0);
        if ((i + 1) % side) set(i, i + 1, -1.0);
        if (i + side < side * side) set(i, i + side, -1.0);
    }
    return A;
}

void products() {
    SPMAT *A = laplacian(1000);
    const auto n = static_cast<uint64_t>(A->n);
    const bench::Vec x(n, 1);
    bench::Vec y, t;
    double sum = 0.0;
    const auto stream = [&] {
        for (int32_t i = 0; i < A->m; i++) {
            double row = 0.0;
            for (int32_t k = 0; k < A->row[i].len; k++) row += A->row[i].elt[k].val;
            sum += row;
        }
    };
    // The same, told the addresses beforehand: what the memory gives at best.
    const auto ahead = [&] {
        for (int32_t i = 0; i < A->m; i++) {
            const auto next = reinterpret_cast<uintptr_t>(A->row[std::min(i + 16, A->m - 1)].elt);
            for (uintptr_t line = 0; line < 3; line++)
                __builtin_prefetch(reinterpret_cast<const void *>(next + 64 * line));
            double row = 0.0;
            for (int32_t k = 0; k < A->row[i].len; k++) row += A->row[i].elt[k].val;
            sum += row;
        }
    };
    const double bytes = (entries(A) + static_cast<double>(n)) * 24.0;
    const auto forward = [&] { right(sarvo_mh_sp_mv_mlt(A, x.p, &y.p)); };
    const auto transposed = [&] { right(sarvo_mh_sp_vm_mlt(A, x.p, &t.p)); };
    bench::compare("A x", n, bytes, {{"sarvo", {}, forward}, {"sum of records", {}, stream}}, 0.9);
    bench::compare("x' A", n, bytes, {{"sarvo", {}, transposed}, {"sum of records", {}, stream}}, 0.9);
    bench::compare("A x", n, bytes, {{"sarvo", {}, forward}, {"sum told ahead", {}, ahead}});
    bench::compare("x' A", n, bytes, {{"sarvo", {}, transposed}, {"sum told ahead", {}, ahead}});
    right.close(y.p->elems, t.p->elems, n, 1e-14); // symmetric
    right.all = right.all && sum < INFINITY;
    sarvo_mh_sp_free(A);
}

// ---- Factorisations: ordering, permutation and numbers, beside the peer's analysis and numbers ----

EigenSparse eigen(const SPMAT *A) {
    std::vector<Eigen::Triplet<double>> all;
    for (int32_t i = 0; i < A->m; i++)
        for (int32_t k = 0; k < A->row[i].len; k++) all.emplace_back(i, A->row[i].elt[k].col, A->row[i].elt[k].val);
    EigenSparse B(A->m, A->n);
    B.setFromTriplets(all.begin(), all.end());
    return B;
}

struct Factors {
    SPMAT *F = nullptr;
    PERM *order = nullptr, *px = nullptr;
    void permute(const SPMAT *A) {
        sarvo_mh_sp_free(F);
        F = nullptr;
        right(sarvo_mh_sp_order(A, 2, &order));
        right(sarvo_mh_sp_permute(A, order, order, &F));
    }
    void cholesky(const SPMAT *A) {
        permute(A);
        right(sarvo_mh_spCHfactor(F));
    }
    void lu(const SPMAT *A) {
        permute(A);
        right(sarvo_mh_px_resize(&px, A->m));
        right(sarvo_mh_spLUfactor(F, px, 1.0));
    }
    ~Factors() {
        sarvo_mh_sp_free(F);
        sarvo_mh_px_free(order);
        sarvo_mh_px_free(px);
    }
};

void fill(const char *what, double ours, double theirs) {
    std::printf("  entries of %s: %.0f, Eigen's %.0f, ratio %.3f%s\n", what, ours, theirs, ours / theirs,
                ours > 1.3 * theirs ? ": ABOVE 1.30" : "");
}

// Solves with ones and compares with the peer.
void compare_solutions(Factors &f, const Eigen::VectorXd &x, bool cholesky) {
    bench::Vec b(f.order->size, 1), y;
    sarvo_mh_v_ones(b.p);
    right(cholesky ? sarvo_mh_spCHsolve(f.F, b.p, &y.p) : sarvo_mh_spLUsolve(f.F, f.px, b.p, &y.p));
    right(sarvo_mh_pxinv_vec(f.order, y.p, &b.p));
    right.close(b.p->elems, x.data(), b.p->dim, 1e-8 * x.cwiseAbs().maxCoeff());
}

void factorisations(int32_t side, bench::Growth &cholesky_growth, bench::Growth &lu_growth) {
    SPMAT *A = laplacian(side);
    const EigenSparse a = eigen(A);
    const auto n = static_cast<uint64_t>(A->n);
    const Eigen::VectorXd ones = Eigen::VectorXd::Ones(a.rows());
    const bool stated = side == 200;
    Factors L, LU, S;
    Eigen::SimplicialLLT<EigenSparse> llt;
    Eigen::SparseLU<EigenSparse, Eigen::COLAMDOrdering<int>> lu;
    Eigen::CholmodSupernodalLLT<EigenSparse> cholmod;
    cholmod.cholmod().nmethods = 1;
    cholmod.cholmod().method[0].ordering = CHOLMOD_AMD;
    Eigen::UmfPackLU<EigenSparse> umfpack;
    cholesky_growth.add(static_cast<double>(n), bench::compare("Cholesky", n, static_cast<double>(n),
                                                               {{"sarvo", {}, [&] { L.cholesky(A); }},
                                                                {"SimplicialLLT", {}, [&] { llt.compute(a); }},
                                                                {"CHOLMOD", {}, [&] { cholmod.compute(a); }}},
                                                               stated ? 0.5 : 0.0));
    bench::compare("  ordering", n, static_cast<double>(n),
                   {{"sarvo", {}, [&] { S.permute(A); }}, {"Eigen's analysis", {}, [&] { llt.analyzePattern(a); }}});
    llt.compute(a);
    fill("L", entries(L.F), static_cast<double>(llt.matrixL().nestedExpression().nonZeros()));
    compare_solutions(L, llt.solve(ones), true);
    lu_growth.add(static_cast<double>(n), bench::compare("LU", n, static_cast<double>(n),
                                                         {{"sarvo", {}, [&] { LU.lu(A); }},
                                                          {"SparseLU", {}, [&] { lu.compute(a); }},
                                                          {"UMFPACK", {}, [&] { umfpack.compute(a); }}},
                                                         stated ? 1.0 / 3.0 : 0.0));
    fill("L and U", entries(LU.F) + static_cast<double>(n), static_cast<double>(lu.nnzL() + lu.nnzU()));
    compare_solutions(LU, lu.solve(ones), false);
    if (stated) {
        for (const bool cholesky : {true, false}) {
            Factors f;
            f.permute(A);
            SPMAT *F = nullptr;
            right(sarvo_mh_px_resize(&f.px, A->m));
            const auto bytes = bytes_of([&] {
                right(sarvo_mh_sp_copy(f.F, &F));
                right(cholesky ? sarvo_mh_spCHfactor(F) : sarvo_mh_spLUfactor(F, f.px, 1.0));
            });
            report_bytes(cholesky ? "L" : "L and U", entries(F), bytes);
            sarvo_mh_sp_free(F);
        }
    }
    sarvo_mh_sp_free(A);
}

} // namespace

int main(int, char **argv) {
    bench::use_best_openblas_kernels(argv);
    sarvo_initialize();
    bench::print_environment("Eigen " + std::to_string(EIGEN_WORLD_VERSION) + "." +
                             std::to_string(EIGEN_MAJOR_VERSION) + "." + std::to_string(EIGEN_MINOR_VERSION) +
                             "; SuiteSparse " + std::to_string(SUITESPARSE_MAIN_VERSION) + "." +
                             std::to_string(SUITESPARSE_SUB_VERSION));
    assembly();
    products();
    bench::Growth cholesky, lu;
    for (const int32_t side : {50, 71, 100, 141, 200}) factorisations(side, cholesky, lu);
    cholesky.print("Cholesky of grids", "1.5 for the best ordering");
    lu.print("LU of grids", "1.5 for the best ordering");
    if (!right.all) std::printf("A RESULT IS WRONG\n");
    sarvo_terminate();
    return right.all ? 0 : 1;
}
