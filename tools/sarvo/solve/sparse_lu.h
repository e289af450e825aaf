// LU factors of square sparse matrices, as sarvo solve makes them: by blocks, in an order and by a pivot rule that keep
// them small.
//
// Rows and columns are permuted so that A is block upper triangular (maximum transversal: Duff, 1981; strong
// components: Tarjan, 1972). Only the diagonal blocks are factorised. Two plans serve for them:
//     amd      approximate minimum degree of B + B', pivots from the diagonal where they are large enough: for patterns
//              that are nearly symmetric
//     columns  approximate minimum degree of B'B (George and Ng, 1985), any pivot: for the others
// A nearly symmetric pattern takes the first, unless exchanges fill in far more than was predicted. Of another one both
// are tried, what promises less first, and the smaller factors are kept.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "library.h"

namespace command {

class SparseLu {
public:
    // Order auto, natural, rcm or amd; any but auto is taken for the whole matrix, without blocks. Threshold: share of
    // the largest candidate that a pivot must have; 0: 0.001 on the diagonal, 0.1 elsewhere.
    SparseLu(const SPMAT *A, const std::string &order, double threshold);
    ~SparseLu();
    SparseLu(SparseLu &&) noexcept;
    SparseLu &operator=(SparseLu &&) noexcept;

    // x from A x = b, or A' x = b. Throws Failure when a pivot is 0.
    std::vector<double> solve(const std::vector<double> &b, bool transposed) const;

    int64_t entries() const; // of the factors, and of A beside the diagonal blocks
    size_t blocks() const;   // on the diagonal
    std::string order() const;
    bool singular() const; // by its pattern, or a pivot is 0

private:
    struct State;
    std::unique_ptr<State> state_;
};

} // namespace command
