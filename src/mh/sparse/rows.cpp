// Sparse rows: allocation, growth, search, insertion.
#include <sarvo/mh/sparse.h>

#include "storage.h"

using sarvo::fail;
using sarvo::mh::fail_in;
using sarvo::mh::grown;
using sarvo::mh::reallocate;

extern "C" {

sarko_error_t sarvo_mh_sprow_get(int32_t maxlen, SPROW **out) {
    if (!out) return fail_in(SarvoMHNullEC, "sprow_get");
    if (maxlen < 0) return fail_in(SarvoMHNegEC, "sprow_get");
    sarvo::Buffer<SPROW> record;
    sarvo::Buffer<row_elt> entries;
    if (sarko_error_t e = record.allocate(1)) return e;
    if (sarko_error_t e = entries.allocate(static_cast<uint64_t>(maxlen))) return e;
    record[0].maxlen = maxlen;
    record[0].diag = -1;
    record[0].elt = entries.release();
    *out = record.release();
    return 0;
}

int32_t sarvo_mh_sprow_free(SPROW *row) {
    if (!row) return -1;
    sarko_mem_free(row->elt);
    sarko_mem_free(row);
    return 0;
}

sarko_error_t sarvo_mh_sprow_xpd(SPROW **row, int32_t n) {
    if (!row) return fail(SarvoMHNullEC);
    if (!*row) {
        SPROW *made = nullptr;
        if (sarko_error_t e = sarvo_mh_sprow_get(0, &made)) return e;
        if (sarko_error_t e = sarvo_mh_sprow_xpd(&made, n)) {
            sarvo_mh_sprow_free(made);
            return e;
        }
        *row = made;
        return 0;
    }
    SPROW &r = **row;
    if (!r.elt) {
        void *entries = nullptr;
        if (sarko_error_t e = sarko_mem_calloc(static_cast<uint64_t>(n), sizeof(row_elt), &entries)) return e;
        r.elt = static_cast<row_elt *>(entries);
        r.len = 0;
        r.maxlen = n;
        return 0;
    }
    const int32_t room = r.len < n ? n : grown(r.len);
    if (room <= r.maxlen) {
        memset(r.elt + r.len, 0, static_cast<uint64_t>(room - r.len) * sizeof(row_elt));
    } else {
        if (sarko_error_t e = reallocate(r, room)) return e;
        r.maxlen = room;
    }
    r.len = room;
    return 0;
}

sarko_error_t sarvo_mh_sprow_resize(SPROW **row, int32_t n) {
    if (!row) return fail_in(SarvoMHNullEC, "sprow_resize");
    if (n < 0) return fail_in(SarvoMHNegEC, "sprow_resize");
    if (!*row) return sarvo_mh_sprow_get(n, row);
    SPROW &r = **row;
    if (r.len == n) return 0;
    if (!r.elt || r.maxlen < n) {
        if (sarko_error_t e = reallocate(r, n)) return e;
        r.maxlen = n;
    }
    r.len = n;
    return 0;
}

int32_t sarvo_mh_sprow_idx(const SPROW *row, int32_t col) {
    if (!row) return -2;
    const int32_t p = sarvo::mh::lower_bound(*row, col);
    return p < row->len && row->elt[p].col == col ? p : -(p + 2);
}

} // extern "C"
