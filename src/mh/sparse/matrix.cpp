// Sparse matrices: allocation, shape, compaction, column lists and diagonal positions.
#include <sarvo/mh/sparse.h>

#include <math.h>
#include <stdarg.h>

#include "storage.h"

using sarvo::mh::fail_in;
using sarvo::mh::lower_bound;
using sarvo::mh::reserve_shape;

namespace {

constexpr int32_t usual_room = 10; // entries a row, where a caller does not say

uint64_t count_of(int32_t n) { return static_cast<uint64_t>(n); }

void no_entries(SPMAT &A, int32_t from, int32_t to) {
    for (int32_t j = from; j < to; j++) A.start_row[j] = A.start_idx[j] = -1;
}

void no_rows(SPMAT &A, int32_t from, int32_t to) {
    for (int32_t i = from; i < to; i++) {
        A.row[i].len = 0;
        A.row[i].diag = -1;
    }
}

template <class T> sarko_error_t enlarge(T *&array, int32_t count) {
    void *p = array;
    const sarko_error_t e = sarko_mem_realloc(count_of(count) * sizeof(T), &p);
    array = static_cast<T *>(p);
    return e;
}

} // namespace

namespace sarvo::mh {

sarko_error_t make_without_arrays(int32_t m, int32_t n, SPMAT **out) {
    Buffer<SPMAT> record;
    Buffer<SPROW> rows;
    Buffer<int32_t> start_row, start_idx;
    if (sarko_error_t e = record.allocate(1)) return e;
    if (sarko_error_t e = rows.allocate(count_of(m))) return e;
    if (sarko_error_t e = start_row.allocate(count_of(n))) return e;
    if (sarko_error_t e = start_idx.allocate(count_of(n))) return e;
    SPMAT &A = record[0];
    A.m = A.max_m = m;
    A.n = A.max_n = n;
    A.row = rows.release();
    A.start_row = start_row.release();
    A.start_idx = start_idx.release();
    no_rows(A, 0, m);
    no_entries(A, 0, n);
    *out = record.release();
    return 0;
}

sarko_error_t reserve_shape(SPMAT &A, int32_t m, int32_t n) {
    if (A.max_m < m) {
        if (sarko_error_t e = enlarge(A.row, m)) return e;
        memset(A.row + A.max_m, 0, count_of(m - A.max_m) * sizeof(SPROW));
        no_rows(A, A.max_m, m);
        A.max_m = m;
    }
    if (A.max_n < n) {
        if (sarko_error_t e = enlarge(A.start_row, n)) return e;
        if (sarko_error_t e = enlarge(A.start_idx, n)) return e;
        no_entries(A, A.max_n, n);
        A.max_n = n;
    }
    return 0;
}

} // namespace sarvo::mh

