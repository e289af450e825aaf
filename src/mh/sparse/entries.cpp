// Single entries of sparse rows and matrices: reading, overwriting, insertion.
#include <sarvo/mh/sparse.h>

#include "storage.h"

using sarvo::fail;
using sarvo::mh::fail_in;
using sarvo::mh::lower_bound;
using sarvo::mh::reallocate;
using sarvo::mh::twice_and_one;

namespace {

// Whether a full row of a matrix, whose record tells the room that there is, or a free-standing one grows.
enum class Kind { in_matrix, free_standing };

sarko_error_t make_room(SPROW &row, Kind kind) {
    const int32_t wanted = twice_and_one(row.maxlen);
    const int32_t room = wanted > 5 ? wanted : 5;
    if (sarko_error_t e = reallocate(row, room)) return e;
    row.maxlen = kind == Kind::in_matrix ? room : wanted;
    return 0;
}

sarko_error_t set(SPROW &row, int32_t col, double val, Kind kind) {
    const int32_t len = row.len;
    const bool at_end = len == 0 || row.elt[len - 1].col < col; // rows are mostly filled in order
    const int32_t p = at_end ? len : lower_bound(row, col);
    if (!at_end && row.elt[p].col == col) {
        row.elt[p].val = val;
        return 0;
    }
    if (len >= row.maxlen)
        if (sarko_error_t e = make_room(row, kind)) return e;
    if (!at_end) memmove(row.elt + p + 1, row.elt + p, static_cast<uint64_t>(len - p) * sizeof(row_elt));
    row.elt[p].col = col;
    row.elt[p].val = val;
    row.len = len + 1;
    return 0;
}

sarko_error_t check(const SPMAT *A, int32_t i, int32_t j) {
    if (!A) return fail(SarvoMHNullEC);
    if (i < 0 || j < 0 || i >= A->m || j >= A->n) return fail(SarvoMHSizesEC);
    return 0;
}

} // namespace

extern "C" {

sarko_error_t sarvo_mh_sp_get_val(const SPMAT *A, int32_t i, int32_t j, double *val) {
    if (!val) return fail(SarvoMHNullEC);
    if (sarko_error_t e = check(A, i, j)) return e;
    const int32_t p = sarvo_mh_sprow_idx(&A->row[i], j);
    *val = p >= 0 ? A->row[i].elt[p].val : 0.0;
    return 0;
}

sarko_error_t sarvo_mh_sp_set_val(SPMAT *A, int32_t i, int32_t j, double val) {
    if (sarko_error_t e = check(A, i, j)) return e;
    return set(A->row[i], j, val, Kind::in_matrix);
}

sarko_error_t sarvo_mh_sprow_set_val(SPROW *row, int32_t col, double val) {
    if (!row) return fail_in(SarvoMHNullEC, "sprow_set_val");
    return set(*row, col, val, Kind::free_standing);
}

} // extern "C"
