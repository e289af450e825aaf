// Eigenvalues and eigenvectors of a symmetric matrix by cyclic Jacobi rotations.
//
// The stated rotation of (p, q) takes pairs from two columns of the upper triangle and of V. Here both triangles are
// kept, and V transposed beside them, so that the pairs stand in two rows:
//
//     row k:  a(k,0) .. a(k,n-1) 0 ..  V(0,k) .. V(n-1,k) 0 ..
//
// The rotations (p, q) of eight q are found in the window of their columns first, since each needs only elements there
// that the ones before have turned; then all are applied to the other columns, and those to V while the next ones are
// found: finding is a chain of divisions and square roots. What a row has become is written to its column before it is
// read there: columns q of the rows behind p after each group, column p after all q, and the rows before p, which are
// not read again in this sweep, at its end. On the diagonal, and for a while in column p, stand values without
// meaning: the diagonal is d, and no other element is computed from them.
#include <sarvo/nr/jacobi.h>

#include "core/fail.h"
#include "simd/simd.h"

namespace sarvo::nr {
namespace {

constexpr uint64_t group_size = 8; // rows that turn together; doubles in a cache line

constexpr uint64_t least_columns = 32; // of V that turn at a time

double magnitude(double x) { return __builtin_fabs(x); }

struct Rotation {
    double s, tau;
};

// Rotations of row p with rows of one group, found and not yet applied to all columns.
struct Batch {
    uint64_t count = 0;
    double s_tau[2 * group_size];
    double *p;
    double *rows[group_size];

    void add(Rotation r, double *row) {
        s_tau[2 * count] = r.s;
        s_tau[2 * count + 1] = r.tau;
        rows[count++] = row;
    }
};

class Iteration {
public:
    // Errors: the allocator's.
    [[nodiscard]] sarko_error_t prepare(uint64_t n) {
        n_ = n;
        width_ = (n + group_size - 1) / group_size * group_size;
        pending_column_ = 2 * width_;
        ld_ = 2 * width_ + group_size; // an odd number of cache lines: columns do not fall together
        uint64_t count;
        if (__builtin_mul_overflow(n, ld_ + 2, &count)) count = UINT64_MAX; // which the allocator refuses
        if (sarko_error_t e = storage_.allocate(count)) return e;
        b_ = storage_.get() + n * ld_;
        z_ = b_ + n;
        return 0;
    }

    void load(const sarvo_matrix *A, uint64_t first_row, uint64_t first_col, double *d) {
        d_ = d;
        for (uint64_t i = 0; i < n_; i++) {
            const double *from = static_cast<const double *>(A->row_ptrs[first_row + i]) + first_col;
            for (uint64_t j = i; j < n_; j++) row(i)[j] = row(j)[i] = from[j];
            row(i)[width_ + i] = 1.0;
            b_[i] = d_[i] = from[i];
        }
    }

    // False when max_sweeps do not suffice.
    bool run(double tol, uint32_t max_sweeps) {
        tol_ = tol;
        for (uint64_t i = 1; i <= max_sweeps; i++) {
            const double sm = sum_above_diagonal();
            if (sm == 0.0) return true;
            const double n = static_cast<double>(n_);
            sweep(i < 4 ? 0.2 * sm / (n * n) : 0.0, i > 4);
            for (uint64_t k = 0; k < n_; k++) {
                b_[k] += z_[k];
                d_[k] = b_[k];
                z_[k] = 0.0;
            }
        }
        return false;
    }

    // Sorts the eigenvalues, largest first, by selection; V gets the vectors as its columns.
    void deliver(sarvo_matrix *V) {
        auto *order = reinterpret_cast<double **>(z_); // rows of V': as large as a double, and z is done
        static_assert(sizeof(double *) == sizeof(double));
        for (uint64_t k = 0; k < n_; k++) order[k] = row(k) + width_;
        for (uint64_t k = 0; k + 1 < n_; k++) {
            uint64_t most = k;
            for (uint64_t j = k + 1; j < n_; j++)
                if (d_[j] > d_[most]) most = j;
            exchange(d_[k], d_[most]);
            exchange(order[k], order[most]);
        }
        for (uint64_t i = 0; i < n_; i++)
            for (uint64_t k = 0; k < n_; k++) static_cast<double *>(V->row_ptrs[i])[k] = order[k][i];
    }

private:
    const simd::Kernels &kernels_ = simd::kernels();
    Buffer<double> storage_;
    uint64_t n_ = 0, width_ = 0, ld_ = 0;
    double *b_ = nullptr, *z_ = nullptr, *d_ = nullptr;
    double tol_ = 0.0;
    Batch pending_; // has turned all columns but those of V from pending_column_ on
    uint64_t pending_column_ = 0;

