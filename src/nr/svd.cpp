// Singular value decomposition: the record, the checks, scaling, and the way from the matrix to U, w, V.
#include <sarvo/nr.h>

#include <float.h>
#include <string.h>

#include "bidiagonal.h"
#include "core/fail.h"
#include "diagonal.h"

namespace sarvo::nr {
namespace {

// The block of A that is decomposed.
struct Block {
    const sarvo_matrix *A;
    uint64_t first_row, first_col, rows, cols;

    const double *row(uint64_t i) const { return static_cast<const double *>(A->row_ptrs[first_row + i]) + first_col; }
};

// Rows or columns first .. first + count - 1 of `available`, count 0 = the rest.
sarko_error_t resolve_range(uint64_t first, uint64_t requested, uint64_t available, const char *not_available,
                            const char *too_small, uint64_t *count) {
    if (requested > 0) {
        uint64_t end;
        if (__builtin_add_overflow(first, requested, &end) || end > available)
            return failf(SarvoNrSizeEC, not_available, requested, first, available);
        *count = requested;
        return 0;
    }
    *count = first < available ? available - first : 0;
    return *count < 2 ? failf(SarvoNrSizeEC, too_small, *count) : 0;
}

sarko_error_t resolve_block(const sarvo_matrix *A, uint64_t first_row, uint64_t first_col, uint64_t rows,
                            uint64_t cols, Block *block) {
    *block = {A, first_row, first_col, 0, 0};
    if (sarko_error_t e = resolve_range(
            first_row, rows, A->rows,
            "Requested number of rows (%zu) starting from index (%zu) is not available in input matrix (%zu).",
            "Requested number of rows is too small (%zu).", &block->rows))
        return e;
    return resolve_range(
        first_col, cols, A->cols,
        "Requested number of columns (%zu) starting from index (%zu) is not available in input matrix (%zu).",
        "Requested number of columns is too small (%zu).", &block->cols);
}

// The largest |A(i,j)|, infinity when an entry is not finite. Eight running maxima: a maximum does not depend on the order.
double largest_magnitude(const Block &block) {
    constexpr uint64_t lanes = 8;
    double largest[lanes] = {};
    double spoiled[lanes] = {}; // x - x is 0 for finite x, else NaN
    const auto take = [&](uint64_t lane, double x) {
        const double size = x < 0.0 ? -x : x;
        largest[lane] = size > largest[lane] ? size : largest[lane];
        spoiled[lane] += x - x;
    };
    for (uint64_t i = 0; i < block.rows; i++) {
        const double *row = block.row(i);
        uint64_t j = 0;
        for (; j + lanes <= block.cols; j += lanes)
            for (uint64_t lane = 0; lane < lanes; lane++) take(lane, row[j + lane]);
        for (; j < block.cols; j++) take(0, row[j]);
    }
    double result = 0.0;
    for (uint64_t lane = 0; lane < lanes; lane++) {
        if (!(spoiled[lane] == 0.0)) return __builtin_inf();
        if (largest[lane] > result) result = largest[lane];
    }
    return result;
}

// Power of two that brings a largest entry near the ends of the exponent range to about 1, as two factors (each alone would
// leave the range for subnormal entries); both 1 elsewhere.
struct Scaling {
    double first = 1.0;
    double second = 1.0;

