// The block of a matrix that is decomposed: its magnitudes, its scale and order, and the ways to and from panels.
#pragma once

#include <sarvo/array.h>

#include "bidiagonal.h"
#include "core/fail.h"

namespace sarvo::nr {

struct Block {
    const sarvo_matrix *A;
    uint64_t first_row, first_col, rows, cols;

    const double *row(uint64_t i) const { return static_cast<const double *>(A->row_ptrs[first_row + i]) + first_col; }
};

// Order in which rows and columns enter the panel. Rows and columns of very different size come with the largest first:
// the reduction then keeps small singular values of graded matrices, which it would lose beside growing rows (the
// elements it adds up are then all larger than those they are added to). Others keep their order.
class Arrangement {
public:
    // Reads the block. Errors: the allocator's.
    [[nodiscard]] sarko_error_t measure(const Block &block);

    double largest() const { return largest_; } // the largest |A(i,j)|, infinity when an entry is not finite
    bool sorted() const { return sorted_; }
    uint64_t row(uint64_t place) const { return rows_[place]; }
    uint64_t col(uint64_t place) const { return cols_[place]; }

private:
    Buffer<uint64_t> rows_, cols_;
    double largest_ = 0.0;
    bool sorted_ = false;
};

// Power of two that brings a largest entry near the ends of the exponent range to about 1, as two factors (each alone
// would leave the range for subnormal entries); both 1 elsewhere.
struct Scaling {
    double first = 1.0;
    double second = 1.0;

    explicit Scaling(double largest);
    double apply(double x) const { return x * first * second; }
    double undo(double x) const { return x / second / first; }
};

// Copies the arranged and scaled block, or its transpose, into the panel.
void fill_panel(const Block &block, const Arrangement &order, const Scaling &scaling, bool transposed,
                const Panel &panel);

// Row j of the panel becomes column j of the matrix, its element i row place(i) of it; columns for which the panel has
// no row become zero. `by_rows`: places are those of the block's rows, else of its columns.
void write_transposed(const Panel &panel, const Arrangement &order, bool by_rows, sarvo_matrix *matrix);

} // namespace sarvo::nr
