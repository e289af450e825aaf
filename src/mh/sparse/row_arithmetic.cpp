// Merging, copying, adding and scaling sparse rows.
#include "row_arithmetic.h"

#include <sarvo/mh/sparse.h>

using sarvo::mh::fail_in;
using sarvo::mh::RowSum;

namespace {

constexpr int32_t usual_room = 10;

// Room for the result in *out, which is made when null.
sarko_error_t prepare(SPROW **out, int32_t count) {
    if (*out) return sarvo::mh::reserve(**out, count);
    SPROW *made = nullptr;
    if (sarko_error_t e = sarvo_mh_sprow_get(usual_room, &made)) return e;
    if (sarko_error_t e = sarvo::mh::reserve(*made, count)) {
        sarvo_mh_sprow_free(made);
        return e;
    }
    *out = made;
    return 0;
}

sarko_error_t combine(const RowSum &sum, const SPROW *r1, const SPROW *r2, int32_t j0, SPROW **out) {
    if (!r1 || !r2 || !out) return fail_in(SarvoMHNullEC, sum.row_name);
    if (*out == r1 || *out == r2) return fail_in(SarvoMHInsituEC, sum.row_name);
    if (j0 < 0) return fail_in(SarvoMHBoundsEC, sum.row_name);
    if (sarko_error_t e = prepare(out, sarvo::mh::union_count(*r1, *r2, j0))) return e;
    sarvo::mh::add_rows(sum, *r1, *r2, j0, **out);
    return 0;
}

} // namespace

namespace sarvo::mh {

int32_t union_count(const SPROW &r1, const SPROW &r2, int32_t j0) {
    int32_t count = 0;
    for_each_column(r1, r2, j0, [&count](int32_t, const row_elt *, const row_elt *) { count++; });
    return count;
}

void add_rows(const RowSum &sum, const SPROW &r1, const SPROW &r2, int32_t j0, SPROW &out) {
    const double s = sum.factor;
    row_elt *next = out.elt;
    for_each_column(r1, r2, j0, [&next, &sum, s](int32_t col, const row_elt *a, const row_elt *b) {
        const double x = a ? a->val : 0.0, y = b ? b->val : 0.0;
        next->col = col;
        next->val = sum.kind == RowSum::plus ? x + y : sum.kind == RowSum::minus ? x - y : s == 0.0 ? x : x + s * y;
        next++;
    });
    out.len = static_cast<int32_t>(next - out.elt);
    out.diag = -1;
}

void copy_row(const SPROW &row, SPROW &out) {
    if (row.len != 0) memcpy(out.elt, row.elt, static_cast<uint64_t>(row.len) * sizeof(row_elt));
    out.len = row.len;
    out.diag = row.diag;
}

void scale_row(const SPROW &row, double s, SPROW &out) {
    if (&row != &out) {
        copy_row(row, out);
        out.diag = -1;
    }
    for (int32_t k = 0; k < out.len; k++) out.elt[k].val = s * out.elt[k].val;
}

} // namespace sarvo::mh

extern "C" {

sarko_error_t sarvo_mh_sprow_merge(const SPROW *r1, const SPROW *r2, SPROW **out) {
    if (!r1 || !r2 || !out) return fail_in(SarvoMHNullEC, "sprow_merge");
    if (*out == r1 || *out == r2) return fail_in(SarvoMHInsituEC, "sprow_merge");
    if (sarko_error_t e = prepare(out, sarvo::mh::union_count(*r1, *r2, INT32_MIN))) return e;
    row_elt *next = (*out)->elt;
    sarvo::mh::for_each_column(*r1, *r2, INT32_MIN, [&next](int32_t col, const row_elt *a, const row_elt *b) {
        next->col = col;
        next->val = (a ? a : b)->val;
        next++;
    });
    (*out)->len = static_cast<int32_t>(next - (*out)->elt);
    (*out)->diag = -1;
    return 0;
}

sarko_error_t sarvo_mh_sprow_copy(const SPROW *r, SPROW **out) {
    if (!r || !out) return fail_in(SarvoMHNullEC, "sprow_copy");
    if (*out == r) return fail_in(SarvoMHInsituEC, "sprow_copy");
    if (sarko_error_t e = prepare(out, r->len)) return e;
    sarvo::mh::copy_row(*r, **out);
    return 0;
}

sarko_error_t sarvo_mh_sprow_add(const SPROW *r1, const SPROW *r2, int32_t j0, SPROW **out) {
    return combine(RowSum::add(), r1, r2, j0, out);
}

sarko_error_t sarvo_mh_sprow_sub(const SPROW *r1, const SPROW *r2, int32_t j0, SPROW **out) {
    return combine(RowSum::subtract(), r1, r2, j0, out);
}

sarko_error_t sarvo_mh_sprow_mltadd(const SPROW *r1, const SPROW *r2, double s, int32_t j0, SPROW **out) {
    return combine(RowSum::multiply_add(s), r1, r2, j0, out);
}

sarko_error_t sarvo_mh_sprow_smlt(const SPROW *r, double s, SPROW **out) {
    if (!r || !out) return fail_in(SarvoMHNullEC, "sprow_smlt");
    if (sarko_error_t e = prepare(out, r->len)) return e;
    sarvo::mh::scale_row(*r, s, **out);
    return 0;
}

} // extern "C"