    double *row(uint64_t i) const { return storage_.get() + i * ld_; }

    template <class T> static void exchange(T &x, T &y) {
        const T t = x;
        x = y;
        y = t;
    }

    double sum_above_diagonal() const {
        double sm = 0.0;
        for (uint64_t p = 0; p < n_; p++)
            for (uint64_t q = p + 1; q < n_; q++) sm += magnitude(row(p)[q]);
        return sm;
    }

    void sweep(double tresh, bool late) {
        for (uint64_t p = 0; p < n_; p++) {
            for (uint64_t first = p + 1, end; first < n_; first = end) {
                const uint64_t base = first / group_size * group_size;
                end = base + group_size < n_ ? base + group_size : n_;
                Batch batch;
                batch.p = row(p);
                find_rotations(p, first, end, tresh, late, &batch);
                if (batch.count == 0) continue;
                apply(batch, 0, base);
                apply(batch, base + group_size, width_);
                mirror(p, first, end);
                finish(); // of a batch without a successor, which found nothing
                pending_ = batch;
                pending_column_ = width_;
            }
            for (uint64_t q = p + 1; q < n_; q++) row(q)[p] = row(p)[q];
        }
        finish();
        for (uint64_t q = 0; q < n_; q++)
            for (uint64_t j = 0; j < q; j++) row(j)[q] = row(q)[j];
    }

    void apply(const Batch &batch, uint64_t first, uint64_t last) const {
        if (first < last) kernels_.rotate_with_rows(batch.count, first, last, batch.s_tau, batch.p, batch.rows);
    }

    // Some more columns of V, or all that are left, turn by the batch before.
    void advance() {
        const uint64_t eighth = (width_ / group_size + group_size - 1) / group_size * group_size;
        const uint64_t some = eighth > least_columns ? eighth : least_columns;
        const uint64_t last = pending_column_ + some < 2 * width_ ? pending_column_ + some : 2 * width_;
        apply(pending_, pending_column_, last);
        pending_column_ = last;
    }
    void finish() {
        apply(pending_, pending_column_, 2 * width_);
        pending_column_ = 2 * width_;
    }

    // Rotations (p, q), q = first .. end-1, made in the columns of the group alone, where both triangles are kept alike.
    void find_rotations(uint64_t p, uint64_t first, uint64_t end, double tresh, bool late, Batch *batch) {
        const uint64_t base = first / group_size * group_size;
        double *x = row(p);
        for (uint64_t q = first; q < end; q++) {
            const double a = x[q];
            const double g = 100.0 * magnitude(a);
            if (late && magnitude(d_[p]) * tol_ >= g && magnitude(d_[q]) * tol_ >= g) x[q] = 0.0;
            else if (magnitude(a) > tresh) {
                const Rotation r = annihilate(a, g, p, q);
                double *y = row(q);
                for (uint64_t j = base; j < end; j++) {
                    const double xj = x[j];
                    const double yj = y[j];
                    x[j] = xj - r.s * (yj + xj * r.tau);
                    y[j] = yj + r.s * (xj - yj * r.tau);
                    if (j >= first) row(j)[q] = y[j];
                }
                x[q] = 0.0;
                batch->add(r, y);
                if (pending_column_ < 2 * width_) advance();
            }
        }
    }

    // The rotation that makes a = a(p,q) vanish, and what it does to the diagonal.
    Rotation annihilate(double a, double g, uint64_t p, uint64_t q) {
        static constexpr double unit[] = {1.0, -1.0}; // the sign is anybody's guess: no branch on it
        const double difference = d_[q] - d_[p];
        double t;
        if (magnitude(difference) * tol_ >= g) t = a / difference;
        else {
            const double theta = 0.5 * difference / a;
            t = unit[theta < 0.0] / (magnitude(theta) + __builtin_sqrt(1.0 + theta * theta));
        }
        const double c = 1.0 / __builtin_sqrt(1.0 + t * t);
        const double s = t * c;
        const double h = t * a;
        z_[p] -= h;
        z_[q] += h;
        d_[p] -= h;
        d_[q] += h;
        return {s, s / (1.0 + c)};
    }

