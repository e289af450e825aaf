// Storage of typed matrices: allocation, resizing with the elements kept in place, copying, zero and identity.
#include <sarvo/array.h>

#include <string.h>

#include "dtype.h"

using sarvo::fail;
using sarvo::failf;

namespace {

char *element(const sarvo_matrix &m, uint64_t i) { return static_cast<char *>(m.data) + i * SarvoDtype[m.dtype]; }

uint64_t larger(uint64_t a, uint64_t b) { return a > b ? a : b; }

// Row i begins at data + i cols size. Only the ids with known elements have rows to point at.
sarko_error_t set_row_pointers(sarvo_matrix &m, uint64_t rows, uint64_t cols) {
    if (rows == 0 || cols == 0) return 0;
    if (!sarvo::is_implemented_dtype(m.dtype)) return sarvo::fail_unimplemented_dtype(m.dtype);
    for (uint64_t i = 0; i < rows; i++) m.row_ptrs[i] = element(m, i * cols);
    return 0;
}

// Fills a zeroed record; what it allocated stays in the record when it fails.
sarko_error_t build(sarvo_matrix &m, uint32_t dtype, uint64_t rows, uint64_t cols) {
    m.dtype = dtype;
    m.rows = m.max_rows = rows;
    m.cols = m.max_cols = cols;
    if (sarko_error_t e = sarko_mem_calloc(rows * cols, SarvoDtype[dtype], &m.data)) return e;
    void *pointers = nullptr;
    if (sarko_error_t e = sarko_mem_calloc(rows, sizeof(void *), &pointers)) return e;
    m.row_ptrs = static_cast<void **>(pointers);
    return set_row_pointers(m, rows, cols);
}

// Room for `rows` row pointers.
sarko_error_t grow_row_pointers(sarvo_matrix &m, uint64_t rows) {
    uint64_t bytes;
    if (__builtin_mul_overflow(rows, sizeof(void *), &bytes))
        return failf(SarvoOverflowEC, "Too large size for rows=%zu", static_cast<size_t>(rows));
    void *pointers = m.row_ptrs;
    if (sarko_error_t e = sarko_mem_realloc(bytes, &pointers)) return e;
    m.row_ptrs = static_cast<void **>(pointers);
    return 0;
}

// Room for max_rows x max_cols elements; a count that wraps is named by its low 64 bits.
sarko_error_t grow_block(sarvo_matrix &m, uint64_t max_rows, uint64_t max_cols) {
    uint64_t count, bytes;
    const bool count_wraps = __builtin_mul_overflow(max_rows, max_cols, &count);
    if (!count_wraps && count <= m.max_rows * m.max_cols) return 0;
    if (count_wraps || __builtin_mul_overflow(count, SarvoDtype[m.dtype], &bytes))
        return failf(SarvoOverflowEC, "Too large number of elements %zu", static_cast<size_t>(count));
    return sarko_mem_realloc(bytes, &m.data);
}

// Moves the first `rows` rows from stride old_cols to stride cols inside the block; added columns become zero. Narrower
// rows move from the first on, wider ones from the last, so that no row is overwritten before it moved.
void change_stride(const sarvo_matrix &m, uint64_t rows, uint64_t old_cols, uint64_t cols) {
    const uint64_t size = SarvoDtype[m.dtype];
    if (old_cols > cols) {
        for (uint64_t i = 1; i < rows; i++) memmove(element(m, i * cols), element(m, i * old_cols), cols * size);
    } else if (old_cols < cols) {
        for (uint64_t i = rows; i-- > 0;) {
            if (i > 0) memmove(element(m, i * cols), element(m, i * old_cols), old_cols * size);
            memset(element(m, i * cols + old_cols), 0, (cols - old_cols) * size);
        }
    }
}

// Makes *destination at least rows x cols of the source's dtype; one that is large enough and of that dtype is kept.
sarko_error_t prepare_destination(const sarvo_matrix &source, uint64_t rows, uint64_t cols,
                                  sarvo_matrix **destination) {
    const sarvo_matrix *present = *destination;
    if (!present) return sarvo_matrix_alloc(destination, source.dtype, 0, rows, cols);
    if (present->dtype == source.dtype && present->rows >= rows && present->cols >= cols) return 0;
    return sarvo_matrix_realloc(destination, source.dtype, SARVO_REALLOC_DTYPE, larger(present->rows, rows),
                                larger(present->cols, cols));
}

} // namespace

