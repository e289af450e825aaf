// Sums, multiples, products and copies of sparse matrices.
#include <sarvo/mh/sparse.h>

#include <algorithm>

#include "row_arithmetic.h"

using sarvo::mh::fail_in;
using sarvo::mh::Result;
using sarvo::mh::RowSum;

namespace {

sarko_error_t combine(const RowSum &sum, const SPMAT *A, const SPMAT *B, SPMAT **out) {
    if (!A || !B || !out) return fail_in(SarvoMHNullEC, sum.matrix_name);
    if (A->m != B->m || A->n != B->n) return fail_in(SarvoMHSizesEC, sum.matrix_name);
    if (*out == A || *out == B) return fail_in(SarvoMHInsituEC, sum.row_name);
    Result result(out);
    if (sarko_error_t e = result.allocate(A->m, A->n)) return e;
    for (int32_t i = 0; i < A->m; i++)
        if (sarko_error_t e = result.reserve_row(i, sarvo::mh::union_count(A->row[i], B->row[i], 0))) return e;
    SPMAT &C = result.deliver();
    for (int32_t i = 0; i < C.m; i++) sarvo::mh::add_rows(sum, A->row[i], B->row[i], 0, C.row[i]);
    return 0;
}

// Makes *out of A's shape with room for A's rows.
sarko_error_t prepare_copy(const SPMAT &A, Result &result) {
    if (sarko_error_t e = result.allocate(A.m, A.n)) return e;
    for (int32_t i = 0; i < A.m; i++)
        if (sarko_error_t e = result.reserve_row(i, A.row[i].len)) return e;
    return 0;
}

sarko_error_t copy(const SPMAT *A, SPMAT **out, const char *name) {
    if (!A || !out) return fail_in(SarvoMHNullEC, name);
    if (*out == A) return 0;
    Result result(out);
    if (sarko_error_t e = prepare_copy(*A, result)) return e;
    SPMAT &C = result.deliver();
    for (int32_t i = 0; i < A->m; i++) sarvo::mh::copy_row(A->row[i], C.row[i]);
    for (int32_t j = 0; j < A->n; j++) {
        C.start_row[j] = A->start_row[j];
        C.start_idx[j] = A->start_idx[j];
    }
    C.flag_col = A->flag_col;
    C.flag_diag = A->flag_diag;
    return 0;
}

// The columns of row i of A B: the union of the rows of B that row i of A names, in the order in which they come up.
// mark[j] == i says that column j is among them.
int32_t collect_columns(const SPROW &row, const SPMAT &B, int32_t i, int32_t *mark, int32_t *columns) {
    int32_t count = 0;
    for (int32_t k = 0; k < row.len; k++) {
        const SPROW &b = B.row[row.elt[k].col];
        for (int32_t l = 0; l < b.len; l++) {
            const int32_t j = b.elt[l].col;
            if (mark[j] == i) continue;
            mark[j] = i;
            columns[count++] = j;
        }
    }
    return count;
}

// Row of A B over the given columns; sum is 0 at all columns before and after.
void multiply_row(const SPROW &row, const SPMAT &B, double *sum, const int32_t *columns, int32_t count, SPROW &out) {
    for (int32_t k = 0; k < row.len; k++) { // ascending: the order of each sum
        const double a = row.elt[k].val;
        const SPROW &b = B.row[row.elt[k].col];
        for (int32_t l = 0; l < b.len; l++) sum[b.elt[l].col] += a * b.elt[l].val;
    }
    for (int32_t l = 0; l < count; l++) {
        out.elt[l].col = columns[l];
        out.elt[l].val = sum[columns[l]];
        sum[columns[l]] = 0.0;
    }
    out.len = count;
    out.diag = -1;
}

} // namespace

extern "C" {

sarko_error_t sarvo_mh_sp_add(const SPMAT *A, const SPMAT *B, SPMAT **out) { return combine(RowSum::add(), A, B, out); }

sarko_error_t sarvo_mh_sp_sub(const SPMAT *A, const SPMAT *B, SPMAT **out) {
    return combine(RowSum::subtract(), A, B, out);
}

sarko_error_t sarvo_mh_sp_mltadd(const SPMAT *A, const SPMAT *B, double s, SPMAT **out) {
    return combine(RowSum::multiply_add(s), A, B, out);
}

sarko_error_t sarvo_mh_sp_smlt(const SPMAT *A, double s, SPMAT **out) {
    if (!A || !out) return fail_in(SarvoMHNullEC, "sp_smlt");
    if (*out == A) {
        for (int32_t i = 0; i < A->m; i++) sarvo::mh::scale_row(A->row[i], s, (*out)->row[i]);
        return 0;
    }
    Result result(out);
    if (sarko_error_t e = prepare_copy(*A, result)) return e;
    SPMAT &C = result.deliver();
    for (int32_t i = 0; i < C.m; i++) sarvo::mh::scale_row(A->row[i], s, C.row[i]);
    return 0;
}

sarko_error_t sarvo_mh_sp_mlt(const SPMAT *A, const SPMAT *B, SPMAT **out) {
    if (!A || !B || !out) return fail_in(SarvoMHNullEC, "sp_mlt");
    if (A->n != B->m) return fail_in(SarvoMHSizesEC, "sp_mlt");
    if (*out == A || *out == B) return fail_in(SarvoMHInsituEC, "sp_mlt");
    const auto width = static_cast<uint64_t>(B->n);
    sarvo::Buffer<int32_t> mark, columns;
    sarvo::Buffer<double> sum;
    if (sarko_error_t e = mark.allocate_unset(width)) return e;
    if (sarko_error_t e = columns.allocate_unset(width)) return e;
    if (sarko_error_t e = sum.allocate(width)) return e;
    for (uint64_t j = 0; j < width; j++) mark[j] = -1;
    Result result(out);
    if (sarko_error_t e = result.allocate(A->m, B->n)) return e;
    for (int32_t i = 0; i < A->m; i++) {
        const int32_t count = collect_columns(A->row[i], *B, i, mark.get(), columns.get());
        if (sarko_error_t e = result.reserve_row(i, count)) return e;
    }
    for (uint64_t j = 0; j < width; j++) mark[j] = -1;
    SPMAT &C = result.deliver();
    for (int32_t i = 0; i < C.m; i++) {
        const int32_t count = collect_columns(A->row[i], *B, i, mark.get(), columns.get());
        std::sort(columns.get(), columns.get() + count);
        multiply_row(A->row[i], *B, sum.get(), columns.get(), count, C.row[i]);
    }
    return 0;
}

sarko_error_t sarvo_mh_sp_copy(const SPMAT *A, SPMAT **out) { return copy(A, out, "sp_copy"); }

sarko_error_t sarvo_mh_sp_copy2(const SPMAT *A, SPMAT **out) {
    if (sarko_error_t e = copy(A, out, "sp_copy2")) return e;
    return sarvo_mh_sp_col_access(*out);
}

} // extern "C"
