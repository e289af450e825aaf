// Cholesky factorisation of sparse matrices, complete and without fill, and the pattern of the complete factor.
//
// The complete factor's pattern comes from the elimination tree (Liu, 1990): row i of L has a place j exactly when j
// lies on the path up the tree from a place of row i of A to i. The numbers are computed row by row ("up-looking"): row
// i of A's lower triangle is spread into x; for its places j in ascending order L(i,j) = x(j) / L(j,j) is final, and
// column j of L, which ends at row i-1 so far, takes x(r) -= L(r,j) L(i,j) to all later places r of the row. So each
// place gets its terms in ascending order of j.
#include <sarvo/mh/sparse_factor.h>

#include <math.h>

#include "compact.h"

using sarvo::Buffer;
using sarvo::mh::entries_before;
using sarvo::mh::fail_in;
using sarvo::mh::Lists;

namespace {

uint64_t at(int64_t i) { return static_cast<uint64_t>(i); }

// Parents in the elimination tree of the lower triangle, -1 at roots.
sarko_error_t elimination_tree(const SPMAT &A, Buffer<int32_t> &parent) {
    Buffer<int32_t> ancestor; // a shortcut: some node above, with nothing in between that is not yet known
    if (sarko_error_t e = parent.allocate_unset(at(A.n))) return e;
    if (sarko_error_t e = ancestor.allocate_unset(at(A.n))) return e;
    for (int32_t i = 0; i < A.n; i++) {
        parent[at(i)] = ancestor[at(i)] = -1;
        for (int32_t k = 0; k < A.row[i].len && A.row[i].elt[k].col < i; k++)
            for (int32_t j = A.row[i].elt[k].col, next; j >= 0 && j < i; j = next) {
                next = ancestor[at(j)];
                ancestor[at(j)] = i;
                if (next < 0) parent[at(j)] = i;
            }
    }
    return 0;
}

// Calls visit(i, j) for the places j < i of each row i of the complete factor: rows ascending, in a row in no order.
template <class Visit>
void for_each_place(const SPMAT &A, const Buffer<int32_t> &parent, const Buffer<int32_t> &mark, Visit visit) {
    for (int32_t i = 0; i < A.n; i++) mark[at(i)] = -1;
    for (int32_t i = 0; i < A.n; i++) {
        mark[at(i)] = i;
        for (int32_t k = 0; k < A.row[i].len && A.row[i].elt[k].col < i; k++)
            for (int32_t j = A.row[i].elt[k].col; mark[at(j)] != i; j = parent[at(j)]) {
                visit(i, j);
                mark[at(j)] = i;
            }
    }
}

// The strict lower triangle of a factor, by columns and by rows.
struct Factor {
    Lists columns, rows;
    Buffer<double> diagonal;
};

// columns.index holds the rows of each place, ascending; rows.index its columns, ascending.
sarko_error_t rows_from_columns(Factor &L) {
    const Lists &columns = L.columns;
    if (sarko_error_t e = L.rows.prepare(columns.count)) return e;
    for (int64_t p = 0; p < columns.total(); p++) L.rows.length(columns.index[at(p)])++;
    if (sarko_error_t e = L.rows.lay_out(true)) return e;
    for (int32_t j = 0; j < columns.count; j++)
        for (int64_t p = columns.begin(j); p < columns.end(j); p++)
            L.rows.index[at(L.rows.next(columns.index[at(p)])++)] = j;
    return 0;
}

sarko_error_t complete_pattern(const SPMAT &A, Factor &L) {
    Buffer<int32_t> parent, mark;
    if (sarko_error_t e = elimination_tree(A, parent)) return e;
    if (sarko_error_t e = mark.allocate_unset(at(A.n))) return e;
    if (sarko_error_t e = L.columns.prepare(A.n)) return e;
    for_each_place(A, parent, mark, [&L](int32_t, int32_t j) { L.columns.length(j)++; });
    if (sarko_error_t e = L.columns.lay_out(true)) return e;
    for_each_place(A, parent, mark, [&L](int32_t i, int32_t j) { L.columns.index[at(L.columns.next(j)++)] = i; });
    return rows_from_columns(L);
}

sarko_error_t given_pattern(const SPMAT &A, Factor &L) {
    if (sarko_error_t e = L.columns.prepare(A.n)) return e;
    const auto for_each = [&A](auto visit) {
        for (int32_t i = 0; i < A.n; i++)
            for (int32_t k = 0; k < A.row[i].len && A.row[i].elt[k].col < i; k++) visit(i, A.row[i].elt[k].col);
    };
    for_each([&L](int32_t, int32_t j) { L.columns.length(j)++; });
    if (sarko_error_t e = L.columns.lay_out(true)) return e;
    for_each([&L](int32_t i, int32_t j) { L.columns.index[at(L.columns.next(j)++)] = i; });
    return rows_from_columns(L);
}

// The numbers, row by row. Columns j, j+1, .. of the complete factor often have the same rows behind them; a row that
// has j has them all then, and they are taken together, up to four at a time: x is read and written once for all.
class Numbers {
public:
    Numbers(const SPMAT &A, const Factor &L) : A_(A), L_(L) {}
    sarko_error_t allocate(bool complete);
    bool compute(); // false when a pivot is not positive

private:
    double spread(int32_t i) const;
    template <int32_t count> double eliminate(int32_t j, int64_t q, double pivot) const;