extern "C" {

sarko_error_t sarvo_matrix_alloc(sarvo_matrix **m, uint32_t dtype, uint64_t, uint64_t rows, uint64_t cols) {
    if (!m) return fail(SarvoNullEC);
    if (!sarvo::is_valid_dtype(dtype)) return sarvo::fail_invalid_dtype(dtype);
    uint64_t count;
    if (__builtin_mul_overflow(rows, cols, &count))
        return failf(SarvoOverflowEC, "Too large size for rows=%zu cols=%zu", static_cast<size_t>(rows),
                     static_cast<size_t>(cols));
    sarvo::Buffer<sarvo_matrix> record;
    if (sarko_error_t e = record.allocate(1)) return e;
    if (sarko_error_t e = build(record[0], dtype, rows, cols)) {
        sarvo_matrix_free(record.release());
        return e;
    }
    *m = record.release();
    return 0;
}

sarko_error_t sarvo_matrix_realloc(sarvo_matrix **m, uint32_t dtype, uint32_t flags, uint64_t rows, uint64_t cols) {
    if (!m) return fail(SarvoNullEC);
    sarvo_matrix *present = *m;
    if (!present) return sarvo_matrix_alloc(m, dtype, 0, rows, cols);
    if (!sarvo::is_valid_dtype(present->dtype) || ((flags & SARVO_REALLOC_DTYPE) && present->dtype != dtype)) {
        sarvo_matrix_free(present);
        *m = nullptr;
        return sarvo_matrix_alloc(m, dtype, 0, rows, cols);
    }
    const uint64_t old_rows = present->rows;
    const uint64_t old_cols = present->cols;
    if (old_rows == rows && old_cols == cols) return 0;
    const uint64_t max_rows = larger(present->max_rows, rows);
    const uint64_t max_cols = larger(present->max_cols, cols);

    if (present->max_rows < rows) {
        if (sarko_error_t e = grow_row_pointers(*present, rows)) return e;
    }
    if (sarko_error_t e = grow_block(*present, max_rows, max_cols)) return e;
    if (sarko_error_t e = set_row_pointers(*present, rows, cols)) return e;

    const uint64_t kept_rows = old_rows < rows ? old_rows : rows;
    change_stride(*present, kept_rows, old_cols, cols);
    if (old_rows < rows && cols > 0)
        memset(element(*present, old_rows * cols), 0, (rows - old_rows) * cols * SarvoDtype[present->dtype]);
    present->max_rows = max_rows;
    present->max_cols = max_cols;
    present->rows = rows;
    present->cols = cols;
    return 0;
}

void sarvo_matrix_free(sarvo_matrix *m) {
    if (!m) return;
    sarko_mem_free(m->row_ptrs);
    sarko_mem_free(m->data);
    sarko_mem_free(m);
}

sarko_error_t sarvo_matrix_copy(const sarvo_matrix *source, uint64_t first_row, uint64_t first_col, uint64_t rows,
                                uint64_t cols, sarvo_matrix **destination, uint64_t destination_row,
                                uint64_t destination_col) {
    if (!source || !destination) return fail(SarvoNullEC);
    if (!sarvo::is_valid_dtype(source->dtype)) return sarvo::fail_invalid_dtype(source->dtype);
    if (first_row > source->rows || first_col > source->cols) return fail(SarvoSizeEC);
    if (rows == 0) rows = source->rows - first_row;
    if (cols == 0) cols = source->cols - first_col;
    if (rows > source->rows - first_row || cols > source->cols - first_col) return fail(SarvoSizeEC);
    uint64_t needed_rows, needed_cols;
    if (__builtin_add_overflow(rows, destination_row, &needed_rows) ||
        __builtin_add_overflow(cols, destination_col, &needed_cols))
        return fail(SarvoOverflowEC);

    if (sarko_error_t e = prepare_destination(*source, needed_rows, needed_cols, destination)) return e;
    if (!sarvo::is_implemented_dtype(source->dtype)) return sarvo::fail_unimplemented_dtype(source->dtype);
    if (cols == 0) return 0; // row pointers of empty rows mean nothing
    const uint64_t size = SarvoDtype[source->dtype];
    for (uint64_t i = 0; i < rows; i++) {
        char *to = static_cast<char *>((*destination)->row_ptrs[destination_row + i]) + destination_col * size;
        const char *from = static_cast<const char *>(source->row_ptrs[first_row + i]) + first_col * size;
        if (sarko_error_t e = sarko_mem_move(to, from, cols * size)) return e;
    }
    return 0;
}

sarko_error_t sarvo_matrix_zero(sarvo_matrix *m) {
    if (!m) return fail(SarvoNullEC);
    if (!sarvo::is_valid_dtype(m->dtype)) return sarvo::fail_invalid_dtype(m->dtype);
    if (!m->row_ptrs || m->cols == 0) return 0;
    if (!sarvo::is_implemented_dtype(m->dtype)) return sarvo::fail_unimplemented_dtype(m->dtype);
    for (uint64_t i = 0; i < m->rows; i++) memset(m->row_ptrs[i], 0, m->cols * SarvoDtype[m->dtype]);
    return 0;
}

sarko_error_t sarvo_matrix_ident(sarvo_matrix *m) {
    if (sarko_error_t e = sarvo_matrix_zero(m)) return e;
    const uint64_t diagonal = m->rows < m->cols ? m->rows : m->cols;
    for (uint64_t i = 0; i < diagonal; i++) {
        if (m->dtype == SARVO_INT32) static_cast<int32_t *>(m->row_ptrs[i])[i] = 1;
        else static_cast<double *>(m->row_ptrs[i])[i] = 1.0;
    }
    return 0;
}

} // extern "C"
