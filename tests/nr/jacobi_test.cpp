// Jacobi: the bits of the stated rotations at every level, residuals, known spectra, refusals in order.
#include <sarvo/mh.h>
#include <sarvo/nr.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <map>
#include <sstream>

#include "matrix_market.h"
#include "simd/simd.h"
#include "test_support.h"
#include "utility_loops.h"

namespace {

using Doubles = std::vector<double>;
using test::expect_error;
using test::expect_success;
constexpr double eps = 0x1p-52;

struct Solver {
    sarvo_nr_jtsm *p = nullptr;
    Solver() { expect_success(sarvo_nr_jtsm_init(&p)); }
    ~Solver() { sarvo_nr_jtsm_free(p); }
    Solver(const Solver &) = delete;

    Doubles V() const { return {static_cast<double *>(p->V->data), static_cast<double *>(p->V->data) + p->n * p->n}; }
    Doubles d() const { return {static_cast<double *>(p->d->data), static_cast<double *>(p->d->data) + p->n}; }
};

sarko_error_t solve(Solver &s, uint64_t n, const Doubles &a) {
    sarvo_matrix *A = test::matrix_of(n, n, a);
    const sarko_error_t e = sarvo_nr_jtsm_compute(A, 0, 0, 0, s.p);
    sarvo_matrix_free(A);
    return e;
}

// Types: uniform; ties; a given spectrum from 1 down to small; graded; nearly diagonal; zeros of -0; infinities.
Doubles symmetric(uint64_t n, int type, test::Random &random) {
    Doubles a(n * n);
    const auto set = [&](uint64_t i, uint64_t j, double x) { a[i * n + j] = a[j * n + i] = x; };
    for (uint64_t i = 0; i < n; i++)
        for (uint64_t j = i; j < n; j++) {
            const double u = random.symmetric();
            const double grade = std::pow(10.0, -6.0 * static_cast<double>(i + j) / static_cast<double>(2 * n));
            set(i, j,
                type == 1   ? static_cast<double>(random.below(3))
                : type == 3 ? u * grade
                : type == 4 ? (i == j ? static_cast<double>(i) : 1e-9 * u)
                : type == 5 ? (random.below(3) ? -0.0 : u)
                : type == 6 ? (random.below(n) ? u : u / 0.0)
                            : u);
        }
    if (type != 2) return a;
    Doubles q(n); // (1 - 2 q q') diag (1 - 2 q q')
    double norm = 0.0;
    for (double &x : q) {
        x = random.symmetric();
        norm += x * x;
    }
    for (uint64_t i = 0; i < n; i++)
        for (uint64_t j = i; j < n; j++) {
            double sum = 0.0;
            for (uint64_t k = 0; k < n; k++) {
                const double left = (i == k) - 2 * q[i] * q[k] / norm, right = (j == k) - 2 * q[j] * q[k] / norm;
                sum += left * std::pow(eps, static_cast<double>(k) / static_cast<double>(n)) * right;
            }
            set(i, j, sum);
        }
    return a;
}

TEST(Jacobi, EveryLevelHasTheBitsOfTheLoop) {
    const sarvo::simd::Kernels *tables[sarvo::simd::most_levels];
    const uint32_t levels = sarvo::simd::available_levels(tables, sarvo::simd::most_levels);
    test::Random random(52);
    Solver s;
    for (const uint64_t n : {1u, 2u, 3u, 5u, 7u, 8u, 9u, 15u, 16u, 17u, 24u, 33u})
        for (int type = 0; type < 7; type++) {
            const Doubles a = symmetric(n, type, random);
            Doubles work = a, V, d;
            const bool converged = test::literal::jacobi(n, work, V, d);
            ASSERT_TRUE(converged || type == 6);
            for (uint32_t l = 0; l < levels; l++) {
                sarvo::simd::force_level(tables[l]);
                const sarko_error_t e = solve(s, n, a);
                ASSERT_EQ(e == 0, converged) << "n " << n << ", type " << type;
                sarko_error_clear(e);
                if (!converged) continue;
                const std::string what =
                    std::string(tables[l]->level) + ", n " + std::to_string(n) + ", type " + std::to_string(type);
                test::expect_equal_bits(s.d().data(), d.data(), n, "d, " + what);
                test::expect_equal_bits(s.V().data(), V.data(), n * n, "V, " + what);
            }
            sarvo::simd::force_level(nullptr);
        }
}

// The larger of ||A V - V d|| / (n eps ||A||) and ||V'V - 1|| / (n eps), largest elements for norms of the errors.
double ratio(uint64_t n, const Doubles &a, const Doubles &V, const Doubles &d) {
    double norm = 0.0, residual = 0.0, skew = 0.0;
    for (uint64_t i = 0; i < n; i++) {
        double row = 0.0;
        for (uint64_t j = 0; j < n; j++) {
            double av = -V[i * n + j] * d[j], vv = i == j ? -1.0 : 0.0;
            for (uint64_t k = 0; k < n; k++) {
                av += a[i * n + k] * V[k * n + j];
                vv += V[k * n + i] * V[k * n + j];
            }
            residual = std::fmax(residual, std::fabs(av));
            skew = std::fmax(skew, std::fabs(vv));
            row += std::fabs(a[i * n + j]);
        }
        norm = std::fmax(norm, row);
    }
    const double unit = static_cast<double>(n) * eps;
    return std::fmax(norm > 0.0 ? residual / (unit * norm) : 0.0, skew / unit);
}

TEST(Jacobi, ResidualsAreSmallAndTheOtherSolverAgrees) {
    test::Random random(53);
    Solver s;
    double worst = 0.0, apart = 0.0;
    for (const uint64_t n : {1u, 2u, 3u, 5u, 10u, 50u, 100u})
        for (int type = 0; type < 6; type++)
            for (int draw = n < 50 ? 0 : 34; draw < 35; draw++) {
                const Doubles a = symmetric(n, type, random);
                expect_success(solve(s, n, a));
                const Doubles d = s.d();
                worst = std::fmax(worst, ratio(n, a, s.V(), d));
                EXPECT_TRUE(std::is_sorted(d.rbegin(), d.rend()));
                MAT *M = nullptr;
                VEC *w = nullptr;
                expect_success(sarvo_mh_m_get(n, n, &M));
                for (uint64_t i = 0; i < n * n; i++) M->row_ptrs[i / n][i % n] = a[i];
                expect_success(sarvo_mh_symmeig(M, nullptr, &w));
                Doubles other(w->elems, w->elems + n);
                std::sort(other.rbegin(), other.rend());
                const double largest = std::fmax(std::fabs(d.front()), std::fabs(d.back()));
                for (uint64_t k = 0; k < n && largest > 0.0; k++)
                    apart = std::fmax(apart, std::fabs(d[k] - other[k]) / (largest * eps * static_cast<double>(n)));
                sarvo_mh_m_free(M);
                sarvo_mh_v_free(w);
            }
    std::printf("worst ratio %.2f, apart from symmeig by %.2f n eps of the largest\n", worst, apart);
    EXPECT_LT(worst, 60.0);
    EXPECT_LT(apart, 60.0);
}

TEST(Jacobi, AgreesWithKnownSpectra) {
    const std::filesystem::path folder = SARVO_SHARED_DATA "/matrix";
    std::ifstream table(folder / "spectra.csv");
    if (!table) GTEST_SKIP() << folder << " is not there";
    std::map<std::string, Doubles> spectra; // ascending
    for (std::string line; std::getline(table, line);) {
        std::istringstream cells(line);
        std::string name, kind, k, value;
        for (std::string *cell : {&name, &kind, &k, &value}) std::getline(cells, *cell, ',');
        if (kind == "eigen") spectra[name].push_back(std::stod(value));
    }
    EXPECT_EQ(spectra.size(), 3u);
    for (const auto &[name, known] : spectra) {
        const test::MarketMatrix market = test::read_market(folder / (name + ".mtx"));
        const uint64_t n = known.size();
        Doubles a(n * n);
        for (const auto &e : market.entries) a[static_cast<uint64_t>(e.i) * n + static_cast<uint64_t>(e.j)] = e.value;
        Solver s;
        expect_success(solve(s, n, a));
        double worst = 0.0;
        for (uint64_t k = 0; k < n; k++) worst = std::fmax(worst, std::fabs(s.d()[k] - known[n - 1 - k]));
        worst /= eps * std::fmax(std::fabs(known.front()), std::fabs(known.back()));
        std::printf("%-10s %3zu values, worst error %.2f eps of the largest\n", name.c_str(), known.size(), worst);
        EXPECT_LE(worst, 60.0) << name;
    }
}

TEST(Jacobi, SmallMatricesAndBlocks) {
    Solver s;
    expect_success(solve(s, 3, {1, 0, 0, 0, 3, 0, 0, 0, 2}));
    EXPECT_EQ(s.d(), (Doubles{3, 2, 1}));
    EXPECT_EQ(s.V(), (Doubles{0, 0, 1, 1, 0, 0, 0, 1, 0}));
    sarvo_matrix *A =
        test::matrix_of(3, 4, {9, 9, 9, 9, 9, 2, 1, 9, 9, -7, 2, 9}); // below the diagonal nothing is read
    expect_success(sarvo_nr_jtsm_compute(A, 1, 1, 2, s.p));
    EXPECT_EQ(s.d(), (Doubles{3, 1}));
    for (const double v : s.V()) EXPECT_NEAR(std::fabs(v), std::sqrt(0.5), 2e-16);
    sarvo_matrix_free(A);
    expect_success(solve(s, 0, {}));
    EXPECT_EQ(s.p->n, 0u);
}

TEST(Jacobi, RefusesInOrder) {
    Solver s;
    sarvo_matrix *A = test::matrix_of(2, 3, {1, 2, 3, 4, 5, 6}), *ints = nullptr;
    expect_success(sarvo_matrix_alloc(&ints, SARVO_INT32, 0, 2, 2));
    const std::string w = "JTSM error", null = "Input structure is not initialized";
    expect_error(sarvo_nr_jtsm_init(nullptr), SarvoNullEC, {null});
    expect_error(sarvo_nr_jtsm_compute(nullptr, 0, 0, 0, s.p), SarvoNullEC, {w, null});
    expect_error(sarvo_nr_jtsm_compute(ints, 0, 0, 0, nullptr), SarvoNullEC, {w, null});
    expect_error(sarvo_nr_jtsm_compute(ints, 9, 0, 1, s.p), SarvoDtypeEC, {w, "Invalid data type 5"});
    expect_error(sarvo_nr_jtsm_compute(A, 0, 2, 2, s.p), SarvoNrSizeEC,
                 {w, "Requested number of columns and rows (2) starting from indces (0,2) is not available in input "
                     "matrix (2,3)."});
    for (const auto &[row, col] : {std::pair<uint64_t, uint64_t>(0, 0), {3, 4}})
        expect_error(sarvo_nr_jtsm_compute(A, row, col, 0, s.p), SarvoNrSizeEC,
                     {w, "Input matrix (2,3) starting from indeces (" + std::to_string(row) + "," +
                             std::to_string(col) + ") is not square."});
    s.p->max_sweeps = 0;
    expect_error(solve(s, 1, {4}), SarvoNrIterEC, {w, "No convergence after 0 rotations"});
    s.p->max_sweeps = 50;
    expect_error(solve(s, 3, {1, NAN, 2, NAN, 3, 4, 2, 4, 5}), SarvoNrIterEC, {w, "No convergence after 50 rotations"});
    expect_success(solve(s, 2, {1, 2, 2, 1}));
    sarvo_matrix_free(A);
    sarvo_matrix_free(ints);
    sarvo_nr_jtsm_free(nullptr);
}

} // namespace
