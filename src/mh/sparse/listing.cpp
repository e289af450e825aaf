// Listings of sparse rows.
#include <sarvo/mh/sparse.h>

extern "C" {

void sarvo_mh_sprow_dump(FILE *stream, const SPROW *row) {
    fputs("SparseRow dump:\n", stream);
    if (!row) {
        fputs("*** NULL row ***\n", stream);
        return;
    }
    fprintf(stream, "row: len = %d, maxlen = %d, diag idx = %d\n", row->len, row->maxlen, row->diag);
    fprintf(stream, "element list @ 0x%lx\n", reinterpret_cast<unsigned long>(row->elt));
    if (!row->elt) {
        fputs("*** NULL element list ***\n", stream);
        return;
    }
    for (int32_t k = 0; k < row->len; k++) {
        const row_elt &x = row->elt[k];
        fprintf(stream, "Col: %d, Val: %g, nxt_row = %d, nxt_idx = %d\n", x.col, x.val, x.nxt_row, x.nxt_idx);
    }
    fputc('\n', stream);
}

void sarvo_mh_sprow_foutput(FILE *stream, const SPROW *row) {
    if (!row) {
        fputs("SparseRow: **** NULL ****\n", stream);
        return;
    }
    fprintf(stream, "SparseRow: length: %d\n", row->len);
    for (int32_t k = 0; k < row->len; k++) {
        const row_elt &x = row->elt[k];
        fprintf(stream, "Column %d: %g, next row: %d, next index %d\n", x.col, x.val, x.nxt_row, x.nxt_idx);
    }
}

} // extern "C"