    explicit Scaling(double largest) {
        if (largest == 0.0 || (largest >= 0x1p-300 && largest <= 0x1p300)) return;
        int exponent = 0;
        (void)__builtin_frexp(largest, &exponent);
        first = __builtin_ldexp(1.0, -(exponent / 2));
        second = __builtin_ldexp(1.0, -(exponent - exponent / 2));
    }
    double apply(double x) const { return x * first * second; }
    double undo(double x) const { return x / second / first; }
};

// Copies the block into the panel, transposed when the panel is, and scales it when that is needed.
void fill_panel(const Block &block, const Scaling &scaling, bool transposed, const Panel &panel) {
    for (uint64_t i = 0; i < panel.rows; i++) {
        double *to = panel.row(i);
        if (transposed)
            for (uint64_t j = 0; j < panel.cols; j++) to[j] = block.row(j)[i];
        else memcpy(to, block.row(i), panel.cols * sizeof(double));
        for (uint64_t j = panel.cols; j < panel.stride; j++) to[j] = 0.0;
    }
    if (scaling.first == 1.0 && scaling.second == 1.0) return;
    for (uint64_t i = 0; i < panel.size(); i++) panel.p[i] = scaling.apply(panel.p[i]);
}

// Row j of the panel becomes column j of the matrix; columns for which the panel has no row become zero.
void write_transposed(const Panel &panel, sarvo_matrix *matrix) {
    constexpr uint64_t tile = 16; // both sides of a tile stay in the cache
    for (uint64_t i0 = 0; i0 < matrix->rows; i0 += tile)
        for (uint64_t j0 = 0; j0 < matrix->cols; j0 += tile)
            for (uint64_t i = i0; i < i0 + tile && i < matrix->rows; i++) {
                double *row = static_cast<double *>(matrix->row_ptrs[i]);
                for (uint64_t j = j0; j < j0 + tile && j < matrix->cols; j++)
                    row[j] = j < panel.rows ? panel.row(j)[i] : 0.0;
            }
}

// Work storage of one decomposition. A wide block is decomposed as its transpose: `tall` rows, `narrow` columns, and a full
// square of left vectors, since they are the columns of V then.
struct Work {
    Buffer<double> storage;
    Panel A, left, right;
    double *d, *e, *work;

