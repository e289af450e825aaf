// Owners, fills and checks for the tests of sparse matrices.
#pragma once

#include <algorithm>

#include "matrix_market.h"
#include "mh_support.h"

namespace test::mh {

// Owner of a sparse matrix; `&object.p` is the address that operations take.
struct Sp {
    SPMAT *p = nullptr;
    Sp() = default;
    Sp(int32_t m, int32_t n) { expect_success(sarvo_mh_sp_get(m, n, 1, &p)); }
    Sp(int32_t m, int32_t n, const Doubles &values) : Sp(m, n) { // all of them, row by row; plain zeros are not stored
        for (int32_t i = 0; i < m; i++)
            for (int32_t j = 0; j < n; j++) {
                const double x = values[static_cast<size_t>(i) * static_cast<size_t>(n) + static_cast<size_t>(j)];
                if (bits(x) != 0) set(i, j, x);
            }
    }
    explicit Sp(const MarketMatrix &A) : Sp(A.rows, A.cols) {
        for (const auto &entry : A.entries) set(entry.i, entry.j, entry.value);
    }
    Sp(Sp &&other) noexcept : p(other.p) { other.p = nullptr; }
    Sp &operator=(Sp &&other) noexcept {
        std::swap(p, other.p);
        return *this;
    }
    ~Sp() { sarvo_mh_sp_free(p); }
    void set(int32_t i, int32_t j, double x) { expect_success(sarvo_mh_sp_set_val(p, i, j, x)); }
    Sp copy() const {
        Sp other;
        expect_success(sarvo_mh_sp_copy(p, &other.p));
        return other;
    }
};

// Owner of a free-standing row.
struct Row {
    SPROW *p = nullptr;
    Row() = default;
    Row(std::initializer_list<std::pair<int32_t, double>> entries) {
        expect_success(sarvo_mh_sprow_get(1, &p));
        for (const auto &[col, val] : entries) expect_success(sarvo_mh_sprow_set_val(p, col, val));
    }
    Row(Row &&other) noexcept : p(other.p) { other.p = nullptr; }
    ~Row() { sarvo_mh_sprow_free(p); }
};

inline std::string bytes(const SPROW &row) {
    std::string all = "R" + std::to_string(row.len);
    for (int32_t k = 0; k < row.len; k++)
        all += " " + std::to_string(row.elt[k].col) + ":" + test::bytes(&row.elt[k].val, sizeof(double));
    return all;
}

// Shape, flags and entries; not links, nor storage.
inline std::string bytes(const SPMAT *A) {
    if (!A) return "null";
    std::string all = "S" + std::to_string(A->m) + "x" + std::to_string(A->n) + "/" + std::to_string(A->flag_col) +
                      std::to_string(A->flag_diag);
    for (int32_t i = 0; i < A->m; i++) all += bytes(A->row[i]);
    return all;
}

// All values, row by row, zeros for what is not stored.
inline Doubles dense(const SPMAT *A) {
    Mat out;
    expect_success(sarvo_mh_sp_m2dense(A, &out.p));
    return out.get();
}

inline int64_t entries(const SPMAT *A) {
    int64_t count = 0;
    for (int32_t i = 0; i < A->m; i++) count += A->row[i].len;
    return count;
}

// What is wrong with the structure; empty when nothing is: columns strictly ascending and inside the matrix, len <=
// maxlen, and where the flags say so, column lists that visit every entry once and diagonal positions that hold.
inline std::string broken_invariant(const SPMAT *A) {
    if (A->m > A->max_m || A->n > A->max_n) return "shape beyond storage";
    for (int32_t i = 0; i < A->m; i++) {
        const SPROW &row = A->row[i];
        if (row.len < 0 || row.len > row.maxlen || (row.len > 0 && !row.elt)) return "length of a row";
        for (int32_t k = 0, last = -1; k < row.len; last = row.elt[k++].col)
            if (row.elt[k].col <= last || row.elt[k].col >= A->n) return "columns of a row";
        if (A->flag_diag && row.diag != sarvo_mh_sprow_idx(&row, i)) return "diagonal position";
    }
    if (!A->flag_col) return "";
    int64_t visited = 0;
    for (int32_t j = 0; j < A->n; j++)
        for (int32_t i = A->start_row[j], k = A->start_idx[j], last = -1; i >= 0; visited++) {
            if (i <= last || i >= A->m || k < 0 || k >= A->row[i].len || A->row[i].elt[k].col != j)
                return "column list";
            const row_elt &entry = A->row[i].elt[k];
            last = i, i = entry.nxt_row, k = entry.nxt_idx;
        }
    return visited == entries(A) ? "" : "column lists are not complete";
}
inline void expect_invariants(const SPMAT *A, const std::string &what) { EXPECT_EQ(broken_invariant(A), "") << what; }

// A random pattern of about `share` of all places; values as of values(), stored zeros among them.
inline Sp random_sparse(int32_t m, int32_t n, double share, Random &random, Fill fill = Fill::plain) {
    Sp A(m, n);
    for (int32_t i = 0; i < m; i++)
        for (int32_t j = 0; j < n; j++)
            if (random.uniform() < share) A.set(i, j, values(1, random, fill)[0]);
    return A;
}

inline std::vector<int32_t> columns(const SPROW &row) {
    std::vector<int32_t> all;
    for (int32_t k = 0; k < row.len; k++) all.push_back(row.elt[k].col);
    return all;
}

} // namespace test::mh
