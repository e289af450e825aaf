// Every finite matrix is decomposed within the default limit: spectra on which QR sweeps are known to stall, from 2 to
// 500 columns, thousands of draws, and bidiagonal matrices made to be awkward.
#include <sarvo/nr.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <string>
#include <vector>

#include "environment.h"
#include "nr/diagonal.h"
#include "test_support.h"

namespace {

using Doubles = std::vector<double>;
using test::Random;

constexpr double eps = 0x1p-52;

// Applies random reflections I - 2 v v' / v'v to the rows of a (n x n): A becomes Q A for a random orthogonal Q.
void multiply_by_orthogonal(uint64_t n, Doubles &a, Random &random) {
    Doubles v(n), sum(n);
    for (uint64_t k = 0; k < n; k++) {
        double square = 0.0;
        for (uint64_t i = k; i < n; i++) {
            v[i] = random.symmetric();
            square += v[i] * v[i];
        }
        if (square == 0.0) continue;
        std::fill(sum.begin(), sum.end(), 0.0);
        for (uint64_t i = k; i < n; i++)
            for (uint64_t j = 0; j < n; j++) sum[j] += v[i] * a[i * n + j];
        for (uint64_t i = k; i < n; i++)
            for (uint64_t j = 0; j < n; j++) a[i * n + j] -= 2.0 / square * v[i] * sum[j];
    }
}

Doubles transposed(uint64_t n, const Doubles &a) {
    Doubles t(n * n);
    for (uint64_t i = 0; i < n; i++)
        for (uint64_t j = 0; j < n; j++) t[j * n + i] = a[i * n + j];
    return t;
}

// Q1 diag(w) Q2 for random orthogonal Q1, Q2.
Doubles matrix_with(const Doubles &w, Random &random) {
    const uint64_t n = w.size();
    Doubles a(n * n, 0.0);
    for (uint64_t i = 0; i < n; i++) a[i * n + i] = w[i];
    multiply_by_orthogonal(n, a, random);
    a = transposed(n, a);
    multiply_by_orthogonal(n, a, random);
    return a;
}

struct Spectrum {
    const char *name;
    double (*value)(uint64_t i, uint64_t n, Random &random);
};

const Spectrum spectra[] = {
    {"orthogonal", [](uint64_t, uint64_t, Random &) { return 1.0; }},
    {"1 and 1 + 1e-13", [](uint64_t i, uint64_t, Random &) { return i % 2 ? 1.0 : 1.0 + 1e-13; }},
    {"1 and 1 + 1e-10", [](uint64_t i, uint64_t, Random &) { return i % 2 ? 1.0 : 1.0 + 1e-10; }},
    {"spread over 1e-14", [](uint64_t, uint64_t, Random &random) { return 1.0 + 1e-14 * random.uniform(); }},
    {"ones and three small ones",
     [](uint64_t i, uint64_t, Random &) {
         return i > 2 ? 1.0 : i == 0 ? 1e-3 : i == 1 ? 1e-7 : 1e-12;
     }},
    {"ones and one small one", [](uint64_t i, uint64_t, Random &) { return i == 0 ? 1e-14 : 1.0; }},
    {"one large one", [](uint64_t i, uint64_t, Random &) { return i == 0 ? 1.0 : 1e-14; }},
    {"three clusters", [](uint64_t i, uint64_t, Random &) { return i % 3 == 0   ? 1.0
                                                                   : i % 3 == 1 ? 1e-5
                                                                                : 1e-10; }},
    {"half rank", [](uint64_t i, uint64_t n, Random &) { return i < n / 2 ? 1.0 : 0.0; }},
    {"pairs", [](uint64_t i, uint64_t, Random &) { return 1.0 + static_cast<double>(i / 2); }},
    {"geometric", [](uint64_t i, uint64_t n,
                     Random &) { return std::pow(10.0, -16.0 * static_cast<double>(i) / static_cast<double>(n)); }},
    {"random exponents",
     [](uint64_t, uint64_t, Random &random) { return std::ldexp(1.0, -static_cast<int>(random.below(60))); }},
};

// Decomposes Q1 diag(w) Q2 * scale at the default limit; the values found agree with w.
void expect_decomposed(const std::string &name, Doubles w, double scale, Random &random) {
    const uint64_t n = w.size();
    Doubles a = matrix_with(w, random);
    for (double &x : a) x *= scale;
    sarvo_matrix *A = test::matrix_of(n, n, a);
    sarvo_nr_svd *svd = nullptr;
    test::expect_success(sarvo_nr_svd_init(&svd));
    const sarko_error_t e = sarvo_nr_svd_decompose(A, 0, 0, 0, 0, svd);
    EXPECT_EQ(e, 0u) << name << ", n = " << n;
    test::expect_success(e);
    if (!e) {
        const double *found = static_cast<const double *>(svd->w->data);
        Doubles sorted(found, found + n);
        std::sort(sorted.begin(), sorted.end());
        std::sort(w.begin(), w.end());
        double worst = 0.0;
        for (uint64_t i = 0; i < n; i++) worst = std::fmax(worst, std::fabs(sorted[i] / scale - w[i]));
        EXPECT_LE(worst, eps * w.back() * (8.0 + static_cast<double>(n))) << name << ", n = " << n;
    }
    sarvo_nr_svd_free(svd);
    sarvo_matrix_free(A);
}

TEST(Convergence, IsReachedForSpectraOnWhichSweepsStall) {
    Random random(1);
    const struct {
        uint64_t n, draws;
    } sizes[] = {{2, 200}, {3, 200}, {4, 100}, {5, 100}, {8, 60}, {9, 60},
                 {16, 40}, {20, 40}, {40, 12}, {80, 6},  {160, 2}};
    for (const Spectrum &spectrum : spectra)
        for (const auto &[n, draws] : sizes)
            for (uint64_t draw = 0; draw < draws; draw++) {
                Doubles w(n);
                for (uint64_t i = 0; i < n; i++) w[i] = spectrum.value(i, n, random);
                expect_decomposed(spectrum.name, w, 1.0, random);
            }
}

TEST(Convergence, IsReachedForLargeOrthogonalAndClusteredMatrices) {
    Random random(2);
    for (const uint64_t n : {240u, 500u})
        for (const uint64_t kind : {0u, 1u}) {
            Doubles w(n);
            for (uint64_t i = 0; i < n; i++) w[i] = spectra[kind].value(i, n, random);
            expect_decomposed(spectra[kind].name, w, 1.0, random);
        }
}

TEST(Convergence, IsReachedAtBothEndsOfTheRange) {
    Random random(3);
    for (const Spectrum &spectrum : spectra)
        for (const double scale : {0x1p-1000, 0x1p+1000})
            for (const uint64_t n : {3u, 10u, 30u}) {
                Doubles w(n);
                for (uint64_t i = 0; i < n; i++) w[i] = spectrum.value(i, n, random);
                expect_decomposed(spectrum.name, w, scale, random);
            }
}

// Nearly defective and structured matrices whose singular values are not known beforehand: the sum of their squares is.
TEST(Convergence, IsReachedForNearlyDefectiveAndStructuredMatrices) {
    const auto bidiagonal = [](uint64_t i, uint64_t j, double d, double e) {
        return i == j ? d : j == i + 1 ? e : 0.0;
    };
    for (const uint64_t n : {2u, 7u, 24u, 96u, 200u})
        for (uint64_t kind = 0; kind < 9; kind++) {
            Doubles a(n * n);
            for (uint64_t i = 0; i < n; i++)
                for (uint64_t j = 0; j < n; j++) {
                    const double place = static_cast<double>(i) / static_cast<double>(n);
                    const double rising = std::pow(10.0, 15.0 * (place - 1.0)), falling = std::pow(10.0, -15.0 * place);
                    const bool odd = __builtin_parityll(i & j) != 0;
                    a[i * n + j] = kind == 0   ? bidiagonal(i, j, 1.0, 1.0)
                                   : kind == 1 ? bidiagonal(i, j, 1.0, 1e-13)
                                   : kind == 2 ? bidiagonal(i, j, 1.0, 1e-15)
                                   : kind == 3 ? bidiagonal(i, j, 1e-6, 1.0)
                                   : kind == 4 ? bidiagonal(i, j, rising, rising)
                                   : kind == 5 ? bidiagonal(i, j, falling, falling)
                                   : kind == 6 ? (odd ? -1.0 : 1.0) // a Hadamard matrix when n is a power of 2
                                   : kind == 7 ? 1.0 / static_cast<double>(i + j + 1)
                                               : bidiagonal(i, j, 0.0, 1.0); // one Jordan block for 0
                }
            double square = 0.0, found = 0.0;
            for (const double x : a) square += x * x;
            sarvo_matrix *A = test::matrix_of(n, n, a);
            sarvo_nr_svd *svd = nullptr;
            test::expect_success(sarvo_nr_svd_init(&svd));
            test::expect_success(sarvo_nr_svd_decompose(A, 0, 0, 0, 0, svd));
            ASSERT_EQ(svd->done, 1u) << "kind " << kind << ", n = " << n;
            for (uint64_t i = 0; i < n; i++) found += test::at(svd->w, i) * test::at(svd->w, i);
            EXPECT_NEAR(found / square, 1.0, 1e-12) << "kind " << kind << ", n = " << n;
            sarvo_nr_svd_free(svd);
            sarvo_matrix_free(A);
        }
}

// The diagonalisation alone, without vectors: elements over the whole range of exponents, equal, tiny, zero; any setting
// of the relative bound, also one that no rounded element can reach.
TEST(Convergence, OfBidiagonalMatricesIsReachedForAnySetting) {
    Random random(4);
    for (uint64_t draw = 0; draw < 4000; draw++) {
        const uint64_t n = draw % 50 == 0 ? 200 : 2 + random.below(30);
        const int spread = static_cast<int>(draw % 5 == 0 ? 200 : draw % 5 == 1 ? 60 : draw % 5); // of the exponents
        const double setting[] = {eps, 0.0, 1e-20, 1e-10, std::numeric_limits<double>::quiet_NaN()};
        alignas(64) static double storage[200 * 8];
        Doubles d(n), e(n), work(sarvo::nr::diagonal_work(n) + 8);
        double square = 0.0;
        for (uint64_t i = 0; i < n; i++) {
            d[i] = std::ldexp(random.below(4) ? 1.0 : random.symmetric(),
                              -static_cast<int>(random.below(static_cast<uint64_t>(spread + 1))));
            e[i] = random.below(8) == 0
                       ? 0.0
                       : std::ldexp(random.symmetric(),
                                    -static_cast<int>(random.below(static_cast<uint64_t>(2 * spread + 50))));
            if (random.below(40) == 0) d[i] = 0.0;
            square += d[i] * d[i] + (i + 1 < n ? e[i] * e[i] : 0.0);
        }
        if (square == 0.0) continue;
        double *aligned = work.data() + (8 - reinterpret_cast<uintptr_t>(work.data()) / 8 % 8) % 8;
        const sarvo::nr::Panel none = {storage, n, 0, 8};
        ASSERT_TRUE(sarvo::nr::diagonalise(n, d.data(), e.data(), none, none, setting[random.below(5)], 30, aligned))
            << "draw " << draw << ", n = " << n;
        double found = 0.0;
        for (const double w : d) {
            EXPECT_GE(w, 0.0);
            found += w * w;
        }
        EXPECT_NEAR(found / square, 1.0, 1e-9) << "draw " << draw; // 1e-10 is the coarsest setting
    }
}

// Other directions of rounding, and subnormal numbers flushed to zero: it ends, with a result or the documented error.
TEST(Convergence, OrItsErrorComesInEveryArithmetic) {
    test::in_every_environment([](const std::string &name) {
        Random random(5);
        for (const Spectrum &spectrum : spectra)
            for (const double scale : {1.0, 0x1p-1050, 0x1p+1000})
                for (const uint64_t n : {2u, 5u, 12u, 40u}) {
                    Doubles w(n);
                    for (uint64_t i = 0; i < n; i++) w[i] = spectrum.value(i, n, random);
                    Doubles a = matrix_with(w, random);
                    for (double &x : a) x *= scale;
                    sarvo_matrix *A = test::matrix_of(n, n, a);
                    for (uint64_t i = 0; i < n; i++)
                        for (uint64_t j = 0; j < i; j++) test::at(A, i, j) = test::at(A, j, i); // symmetric, for Jacobi
                    sarvo_nr_svd *svd = nullptr;
                    sarvo_nr_jtsm *jacobi = nullptr;
                    test::expect_success(sarvo_nr_svd_init(&svd));
                    test::expect_success(sarvo_nr_jtsm_init(&jacobi));
                    for (const sarko_error_t e :
                         {sarvo_nr_svd_decompose(A, 0, 0, 0, 0, svd), sarvo_nr_jtsm_compute(A, 0, 0, 0, jacobi)}) {
                        EXPECT_TRUE(!e || sarko_error_code(e) == SarvoNrIterEC) << name << ", " << spectrum.name;
                        sarko_error_clear(e);
                    }
                    sarvo_nr_svd_free(svd);
                    sarvo_nr_jtsm_free(jacobi);
                    sarvo_matrix_free(A);
                }
    });
}

} // namespace
