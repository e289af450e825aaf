// Singular value decomposition: the record, the checks, and the way from the matrix to U, w, V.
#include <sarvo/nr.h>

#include <float.h>

#include "block.h"
#include "diagonal.h"

namespace sarvo::nr {
namespace {

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

sarko_error_t resolve_block(const sarvo_matrix *A, uint64_t first_row, uint64_t first_col, uint64_t rows, uint64_t cols,
                            Block *block) {
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

// Work storage of one decomposition. A wide block is decomposed as its transpose: `tall` rows, `narrow` columns, and a
// full square of left vectors, since they are the columns of V then.
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
    Arrangement order;
    if (sarko_error_t e = work.allocate(tall, narrow, wide ? tall : narrow)) return e;
    if (sarko_error_t e = order.measure(block)) return e;
    const Scaling scaling(order.largest());
    bool converged = order.largest() <= DBL_MAX;
    if (converged) {
        fill_panel(block, order, scaling, wide, work.A);
        reduce_to_bidiagonal(work.A, work.left, work.right, work.d, work.e, work.work);
        converged = diagonalise(narrow, work.d, work.e, work.left, work.right, svd->eps, svd->maxiter, work.work);
    }
    if (!converged) return failf(SarvoNrIterEC, "No convergence in %d iterations", static_cast<int>(svd->maxiter));
    for (uint64_t j = 0; j < narrow; j++) w[j] = scaling.undo(work.d[j]);
    for (uint64_t j = narrow; j < block.cols; j++) w[j] = 0.0;
    write_transposed(wide ? work.right : work.left, order, true, svd->U);
    write_transposed(wide ? work.left : work.right, order, false, svd->V);
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
    for (uint64_t j = 0; j < svd->n; j++) svd->rank += w[j] > svd->thresh;
    svd->nullity = static_cast<uint32_t>(svd->n) - svd->rank;
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
