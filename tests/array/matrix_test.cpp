// Storage of typed matrices: allocation, resizing, copying, zero and identity, and every refusal in its order.
#include <sarvo/array.h>

#include <algorithm>

#include "array_support.h"

namespace {

using test::expect_error;
using test::expect_success;
using test::invalid;
using test::invalid_dtypes;
using test::Matrix;
using test::numbered;
using test::unimplemented;

constexpr uint32_t as_dtype = SARVO_REALLOC_DTYPE;

std::string overflow() { return "Size of allocation overflows."; }

void expect_consistent(const sarvo_matrix *m) {
    ASSERT_LE(m->rows, m->max_rows);
    ASSERT_LE(m->cols, m->max_cols);
    for (uint64_t i = 0; m->cols > 0 && i < m->rows; i++)
        ASSERT_EQ(m->row_ptrs[i], static_cast<char *>(m->data) + i * m->cols * SarvoDtype[m->dtype]);
}

TEST(MatrixAlloc, RowsOfZerosStandInOneBlock) {
    for (const uint32_t id : {SARVO_INT32, SARVO_DOUBLE}) {
        const Matrix a(id, 3, 4);
        EXPECT_EQ(a.m->dtype, id);
        expect_consistent(a.m);
        EXPECT_EQ(a.m->max_rows, 3u);
        EXPECT_EQ(a.m->max_cols, 4u);
        for (uint64_t i = 0; i < 3; i++)
            for (uint64_t j = 0; j < 4; j++) EXPECT_EQ(a.get(i, j), 0.0);
    }
}

TEST(MatrixAlloc, EveryIdMayBeEmpty) {
    for (uint32_t id = 1; id < SARVO_DTYPES; id++) {
        const Matrix no_rows(id, 0, 7), no_cols(id, 5, 0), nothing(id, 0, 0);
        EXPECT_EQ(no_rows.m->max_cols, 7u);
        EXPECT_EQ(no_rows.m->row_ptrs, nullptr);
        EXPECT_EQ(no_rows.m->data, nullptr);
        EXPECT_EQ(no_cols.m->max_rows, 5u);
        EXPECT_NE(no_cols.m->row_ptrs, nullptr);
        EXPECT_EQ(no_cols.m->data, nullptr);
        EXPECT_EQ(nothing.m->row_ptrs, nullptr);
    }
    const Matrix wide(SARVO_DOUBLE, 0, UINT64_MAX);
    EXPECT_EQ(wide.m->cols, UINT64_MAX);
}

TEST(MatrixAlloc, RefusesInOrderAndLeavesTheCallersPointer) {
    sarvo_matrix sentinel = {};
    sarvo_matrix *m = &sentinel;
    expect_error(sarvo_matrix_alloc(nullptr, 0, 0, 1, 1), SarvoNullEC, {"Input structure is not initialized"});
    for (const uint32_t id : invalid_dtypes)
        expect_error(sarvo_matrix_alloc(&m, id, 0, UINT64_MAX, UINT64_MAX), SarvoDtypeEC, {invalid(id)});
    struct Shape {
        uint64_t rows, cols;
    };
    for (const Shape s : {Shape{1ull << 32, 1ull << 32}, {UINT64_MAX, 2}, {2, 1ull << 63}, {1ull << 63, UINT64_MAX}})
        expect_error(sarvo_matrix_alloc(&m, 19, 0, s.rows, s.cols), SarvoOverflowEC,
                     {"Too large size for rows=" + std::to_string(s.rows) + " cols=" + std::to_string(s.cols)});
    expect_error(sarvo_matrix_alloc(&m, 19, 0, 1ull << 31, 1ull << 32), 0, {overflow()}); // before the id
    expect_error(sarvo_matrix_alloc(&m, SARVO_DOUBLE, 0, 1ull << 62, 0), 0, {overflow()});
    for (uint32_t id = 1; id < SARVO_DTYPES; id++) {
        if (id == SARVO_INT32 || id == SARVO_DOUBLE) continue;
        expect_error(sarvo_matrix_alloc(&m, id, 0, 1, 1), SarvoDtypeEC, {unimplemented(id)});
    }
    EXPECT_EQ(m, &sentinel);
    sarvo_matrix_free(nullptr);
}

// Resizes through all pairs of small shapes, by way of a third: kept elements keep their place, all others are zero.
TEST(MatrixRealloc, ElementsKeepTheirPlaceBetweenAllShapes) {
    constexpr uint64_t shapes[] = {0, 1, 2, 3, 5};
    for (const uint32_t id : {SARVO_INT32, SARVO_DOUBLE})
        for (const uint64_t r0 : shapes)
            for (const uint64_t c0 : shapes)
                for (const uint64_t r1 : shapes)
                    for (const uint64_t c1 : shapes)
                        for (const uint64_t last : {2u, 4u}) {
                            Matrix a = numbered(id, r0, c0);
                            expect_success(sarvo_matrix_realloc(&a.m, id, 0, r1, c1));
                            expect_success(sarvo_matrix_realloc(&a.m, id, as_dtype, last, last));
                            expect_consistent(a.m);
                            const uint64_t kept_rows = std::min({r0, r1, last}), kept_cols = std::min({c0, c1, last});
                            for (uint64_t i = 0; i < last; i++)
                                for (uint64_t j = 0; j < last; j++) {
                                    const bool kept = i < kept_rows && j < kept_cols;
                                    ASSERT_EQ(a.get(i, j), kept ? static_cast<double>(10 * (i + 1) + j + 1) : 0.0)
                                        << r0 << 'x' << c0 << " by " << r1 << 'x' << c1 << " to " << last << 'x' << last
                                        << " at " << i << ' ' << j;
                                }
                            EXPECT_EQ(a.m->max_rows, std::max({r0, r1, last}));
                            EXPECT_EQ(a.m->max_cols, std::max({c0, c1, last}));
                        }
}

TEST(MatrixRealloc, ShrinkingKeepsTheBlock) {
    Matrix a = numbered(SARVO_DOUBLE, 4, 4);
    const void *block = a.m->data;
    expect_success(sarvo_matrix_realloc(&a.m, SARVO_DOUBLE, 0, 2, 8));
    EXPECT_NE(a.m->max_cols, 4u) << "4 x 8 elements from now on";
    block = a.m->data;
    expect_success(sarvo_matrix_realloc(&a.m, SARVO_DOUBLE, 0, 1, 1));
    expect_success(sarvo_matrix_realloc(&a.m, SARVO_DOUBLE, 0, 4, 8));
    EXPECT_EQ(a.m->data, block);
    EXPECT_EQ(a.get(0, 0), 11.0);
    EXPECT_EQ(a.get(1, 1), 0.0);
}

TEST(MatrixRealloc, NullAndOtherIds) {
    Matrix a;
    expect_error(sarvo_matrix_realloc(nullptr, SARVO_DOUBLE, 0, 1, 1), SarvoNullEC,
                 {"Input structure is not initialized"});
    expect_error(sarvo_matrix_realloc(&a.m, 0, 0, 1, 1), SarvoDtypeEC, {invalid(0)});
    EXPECT_EQ(a.m, nullptr);
    expect_success(sarvo_matrix_realloc(&a.m, SARVO_INT32, 0, 2, 2));
    a.set(1, 1, 5);
    expect_success(sarvo_matrix_realloc(&a.m, SARVO_DOUBLE, 0, 3, 3));
    EXPECT_EQ(a.m->dtype, static_cast<uint32_t>(SARVO_INT32));
    EXPECT_EQ(a.get(1, 1), 5.0);
    expect_success(sarvo_matrix_realloc(&a.m, SARVO_DOUBLE, as_dtype, 3, 3));
    EXPECT_EQ(a.m->dtype, static_cast<uint32_t>(SARVO_DOUBLE));
    EXPECT_EQ(a.get(1, 1), 0.0);
    a.m->dtype = 25;
    expect_success(sarvo_matrix_realloc(&a.m, SARVO_INT32, 0, 3, 3));
    EXPECT_EQ(a.m->dtype, static_cast<uint32_t>(SARVO_INT32));
    expect_error(sarvo_matrix_realloc(&a.m, 25, as_dtype, 3, 3), SarvoDtypeEC, {invalid(25)});
    EXPECT_EQ(a.m, nullptr);
}

TEST(MatrixRealloc, RefusedResizesKeepShapeAndContents) {
    Matrix a = numbered(SARVO_DOUBLE, 2, 2);
    const std::string before = test::bytes(a.m);
    struct Case {
        uint64_t rows, cols;
        uint32_t code;
        std::string text;
    };
    const Case cases[] = {
        {1ull << 61, 1, SarvoOverflowEC, "Too large size for rows=2305843009213693952"},
        {UINT64_MAX, UINT64_MAX, SarvoOverflowEC, "Too large size for rows=18446744073709551615"},
        {1ull << 60, 1, 0, "Cannot allocate 9223372036854775808 bytes."},
        {2, 1ull << 62, SarvoOverflowEC, "Too large number of elements 9223372036854775808"},
        {2, 1ull << 63, SarvoOverflowEC, "Too large number of elements 0"}, // wraps: the low 64 bits
        {1, UINT64_MAX, SarvoOverflowEC, "Too large number of elements 18446744073709551614"},
        {2, 1ull << 59, 0, "Cannot allocate 9223372036854775808 bytes."},
    };
    for (const Case &c : cases) {
        expect_error(sarvo_matrix_realloc(&a.m, SARVO_DOUBLE, 0, c.rows, c.cols), c.code, {c.text});
        EXPECT_EQ(test::bytes(a.m), before) << c.text;
        expect_consistent(a.m);
    }
    Matrix other(19, 2, 0);
    expect_error(sarvo_matrix_realloc(&other.m, 19, 0, 3, 1), SarvoDtypeEC, {unimplemented(19)});
    EXPECT_EQ(other.m->rows, 2u);
    EXPECT_EQ(other.m->cols, 0u);
    expect_success(sarvo_matrix_realloc(&other.m, 19, 0, 4, 0));
    EXPECT_EQ(other.m->max_rows, 4u);
}

TEST(MatrixCopy, CopiesBlocksToPlaces) {
    const Matrix source = numbered(SARVO_INT32, 3, 4);
    struct Case {
        uint64_t row, col, rows, cols, to_row, to_col;
        uint64_t before_rows, before_cols; // 0: a null destination
        uint64_t after_rows, after_cols;
    };
    const Case cases[] = {
        {0, 0, 0, 0, 0, 0, 0, 0, 3, 4}, {1, 2, 0, 0, 0, 0, 0, 0, 2, 2}, {1, 1, 2, 2, 1, 3, 0, 0, 3, 5},
        {0, 0, 2, 2, 0, 0, 5, 5, 5, 5}, {0, 0, 2, 2, 0, 4, 5, 5, 5, 6}, {2, 3, 1, 1, 6, 0, 1, 2, 7, 2},
        {3, 0, 0, 0, 0, 0, 0, 0, 0, 4}, {0, 4, 0, 0, 1, 1, 1, 1, 4, 1},
    };
    for (const Case &c : cases) {
        Matrix to;
        if (c.before_rows) {
            expect_success(sarvo_matrix_alloc(&to.m, SARVO_INT32, 0, c.before_rows, c.before_cols));
            for (uint64_t i = 0; i < c.before_rows; i++)
                for (uint64_t j = 0; j < c.before_cols; j++) to.set(i, j, -1);
        }
        expect_success(sarvo_matrix_copy(source.m, c.row, c.col, c.rows, c.cols, &to.m, c.to_row, c.to_col));
        ASSERT_EQ(to.m->rows, c.after_rows);
        ASSERT_EQ(to.m->cols, c.after_cols);
        const uint64_t rows = c.rows ? c.rows : 3 - c.row, cols = c.cols ? c.cols : 4 - c.col;
        for (uint64_t i = 0; i < c.after_rows; i++)
            for (uint64_t j = 0; j < c.after_cols; j++) {
                double expected = i < c.before_rows && j < c.before_cols ? -1 : 0;
                if (i >= c.to_row && i - c.to_row < rows && j >= c.to_col && j - c.to_col < cols)
                    expected = source.get(c.row + i - c.to_row, c.col + j - c.to_col);
                EXPECT_EQ(to.get(i, j), expected) << i << ' ' << j;
            }
    }
}

TEST(MatrixCopy, ADestinationOfAnotherIdIsMadeAnewAtTheLargerExtent) {
    const Matrix source = numbered(SARVO_DOUBLE, 2, 3);
    Matrix to = numbered(SARVO_INT32, 4, 1);
    expect_success(sarvo_matrix_copy(source.m, 0, 0, 0, 0, &to.m, 0, 0));
    EXPECT_EQ(to.m->dtype, static_cast<uint32_t>(SARVO_DOUBLE));
    EXPECT_EQ(to.m->rows, 4u);
    EXPECT_EQ(to.m->cols, 3u);
    EXPECT_EQ(to.get(1, 2), 23.0);
    EXPECT_EQ(to.get(3, 0), 0.0);
}

TEST(MatrixCopy, OntoItselfMovesRowsInAscendingOrder) {
    Matrix a = numbered(SARVO_DOUBLE, 3, 3);
    expect_success(
        sarvo_matrix_copy(a.m, 1, 1, 0, 0, &a.m, 0, 0)); // up and left: every row is read before it is written
    EXPECT_EQ(a.get(0, 0), 22.0);
    EXPECT_EQ(a.get(1, 1), 33.0);
    Matrix b = numbered(SARVO_DOUBLE, 2, 2);
    expect_success(sarvo_matrix_copy(b.m, 0, 0, 2, 2, &b.m, 2, 2)); // grows the source
    ASSERT_EQ(b.m->rows, 4u);
    EXPECT_EQ(b.get(3, 3), 22.0);
    EXPECT_EQ(b.get(0, 1), 12.0);
}

TEST(MatrixCopy, RefusesInOrder) {
    Matrix source = numbered(SARVO_DOUBLE, 2, 3), to;
    expect_error(sarvo_matrix_copy(nullptr, 9, 9, 0, 0, &to.m, 0, 0), SarvoNullEC,
                 {"Input structure is not initialized"});
    expect_error(sarvo_matrix_copy(source.m, 9, 9, 0, 0, nullptr, 0, 0), SarvoNullEC,
                 {"Input structure is not initialized"});
    struct Block {
        uint64_t row, col, rows, cols;
    };
    for (const Block b : {Block{0, 0, 3, 1},
                          {1, 0, 2, 1},
                          {3, 0, 0, 0},
                          {0, 0, 1, 4},
                          {0, 3, 1, 1},
                          {0, 4, 0, 0},
                          {1, 1, UINT64_MAX, 1},
                          {UINT64_MAX, 0, 1, 1},
                          {UINT64_MAX, 0, 2, 1},
                          {0, UINT64_MAX, 1, 0},
                          {0, 1, 1, UINT64_MAX}})
        expect_error(sarvo_matrix_copy(source.m, b.row, b.col, b.rows, b.cols, &to.m, UINT64_MAX, 0), SarvoSizeEC,
                     {"Incorrect size"});
    expect_error(sarvo_matrix_copy(source.m, 0, 0, 0, 0, &to.m, UINT64_MAX, 0), SarvoOverflowEC, {"Overflow error"});
    expect_error(sarvo_matrix_copy(source.m, 0, 0, 0, 0, &to.m, 0, UINT64_MAX - 1), SarvoOverflowEC,
                 {"Overflow error"});
    EXPECT_EQ(to.m, nullptr);
    source.m->dtype = 25;
    expect_error(sarvo_matrix_copy(source.m, 9, 9, 0, 0, &to.m, 0, 0), SarvoDtypeEC, {invalid(25)});
    source.m->dtype = SARVO_DOUBLE;
    const Matrix other(19, 2, 0);
    expect_success(sarvo_matrix_alloc(&to.m, SARVO_DOUBLE, 0, 1, 0));
    expect_error(sarvo_matrix_copy(other.m, 0, 0, 0, 0, &to.m, 1, 0), SarvoDtypeEC, {unimplemented(19)});
    EXPECT_EQ(to.m->dtype, 19u) << "prepared before the refusal";
    EXPECT_EQ(to.m->rows, 3u);
}

TEST(MatrixZeroAndIdent, WriteEveryElement) {
    for (const uint32_t id : {SARVO_INT32, SARVO_DOUBLE})
        for (const uint64_t rows : {1u, 2u, 4u})
            for (const uint64_t cols : {1u, 3u, 4u}) {
                Matrix a = numbered(id, rows, cols);
                expect_success(sarvo_matrix_ident(a.m));
                for (uint64_t i = 0; i < rows; i++)
                    for (uint64_t j = 0; j < cols; j++) EXPECT_EQ(a.get(i, j), i == j ? 1.0 : 0.0);
                expect_success(sarvo_matrix_zero(a.m));
                for (uint64_t i = 0; i < rows; i++)
                    for (uint64_t j = 0; j < cols; j++) EXPECT_EQ(a.get(i, j), 0.0);
            }
}

TEST(MatrixZeroAndIdent, RefuseInOrder) {
    for (const auto operation : {sarvo_matrix_zero, sarvo_matrix_ident}) {
        expect_error(operation(nullptr), SarvoNullEC, {"Input structure is not initialized"});
        Matrix empty(19, 0, 3), no_cols(19, 3, 0);
        expect_success(operation(empty.m)); // no row pointers
        expect_success(operation(no_cols.m));
        expect_success(sarvo_matrix_realloc(&no_cols.m, 19, 0, 0, 3));
        expect_error(operation(no_cols.m), SarvoDtypeEC, {unimplemented(19)});
        empty.m->dtype = 0;
        expect_error(operation(empty.m), SarvoDtypeEC, {invalid(0)});
    }
}

} // namespace
