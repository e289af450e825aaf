// Sparse matrix times vector, the matrix by compressed rows: two rows at a time, whose sums do not wait for each other.
#include <sarvo/scimark.h>

#include "measure.h"

namespace sarvo::bench {
namespace {

struct Rows {
    const double *val;
    const int32_t *row, *col;
};

// What is left of a row.
struct Part {
    const double *val;
    const int32_t *col;
    int64_t length;

    Part(const Rows &A, int32_t r) : val(A.val + A.row[r]), col(A.col + A.row[r]), length(A.row[r + 1] - A.row[r]) {}
    double product(int64_t k, const double *x) const { return val[k] * x[col[k]]; }
    double finish(int64_t k, const double *x, double sum) const {
        for (; k < length; k++) sum += product(k, x);
        return sum;
    }
};

void multiply_two(const Rows &A, int32_t r, const double *x, double *y) {
    const Part p0(A, r), p1(A, r + 1);
    const int64_t common = p0.length < p1.length ? p0.length : p1.length;
    double s0 = 0.0, s1 = 0.0;
    for (int64_t k = 0; k < common; k++) {
        s0 += p0.product(k, x);
        s1 += p1.product(k, x);
    }
    y[r] = p0.finish(common, x, s0);
    y[r + 1] = p1.finish(common, x, s1);
}

void multiply(int32_t N, const Rows &A, const double *x, double *y) {
    int32_t r = 0;
    for (; N - r >= 2; r += 2) multiply_two(A, r, x, y);
    if (r < N) y[r] = Part(A, r).finish(0, x, 0.0);
}

double num_flops(int32_t N, int32_t nz, double cycles) {
    if (N == 0) return 0.0;
    return 2.0 * static_cast<double>(nz - nz % int64_t{N}) * cycles;
}

// n entries a row, spread evenly from the diagonal on.
void place_entries(int32_t N, int32_t n, int32_t *row, int32_t *col) {
    int32_t k = 0;
    for (int32_t r = 0; r < N; r++) {
        row[r] = k;
        for (int64_t i = 0; i < n; i++) col[k++] = static_cast<int32_t>((r + i * N / n) % N);
    }
    row[N] = k;
}

double sum(int32_t N, const double *y) {
    double s = 0.0;
    for (int32_t r = 0; r < N; r++) s += y[r];
    return s;
}

class Problem {
public:
    Problem() = default;
    Problem(const Problem &) = delete;
    Problem &operator=(const Problem &) = delete;
    ~Problem() {
        sarko_mem_free(x);
        sarko_mem_free(val);
    }

    [[nodiscard]] sarko_error_t make(int32_t N, int32_t n, Random *R) {
        const uint64_t rows = static_cast<uint64_t>(N), entries = rows * static_cast<uint64_t>(n);
        sarko_error_t e = y.allocate(rows);
        if (!e) e = row.allocate_unset(rows + 1);
        if (!e) e = col.allocate_unset(entries);
        if (!e) e = RandomVector(N, R, &x);
        if (!e) e = RandomVector(static_cast<int32_t>(entries), R, &val);
        if (!e) place_entries(N, n, row.get(), col.get());
        return e;
    }

    double *x = nullptr, *val = nullptr;
    Buffer<double> y;
    Buffer<int32_t> row, col;
};

} // namespace
} // namespace sarvo::bench

using namespace sarvo;
using namespace sarvo::bench;

extern "C" {

void SparseCompRow_matmult(int32_t N, double *y, const double *val, const int32_t *row, const int32_t *col,
                           const double *x, int32_t iterations) {
    for (int32_t p = 0; p < iterations; p++) multiply(N, {val, row, col}, x, y);
}

double SparseCompRow_num_flops(int32_t N, int32_t nz, int32_t cycles) { return num_flops(N, nz, cycles); }

sarko_error_t kernel_measureSparseMatMult(int32_t N, int32_t nz, double min_time, Random *R, double *mflops,
                                          double *result, int64_t *cycles) {
    if (sarko_error_t e = refuse_negative(N)) return e;
    if (nz < 0) nz = 0;
    Problem A;
    if (sarko_error_t e = A.make(N, N ? nz / N : 0, R)) return e;
    return measure(
        min_time,
        [&](int64_t products) -> sarko_error_t {
            in_parts(products, [&](int32_t part) {
                SparseCompRow_matmult(N, A.y.get(), A.val, A.row.get(), A.col.get(), A.x, part);
            });
            return 0;
        },
        [&] { return sum(N, A.y.get()); },
        [&](int64_t products) { return num_flops(N, nz, static_cast<double>(products)); }, {mflops, result, cycles});
}

} // extern "C"