    static constexpr int32_t most = 4;
    const SPMAT &A_;
    const Factor &L_;
    Buffer<int64_t> filled_; // how far each column goes
    Buffer<uint8_t> alike_;  // how many columns from here on, at most `most`, are known to have equal rows behind them
    // The row at its places. Complete: zero elsewhere, so that what fills in begins at +0. Without fill every place is
    // set before it is read, and what columns leave elsewhere does no harm.
    Buffer<double> x_;
};

sarko_error_t Numbers::allocate(bool complete) {
    const int32_t n = A_.n;
    if (sarko_error_t e = x_.allocate(at(n))) return e;
    if (sarko_error_t e = filled_.allocate_unset(at(n))) return e;
    if (sarko_error_t e = alike_.allocate_unset(at(n))) return e;
    const auto count = [this](int32_t j) { return L_.columns.end(j) - L_.columns.begin(j); };
    for (int32_t j = n - 1; j >= 0; j--) {
        filled_[at(j)] = L_.columns.begin(j);
        // In a complete factor the rows behind j's first one, its parent, are among the parent's: equal counts are
        // equal rows.
        const bool continues =
            complete && j + 1 < n && count(j) == count(j + 1) + 1 && L_.columns.index[at(L_.columns.begin(j))] == j + 1;
        alike_[at(j)] = static_cast<uint8_t>(continues ? (alike_[at(j + 1)] < most ? alike_[at(j + 1)] + 1 : most) : 1);
    }
    return 0;
}

// Row i of A's lower triangle into x; returns the diagonal entry.
double Numbers::spread(int32_t i) const {
    double diagonal = 0.0;
    for (int32_t k = 0; k < A_.row[i].len && A_.row[i].elt[k].col <= i; k++) {
        const row_elt &entry = A_.row[i].elt[k];
        if (entry.col == i) diagonal = entry.val;
        else x_[at(entry.col)] = entry.val;
    }
    return diagonal;
}

// Places j .. j+count-1 of a row, which stand from q on in its list, by columns with the same rows behind them. Returns
// the pivot less their squares.
template <int32_t count> double Numbers::eliminate(int32_t j, int64_t q, double pivot) const {
    double *x = x_.get();
    const double *value[count];
    double l[count];
    for (int32_t t = 0; t < count; t++) {
        value[t] = L_.columns.value.get() + L_.columns.begin(j + t);
        l[t] = x[j + t] / L_.diagonal[at(j + t)]; // L(i,j+t)
        x[j + t] = 0.0;
        pivot -= l[t] * l[t];
        for (int32_t u = t + 1; u < count; u++) x[j + u] -= *value[t]++ * l[t];
    }
    const int64_t first = L_.columns.begin(j + count - 1), end = filled_[at(j + count - 1)];
    const int32_t *row = L_.columns.index.get() + first;
    for (int64_t p = 0; p < end - first; p++) {
        double difference = x[row[p]];
        for (int32_t t = 0; t < count; t++) difference -= value[t][p] * l[t];
        x[row[p]] = difference;
    }
    for (int32_t t = 0; t < count; t++) {
        L_.columns.value[at(filled_[at(j + t)]++)] = l[t];
        L_.rows.value[at(q + t)] = l[t];
    }
    return pivot;
}

bool Numbers::compute() {
    for (int32_t i = 0; i < A_.n; i++) {
        double pivot = spread(i);
        for (int64_t q = L_.rows.begin(i); q < L_.rows.end(i);) {
            const int32_t j = L_.rows.index[at(q)], count = alike_[at(j)] < i - j ? alike_[at(j)] : i - j;
            if (count == 4) pivot = eliminate<4>(j, q, pivot);
            else if (count == 3) pivot = eliminate<3>(j, q, pivot);
            else if (count == 2) pivot = eliminate<2>(j, q, pivot);
            else pivot = eliminate<1>(j, q, pivot);
            q += count;
        }
        if (!(pivot > 0.0)) return false;
        L_.diagonal[at(i)] = sqrt(pivot);
    }
    return true;
}

// Room in A for the rows of the factor: A's entries stay.
sarko_error_t reserve_rows(SPMAT &A, const Factor &L) {
    for (int32_t i = 0; i < A.n; i++) {
        const auto count = static_cast<int32_t>(L.rows.end(i) - L.rows.begin(i)) + 1;
        if (A.row[i].elt && A.row[i].maxlen >= count) continue;
        if (sarko_error_t e = sarvo::mh::reallocate(A.row[i], count)) return e;
        A.row[i].maxlen = count;
    }
    return 0;
}

void store(const Factor &L, SPMAT &A) {
    for (int32_t i = 0; i < A.n; i++) {
        SPROW &row = A.row[i];
        row_elt *next = row.elt;
        for (int64_t q = L.rows.begin(i); q < L.rows.end(i); q++, next++) {
            next->col = L.rows.index[at(q)];
            next->val = L.rows.value[at(q)];
        }
        next->col = i;
        next->val = L.diagonal[at(i)];
        row.diag = static_cast<int32_t>(next - row.elt);
        row.len = row.diag + 1;
    }
    A.flag_col = 0;
    A.flag_diag = 1;
}

sarko_error_t factorise(SPMAT *A, bool complete, const char *name) {
    if (!A) return fail_in(SarvoMHNullEC, name);
    if (A->m != A->n) return fail_in(SarvoMHSquareEC, name);
    Factor L;
    if (sarko_error_t e = complete ? complete_pattern(*A, L) : given_pattern(*A, L)) return e;
    if (sarko_error_t e = L.diagonal.allocate_unset(at(A->n))) return e;
    Numbers numbers(*A, L);
    if (sarko_error_t e = numbers.allocate(complete)) return e;
    if (sarko_error_t e = reserve_rows(*A, L)) return e;
    if (!numbers.compute()) return fail_in(SarvoMHPosdefEC, name);
    store(L, *A);
    return 0;
}

// Adds zeros to a row of A, which has the room, so that it has all places of the factor and the diagonal; from the end.
void insert_places(const Factor &L, int32_t i, int32_t before, bool diagonal_missing, SPROW &row) {
    const int64_t first = L.rows.begin(i);
    int64_t q = L.rows.end(i) - 1;
    const int32_t more = static_cast<int32_t>(q + 1 - first) - before + diagonal_missing;
    memmove(row.elt + before + more, row.elt + before, at(row.len - before) * sizeof(row_elt));
    row.len += more;
    int32_t to = before + more - 1, from = before - 1;
    const auto zero = [&row](int32_t position, int32_t col) {
        row.elt[position].col = col;
        row.elt[position].val = 0.0;
    };
    if (diagonal_missing) zero(to--, i);
    for (; to > from; to--, q--) {
        const int32_t j = L.rows.index[at(q)];
        if (from >= 0 && row.elt[from].col == j) row.elt[to] = row.elt[from--];
        else zero(to, j);
    }
}

} // namespace

