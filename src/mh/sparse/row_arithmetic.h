// The row operations that the matrix operations are made of; results are written into rows that have the room.
#pragma once

#include "storage.h"

namespace sarvo::mh {

// Calls visit(col, entry of r1 or null, entry of r2 or null) for the union of the columns >= j0, ascending.
template <class Visit> void for_each_column(const SPROW &r1, const SPROW &r2, int32_t j0, Visit visit) {
    const row_elt *a = r1.elt + lower_bound(r1, j0), *a_end = r1.elt + r1.len;
    const row_elt *b = r2.elt + lower_bound(r2, j0), *b_end = r2.elt + r2.len;
    while (a != a_end && b != b_end) {
        if (a->col < b->col) {
            visit(a->col, a, nullptr);
            a++;
        } else if (a->col > b->col) {
            visit(b->col, nullptr, b);
            b++;
        } else {
            visit(a->col, a, b);
            a++, b++;
        }
    }
    for (; a != a_end; a++) visit(a->col, a, nullptr);
    for (; b != b_end; b++) visit(b->col, nullptr, b);
}

// x + y, x - y, or x + factor y: factor exactly 0 gives x.
struct RowSum {
    enum Kind { plus, minus, plus_multiple } kind;
    double factor;
    const char *row_name, *matrix_name;
    static RowSum add() { return {plus, 1.0, "sprow_add", "sp_add"}; }
    static RowSum subtract() { return {minus, -1.0, "sprow_sub", "sp_sub"}; }
    static RowSum multiply_add(double s) { return {plus_multiple, s, "sprow_mltadd", "sp_mltadd"}; }
};

int32_t union_count(const SPROW &r1, const SPROW &r2, int32_t j0); // columns >= j0 that one of them stores
void add_rows(const RowSum &sum, const SPROW &r1, const SPROW &r2, int32_t j0, SPROW &out);
void copy_row(const SPROW &row, SPROW &out);
void scale_row(const SPROW &row, double s, SPROW &out); // out may be the row

} // namespace sarvo::mh
