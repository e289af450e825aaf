// The block triangular form of square sparse patterns.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace command {

// A pattern by rows: row i has the columns index[start[i] .. start[i+1]), ascending.
struct Pattern {
    int32_t count = 0; // rows, and columns
    std::vector<int64_t> start;
    std::vector<int32_t> index;

    int64_t begin(int32_t i) const { return start[static_cast<size_t>(i)]; }
    int64_t end(int32_t i) const { return start[static_cast<size_t>(i) + 1]; }
};

// row[j] = the row that is matched with column j, so that as many as can be stand on the diagonal: -1 where there is
// none. The diagonal is kept where it is stored.
std::vector<int32_t> maximum_transversal(const Pattern &A);

struct BlockForm {
    std::vector<int32_t> rows, cols; // rows[k], cols[k]: what comes k-th; the entry (rows[k], cols[k]) is stored
    std::vector<int32_t> first;      // of each block, and the order at the end
};

// Block upper triangular form by a complete matching. Within a block the columns ascend.
BlockForm block_form(const Pattern &A, const std::vector<int32_t> &row_of);

} // namespace command
