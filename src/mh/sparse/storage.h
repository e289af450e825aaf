// Storage of sparse rows and matrices, shared by the sparse routines: room in a row, growth, the place of a column.
#pragma once

#include <sarvo/mh/sparse.h>

#include <string.h>

#include "../dense.h"

namespace sarvo::mh {

// An error of the sparse family: a code wrapped with the operation's short name.
[[nodiscard]] inline sarko_error_t fail_in(uint32_t code, const char *name) { return wrap(fail(code), name); }

// Twice and one more, as far as a count can go.
inline int32_t twice_and_one(int32_t count) { return count > (INT32_MAX - 1) / 2 ? INT32_MAX : 2 * count + 1; }

// The growth rule of rows that are full.
inline int32_t grown(int32_t len) { return len > 4 ? twice_and_one(len) : 10; }

// Exactly `count` entries of room: the old ones stay, those after `len` too, new ones are zeroed. maxlen is left to the
// caller.
[[nodiscard]] inline sarko_error_t reallocate(SPROW &row, int32_t count) {
    const int32_t kept = row.elt ? row.maxlen : 0;
    void *elements = row.elt;
    if (sarko_error_t e = sarko_mem_realloc(static_cast<uint64_t>(count) * sizeof(row_elt), &elements)) return e;
    row.elt = static_cast<row_elt *>(elements);
    if (count > kept) memset(row.elt + kept, 0, static_cast<uint64_t>(count - kept) * sizeof(row_elt));
    return 0;
}

// Room for `count` entries: exactly, where there is no array yet, else by the growth rule until they fit.
[[nodiscard]] inline sarko_error_t reserve(SPROW &row, int32_t count) {
    if (row.elt && row.maxlen >= count) return 0;
    int32_t room = row.elt ? row.maxlen : (count > 1 ? count : 1);
    while (room < count) room = grown(room);
    if (sarko_error_t e = reallocate(row, room)) return e;
    row.maxlen = room;
    return 0;
}

// Least position whose column is not below col.
inline int32_t lower_bound(const SPROW &row, int32_t col) {
    int32_t lo = 0, hi = row.len;
    while (lo < hi) {
        const int32_t mid = lo + (hi - lo) / 2;
        if (row.elt[mid].col < col) lo = mid + 1;
        else hi = mid;
    }
    return lo;
}

// An m x n matrix whose rows have no arrays yet; m and n are not negative.
[[nodiscard]] sarko_error_t make_without_arrays(int32_t m, int32_t n, SPMAT **out);

// Room for m rows and n columns; shape, entries and flags stay.
[[nodiscard]] sarko_error_t reserve_shape(SPMAT &A, int32_t m, int32_t n);

using TemporarySparse = Temporary<SPMAT, sarvo_mh_sp_free>;

// A result in the making: *out itself, or a new matrix that becomes *out when all has gone well.
class Result {
public:
    explicit Result(SPMAT **out) : out_(out) {}

    // Room for the shape; then, once for each row, for its entries.
    [[nodiscard]] sarko_error_t allocate(int32_t m, int32_t n) {
        m_ = m;
        n_ = n;
        return *out_ ? reserve_shape(**out_, m, n) : make_without_arrays(m, n, &made_.p);
    }
    [[nodiscard]] sarko_error_t reserve_row(int32_t i, int32_t count) { return reserve(row(i), count); }

    SPROW &row(int32_t i) const { return (*out_ ? *out_ : made_.p)->row[i]; }

    // The matrix with its new shape, handed to the caller; its rows and flags are then to be written.
    SPMAT &deliver() {
        if (!*out_) {
            *out_ = made_.p;
            made_.p = nullptr;
        }
        SPMAT &A = **out_;
        A.m = m_;
        A.n = n_;
        A.flag_col = A.flag_diag = 0;
        return A;
    }

private:
    SPMAT **out_;
    TemporarySparse made_;
    int32_t m_ = 0, n_ = 0;
};

// x from L U x = b: sarvo_mh_spLUsolve without a permutation.
[[nodiscard]] sarko_error_t solve_without_exchanges(const SPMAT &LU, const VEC &b, VEC **x);

} // namespace sarvo::mh
