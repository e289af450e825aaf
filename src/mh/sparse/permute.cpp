// Exchanged rows and columns of a sparse matrix; its product with its own transpose.
#include <sarvo/mh/sparse_factor.h>

#include "compact.h"

using sarvo::mh::fail_in;
using sarvo::mh::Lists;
using sarvo::mh::Result;

namespace {

// Null is the natural order, of any size.
bool fits(const PERM *px, int32_t n) { return !px || sarvo::mh::has_size(*px, static_cast<uint64_t>(n)); }

// place[px(k)] = k. False when px is no permutation of 0 .. n-1. Null is the natural order.
bool invert(const PERM *px, int32_t n, int32_t *place) {
    for (int32_t k = 0; k < n; k++) place[k] = px ? -1 : k;
    for (int32_t k = 0; px && k < n; k++) {
        const uint32_t i = px->elems[k];
        if (i >= static_cast<uint32_t>(n) || place[i] >= 0) return false;
        place[i] = k;
    }
    return true;
}

void append(SPROW &row, int32_t col, double val) {
    row.elt[row.len].col = col;
    row.elt[row.len].val = val;
    row.len++;
}

void empty_rows(SPMAT &A) {
    for (int32_t i = 0; i < A.m; i++) {
        A.row[i].len = 0;
        A.row[i].diag = -1;
    }
}

sarko_error_t transpose(const SPMAT &A, SPMAT **out) {
    Result result(out);
    Lists columns;
    if (sarko_error_t e = sarvo::mh::columns_of(A, true, columns)) return e;
    if (sarko_error_t e = result.allocate(A.n, A.m)) return e;
    for (int32_t j = 0; j < A.n; j++)
        if (sarko_error_t e = result.reserve_row(j, static_cast<int32_t>(columns.end(j) - columns.begin(j)))) return e;
    SPMAT &T = result.deliver();
    empty_rows(T);
    for (int32_t j = 0; j < A.n; j++)
        for (auto p = static_cast<uint64_t>(columns.begin(j)); p < static_cast<uint64_t>(columns.end(j)); p++)
            append(T.row[j], columns.index[p], columns.value[p]);
    return 0;
}

} // namespace

extern "C" {

sarko_error_t sarvo_mh_sp_permute(const SPMAT *A, const PERM *rows, const PERM *cols, SPMAT **out) {
    if (!A || !out) return fail_in(SarvoMHNullEC, "sp_permute");
    if (!fits(rows, A->m) || !fits(cols, A->n)) return fail_in(SarvoMHSizesEC, "sp_permute");
    if (*out == A) return fail_in(SarvoMHInsituEC, "sp_permute");
    sarvo::Buffer<int32_t> row_place, col_place;
    if (sarko_error_t e = row_place.allocate_unset(static_cast<uint64_t>(A->m))) return e;
    if (sarko_error_t e = col_place.allocate_unset(static_cast<uint64_t>(A->n))) return e;
    if (!invert(rows, A->m, row_place.get()) || !invert(cols, A->n, col_place.get()))
        return fail_in(SarvoMHBoundsEC, "sp_permute");
    Lists columns;
    if (sarko_error_t e = sarvo::mh::columns_of(*A, true, columns)) return e;
    Result result(out);
    if (sarko_error_t e = result.allocate(A->m, A->n)) return e;
    for (int32_t i = 0; i < A->m; i++)
        if (sarko_error_t e = result.reserve_row(row_place[static_cast<uint64_t>(i)], A->row[i].len)) return e;
    SPMAT &B = result.deliver();
    empty_rows(B);
    for (int32_t k = 0; k < A->n; k++) { // the new columns in ascending order, so that each row is sorted
        const int32_t j = cols ? static_cast<int32_t>(cols->elems[k]) : k;
        for (auto p = static_cast<uint64_t>(columns.begin(j)); p < static_cast<uint64_t>(columns.end(j)); p++)
            append(B.row[row_place[static_cast<uint64_t>(columns.index[p])]], k, columns.value[p]);
    }
    return 0;
}

sarko_error_t sarvo_mh_sp_comp_AAT(const SPMAT *A, SPMAT **out) {
    if (!A || !out) return fail_in(SarvoMHNullEC, "sp_comp_AAT");
    if (*out == A) return fail_in(SarvoMHInsituEC, "sp_comp_AAT");
    sarvo::mh::TemporarySparse T;
    if (sarko_error_t e = transpose(*A, &T.p)) return e;
    return sarvo_mh_sp_mlt(A, T.p, out);
}

} // extern "C"
