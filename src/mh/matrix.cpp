// Storage of dense matrices: allocation, resizing, filling.
#include <sarvo/mh/objects.h>

#include <string.h>

#include "dense.h"

using sarvo::fail;
using sarvo::mh::larger;
using sarvo::mh::product_of_counts;
using sarvo::mh::smaller;

namespace {

constexpr uint64_t element_bytes = sizeof(double);

void set_row_pointers(MAT &A, uint64_t rows, uint64_t cols) {
    for (uint64_t i = 0; i < rows; i++) A.row_ptrs[i] = A.base + i * cols;
}

// The kept rows move from stride `from` down to stride `to`: ascending, so that none is overwritten before it moves.
void narrow_rows(double *base, uint64_t rows, uint64_t from, uint64_t to) {
    for (uint64_t i = 1; i < rows; i++) memmove(base + i * to, base + i * from, to * element_bytes);
}

// And up: descending, with zeros behind the old elements.
void widen_rows(double *base, uint64_t rows, uint64_t from, uint64_t to) {
    for (uint64_t i = rows; i-- > 0;) {
        if (from != 0) memmove(base + i * to, base + i * from, from * element_bytes);
        memset(base + i * to + from, 0, (to - from) * element_bytes);
    }
}

// Row i of A without its stride's tail.
template <class Operation> void for_each_row(MAT *A, Operation operation) {
    if (!A) return;
    for (uint64_t i = 0; i < A->rows && A->cols != 0; i++) operation(A->row_ptrs[i]);
}

} // namespace

extern "C" {

sarko_error_t sarvo_mh_m_get(uint64_t rows, uint64_t cols, MAT **out) {
    if (!out) return fail(SarvoMHNullEC);
    const uint64_t count = product_of_counts(rows, cols);
    sarvo::Buffer<MAT> record;
    sarvo::Buffer<double> block;
    sarvo::Buffer<double *> pointers;
    if (sarko_error_t e = record.allocate(1)) return e;
    if (sarko_error_t e = block.allocate(count)) return e;
    if (sarko_error_t e = pointers.allocate(rows)) return e;
    MAT &A = record[0];
    A.rows = A.max_rows = rows;
    A.cols = A.max_cols = cols;
    A.capacity = count;
    A.base = block.release();
    A.row_ptrs = pointers.release();
    if (count != 0) set_row_pointers(A, rows, cols);
    *out = record.release();
    return 0;
}

void sarvo_mh_m_free(MAT *A) {
    if (!A) return;
    sarko_mem_free(A->base);
    sarko_mem_free(A->row_ptrs);
    sarko_mem_free(A);
}

sarko_error_t sarvo_mh_m_resize(MAT **out, uint64_t rows, uint64_t cols) {
    if (!out) return fail(SarvoMHNullEC);
    if (!*out) return sarvo_mh_m_get(rows, cols, out);
    MAT &A = **out;
    if (A.rows == rows && A.cols == cols) return 0;
    if (A.max_rows < rows) {
        void *pointers = A.row_ptrs;
        if (sarko_error_t e = sarko_mem_realloc(product_of_counts(rows, sizeof(double *)), &pointers)) return e;
        A.row_ptrs = static_cast<double **>(pointers);
    }
    const uint64_t max_rows = larger(A.max_rows, rows);
    const uint64_t max_cols = larger(A.max_cols, cols);
    const uint64_t capacity = product_of_counts(max_rows, max_cols);
    if (capacity > A.capacity) {
        void *block = A.base;
        if (sarko_error_t e = sarko_mem_realloc(product_of_counts(capacity, element_bytes), &block)) return e;
        A.base = static_cast<double *>(block);
    }
    set_row_pointers(A, rows, cols);
    const uint64_t kept = smaller(A.rows, rows);
    if (cols < A.cols) narrow_rows(A.base, kept, A.cols, cols);
    else if (cols > A.cols) widen_rows(A.base, kept, A.cols, cols);
    if (rows > kept && cols != 0) memset(A.base + kept * cols, 0, (rows - kept) * cols * element_bytes);
    A.max_rows = max_rows;
    A.max_cols = max_cols;
    A.capacity = capacity;
    A.rows = rows;
    A.cols = cols;
    return 0;
}

void sarvo_mh_m_zero(MAT *A) {
    for_each_row(A, [A](double *row) { memset(row, 0, A->cols * element_bytes); });
}

void sarvo_mh_m_ones(MAT *A) {
    for_each_row(A, [A](double *row) {
        for (uint64_t j = 0; j < A->cols; j++) row[j] = 1.0;
    });
}

void sarvo_mh_m_ident(MAT *A) {
    sarvo_mh_m_zero(A);
    for (uint64_t i = 0; A && i < smaller(A->rows, A->cols); i++) A->row_ptrs[i][i] = 1.0;
}

} // extern "C"
