// What follows from a decomposition: order and signs, pseudo-inverse, solves, bases, their checks.
#include <sarvo/nr.h>

#include <cmath>
#include <functional>
#include <limits>
#include <string>
#include <vector>

#include "test_support.h"

namespace {

// A decomposed matrix with outputs of every kind, all freed at the end.
struct Case {
    sarvo_matrix *A;
    sarvo_nr_svd *svd = nullptr;
    sarvo_matrix *out = nullptr;
    sarvo_vector *x = nullptr;

    Case(uint64_t m, uint64_t n, const std::vector<double> &values) : A(test::matrix_of(m, n, values)) {
        test::expect_success(sarvo_nr_svd_init(&svd));
        test::expect_success(sarvo_nr_svd_decompose(A, 0, 0, m, n, svd));
    }
    Case(const Case &) = delete;
    ~Case() {
        sarvo_matrix_free(A);
        sarvo_matrix_free(out);
        sarvo_vector_free(x);
        sarvo_nr_svd_free(svd);
    }
    double residual(uint64_t i) const { // row i of A x
        double sum = 0.0;
        for (uint64_t j = 0; j < A->cols; j++) sum += test::at(A, i, j) * test::at(x, j);
        return sum;
    }
};

std::vector<double> random_values(uint64_t count, uint64_t seed) {
    test::Random random(seed);
    std::vector<double> v(count);
    for (double &x : v) x = random.symmetric();
    return v;
}

TEST(Reorder, SortsDescendingAndKeepsTheDecomposition) {
    for (const auto &[m, n] : {std::pair<uint64_t, uint64_t>{2, 2}, {20, 14}, {14, 20}, {45, 45}}) {
        Case c(m, n, random_values(m * n, m + n));
        test::expect_success(sarvo_nr_svd_reorder(c.svd));
        for (uint64_t k = 1; k < n; k++) EXPECT_GE(test::at(c.svd->w, k - 1), test::at(c.svd->w, k));
        for (uint64_t i = 0; i < m; i++)
            for (uint64_t j = 0; j < n; j++) {
                double sum = 0.0;
                for (uint64_t l = 0; l < n; l++)
                    sum += test::at(c.svd->U, i, l) * test::at(c.svd->w, l) * test::at(c.svd->V, j, l);
                EXPECT_NEAR(sum, test::at(c.A, i, j), 1e-13);
            }
        for (uint64_t k = 0; k < n; k++) { // at most half of the entries of a pair of columns are negative
            uint64_t negative = 0;
            for (uint64_t i = 0; i < m; i++) negative += test::at(c.svd->U, i, k) < 0.0;
            for (uint64_t i = 0; i < n; i++) negative += test::at(c.svd->V, i, k) < 0.0;
            EXPECT_LE(negative, (m + n) / 2) << m << " x " << n << " column " << k;
        }
    }
}

TEST(Reorder, MatchesTheStatedShellSortOnEqualValues) {
    // Values and vectors are put in by hand, so that the place of each of the equal ones can be followed.
    const uint64_t n = 17;
    Case c(n, n, random_values(n * n, 5));
    std::vector<double> w(n), first_row(n);
    for (uint64_t k = 0; k < n; k++) {
        w[k] = test::at(c.svd->w, k) = static_cast<double>((k * 7) % 4);
        first_row[k] = static_cast<double>(k + 1);
        for (uint64_t i = 0; i < n; i++) test::at(c.svd->U, i, k) = test::at(c.svd->V, i, k) = first_row[k];
    }
    for (uint64_t h : {13u, 4u, 1u}) // the increments 1, 4, 13, ... below 17, largest first
        for (uint64_t i = h; i < n; i++)
            for (uint64_t j = i; j >= h && w[j - h] < w[j]; j -= h) {
                std::swap(w[j - h], w[j]);
                std::swap(first_row[j - h], first_row[j]);
            }
    test::expect_success(sarvo_nr_svd_reorder(c.svd));
    for (uint64_t k = 0; k < n; k++) {
        EXPECT_EQ(test::at(c.svd->w, k), w[k]);
        EXPECT_EQ(test::at(c.svd->U, 0, k), first_row[k]);
        EXPECT_EQ(test::at(c.svd->V, n - 1, k), first_row[k]);
    }
}

TEST(Reorder, NegatesOnlyWhenMoreThanHalfOfTheEntriesAreNegative) {
    Case c(2, 2, {2, 0, 0, 1});
    for (int negatives = 0; negatives <= 4; negatives++) {
        for (uint64_t e = 0; e < 4; e++) {
            const double value = e < static_cast<uint64_t>(negatives) ? -1.0 : 1.0;
            test::at(e < 2 ? c.svd->U : c.svd->V, e % 2, 0) = value;
        }
        test::expect_success(sarvo_nr_svd_reorder(c.svd));
        const double first = negatives == 0 ? 1.0 : negatives > 2 ? 1.0 : -1.0;
        EXPECT_EQ(test::at(c.svd->U, 0, 0), first) << negatives;
    }
}

TEST(Invert, GivesThePenroseInverse) {
    for (const auto &[m, n] : {std::pair<uint64_t, uint64_t>{4, 4}, {9, 5}, {5, 9}, {40, 31}}) {
        Case c(m, n, random_values(m * n, 2 * m + n));
        for (uint64_t i = 0; i < m; i++) test::at(c.A, i, 1) = test::at(c.A, i, 0); // rank deficient
        test::expect_success(sarvo_nr_svd_decompose(c.A, 0, 0, 0, 0, c.svd));
        test::expect_success(sarvo_nr_svd_invert(c.svd, &c.out));
        ASSERT_EQ(c.out->rows, n);
        ASSERT_EQ(c.out->cols, m);
        sarvo_matrix *AX = nullptr, *AXA = nullptr, *XAX = nullptr;
        test::expect_success(sarvo_mm_mlt(c.A, c.out, &AX));
        test::expect_success(sarvo_mm_mlt(AX, c.A, &AXA));
        test::expect_success(sarvo_mm_mlt(c.out, AX, &XAX));
        for (uint64_t i = 0; i < m; i++) {
            for (uint64_t j = 0; j < n; j++) {
                EXPECT_NEAR(test::at(AXA, i, j), test::at(c.A, i, j), 1e-12);
                EXPECT_NEAR(test::at(XAX, j, i), test::at(c.out, j, i), 1e-11);
            }
            for (uint64_t j = 0; j < m; j++) EXPECT_NEAR(test::at(AX, i, j), test::at(AX, j, i), 1e-12);
        }
        for (sarvo_matrix *t : {AX, AXA, XAX}) sarvo_matrix_free(t);
    }
}

TEST(Invert, SumsInAscendingOrderAndKeepsALargerOutput) {
    Case c(6, 5, random_values(30, 77));
    test::expect_success(sarvo_matrix_alloc(&c.out, SARVO_DOUBLE, 0, 7, 8));
    for (uint64_t i = 0; i < 7; i++)
        for (uint64_t j = 0; j < 8; j++) test::at(c.out, i, j) = -3.0;
    test::expect_success(sarvo_nr_svd_invert(c.svd, &c.out));
    EXPECT_EQ(c.out->rows, 7u);
    EXPECT_EQ(c.out->cols, 8u);
    for (uint64_t i = 0; i < 7; i++)
        for (uint64_t j = 0; j < 8; j++) {
            double expected = -3.0;
            if (i < 5 && j < 6) {
                expected = 0.0;
                for (uint64_t l = 0; l < 5; l++)
                    expected += test::at(c.svd->V, i, l) * (test::at(c.svd->U, j, l) / test::at(c.svd->w, l));
            }
            EXPECT_EQ(test::bits(test::at(c.out, i, j)), test::bits(expected)) << i << "," << j;
        }
}

TEST(Solve, FindsTheLeastSquaresSolutionOfLeastNorm) {
    Case c(3, 2, {1, 2, 2, 4, 3, 6}); // rank 1: x is a multiple of (1, 2)
    sarvo_vector *b = test::vector_of({1, 0, 0});
    test::expect_success(sarvo_nr_svd_vsolve(c.svd, b, &c.x));
    EXPECT_NEAR(test::at(c.x, 0), 1.0 / 70, 1e-15);
    EXPECT_NEAR(test::at(c.x, 1), 2.0 / 70, 1e-15);
    sarvo_vector_free(b);

    Case square(12, 12, random_values(144, 6));
    b = test::vector_of(random_values(12, 7));
    test::expect_success(sarvo_nr_svd_vsolve(square.svd, b, &square.x));
    for (uint64_t i = 0; i < 12; i++) EXPECT_NEAR(square.residual(i), test::at(b, i), 1e-12);
    sarvo_vector_free(b);
}

TEST(Solve, OfManyRightHandSidesHasTheBitsOfSingleOnesAndMayOverwriteThem) {
    for (const auto &[m, n, k] : {std::array<uint64_t, 3>{7, 7, 1}, {30, 20, 27}, {5, 9, 3}, {2, 2, 0}}) {
        Case c(m, n, random_values(m * n, m));
        sarvo_matrix *B = test::matrix_of(m, k, random_values(m * k, n));
        test::expect_success(sarvo_nr_svd_msolve(c.svd, B, &c.out));
        ASSERT_EQ(c.out->rows, n);
        ASSERT_EQ(c.out->cols, k);
        for (uint64_t j = 0; j < k; j++) {
            std::vector<double> column;
            for (uint64_t i = 0; i < m; i++) column.push_back(test::at(B, i, j));
            sarvo_vector *b = test::vector_of(column);
            test::expect_success(sarvo_nr_svd_vsolve(c.svd, b, &c.x));
            for (uint64_t i = 0; i < n; i++) EXPECT_EQ(test::bits(test::at(c.out, i, j)), test::bits(test::at(c.x, i)));
            test::expect_success(sarvo_nr_svd_vsolve(c.svd, b, &b)); // in place
            EXPECT_EQ(test::bytes(b), test::bytes(c.x));
            sarvo_vector_free(b);
        }
        if (m >= n) { // in place: the leading n rows
            test::expect_success(sarvo_nr_svd_msolve(c.svd, B, &B));
            for (uint64_t i = 0; i < n; i++)
                for (uint64_t j = 0; j < k; j++)
                    EXPECT_EQ(test::bits(test::at(B, i, j)), test::bits(test::at(c.out, i, j)));
        }
        sarvo_matrix_free(B);
    }
}

TEST(Bases, SpanTheRangeAndTheNullSpace) {
    std::vector<double> values = random_values(10 * 6, 4);
    for (uint64_t i = 0; i < 10; i++) {
        values[i * 6 + 4] = values[i * 6] + values[i * 6 + 1];
        values[i * 6 + 5] = values[i * 6] - values[i * 6 + 2];
    }
    Case c(10, 6, values);
    EXPECT_EQ(c.svd->rank, 4u);
    test::expect_success(sarvo_nr_svd_nullspace(c.svd, &c.out));
    ASSERT_EQ(c.out->rows, 6u);
    ASSERT_EQ(c.out->cols, 2u);
    for (uint64_t i = 0; i < 10; i++)
        for (uint64_t k = 0; k < 2; k++) {
            double sum = 0.0;
            for (uint64_t j = 0; j < 6; j++) sum += test::at(c.A, i, j) * test::at(c.out, j, k);
            EXPECT_NEAR(sum, 0.0, 1e-14);
        }
    test::expect_success(sarvo_nr_svd_range(c.svd, &c.out)); // the same output, another shape
    ASSERT_EQ(c.out->rows, 10u);
    ASSERT_EQ(c.out->cols, 4u);
    for (uint64_t j = 0; j < 6; j++) // A = B B'A for an orthonormal basis B
        for (uint64_t i = 0; i < 10; i++) {
            double projected = 0.0;
            for (uint64_t k = 0; k < 4; k++) {
                double dot = 0.0;
                for (uint64_t l = 0; l < 10; l++) dot += test::at(c.out, l, k) * test::at(c.A, l, j);
                projected += dot * test::at(c.out, i, k);
            }
            EXPECT_NEAR(projected, test::at(c.A, i, j), 1e-13);
        }
}

// The bases are those of the decomposition, whatever becomes of the threshold afterwards.
TEST(Bases, KeepTheirColumnsWhenTheThresholdChangesAfterwards) {
    // Unsorted values on a diagonal: 2, 1e-9, 5, 0, 1e-9, 3. Rank 3 above 1e-6.
    std::vector<double> values(36, 0.0);
    const double w[] = {2, 1e-9, 5, 0, 1e-9, 3};
    for (uint64_t k = 0; k < 6; k++) values[k * 6 + k] = w[k];
    sarvo_matrix *A = test::matrix_of(6, 6, values);
    sarvo_nr_svd *svd = nullptr;
    test::expect_success(sarvo_nr_svd_init(&svd));
    svd->thresh = 1e-6;
    test::expect_success(sarvo_nr_svd_decompose(A, 0, 0, 0, 0, svd));
    sarvo_matrix *range = nullptr, *nullspace = nullptr;
    test::expect_success(sarvo_nr_svd_range(svd, &range));
    test::expect_success(sarvo_nr_svd_nullspace(svd, &nullspace));
    const std::string range_before = test::bytes(range), nullspace_before = test::bytes(nullspace);
    for (const double threshold : {0.0, 1e-12, 1e-6, 2.5, 100.0, -1.0}) {
        svd->thresh = threshold;
        test::expect_success(sarvo_nr_svd_range(svd, &range));
        test::expect_success(sarvo_nr_svd_nullspace(svd, &nullspace));
        EXPECT_EQ(test::bytes(range), range_before) << threshold;
        EXPECT_EQ(test::bytes(nullspace), nullspace_before) << threshold;
    }
    // A cut between equal values: every column is in one of the two.
    svd->rank = 4;
    svd->nullity = 2;
    test::expect_success(sarvo_nr_svd_range(svd, &range));
    test::expect_success(sarvo_nr_svd_nullspace(svd, &nullspace));
    for (uint64_t i = 0; i < 6; i++) {
        double total = 0.0;
        for (uint64_t k = 0; k < 4; k++) total += fabs(test::at(range, i, k));
        for (uint64_t k = 0; k < 2; k++) total += fabs(test::at(nullspace, i, k));
        EXPECT_EQ(total, 1.0) << i;
    }
    sarvo_matrix_free(A);
    sarvo_matrix_free(range);
    sarvo_matrix_free(nullspace);
    sarvo_nr_svd_free(svd);
}

TEST(Checks, EmptySpacesAreNamed) {
    Case full(2, 2, {1, 0, 0, 1}), zero(2, 2, {0, 0, 0, 0});
    test::expect_error(sarvo_nr_svd_nullspace(full.svd, &full.out), SarvoNrEmptyEC,
                       {"SVD nullspace error", "Matrix nullity is zero"});
    test::expect_error(sarvo_nr_svd_range(zero.svd, &zero.out), SarvoNrEmptyEC,
                       {"SVD range error", "Matrix rank is zero"});
    EXPECT_TRUE(std::isnan(zero.svd->rcond));
}

TEST(Checks, ComeInOrderForEveryOperation) {
    Case c(3, 2, {1, 2, 3, 4, 5, 7});
    sarvo_nr_svd *fresh = nullptr;
    test::expect_success(sarvo_nr_svd_init(&fresh));
    sarvo_vector *b = test::vector_of({1, 2}), *ints = nullptr;
    sarvo_matrix *B = test::matrix_of(2, 4, std::vector<double>(8, 1.0)), *int_matrix = nullptr;
    test::expect_success(sarvo_vector_alloc(&ints, SARVO_INT32, 0, 3));
    test::expect_success(sarvo_matrix_alloc(&int_matrix, SARVO_INT32, 0, 3, 3));

    struct Operation {
        std::string wrap;
        std::function<sarko_error_t(sarvo_nr_svd *)> with_null_arguments;
    };
    const Operation operations[] = {
        {"SVD reordering error", sarvo_nr_svd_reorder},
        {"SVD inverting error", [](sarvo_nr_svd *s) { return sarvo_nr_svd_invert(s, nullptr); }},
        {"SVD vsolve error", [](sarvo_nr_svd *s) { return sarvo_nr_svd_vsolve(s, nullptr, nullptr); }},
        {"SVD msolve error", [](sarvo_nr_svd *s) { return sarvo_nr_svd_msolve(s, nullptr, nullptr); }},
        {"SVD range error", [](sarvo_nr_svd *s) { return sarvo_nr_svd_range(s, nullptr); }},
        {"SVD nullspace error", [](sarvo_nr_svd *s) { return sarvo_nr_svd_nullspace(s, nullptr); }},
    };
    for (const Operation &op : operations) {
        test::expect_error(op.with_null_arguments(nullptr), SarvoNullEC, {op.wrap, "SVD structure is not initialized"});
        test::expect_error(op.with_null_arguments(fresh), SarvoNrSvdNotReadyEC, {op.wrap, "SVD has not yet been done"});
        if (op.wrap != "SVD reordering error")
            test::expect_error(op.with_null_arguments(c.svd), SarvoNullEC,
                               {op.wrap, "Input structure is not initialized"});
    }
    test::expect_error(sarvo_nr_svd_vsolve(c.svd, ints, &c.x), SarvoDtypeEC,
                       {"SVD vsolve error", "Invalid data type 5"});
    test::expect_error(sarvo_nr_svd_vsolve(c.svd, b, &ints), SarvoDtypeEC, {"SVD vsolve error", "Invalid data type 5"});
    test::expect_error(sarvo_nr_svd_vsolve(c.svd, b, &c.x), SarvoNrSizeEC,
                       {"SVD vsolve error", "Incompatibles sizes. A[3,2] b[2]"});
    test::expect_error(sarvo_nr_svd_msolve(c.svd, int_matrix, &c.out), SarvoDtypeEC,
                       {"SVD msolve error", "Invalid data type 5"});
    test::expect_error(sarvo_nr_svd_msolve(c.svd, B, &int_matrix), SarvoDtypeEC,
                       {"SVD msolve error", "Invalid data type 5"});
    test::expect_error(sarvo_nr_svd_msolve(c.svd, B, &c.out), SarvoNrSizeEC,
                       {"SVD msolve error", "Incompatibles sizes. B[2,4] A[3,2]"});
    test::expect_error(sarvo_nr_svd_invert(c.svd, &int_matrix), SarvoDtypeEC,
                       {"SVD inverting error", "Invalid data type 5"});
    EXPECT_EQ(c.x, nullptr);
    EXPECT_EQ(c.out, nullptr);
    sarvo_vector_free(b);
    sarvo_vector_free(ints);
    sarvo_matrix_free(B);
    sarvo_matrix_free(int_matrix);
    sarvo_nr_svd_free(fresh);
}

} // namespace
