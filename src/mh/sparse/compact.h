// Sparse matrices as lists of indices and values in one block, for routines that pass over a matrix many times.
#pragma once

#include "storage.h"

namespace sarvo::mh {

// List k of `count` holds index[start[k] .. start[k+1]), and value[] beside it where values are kept.
struct Lists {
    int32_t count = 0;
    Buffer<int64_t> start;
    Buffer<int32_t> index;
    Buffer<double> value;

    int64_t total() const { return start[static_cast<uint64_t>(count)]; }
    int64_t begin(int32_t k) const { return start[static_cast<uint64_t>(k)]; }
    int64_t end(int32_t k) const { return start[static_cast<uint64_t>(k) + 1]; }

    // Zeroed counters: add the length of list k to length(k), then call lay_out.
    [[nodiscard]] sarko_error_t prepare(int32_t lists) {
        count = lists;
        return start.allocate(static_cast<uint64_t>(lists) + 2);
    }
    int64_t &length(int32_t k) { return start[static_cast<uint64_t>(k) + 2]; }

    // Turns the counters into offsets and makes room; then next(k) is where list k goes on, counted up by the caller.
    [[nodiscard]] sarko_error_t lay_out(bool with_values) {
        for (int32_t k = 0; k < count; k++) length(k) += next(k);
        const auto all = static_cast<uint64_t>(start[static_cast<uint64_t>(count) + 1]);
        if (sarko_error_t e = index.allocate_unset(all)) return e;
        return with_values ? value.allocate_unset(all) : 0;
    }
    int64_t &next(int32_t k) { return start[static_cast<uint64_t>(k) + 1]; }
};

// Columns of A: list j holds the rows of the entries in column j, ascending, and their values when asked for.
[[nodiscard]] sarko_error_t columns_of(const SPMAT &A, bool with_values, Lists &out);

// The graph of A + A' for a square A: list i holds the neighbours of i, ascending, without i itself.
[[nodiscard]] sarko_error_t graph_of(const SPMAT &A, Lists &out);

// order[k] = node that comes k-th, by approximate minimum degree.
[[nodiscard]] sarko_error_t minimum_degree(const Lists &graph, uint32_t *order);

// The number of entries of row i that are left of the diagonal.
inline int32_t entries_before(const SPROW &row, int32_t i) {
    return row.len != 0 && row.elt[row.len - 1].col < i ? row.len : lower_bound(row, i);
}

} // namespace sarvo::mh
