// Magnitudes, scale and order of the block to be decomposed, and its copies.
#include "block.h"

#include <float.h>
#include <string.h>

#include "shell_sort.h"

namespace sarvo::nr {
namespace {

constexpr double graded = 256.0; // largest over smallest row or column from which the order matters

double magnitude(double x) { return x < 0.0 ? -x : x; }
double larger(double x, double y) { return x > y ? x : y; }

// max |row(j)|; raises each col_max(j) to |row(j)|. Adds x - x, which is 0 for finite x, else NaN, to *spoiled. Eight
// running maxima: a maximum does not depend on the order.
double measure_row(uint64_t n, const double *row, double *__restrict col_max, double *spoiled) {
    constexpr uint64_t lanes = 8;
    double largest[lanes] = {};
    double bad[lanes] = {};
    uint64_t j = 0;
    for (; j + lanes <= n; j += lanes)
        for (uint64_t lane = 0; lane < lanes; lane++) {
            const double x = row[j + lane];
            largest[lane] = larger(magnitude(x), largest[lane]);
            col_max[j + lane] = larger(magnitude(x), col_max[j + lane]);
            bad[lane] += x - x;
        }
    for (; j < n; j++) {
        largest[0] = larger(magnitude(row[j]), largest[0]);
        col_max[j] = larger(magnitude(row[j]), col_max[j]);
        bad[0] += row[j] - row[j];
    }
    for (uint64_t lane = 0; lane < lanes; lane++) *spoiled += bad[lane];
    for (uint64_t lane = 1; lane < lanes; lane++) largest[0] = larger(largest[lane], largest[0]);
    return largest[0];
}

// Largest over smallest of the maxima that are not 0.
double spread(uint64_t n, const double *maxima) {
    double most = 0.0;
    double least = DBL_MAX;
    for (uint64_t k = 0; k < n; k++) {
        most = larger(maxima[k], most);
        if (maxima[k] > 0.0 && maxima[k] < least) least = maxima[k];
    }
    return most / least;
}

} // namespace

sarko_error_t Arrangement::measure(const Block &block) {
    Buffer<double> row_max;
    Buffer<double> col_max;
    if (sarko_error_t e = rows_.allocate_unset(block.rows)) return e;
    if (sarko_error_t e = cols_.allocate_unset(block.cols)) return e;
    if (sarko_error_t e = row_max.allocate_unset(block.rows)) return e;
    if (sarko_error_t e = col_max.allocate(block.cols)) return e;
    double spoiled = 0.0;
    for (uint64_t i = 0; i < block.rows; i++) {
        row_max[i] = measure_row(block.cols, block.row(i), col_max.get(), &spoiled);
        largest_ = larger(row_max[i], largest_);
    }
    if (!(spoiled == 0.0)) largest_ = __builtin_inf();
    sorted_ = spread(block.rows, row_max.get()) > graded || spread(block.cols, col_max.get()) > graded;
    if (sorted_) {
        shell_sort_descending(block.rows, row_max.get(), rows_.get());
        shell_sort_descending(block.cols, col_max.get(), cols_.get());
    } else {
        for (uint64_t i = 0; i < block.rows; i++) rows_[i] = i;
        for (uint64_t j = 0; j < block.cols; j++) cols_[j] = j;
    }
    return 0;
}

Scaling::Scaling(double largest) {
    if (largest == 0.0 || (largest >= 0x1p-300 && largest <= 0x1p300)) return;
    int exponent = 0;
    (void)__builtin_frexp(largest, &exponent);
    first = __builtin_ldexp(1.0, -(exponent / 2));
    second = __builtin_ldexp(1.0, -(exponent - exponent / 2));
}

void fill_panel(const Block &block, const Arrangement &order, const Scaling &scaling, bool transposed,
                const Panel &panel) {
    for (uint64_t i = 0; i < panel.rows; i++) {
        double *to = panel.row(i);
        if (transposed)
            for (uint64_t j = 0; j < panel.cols; j++) to[j] = block.row(order.row(j))[order.col(i)];
        else if (order.sorted())
            for (uint64_t j = 0; j < panel.cols; j++) to[j] = block.row(order.row(i))[order.col(j)];
        else memcpy(to, block.row(i), panel.cols * sizeof(double));
        for (uint64_t j = panel.cols; j < panel.stride; j++) to[j] = 0.0;
    }
    if (scaling.first == 1.0 && scaling.second == 1.0) return;
    for (uint64_t i = 0; i < panel.size(); i++) panel.p[i] = scaling.apply(panel.p[i]);
}

void write_transposed(const Panel &panel, const Arrangement &order, bool by_rows, sarvo_matrix *matrix) {
    constexpr uint64_t tile = 16; // both sides of a tile stay in the cache
    for (uint64_t i0 = 0; i0 < matrix->rows; i0 += tile)
        for (uint64_t j0 = 0; j0 < matrix->cols; j0 += tile)
            for (uint64_t i = i0; i < i0 + tile && i < matrix->rows; i++) {
                double *row = static_cast<double *>(matrix->row_ptrs[by_rows ? order.row(i) : order.col(i)]);
                for (uint64_t j = j0; j < j0 + tile && j < matrix->cols; j++)
                    row[j] = j < panel.rows ? panel.row(j)[i] : 0.0;
            }
}

} // namespace sarvo::nr