    // Columns first .. end-1 of the rows behind p get what the rows have become; of these rows themselves they have it.
    void mirror(uint64_t p, uint64_t first, uint64_t end) const {
        kernels_.transpose(end - first, first - (p + 1), row(first) + p + 1, ld_, row(p + 1) + first, ld_);
        kernels_.transpose(end - first, n_ - end, row(first) + end, ld_, row(end) + first, ld_);
    }
};

sarko_error_t resolve_order(const sarvo_matrix *A, uint64_t first_row, uint64_t first_col, uint64_t *order) {
    if (*order > 0) {
        uint64_t last_row, last_col;
        if (__builtin_add_overflow(first_row, *order, &last_row) || last_row > A->rows ||
            __builtin_add_overflow(first_col, *order, &last_col) || last_col > A->cols)
            return failf(SarvoNrSizeEC,
                         "Requested number of columns and rows (%zu) starting from indces (%zu,%zu) is not available "
                         "in input matrix (%zu,%zu).",
                         *order, first_row, first_col, A->rows, A->cols);
        return 0;
    }
    if (first_row > A->rows || first_col > A->cols || A->rows - first_row != A->cols - first_col)
        return failf(SarvoNrSizeEC, "Input matrix (%zu,%zu) starting from indeces (%zu,%zu) is not square.", A->rows,
                     A->cols, first_row, first_col);
    *order = A->rows - first_row;
    return 0;
}

sarko_error_t compute(const sarvo_matrix *A, uint64_t first_row, uint64_t first_col, uint64_t order,
                      sarvo_nr_jtsm *record) {
    if (!A || !record) return fail(SarvoNullEC);
    if (A->dtype != SARVO_DOUBLE) return failf(SarvoDtypeEC, "Invalid data type %d", static_cast<int>(A->dtype));
    if (sarko_error_t e = resolve_order(A, first_row, first_col, &order)) return e;
    Iteration iteration;
    if (sarko_error_t e = iteration.prepare(order)) return e;
    if (sarko_error_t e = sarvo_matrix_realloc(&record->V, SARVO_DOUBLE, SARVO_REALLOC_DTYPE, order, order)) return e;
    if (sarko_error_t e = sarvo_vector_realloc(&record->d, SARVO_DOUBLE, SARVO_REALLOC_DTYPE, order)) return e;
    iteration.load(A, first_row, first_col, static_cast<double *>(record->d->data));
    const double tol = record->tol < 0.0 ? SarvoDblEps : record->tol;
    if (!iteration.run(tol, record->max_sweeps))
        return failf(SarvoNrIterEC, "No convergence after %d rotations", static_cast<int>(record->max_sweeps));
    iteration.deliver(record->V);
    record->n = static_cast<uint32_t>(order);
    return 0;
}

} // namespace
} // namespace sarvo::nr

extern "C" {

sarko_error_t sarvo_nr_jtsm_init(sarvo_nr_jtsm **record) {
    if (!record) return sarvo::fail(SarvoNullEC);
    sarvo::Buffer<sarvo_nr_jtsm> made;
    if (sarko_error_t e = made.allocate(1)) return e;
    made[0].tol = -1.0;
    made[0].max_sweeps = 50;
    *record = made.release();
    return 0;
}

sarko_error_t sarvo_nr_jtsm_compute(const sarvo_matrix *A, uint64_t first_row, uint64_t first_col, uint64_t order,
                                    sarvo_nr_jtsm *record) {
    return sarvo::wrap(sarvo::nr::compute(A, first_row, first_col, order, record), "JTSM error");
}

void sarvo_nr_jtsm_free(sarvo_nr_jtsm *record) {
    if (!record) return;
    sarvo_matrix_free(record->V);
    sarvo_vector_free(record->d);
    sarko_mem_free(record);
}

} // extern "C"