extern "C" {

sarko_error_t sarvo_mh_spCHfactor(SPMAT *A) { return factorise(A, true, "spCHfactor"); }

sarko_error_t sarvo_mh_spICHfactor(SPMAT *A) { return factorise(A, false, "spICHfactor"); }

sarko_error_t sarvo_mh_spCHsymb(SPMAT *A) {
    if (!A) return fail_in(SarvoMHNullEC, "spCHsymb");
    if (A->m != A->n) return fail_in(SarvoMHSquareEC, "spCHsymb");
    Factor L;
    if (sarko_error_t e = complete_pattern(*A, L)) return e;
    const auto new_entries = [A, &L](int32_t i) {
        const int32_t places = static_cast<int32_t>(L.rows.end(i) - L.rows.begin(i));
        return places - entries_before(A->row[i], i) + (sarvo_mh_sprow_idx(&A->row[i], i) < 0);
    };
    for (int32_t i = 0; i < A->n; i++) {
        const int32_t count = A->row[i].len + new_entries(i);
        if (A->row[i].elt && A->row[i].maxlen >= count) continue;
        if (sarko_error_t e = sarvo::mh::reallocate(A->row[i], count)) return e;
        A->row[i].maxlen = count;
    }
    for (int32_t i = 0; i < A->n; i++)
        if (new_entries(i) != 0)
            insert_places(L, i, entries_before(A->row[i], i), sarvo_mh_sprow_idx(&A->row[i], i) < 0, A->row[i]);
    A->flag_col = 0;
    return sarvo_mh_sp_diag_access(A);
}

} // extern "C"
