// Functions of a matrix: bits of the stated schemes, accuracy, checks.
#include <cmath>

#include "mh_support.h"

namespace {

using namespace test::mh;
using test::expect_error;
using test::expect_success;

// ---- The stated schemes, column by column with matrix-vector products ----

Doubles times(const Mat &A, const Doubles &x) {
    Doubles y(A.p->rows);
    for (uint64_t i = 0; i < A.p->rows; i++)
        for (uint64_t j = 0; j < A.p->cols; j++) y[i] += A(i, j) * x[j];
    return y;
}

// Column `column` of sum c(i) A^i by Horner's rule in P = A^r.
Doubles polynomial_column(const Mat &A, const Mat &P, uint64_t r, const Doubles &c, uint64_t column) {
    const uint64_t n = A.p->rows, k = (c.size() - 1) / r;
    std::vector<Doubles> powers(1, Doubles(n));
    powers[0][column] = 1.0;
    while (powers.size() < r) powers.push_back(powers.size() == 1 ? times(A, powers[0]) : times(A, powers.back()));
    Doubles sum(n);
    for (uint64_t b = k + 1; b-- > 0;) {
        if (b < k) sum = times(P, sum);
        for (uint64_t i = 0; i < r && b * r + i < c.size(); i++)
            for (uint64_t row = 0; row < n; row++)
                if (i > 0 || row == column) sum[row] += c[b * r + i] * powers[i][row];
    }
    return sum;
}

uint64_t block_of(uint64_t degree) {
    return std::max<uint64_t>(1, static_cast<uint64_t>(std::floor(std::sqrt(static_cast<double>(degree) * 0.5))));
}

Mat power(const Mat &A, int32_t p) {
    Mat tmp, out;
    expect_success(sarvo_mh_m_pow_(A.p, p, &tmp.p, &out.p));
    return out;
}

Mat literal_exponential(const Mat &A, int32_t q, int32_t j) {
    const uint64_t n = A.p->rows, r = block_of(static_cast<uint64_t>(q));
    double factor = 1.0;
    for (int32_t i = 0; i < j; i++) factor *= 2.0;
    Mat scaled, D(n, n), X(n, n), next;
    expect_success(sarvo_mh_sm_mlt(A.p, &scaled.p, 1.0 / factor));
    Doubles c = {1.0}, d = {1.0};
    for (int32_t i = 1; i <= q; i++) {
        c.push_back(c.back() * (q - i + 1) / (static_cast<double>(i) * (2 * q - i + 1)));
        d.push_back(i % 2 ? -c.back() : c.back());
    }
    const Mat P = power(scaled, static_cast<int32_t>(r));
    std::vector<Doubles> N;
    for (uint64_t a = 0; a < n; a++) {
        N.push_back(polynomial_column(scaled, P, r, c, a));
        const Doubles column = polynomial_column(scaled, P, r, d, a);
        for (uint64_t i = 0; i < n; i++) D.p->row_ptrs[a][i] = column[i]; // by rows: the transpose
    }
    Perm pivot;
    expect_success(sarvo_mh_px_get(static_cast<int32_t>(n), &pivot.p));
    expect_success(sarvo_mh_LUfactor(D.p, pivot.p));
    for (uint64_t a = 0; a < n; a++) {
        Vec x;
        expect_success(sarvo_mh_LUTsolve(D.p, pivot.p, Vec(N[a]).p, &x.p));
        expect_success(sarvo_mh_set_col_(X.p, a, x.p, 0));
    }
    for (int32_t s = 0; s < j; s++) {
        expect_success(sarvo_mh_m_mlt(X.p, X.p, &next.p));
        std::swap(X.p, next.p);
    }
    return X;
}

TEST(Powers, AreTheStatedProducts) {
    test::Random random(1);
    for (const uint64_t n : {0u, 1u, 3u, 20u}) {
        const Mat A(n, n, values(n * n, random));
        for (int32_t p = 0; p <= 20; p++) {
            Mat expected(n, n), out, in_place(n, n, A.get());
            sarvo_mh_m_ident(expected.p);
            for (int bit = 30; bit >= 0;
                 bit--) { // squares and products by A from the left, in the library's arithmetic
                if (p >> bit == 0) continue;
                Mat next;
                if (p >> bit > 1) {
                    expect_success(sarvo_mh_m_mlt(expected.p, expected.p, &next.p));
                    std::swap(expected.p, next.p);
                }
                if (p >> bit & 1) {
                    if (p >> bit == 1) expect_success(sarvo_mh_m_copy_(A.p, &expected.p, 0, 0));
                    else {
                        expect_success(sarvo_mh_m_mlt(A.p, expected.p, &next.p));
                        std::swap(expected.p, next.p);
                    }
                }
            }
            expect_bits(power(A, p).get(), expected.get(), "A^" + std::to_string(p));
            expect_success(sarvo_mh_m_pow(A.p, p, &out.p));
            expect_bits(out.get(), expected.get(), "A^" + std::to_string(p));
            expect_success(sarvo_mh_m_pow(in_place.p, p, &in_place.p));
            expect_bits(in_place.get(), expected.get(), "over A, ^" + std::to_string(p));
        }
    }
    const Mat A(2, 2, {4, 7, 2, 6});
    Mat inverse, cube, by_powers;
    expect_success(sarvo_mh_m_inverse(A.p, &inverse.p));
    expect_success(sarvo_mh_m_pow(A.p, -3, &cube.p));
    expect_bits(cube.get(), power(inverse, 3).get(), "A^-3");
    Mat one(1, 1, {-1.0});
    expect_success(sarvo_mh_m_pow(one.p, INT32_MIN, &one.p));
    EXPECT_EQ(one(0, 0), 1.0);
}

TEST(Polynomials, HaveTheBitsOfTheColumnwiseScheme) {
    test::Random random(2);
    for (const uint64_t n : {0u, 1u, 2u, 5u, 17u})
        for (uint64_t d = 0; d < 40; d = d < 12 ? d + 1 : d + 7) {
            const Mat A(n, n, values(n * n, random));
            const Doubles c = values(d, random);
            Doubles expected(n * n);
            if (d > 2) {
                const uint64_t r = block_of(d - 1);
                const Mat P = power(A, static_cast<int32_t>(r));
                for (uint64_t a = 0; a < n; a++) {
                    const Doubles column = polynomial_column(A, P, r, c, a);
                    for (uint64_t i = 0; i < n; i++) expected[i * n + a] = column[i];
                }
            } else
                for (uint64_t i = 0; i < n * n; i++) {
                    if (d == 2) expected[i] = c[1] * A.get()[i];
                    if (d > 0 && i / n == i % n) expected[i] = c[0] + expected[i];
                }
            at_every_level([&](const std::string &level) {
                Mat out(1, 1);
                expect_success(sarvo_mh_m_poly(A.p, Vec(c).p, &out.p));
                expect_bits(out.get(), expected, std::to_string(d) + " coefficients, n = " + std::to_string(n) + level);
            });
        }
}

TEST(Exponential, HasTheBitsOfTheColumnwiseScheme) {
    test::Random random(3);
    for (const uint64_t n : {1u, 2u, 3u, 8u, 17u, 40u, 66u})
        for (const double scale : {1e-3, 0.7, 30.0})
            for (const double eps : {0.0, 1.0, 0.01, 1e-300}) {
                Doubles a = values(n * n, random, random.below(2) ? Fill::zeros : Fill::plain);
                for (double &x : a) x *= scale / static_cast<double>(n);
                if (random.below(4) == 0) // triangular: zeros begin or end the right-hand sides
                    for (uint64_t i = 0; i < n * n; i++)
                        if (i / n > i % n) a[i] = 0.0;
                const Mat A(n, n, a);
                int32_t q = 77, j = 77;
                at_every_level([&](const std::string &level) {
                    Mat out;
                    expect_success(sarvo_mh_m_exp_(A.p, eps, &out.p, &q, &j));
                    expect_bits(A.get(), a, "A stays");
                    if (q > 0)
                        expect_bits(out.get(), literal_exponential(A, q, j).get(),
                                    "exp, n = " + std::to_string(n) + level);
                });
            }
}

TEST(Exponential, IsAccurate) {
    test::Random random(4);
    double worst = 0.0;
    for (int round = 0; round < 50; round++) {
        const uint64_t n = 1 + random.below(8);
        Doubles a = values(n * n, random);
        std::vector<long double> term(n * n), sum(n * n), next(n * n);
        for (uint64_t i = 0; i < n; i++) term[i * n + i] = sum[i * n + i] = 1.0L;
        for (int k = 1; k < 80; k++) { // the series, in extended precision: the norm is below 8
            std::fill(next.begin(), next.end(), 0.0L);
            for (uint64_t i = 0; i < n; i++)
                for (uint64_t l = 0; l < n; l++)
                    for (uint64_t c = 0; c < n; c++) next[i * n + c] += term[i * n + l] * a[l * n + c] / k;
            term = next;
            for (uint64_t i = 0; i < n * n; i++) sum[i] += term[i];
        }
        Mat out;
        expect_success(sarvo_mh_m_exp(Mat(n, n, a).p, 0.0, &out.p));
        long double largest = 0.0L, difference = 0.0L;
        for (uint64_t i = 0; i < n * n; i++) {
            largest = std::max(largest, std::fabs(sum[i]));
            difference = std::max(difference, std::fabs(sum[i] - out.get()[i]));
        }
        worst = std::max(worst, static_cast<double>(difference / largest));
    }
    std::printf("worst error of exp relative to the largest element: %.2g\n", worst);
    EXPECT_LT(worst, 1e-14);
}

TEST(Exponential, Examples) {
    int32_t q = 0, j = 9;
    Mat zero(2, 2), one(1, 1, {1.0}), out, huge(1, 1, {-1e300});
    expect_success(sarvo_mh_m_exp_(zero.p, 0.0, &out.p, &q, &j));
    EXPECT_EQ(out.get(), (Doubles{1, 0, 0, 1}));
    EXPECT_EQ(q, -1);
    EXPECT_EQ(j, 0);
    expect_success(sarvo_mh_m_exp_(one.p, 0.0, &out.p, &q, &j));
    EXPECT_EQ(j, 1);
    EXPECT_NEAR(out(0, 0), M_E, 1e-15);
    expect_success(sarvo_mh_m_exp_(one.p, 1.0, &out.p, &q, nullptr));
    EXPECT_EQ(q, 1);
    expect_success(sarvo_mh_m_exp_(one.p, 0.01, &out.p, &q, nullptr));
    EXPECT_EQ(q, 2);
    expect_success(sarvo_mh_m_exp(Mat(0, 0).p, 0.0, &out.p));
    for (const double bad : {double{INFINITY}, -double{INFINITY}, double{NAN}}) {
        expect_success(sarvo_mh_m_exp(one.p, 0.0, &out.p));
        expect_error(sarvo_mh_m_exp(Mat(2, 2, {1, 2, bad, 1}).p, 0.0, &out.p), SarvoMHRangeEC, {"Object out of range"});
        EXPECT_EQ(out.p, nullptr) << "freed and null after an error";
    }
    expect_error(sarvo_mh_m_exp(Mat(1, 2, {1e308, 1e308}).p, 0.0, &out.p), 0, {"Input matrix is not square."});
    expect_error(sarvo_mh_m_exp(Mat(2, 2, {1e308, 1e308, 0, 0}).p, 0.0, &out.p), SarvoMHRangeEC,
                 {"Object out of range"});
    expect_success(sarvo_mh_m_exp(huge.p, 0.0, &out.p));
    EXPECT_EQ(out(0, 0), 0.0);
}

TEST(Functions, CheckTheirArgumentsInOrder) {
    Mat A(2, 2, {1, 2, 2, 4}), wide(2, 3), tmp, out;
    const std::string null = "Input matrix is not initialized.", square = "Input matrix is not square.",
                      same = "Input matrix coincides with output matrix.";
    expect_error(sarvo_mh_m_pow_(nullptr, -1, &tmp.p, &out.p), 0, {null});
    expect_error(sarvo_mh_m_pow_(wide.p, -1, &tmp.p, &out.p), 0, {square});
    expect_error(sarvo_mh_m_pow_(A.p, -1, &tmp.p, &A.p), 0, {"Power is negative."});
    expect_error(sarvo_mh_m_pow_(A.p, 2, &tmp.p, &A.p), 0, {"Input matrix(ces) coincide with output matrix."});
    expect_error(sarvo_mh_m_pow(nullptr, 1, &out.p), 0, {null});
    expect_error(sarvo_mh_m_pow(wide.p, 1, &out.p), 0, {square});
    expect_error(sarvo_mh_m_pow(A.p, -2, &A.p), SarvoMHSingEC, {"Singular matrix"});
    EXPECT_EQ(A.get(), (Doubles{1, 2, 2, 4}));
    expect_error(sarvo_mh_m_exp_(nullptr, -1.0, &out.p, nullptr, nullptr), 0, {null});
    expect_error(sarvo_mh_m_exp_(wide.p, -1.0, &wide.p, nullptr, nullptr), 0, {square});
    expect_error(sarvo_mh_m_exp_(A.p, -1.0, &A.p, nullptr, nullptr), 0, {same});
    expect_error(sarvo_mh_m_exp_(A.p, -1.0, &out.p, nullptr, nullptr), 0, {"Invalid precision requested."});
    const std::string null_poly = "Input matrix and/or are/is not initialized.";
    const Vec c({2, 3});
    expect_error(sarvo_mh_m_poly(A.p, nullptr, &A.p), 0, {null_poly});
    expect_error(sarvo_mh_m_poly(wide.p, c.p, &wide.p), 0, {square});
    expect_error(sarvo_mh_m_poly(A.p, c.p, &A.p), 0, {same});
    EXPECT_EQ(out.p, nullptr);
    expect_success(sarvo_mh_m_poly(A.p, c.p, &out.p));
    EXPECT_EQ(out.get(), (Doubles{5, 6, 6, 14}));
}

} // namespace
