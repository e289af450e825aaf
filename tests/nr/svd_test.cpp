// The decomposition itself: residual and orthogonality on many kinds of matrices, equal bits at every level, known
// spectra, checks in order.
#include <sarvo/nr.h>

#include <algorithm>
#include <cmath>
#include <fstream>
#include <limits>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "simd/simd.h"
#include "test_support.h"

namespace {

constexpr double eps = 0x1p-52;

struct Svd {
    sarvo_nr_svd *p = nullptr;
    Svd() { test::expect_success(sarvo_nr_svd_init(&p)); }
    Svd(const Svd &) = delete;
    ~Svd() { sarvo_nr_svd_free(p); }
    double w(uint64_t k) const { return test::at(p->w, k); }
};

struct Matrix {
    sarvo_matrix *p;
    Matrix(uint64_t rows, uint64_t cols, const std::vector<double> &values) : p(test::matrix_of(rows, cols, values)) {}
    Matrix(const Matrix &) = delete;
    ~Matrix() { sarvo_matrix_free(p); }
    double operator()(uint64_t i, uint64_t j) const { return test::at(p, i, j); }
};

// Frobenius norms over eps max(m, n), in extended precision: |A - U w V'| / |A|, |I - U'U| over the columns of U that
// belong to the first min(m, n) values, |I - V'V|.
struct Quality {
    long double residual = 0, left = 0, right = 0;
};

Quality quality(const sarvo_matrix *A, const sarvo_nr_svd *s) {
    const uint64_t m = s->m, n = s->n, k = m < n ? m : n;
    long double error = 0, size = 0, scale = 0;
    for (uint64_t i = 0; i < m; i++)
        for (uint64_t j = 0; j < n; j++)
            scale = std::fmax(scale, std::fabs(static_cast<long double>(test::at(A, i, j))));
    if (scale == 0) scale = 1;
    Quality q;
    for (uint64_t i = 0; i < m; i++)
        for (uint64_t j = 0; j < n; j++) {
            long double sum = 0;
            for (uint64_t l = 0; l < k; l++)
                sum +=
                    static_cast<long double>(test::at(s->U, i, l)) * (test::at(s->w, l) / scale) * test::at(s->V, j, l);
            const long double a = test::at(A, i, j) / scale;
            error += (a - sum) * (a - sum);
            size += a * a;
        }
    const auto gram = [](const sarvo_matrix *M, uint64_t rows, uint64_t cols) {
        long double total = 0;
        for (uint64_t a = 0; a < cols; a++)
            for (uint64_t b = 0; b < cols; b++) {
                long double sum = a == b ? -1.0L : 0.0L;
                for (uint64_t i = 0; i < rows; i++)
                    sum += static_cast<long double>(test::at(M, i, a)) * test::at(M, i, b);
                total += sum * sum;
            }
        return std::sqrt(total);
    };
    const long double unit = static_cast<long double>(eps) * static_cast<long double>(m > n ? m : n);
    q.residual = size > 0 ? std::sqrt(error / size) / unit : std::sqrt(error) / unit;
    q.left = gram(s->U, m, k) / unit;
    q.right = gram(s->V, n, n) / unit;
    return q;
}

std::vector<double> random_values(uint64_t count, test::Random &random) {
    std::vector<double> v(count);
    for (double &x : v) x = random.symmetric();
    return v;
}

struct Kind {
    const char *name;
    void (*shape)(uint64_t m, uint64_t n, std::vector<double> &a); // turns random values into the kind
};

const Kind kinds[] = {
    {"random", [](uint64_t, uint64_t, std::vector<double> &) {}},
    {"graded by rows",
     [](uint64_t m, uint64_t n, std::vector<double> &a) {
         for (uint64_t i = 0; i < m; i++)
             for (uint64_t j = 0; j < n; j++)
                 a[i * n + j] *= std::pow(10.0, -20.0 * static_cast<double>(i) / static_cast<double>(m));
     }},
    {"graded by columns, growing",
     [](uint64_t m, uint64_t n, std::vector<double> &a) {
         for (uint64_t i = 0; i < m; i++)
             for (uint64_t j = 0; j < n; j++)
                 a[i * n + j] *= std::pow(10.0, 20.0 * static_cast<double>(j) / static_cast<double>(n));
     }},
    {"rank one",
     [](uint64_t m, uint64_t n, std::vector<double> &a) {
         for (uint64_t i = 0; i < m; i++)
             for (uint64_t j = 0; j < n; j++) a[i * n + j] = static_cast<double>(i + 1) * static_cast<double>(j + 2);
     }},
    {"half rank",
     [](uint64_t m, uint64_t n, std::vector<double> &a) {
         for (uint64_t i = 0; i < m; i++)
             for (uint64_t j = n / 2; j < n; j++) a[i * n + j] = a[i * n + j - n / 2];
     }},
    {"zero",
     [](uint64_t, uint64_t, std::vector<double> &a) {
         for (double &x : a) x = 0.0;
     }},
    {"zero but one entry",
     [](uint64_t, uint64_t, std::vector<double> &a) {
         for (uint64_t i = 0; i + 1 < a.size(); i++) a[i] = 0.0;
     }},
    {"identity",
     [](uint64_t m, uint64_t n, std::vector<double> &a) {
         for (uint64_t i = 0; i < m; i++)
             for (uint64_t j = 0; j < n; j++) a[i * n + j] = i == j ? 1.0 : 0.0;
     }},
    {"bidiagonal with zeros on the diagonal",
     [](uint64_t m, uint64_t n, std::vector<double> &a) {
         for (uint64_t i = 0; i < m; i++)
             for (uint64_t j = 0; j < n; j++)
                 if (!(j == i + 1 || (j == i && i % 3 != 1))) a[i * n + j] = 0.0;
     }},
    {"all equal",
     [](uint64_t, uint64_t, std::vector<double> &a) {
         for (double &x : a) x = 0.1;
     }},
    {"tiny",
     [](uint64_t, uint64_t, std::vector<double> &a) {
         for (double &x : a) x *= 1e-300;
     }},
    {"huge",
     [](uint64_t, uint64_t, std::vector<double> &a) {
         for (double &x : a) x *= 1e306;
     }},
    {"tiny beside ordinary",
     [](uint64_t, uint64_t n, std::vector<double> &a) {
         for (uint64_t i = 0; i < a.size(); i++)
             if (i % n > 0) a[i] *= 1e-170;
     }},
};

TEST(Decomposition, ReproducesEveryKindOfMatrixByOrthogonalFactors) {
    const std::pair<uint64_t, uint64_t> shapes[] = {{1, 1}, {1, 5}, {5, 1},   {2, 2},   {3, 2},   {2, 3},   {8, 8},
                                                    {9, 7}, {7, 9}, {24, 24}, {25, 25}, {40, 23}, {23, 40}, {70, 66}};
    long double worst = 0;
    for (const Kind &kind : kinds)
        for (const auto &[m, n] : shapes)
            for (uint64_t draw = 0; draw < 4; draw++) {
                test::Random random(1000 * m + 10 * n + draw);
                std::vector<double> values = random_values(m * n, random);
                kind.shape(m, n, values);
                const Matrix A(m, n, values);
                Svd s;
                test::expect_success(sarvo_nr_svd_decompose(A.p, 0, 0, m, n, s.p));
                const Quality q = quality(A.p, s.p);
                const std::string what = std::string(kind.name) + " " + std::to_string(m) + " x " + std::to_string(n);
                // A rank-deficient wide matrix has fewer than min(m, n) left vectors only in name: all are orthonormal.
                EXPECT_LT(q.residual, 30) << what;
                EXPECT_LT(q.left, 30) << what;
                EXPECT_LT(q.right, 30) << what;
                for (uint64_t k = 0; k < n; k++) EXPECT_GE(s.w(k), 0.0) << what;
                for (uint64_t k = m; k < n; k++) EXPECT_EQ(s.w(k), 0.0) << what;
                EXPECT_EQ(test::bytes(A.p), test::bytes(Matrix(m, n, values).p)) << what << ": A was changed";
                worst = std::fmax(worst, std::fmax(q.residual, std::fmax(q.left, q.right)));
            }
    std::printf("worst ratio %.2Lf\n", worst);
}

// D B D, D from 1 to 1e-7, B well conditioned: the entries are graded over 14 decades, and every singular value is
// determined to a small multiple of eps relative to itself. Reference: one-sided Jacobi in extended precision, which
// keeps that accuracy on columns of any scale (Demmel and Veselic 1992).
std::vector<long double> jacobi_values(uint64_t n, std::vector<long double> a) { // columns of a, ascending result
    for (int sweep = 0; sweep < 60; sweep++) {
        long double worst = 0;
        for (uint64_t p = 0; p < n; p++)
            for (uint64_t q = p + 1; q < n; q++) {
                long double x = 0, y = 0, z = 0;
                for (uint64_t i = 0; i < n; i++) {
                    x += a[i * n + p] * a[i * n + p];
                    y += a[i * n + q] * a[i * n + q];
                    z += a[i * n + p] * a[i * n + q];
                }
                if (z == 0) continue;
                worst = std::fmax(worst, std::fabs(z) / std::sqrt(x * y));
                const long double zeta = (y - x) / (2 * z);
                const long double t = (zeta < 0 ? -1 : 1) / (std::fabs(zeta) + std::sqrt(1 + zeta * zeta));
                const long double c = 1 / std::sqrt(1 + t * t), s = c * t;
                for (uint64_t i = 0; i < n; i++) {
                    const long double ap = a[i * n + p], aq = a[i * n + q];
                    a[i * n + p] = c * ap - s * aq;
                    a[i * n + q] = s * ap + c * aq;
                }
            }
        if (worst < 1e-18L) break;
    }
    std::vector<long double> w(n);
    for (uint64_t j = 0; j < n; j++) {
        for (uint64_t i = 0; i < n; i++) w[j] += a[i * n + j] * a[i * n + j];
        w[j] = std::sqrt(w[j]);
    }
    std::sort(w.begin(), w.end());
    return w;
}

TEST(Decomposition, KeepsSmallSingularValuesOfGradedMatricesInWhateverOrderTheyCome) {
    const uint64_t n = 8;
    for (uint64_t draw = 0; draw < 20; draw++)
        for (const int order : {0, 1, 2}) { // shrinking, growing, shuffled
            test::Random random(100 + draw);
            std::vector<double> values = random_values(n * n, random);
            for (uint64_t i = 0; i < n; i++) values[i * n + i] += 4.0;
            const auto scale = [&](uint64_t i) {
                const uint64_t place = order == 0 ? i : order == 1 ? n - 1 - i : (i * 5 + 3) % n;
                return std::pow(10.0, -static_cast<double>(place));
            };
            for (uint64_t i = 0; i < n; i++)
                for (uint64_t j = 0; j < n; j++) values[i * n + j] *= scale(i) * scale(j);
            const Matrix A(n, n, values);
            Svd s;
            s.p->eps = 1e-18; // nothing counts as negligible too soon
            test::expect_success(sarvo_nr_svd_decompose(A.p, 0, 0, 0, 0, s.p));
            std::vector<double> w;
            for (uint64_t k = 0; k < n; k++) w.push_back(s.w(k));
            std::sort(w.begin(), w.end());
            const auto known = jacobi_values(n, {values.begin(), values.end()});
            for (uint64_t k = 0; k < n; k++)
                EXPECT_NEAR(w[k] / static_cast<double>(known[k]), 1.0, 1e-11) << "order " << order << ", value " << k;
        }
}

TEST(Decomposition, HasEqualBitsAtEveryLevel) {
    const sarvo::simd::Kernels *tables[sarvo::simd::most_levels];
    const uint32_t count = sarvo::simd::available_levels(tables, sarvo::simd::most_levels);
    for (const auto &[m, n] : {std::pair<uint64_t, uint64_t>{3, 3}, {17, 9}, {9, 17}, {61, 61}, {130, 90}}) {
        test::Random random(m * n);
        const Matrix A(m, n, random_values(m * n, random));
        std::string expected;
        for (uint32_t level = 0; level < count; level++) {
            sarvo::simd::force_level(tables[level]);
            Svd s;
            test::expect_success(sarvo_nr_svd_decompose(A.p, 0, 0, 0, 0, s.p));
            const std::string actual = test::bytes(s.p->U) + test::bytes(s.p->w) + test::bytes(s.p->V);
            if (level == 0) expected = actual;
            EXPECT_EQ(actual == expected, true) << m << " x " << n << " at level " << tables[level]->level;
        }
    }
    sarvo::simd::force_level(nullptr);
}

// FNV-1a over the bits of U, w and V. The value was the same for GCC 12 and Clang 14, -O3, -Og and -march=native, at every level.
TEST(Decomposition, HasTheSameBitsWithEveryCompilerAndProcessor) {
    uint64_t digest = 14695981039346656037u;
    const auto add = [&digest](const void *p, uint64_t count) {
        for (uint64_t i = 0; i < count; i++)
            digest = (digest ^ test::bits(static_cast<const double *>(p)[i])) * 1099511628211u;
    };
    for (const auto &[m, n] : {std::pair<uint64_t, uint64_t>{2, 2}, {5, 3}, {3, 5}, {33, 33}, {64, 20}, {20, 64}})
        for (const bool graded : {false, true}) {
            test::Random random(m + 100 * n);
            std::vector<double> values = random_values(m * n, random);
            for (uint64_t i = 0; graded && i < m * n; i++) values[i] = std::ldexp(values[i], static_cast<int>(i / n));
            const Matrix A(m, n, values);
            Svd s;
            test::expect_success(sarvo_nr_svd_decompose(A.p, 0, 0, 0, 0, s.p));
            add(s.p->U->data, m * n);
            add(s.p->w->data, n);
            add(s.p->V->data, n * n);
        }
    EXPECT_EQ(digest, 0xca90217a22c6a1aeu) << std::hex << digest;
}

TEST(Decomposition, TakesTheBlockThatIsAskedFor) {
    test::Random random(3);
    const Matrix A(9, 8, random_values(72, random));
    std::vector<double> part;
    for (uint64_t i = 2; i < 7; i++)
        for (uint64_t j = 3; j < 7; j++) part.push_back(A(i, j));
    const Matrix B(5, 4, part);
    Svd of_block, of_part;
    test::expect_success(sarvo_nr_svd_decompose(A.p, 2, 3, 5, 4, of_block.p));
    test::expect_success(sarvo_nr_svd_decompose(B.p, 0, 0, 0, 0, of_part.p));
    EXPECT_EQ(test::bytes(of_block.p->U), test::bytes(of_part.p->U));
    EXPECT_EQ(test::bytes(of_block.p->w), test::bytes(of_part.p->w));
    // 0 stands for the rest; a record that held a larger decomposition takes a smaller one
    test::expect_success(sarvo_nr_svd_decompose(A.p, 4, 5, 0, 0, of_part.p));
    EXPECT_EQ(of_part.p->m, 5u);
    EXPECT_EQ(of_part.p->n, 3u);
    EXPECT_EQ(of_part.p->U->rows, 5u);
    EXPECT_EQ(of_part.p->V->cols, 3u);
    EXPECT_EQ(of_part.p->w->length, 3u);
}

TEST(Decomposition, FillsTheStatistics) {
    const Matrix A(3, 2, {1, 2, 2, 4, 3, 6}); // rank 1, singular values sqrt(70) and 0
    Svd s;
    test::expect_success(sarvo_nr_svd_decompose(A.p, 0, 0, 0, 0, s.p));
    EXPECT_EQ(s.p->done, 1u);
    EXPECT_EQ(s.p->rank, 1u);
    EXPECT_EQ(s.p->nullity, 1u);
    EXPECT_NEAR(s.p->wmax, std::sqrt(70.0), 1e-14);
    EXPECT_EQ(s.p->eps, eps);
    EXPECT_EQ(s.p->thresh, eps * 0.5 * std::sqrt(6.0) * s.p->wmax);
    EXPECT_LT(s.p->rcond, 1e-15);
}

TEST(Decomposition, KeepsTheCallersSettings) {
    const Matrix A(3, 3, {5, 0, 0, 0, 1, 0, 0, 0, 0.25});
    Svd s;
    s.p->thresh = 2.0;
    s.p->eps = 1e-10;
    test::expect_success(sarvo_nr_svd_decompose(A.p, 0, 0, 0, 0, s.p));
    EXPECT_EQ(s.p->thresh, 2.0);
    EXPECT_EQ(s.p->eps, 1e-10);
    EXPECT_EQ(s.p->rank, 1u);
    EXPECT_EQ(s.p->nullity, 2u);
    s.p->thresh = 1.0; // not above the threshold counts as zero
    test::expect_success(sarvo_nr_svd_decompose(A.p, 0, 0, 0, 0, s.p));
    EXPECT_EQ(s.p->rank, 1u);
}

TEST(Decomposition, EndsWithoutConvergenceOnNanInfinityAndNoSweeps) {
    for (const double bad : {std::numeric_limits<double>::quiet_NaN(), HUGE_VAL, -HUGE_VAL})
        for (const uint64_t place : {0u, 5u, 11u}) {
            test::Random random(8);
            std::vector<double> values = random_values(12, random);
            const Matrix good(4, 3, values);
            values[place] = bad;
            const Matrix A(4, 3, values);
            Svd s;
            test::expect_success(sarvo_nr_svd_decompose(good.p, 0, 0, 0, 0, s.p));
            test::expect_error(sarvo_nr_svd_decompose(A.p, 0, 0, 0, 0, s.p), SarvoNrIterEC,
                               {"Cannot do SVD", "No convergence in 30 iterations"});
            EXPECT_EQ(s.p->done, 0u);
            test::expect_error(sarvo_nr_svd_reorder(s.p), SarvoNrSvdNotReadyEC,
                               {"SVD reordering error", "SVD has not yet been done"});
        }
    test::Random random(9);
    const Matrix A(4, 4, random_values(16, random));
    Svd s;
    s.p->maxiter = 0;
    test::expect_error(sarvo_nr_svd_decompose(A.p, 0, 0, 0, 0, s.p), SarvoNrIterEC,
                       {"Cannot do SVD", "No convergence in 0 iterations"});
    const Matrix diagonal(2, 2, {3, 0, 0, -4}); // needs no sweep
    test::expect_success(sarvo_nr_svd_decompose(diagonal.p, 0, 0, 0, 0, s.p));
    EXPECT_EQ(s.w(0) + s.w(1), 7.0);
}

TEST(Decomposition, ReportsTheFirstFaultInOrder) {
    const std::string rows_missing =
        "Requested number of rows (4) starting from index (2) is not available in input matrix (5).";
    const std::string cols_missing =
        "Requested number of columns (9) starting from index (1) is not available in input matrix (4).";
    const Matrix A(5, 4, std::vector<double>(20, 1.0));
    sarvo_matrix *ints = nullptr;
    test::expect_success(sarvo_matrix_alloc(&ints, SARVO_INT32, 0, 2, 2));
    Svd s;
    const uint64_t most = std::numeric_limits<uint64_t>::max();
    test::expect_error(sarvo_nr_svd_decompose(nullptr, 0, 0, 0, 0, nullptr), SarvoNullEC,
                       {"Cannot do SVD", "SVD structure is not initialized"});
    test::expect_error(sarvo_nr_svd_decompose(nullptr, 9, 0, 9, 0, s.p), SarvoNullEC,
                       {"Cannot do SVD", "Input structure is not initialized"});
    test::expect_error(sarvo_nr_svd_decompose(ints, 9, 0, 9, 0, s.p), SarvoDtypeEC, {"Invalid data type 5"});
    test::expect_error(sarvo_nr_svd_decompose(A.p, 2, 1, 4, 9, s.p), SarvoNrSizeEC, {"Cannot do SVD", rows_missing});
    test::expect_error(sarvo_nr_svd_decompose(A.p, 2, 1, 3, 9, s.p), SarvoNrSizeEC, {"Cannot do SVD", cols_missing});
    test::expect_error(sarvo_nr_svd_decompose(A.p, 4, 3, 0, 0, s.p), SarvoNrSizeEC,
                       {"Cannot do SVD", "Requested number of rows is too small (1)."});
    test::expect_error(sarvo_nr_svd_decompose(A.p, 7, 0, 0, 0, s.p), SarvoNrSizeEC,
                       {"Cannot do SVD", "Requested number of rows is too small (0)."});
    test::expect_error(sarvo_nr_svd_decompose(A.p, 4, 3, 1, 0, s.p), SarvoNrSizeEC,
                       {"Cannot do SVD", "Requested number of columns is too small (1)."});
    test::expect_error(sarvo_nr_svd_decompose(A.p, 1, 0, most, 0, s.p), SarvoNrSizeEC,
                       {"Cannot do SVD", "Requested number of rows (18446744073709551615) starting from index (1) is "
                                         "not available in input matrix (5)."});
    EXPECT_EQ(s.p->done, 0u);
    test::expect_success(sarvo_nr_svd_decompose(A.p, 4, 3, 1, 1, s.p)); // explicit counts of 1
    EXPECT_EQ(s.w(0), 1.0);
    test::expect_error(sarvo_nr_svd_init(nullptr), SarvoNullEC, {"Input structure is not initialized"});
    sarvo_nr_svd_free(nullptr);
    sarvo_matrix_free(ints);
}

// ---- Spectra known to 25 digits ----

struct Entries {
    uint64_t rows = 0, cols = 0;
    std::vector<double> values; // row by row
};

// Matrix Market: real or pattern, general or symmetric, coordinate or array by columns.
Entries read_matrix_market(const std::string &path) {
    std::ifstream file(path);
    std::string line, banner;
    std::getline(file, banner);
    const bool coordinate = banner.find("coordinate") != std::string::npos;
    const bool pattern = banner.find("pattern") != std::string::npos;
    const bool symmetric = banner.find(" symmetric") != std::string::npos;
    while (std::getline(file, line) && line[0] == '%') {
    }
    std::istringstream sizes(line);
    Entries m;
    uint64_t stored = 0;
    sizes >> m.rows >> m.cols >> stored;
    m.values.resize(m.rows * m.cols);
    const auto set = [&](uint64_t i, uint64_t j, double x) {
        m.values[i * m.cols + j] = x;
        if (symmetric) m.values[j * m.cols + i] = x;
    };
    if (coordinate) {
        for (uint64_t e = 0, i, j; e < stored; e++) {
            double x = 1.0;
            file >> i >> j;
            if (!pattern) file >> x;
            set(i - 1, j - 1, x);
        }
    } else {
        for (uint64_t j = 0; j < m.cols; j++)
            for (uint64_t i = symmetric ? j : 0; i < m.rows; i++) {
                double x = 0.0;
                file >> x;
                set(i, j, x);
            }
    }
    EXPECT_TRUE(file) << path << " could not be read";
    return m;
}

TEST(Spectra, AgreeWithTheKnownSingularValues) {
    const std::string folder = std::string(SARVO_SHARED_DATA) + "/matrix/";
    std::ifstream table(folder + "spectra.csv");
    if (!table) GTEST_SKIP() << "the folder of reference data is not there";
    std::map<std::string, std::vector<double>> spectra; // descending
    std::string line;
    std::getline(table, line);
    while (std::getline(table, line)) {
        std::istringstream cells(line);
        std::string name, kind, k, value;
        std::getline(cells, name, ',');
        std::getline(cells, kind, ',');
        std::getline(cells, k, ',');
        std::getline(cells, value, ',');
        if (kind == "singular") spectra[name].push_back(std::stod(value));
    }
    EXPECT_EQ(spectra.size(), 12u);
    for (const auto &[name, known] : spectra) {
        const Entries m = read_matrix_market(folder + name + ".mtx");
        const Matrix A(m.rows, m.cols, m.values);
        Svd s;
        test::expect_success(sarvo_nr_svd_decompose(A.p, 0, 0, 0, 0, s.p));
        test::expect_success(sarvo_nr_svd_reorder(s.p));
        double worst = 0.0;
        for (uint64_t k = 0; k < known.size(); k++) worst = std::fmax(worst, std::fabs(s.w(k) - known[k]));
        EXPECT_LE(worst, 50 * eps * known[0]) << name;
        EXPECT_EQ(s.p->rank, known.size()) << name;
        std::printf("%-10s %3zu values, worst error %.2f eps of the largest\n", name.c_str(), known.size(),
                    worst / (eps * known[0]));
    }
}

} // namespace