    sarko_error_t allocate(uint64_t tall, uint64_t narrow, uint64_t left_rows) {
        constexpr uint64_t line = 8; // doubles in a cache line
        A = {nullptr, tall, narrow, panel_stride(narrow)};
        left = {nullptr, left_rows, tall, panel_stride(tall)};
        right = {nullptr, narrow, narrow, panel_stride(narrow)};
        const uint64_t values = right.stride;
        const uint64_t reduction = reduction_work(tall, narrow, left_rows);
        const uint64_t diagonal = diagonal_work(narrow);
        const uint64_t shared = reduction > diagonal ? reduction : diagonal;
        if (sarko_error_t error =
                storage.allocate_unset(A.size() + left.size() + right.size() + 2 * values + shared + line))
            return error;
        const uintptr_t address = reinterpret_cast<uintptr_t>(storage.get());
        const uintptr_t unit = line * sizeof(double);
        A.p = storage.get() + (unit - address % unit) % unit / sizeof(double);
        left.p = A.p + A.size();
        right.p = left.p + left.size();
        d = right.p + right.size();
        e = d + values;
        work = e + values;
        return 0;
    }
};

sarko_error_t prepare_results(const Block &block, sarvo_nr_svd *svd) {
    if (sarko_error_t e = sarvo_matrix_realloc(&svd->U, SARVO_DOUBLE, SARVO_REALLOC_DTYPE, block.rows, block.cols))
        return e;
    if (sarko_error_t e = sarvo_matrix_realloc(&svd->V, SARVO_DOUBLE, SARVO_REALLOC_DTYPE, block.cols, block.cols))
        return e;
    return sarvo_vector_realloc(&svd->w, SARVO_DOUBLE, SARVO_REALLOC_DTYPE, block.cols);
}

// U, V and w from the block.
sarko_error_t decompose(const Block &block, sarvo_nr_svd *svd) {
    const bool wide = block.rows < block.cols;
    const uint64_t tall = wide ? block.cols : block.rows;
    const uint64_t narrow = wide ? block.rows : block.cols;
    double *w = static_cast<double *>(svd->w->data);
    Work work;
    if (sarko_error_t e = work.allocate(tall, narrow, wide ? tall : narrow)) return e;
    const double largest = largest_magnitude(block);
    const Scaling scaling(largest);
    bool converged = largest <= DBL_MAX;
    if (converged) {
        fill_panel(block, scaling, wide, work.A);
        reduce_to_bidiagonal(work.A, work.left, work.right, work.d, work.e, work.work);
        converged = diagonalise(narrow, work.d, work.e, work.left, work.right, svd->eps, svd->maxiter, work.work);
    }
    if (!converged) return failf(SarvoNrIterEC, "No convergence in %d iterations", static_cast<int>(svd->maxiter));
    for (uint64_t j = 0; j < narrow; j++) w[j] = scaling.undo(work.d[j]);
    for (uint64_t j = narrow; j < block.cols; j++) w[j] = 0.0;
    write_transposed(wide ? work.right : work.left, svd->U);
    write_transposed(wide ? work.left : work.right, svd->V);
    return 0;
}

void compute_statistics(sarvo_nr_svd *svd) {
    const double *w = static_cast<const double *>(svd->w->data);
    double largest = -SarvoDblXmax;
    double smallest = SarvoDblXmax;
    for (uint64_t j = 0; j < svd->n; j++) {
        if (w[j] > largest) largest = w[j];
        if (w[j] < smallest) smallest = w[j];
    }
    svd->wmax = largest;
    svd->rcond = smallest / largest;
    if (svd->thresh < 0.0) {
        const double order = static_cast<double>(svd->m) + static_cast<double>(svd->n) + 1.0;
        svd->thresh = svd->eps * 0.5 * __builtin_sqrt(order) * largest;
    }
    svd->rank = 0;
    svd->nullity = 0;
    for (uint64_t j = 0; j < svd->n; j++) {
        if (w[j] > svd->thresh) svd->rank++;
        else svd->nullity++;
    }
}

sarko_error_t decompose_checked(const sarvo_matrix *A, uint64_t first_row, uint64_t first_col, uint64_t rows,
                                uint64_t cols, sarvo_nr_svd *svd) {
    Block block;
    if (sarko_error_t e = resolve_block(A, first_row, first_col, rows, cols, &block)) return e;
    if (sarko_error_t e = prepare_results(block, svd)) return e;
    svd->m = block.rows;
    svd->n = block.cols;
    if (svd->eps < 0.0) svd->eps = SarvoDblEps;
    if (sarko_error_t e = decompose(block, svd)) return e;
    compute_statistics(svd);
    svd->done = 1;
    return 0;
}

constexpr const char *wrap_text = "Cannot do SVD";

} // namespace
} // namespace sarvo::nr

extern "C" {

sarko_error_t sarvo_nr_svd_init(sarvo_nr_svd **svd) {
    if (!svd) return sarvo::fail(SarvoNullEC);
    sarvo::Buffer<sarvo_nr_svd> record;
    if (sarko_error_t e = record.allocate(1)) return e;
    record[0].eps = -1.0;
    record[0].thresh = -1.0;
    record[0].maxiter = 30;
    *svd = record.release();
    return 0;
}

sarko_error_t sarvo_nr_svd_decompose(const sarvo_matrix *A, uint64_t first_row, uint64_t first_col, uint64_t rows,
                                     uint64_t cols, sarvo_nr_svd *svd) {
    using namespace sarvo;
    if (!svd) return wrap(fail(SarvoNullEC, "SVD structure is not initialized"), nr::wrap_text);
    if (!A) return wrap(fail(SarvoNullEC), nr::wrap_text);
    if (A->dtype != SARVO_DOUBLE) return failf(SarvoDtypeEC, "Invalid data type %d", static_cast<int>(A->dtype));
    svd->done = 0;
    return wrap(nr::decompose_checked(A, first_row, first_col, rows, cols, svd), nr::wrap_text);
}

void sarvo_nr_svd_free(sarvo_nr_svd *svd) {
    if (!svd) return;
    sarvo_matrix_free(svd->U);
    sarvo_matrix_free(svd->V);
    sarvo_vector_free(svd->w);
    sarko_mem_free(svd);
}

} // extern "C"