extern "C" {

sarko_error_t sarvo_mh_sp_get(int32_t m, int32_t n, int32_t maxlen, SPMAT **out) {
    if (!out) return fail_in(SarvoMHNullEC, "sp_get");
    if (m < 0 || n < 0) return fail_in(SarvoMHNegEC, "sp_get");
    sarvo::mh::TemporarySparse A;
    if (sarko_error_t e = sarvo::mh::make_without_arrays(m, n, &A.p)) return e;
    for (int32_t i = 0; i < m; i++)
        if (sarko_error_t e = sarvo::mh::reserve(A.p->row[i], maxlen)) return e;
    *out = A.p;
    A.p = nullptr;
    return 0;
}

sarko_error_t sarvo_mh_sp_get_vars(int32_t m, int32_t n, int32_t maxlen, ...) {
    va_list list;
    va_start(list, maxlen);
    sarko_error_t e = 0;
    for (SPMAT **A; !e && (A = va_arg(list, SPMAT **));) e = sarvo_mh_sp_get(m, n, maxlen, A);
    va_end(list);
    return e;
}

sarko_error_t sarvo_mh_sp_resize_vars(int32_t m, int32_t n, ...) {
    va_list list;
    va_start(list, n);
    sarko_error_t e = 0;
    for (SPMAT **A; !e && (A = va_arg(list, SPMAT **));) e = sarvo_mh_sp_resize(A, m, n);
    va_end(list);
    return e;
}

void sarvo_mh_sp_free_vars(SPMAT **first, ...) {
    va_list list;
    va_start(list, first);
    for (SPMAT **A = first; A; A = va_arg(list, SPMAT **)) {
        sarvo_mh_sp_free(*A);
        *A = nullptr;
    }
    va_end(list);
}

void sarvo_mh_sp_free(SPMAT *A) {
    if (!A) return;
    for (int32_t i = 0; i < A->max_m; i++) sarko_mem_free(A->row[i].elt);
    sarko_mem_free(A->row);
    sarko_mem_free(A->start_row);
    sarko_mem_free(A->start_idx);
    sarko_mem_free(A);
}

void sarvo_mh_sp_zero(SPMAT *A) {
    for (int32_t i = 0; A && i < A->m; i++)
        for (int32_t k = 0; k < A->row[i].len; k++) A->row[i].elt[k].val = 0.0;
}

sarko_error_t sarvo_mh_sp_resize(SPMAT **out, int32_t m, int32_t n) {
    if (!out) return fail_in(SarvoMHNullEC, "sp_resize");
    if (m < 0 || n < 0) return fail_in(SarvoMHNegEC, "sp_resize");
    if (!*out) return sarvo_mh_sp_get(m, n, usual_room, out);
    SPMAT &A = **out;
    if (A.m == m && A.n == n) return 0;
    if (sarko_error_t e = reserve_shape(A, m, n)) return e;
    for (int32_t i = 0; n < A.n && i < A.m; i++) A.row[i].len = lower_bound(A.row[i], n);
    no_rows(A, m < A.m ? m : A.m, m < A.m ? A.m : m);
    no_entries(A, 0, n);
    A.m = m;
    A.n = n;
    A.flag_col = A.flag_diag = 0;
    return 0;
}

sarko_error_t sarvo_mh_sp_compact(SPMAT *A, double tol) {
    if (!A) return fail_in(SarvoMHNullEC, "sp_compact");
    if (tol < 0.0) return fail_in(SarvoMHRangeEC, "sp_compact");
    A->flag_col = A->flag_diag = 0;
    for (int32_t i = 0; i < A->m; i++) {
        SPROW &row = A->row[i];
        int32_t kept = 0;
        for (int32_t k = 0; k < row.len; k++) {
            if (fabs(row.elt[k].val) <= tol) continue; // a NaN is not
            if (kept != k) row.elt[kept] = row.elt[k];
            kept++;
        }
        row.len = kept;
    }
    return 0;
}

sarko_error_t sarvo_mh_sp_col_access(SPMAT *A) {
    if (!A) return fail_in(SarvoMHNullEC, "sp_col_access");
    no_entries(*A, 0, A->n);
    for (int32_t i = A->m - 1; i >= 0; i--) {
        const SPROW &row = A->row[i];
        for (int32_t k = 0; k < row.len; k++) {
            row_elt &entry = row.elt[k];
            entry.nxt_row = A->start_row[entry.col];
            entry.nxt_idx = A->start_idx[entry.col];
            A->start_row[entry.col] = i;
            A->start_idx[entry.col] = k;
        }
    }
    A->flag_col = 1;
    return 0;
}

sarko_error_t sarvo_mh_sp_diag_access(SPMAT *A) {
    if (!A) return fail_in(SarvoMHNullEC, "sp_diag_access");
    for (int32_t i = 0; i < A->m; i++) A->row[i].diag = sarvo_mh_sprow_idx(&A->row[i], i);
    A->flag_diag = 1;
    return 0;
}

} // extern "C"
