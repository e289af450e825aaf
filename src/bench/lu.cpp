// LU factorisation with partial pivoting: panels of columns by the plain loops, the rest by many rows at once.
#include <sarvo/scimark.h>

#include <string.h>

#include "measure.h"
#include "simd/simd.h"

namespace sarvo::bench {
namespace {

// Columns to a panel: rows of U that an update keeps in the nearest cache while it passes over the rows below.
constexpr int32_t panel_columns = 16;

int32_t smaller(int32_t a, int32_t b) { return a < b ? a : b; }
uint64_t count(int32_t n) { return static_cast<uint64_t>(n); }

int32_t find_pivot(int32_t M, int32_t j, double *const *A) {
    int32_t p = j;
    double largest = __builtin_fabs(A[j][j]);
    for (int32_t i = j + 1; i < M; i++) {
        const double magnitude = __builtin_fabs(A[i][j]);
        if (magnitude > largest) {
            largest = magnitude;
            p = i;
        }
    }
    return p;
}

void exchange_rows(int32_t N, double *a, double *b) {
    for (int32_t k = 0; k < N; k++) {
        const double t = a[k];
        a[k] = b[k];
        b[k] = t;
    }
}

// Row i of columns from .. N-1, less the multiples of rows j0 .. j1-1 that L has: k ascending, as the plain loops do.
// a + (-l) u has the bits of a - l u.
void subtract_rows(int32_t i, int32_t j0, int32_t j1, int32_t from, int32_t N, double *const *A) {
    const double *rows[panel_columns];
    double factors[panel_columns];
    for (int32_t j = j0; j < j1; j++) {
        rows[j - j0] = A[j] + from;
        factors[j - j0] = -A[i][j];
    }
    simd::kernels().add_rows(count(j1 - j0), count(N - from), rows, factors, A[i] + from);
}

// Columns j0 .. j1-1, exchanges in all N columns. 0, or 1 at a zero pivot, whose column stays as it is.
int32_t factor_panel(int32_t M, int32_t N, int32_t j0, int32_t j1, double *const *A, int32_t *pivot, int32_t *done) {
    for (int32_t j = j0; j < j1; j++) {
        const int32_t p = find_pivot(M, j, A);
        pivot[j] = p;
        *done = j;
        if (A[p][j] == 0.0) return 1;
        if (p != j) exchange_rows(N, A[p], A[j]);
        const double *const u = A[j];
        const double divisor = u[j];
        for (int32_t i = j + 1; i < M; i++) {
            double *const a = A[i];
            const double l = a[j] / divisor; // L(i,j)
            a[j] = l;
            for (int32_t k = j + 1; k < j1; k++) a[k] -= l * u[k];
        }
    }
    *done = j1;
    return 0;
}

// The columns behind the panel: rows of U first, each by those above it, then the rows below.
void update_rest(int32_t M, int32_t N, int32_t j0, int32_t j1, int32_t from, double *const *A) {
    if (from >= N) return;
    for (int32_t i = j0 + 1; i < M; i++) subtract_rows(i, j0, smaller(i, j1), from, N, A);
}

// sum_ij (P A - L U)(i,j)^2; row r of A where the exchanges have brought it.
double squared_residual(int32_t N, double *const *A, double *const *LU, const int32_t *pivot, int32_t *order,
                        double *row) {
    for (int32_t i = 0; i < N; i++) order[i] = i;
    for (int32_t j = 0; j < N; j++) {
        const int32_t t = order[j];
        order[j] = order[pivot[j]];
        order[pivot[j]] = t;
    }
    double sum = 0.0;
    for (int32_t i = 0; i < N; i++) {
        memcpy(row, A[order[i]], count(N) * sizeof *row);
        for (int32_t k = 0; k < i; k++) simd::kernels().axpy(count(N - k), -LU[i][k], LU[k] + k, row + k);
        for (int32_t j = i; j < N; j++) row[j] -= LU[i][j];
        for (int32_t j = 0; j < N; j++) sum += row[j] * row[j];
    }
    return sum;
}

double num_flops(double N) { return 2.0 * N * N * N / 3.0; }

class Problem {
public:
    explicit Problem(int32_t N) : N_(N) {}
    Problem(const Problem &) = delete;
    Problem &operator=(const Problem &) = delete;
    ~Problem() {
        sarko_mem_free(A_);
        sarko_mem_free(LU_);
    }

    [[nodiscard]] sarko_error_t make(Random *R) {
        if (N_ == 0) return 0;
        const uint64_t last = count(N_) - 1;
        void *p = nullptr;
        if (sarko_error_t e = sarko_mem_matrix_alloc(&p, sizeof(double), 0, last, 0, last)) return e;
        LU_ = static_cast<double **>(p);
        if (sarko_error_t e = pivot_.allocate(count(N_))) return e;
        if (sarko_error_t e = order_.allocate(count(N_))) return e;
        if (sarko_error_t e = row_.allocate(count(N_))) return e;
        return RandomMatrix(N_, N_, R, &A_);
    }

    void factor() {
        if (N_ == 0) return;
        memcpy(LU_[0], A_[0], count(N_) * count(N_) * sizeof(double)); // rows follow each other in both
        LU_factor(N_, N_, LU_, pivot_.get());
    }

    double residual() const {
        if (N_ == 0) return 0.0;
        const double sum = squared_residual(N_, A_, LU_, pivot_.get(), order_.get(), row_.get());
        return __builtin_sqrt(sum / (static_cast<double>(N_) * N_));
    }

private:
    int32_t N_;
    double **A_ = nullptr, **LU_ = nullptr;
    Buffer<int32_t> pivot_, order_;
    Buffer<double> row_;
};

} // namespace
} // namespace sarvo::bench

using namespace sarvo;
using namespace sarvo::bench;

extern "C" {

int32_t LU_factor(int32_t M, int32_t N, double **A, int32_t *pivot) {
    const int32_t columns = smaller(M, N);
    for (int32_t j0 = 0; j0 < columns; j0 += panel_columns) {
        const int32_t j1 = smaller(j0 + panel_columns, columns);
        int32_t done;
        const int32_t zero_pivot = factor_panel(M, N, j0, j1, A, pivot, &done);
        update_rest(M, N, j0, done, j1, A);
        if (zero_pivot) return 1;
    }
    return 0;
}

double LU_num_flops(int32_t N) { return num_flops(N); }

sarko_error_t kernel_measureLU(int32_t N, double min_time, Random *R, double *mflops, double *result, int64_t *cycles) {
    if (sarko_error_t e = refuse_negative(N)) return e;
    Problem problem(N);
    if (sarko_error_t e = problem.make(R)) return e;
    return measure(
        min_time,
        [&](int64_t factorisations) -> sarko_error_t {
            for (int64_t c = 0; c < factorisations; c++) problem.factor();
            return 0;
        },
        [&] { return problem.residual(); },
        [&](int64_t factorisations) { return num_flops(N) * static_cast<double>(factorisations); },
        {mflops, result, cycles});
}

} // extern "C"
