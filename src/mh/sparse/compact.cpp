// Columns and graph of a sparse matrix in compact arrays.
#include "compact.h"

#include "row_arithmetic.h"

namespace sarvo::mh {

sarko_error_t columns_of(const SPMAT &A, bool with_values, Lists &out) {
    if (sarko_error_t e = out.prepare(A.n)) return e;
    for (int32_t i = 0; i < A.m; i++)
        for (int32_t k = 0; k < A.row[i].len; k++) out.length(A.row[i].elt[k].col)++;
    if (sarko_error_t e = out.lay_out(with_values)) return e;
    for (int32_t i = 0; i < A.m; i++) // ascending, so that each column is sorted
        for (int32_t k = 0; k < A.row[i].len; k++) {
            const row_elt &entry = A.row[i].elt[k];
            const auto p = static_cast<uint64_t>(out.next(entry.col)++);
            out.index[p] = i;
            if (with_values) out.value[p] = entry.val;
        }
    return 0;
}

namespace {

// Calls visit(j) for the union of row i of A and its column i, ascending, without i.
template <class Visit> void for_each_neighbour(const SPROW &row, const Lists &columns, int32_t i, Visit visit) {
    const int32_t *down = columns.index.get() + columns.begin(i), *end = columns.index.get() + columns.end(i);
    for (int32_t k = 0; k < row.len; k++) {
        const int32_t j = row.elt[k].col;
        for (; down != end && *down < j; down++)
            if (*down != i) visit(*down);
        if (down != end && *down == j) down++;
        if (j != i) visit(j);
    }
    for (; down != end; down++)
        if (*down != i) visit(*down);
}

} // namespace

sarko_error_t graph_of(const SPMAT &A, Lists &out) {
    Lists columns;
    if (sarko_error_t e = columns_of(A, false, columns)) return e;
    if (sarko_error_t e = out.prepare(A.n)) return e;
    for (int32_t i = 0; i < A.n; i++) for_each_neighbour(A.row[i], columns, i, [&out, i](int32_t) { out.length(i)++; });
    if (sarko_error_t e = out.lay_out(false)) return e;
    for (int32_t i = 0; i < A.n; i++)
        for_each_neighbour(A.row[i], columns, i,
                           [&out, i](int32_t j) { out.index[static_cast<uint64_t>(out.next(i)++)] = j; });
    return 0;
}

} // namespace sarvo::mh
