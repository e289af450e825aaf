// Householder reduction to bidiagonal form (Golub and Kahan 1965), two passes over the matrix a column.
//
// Step k makes the left reflector I - tau u u' from column k and the right one I - sigma v v' from row k:
//     A := A - u y' - x v',   y = tau A'u,   x = sigma (A v - u (y'v))
// The two rank-1 updates are held back and done in the pass of the next step that forms A'u: the matrix is read and
// written once for the updates and A'u, and read once more for A v.
//
// Reflectors are kept as rows of Qt and Pt, row i zero before its element i, until the reduction is done. Then they are
// applied to the identity in blocks, last block first, as I - Y T Y' (Schreiber and Van Loan 1989). Everything stands
// transposed, so that vectors are contiguous.
#include "bidiagonal.h"

#include <string.h>

#include "simd/simd.h"

namespace sarvo::nr {
namespace {

constexpr uint64_t block = 24; // reflectors applied together: one panel of the product kernel
constexpr uint64_t chunk = 32; // rows of A taken together on the way back up

constexpr uint64_t round_down(uint64_t x) { return x & ~uint64_t{7}; }
constexpr uint64_t round_up(uint64_t x) { return (x + 7) & ~uint64_t{7}; }
constexpr uint64_t smaller(uint64_t x, uint64_t y) { return x < y ? x : y; }
constexpr uint64_t larger(uint64_t x, uint64_t y) { return x > y ? x : y; }

void clear(double *x, uint64_t n) { memset(x, 0, n * sizeof(double)); }

// Hands out consecutive aligned pieces of the work storage.
class Pieces {
public:
    explicit Pieces(double *p) : p_(p) {}
    double *take(uint64_t count) {
        double *piece = p_;
        p_ += round_up(count);
        return piece;
    }

private:
    double *p_;
};

// Turns x (n >= 1 elements) into the reflector u with u(0) = 1 and (I - tau u u') x = (beta, 0, ..., 0); returns tau.
// When x has nothing behind its first element, tau = 0 and beta = x(0).
double make_reflector(const simd::Kernels &kernel, uint64_t n, double *x, double *beta) {
    constexpr double smallest_safe = 0x1p-900; // a smaller sum of squares has lost digits
    constexpr double upscale = 0x1p500;
    double scale = 1.0;
    double tail = kernel.dot8(n - 1, x + 1, x + 1);
    if (tail < smallest_safe) {
        scale = upscale;
        kernel.scale(n, scale, x, x);
        tail = kernel.dot8(n - 1, x + 1, x + 1);
    }
    const double alpha = x[0];
    x[0] = 1.0;
    if (tail < smallest_safe) {
        clear(x + 1, n - 1);
        *beta = alpha / scale;
        return 0.0;
    }
    const double norm = __builtin_sqrt(alpha * alpha + tail);
    const double b = alpha > 0.0 ? -norm : norm;
    kernel.scale(n - 1, 1.0 / (alpha - b), x + 1, x + 1);
    *beta = b / scale;
    return (b - alpha) / b;
}

// ---- The reduction: reflectors to the rows of Qt (tau) and, one row down, of Pt (sigma) ----

void reduce(const simd::Kernels &kernel, const Panel &A, const Panel &Qt, const Panel &Pt, double *d, double *e,
            double *tau, double *sigma, Pieces pieces) {
    const uint64_t m = A.rows;
    const uint64_t n = A.cols;
    double *x = pieces.take(m);        // by rows; like y zero until the first step has made it
    double *y = pieces.take(A.stride); // by columns
    double *z = pieces.take(A.stride); // by columns: A'u
    clear(x, m);
    clear(y, A.stride);
    const double *u_old = x;
    const double *v_old = y;
    sigma[0] = 0.0; // row 0 of Pt: the reflector that does nothing
    Pt.row(0)[0] = 1.0;
    for (uint64_t k = 0;; k++) {
        // --- left reflector from column k, with the updates of the step before ---
        double *u = Qt.row(k);
        for (uint64_t i = k; i < m; i++) u[i] = (A.row(i)[k] - u_old[i] * y[k]) - x[i] * v_old[k];
        tau[k] = make_reflector(kernel, m - k, u + k, d + k);
        if (k + 1 == n) return;

        // --- updates of the step before to the rest, and y = tau A'u ---
        // Columns from `from` to k are done with: what the pass does to them is not read again.
        const uint64_t from = round_down(k + 1);
        const uint64_t width = round_up(n) - from;
        clear(z + from, width);
        kernel.update2_accumulate(m - k, width, A.row(k) + from, A.stride, u_old + k, y + from, x + k, v_old + from,
                                  u + k, z + from);
        for (uint64_t j = from; j <= k; j++) y[j] = 0.0;
        for (uint64_t j = k + 1; j < n; j++) y[j] = tau[k] * z[j];

        // --- right reflector from row k ---
        double *v = Pt.row(k + 1);
        for (uint64_t j = k + 1; j < n; j++) v[j] = A.row(k)[j] - y[j]; // u(k) = 1
        sigma[k + 1] = make_reflector(kernel, n - k - 1, v + k + 1, e + k);

        // --- x = sigma (A v - u (y'v)) ---
        // From the last rows to the first: the cache still holds the last ones, and the next step begins with the first
        // ones.
        for (uint64_t end = m; end > k + 1;) {
            const uint64_t begin = end - smaller(end - (k + 1), chunk);
            kernel.dot8_rows(end - begin, width, A.row(begin) + from, A.stride, v + from, x + begin);
            end = begin;
        }
        const double yv = kernel.dot8(width, y + from, v + from);
        for (uint64_t i = k + 1; i < m; i++) x[i] = sigma[k + 1] * (x[i] - u[i] * yv);
        u_old = u;
        v_old = v;
    }
}

// ---- The product of reflectors ----

// Storage of one block of reflectors while it is applied.
struct ReflectorBlock {
    Panel Y;           // the reflectors, one to a row
    double *Y_columns; // the same, one to a column: row j holds element j of each
    double *gram;      // Y Y'
    double *minus_Tt;  // the negative transpose of T, block x block
    double *S, *ST;    // rows x block
    double *product_work;

    ReflectorBlock(const Panel &Xt, Pieces pieces)
        : Y{pieces.take(block * Xt.stride), 0, round_up(Xt.cols), Xt.stride},
          Y_columns(pieces.take(Xt.stride * block)),
          gram(pieces.take(block * block)),
          minus_Tt(pieces.take(block * block)),
          S(pieces.take(Xt.rows * block)),
          ST(pieces.take(Xt.rows * block)),
          product_work(pieces.take(0)) {}
};

// T, upper triangular, with H_0 H_1 ... = I - Y T Y', as -T'. Elements before column `from` of Y are zero.
void triangular_factor(const simd::Kernels &kernel, const ReflectorBlock &b, uint64_t from, const double *tau) {
    const uint64_t count = b.Y.rows;
    kernel.product(count, count, b.Y.cols - from, b.Y.p + from, b.Y.stride, 1, b.Y_columns, block, b.gram, block,
                   b.product_work);
    clear(b.minus_Tt, block * block);
    for (uint64_t i = 0; i < count; i++) { // T(0:i, i) = -tau(i) T(0:i, 0:i) (Y(0:i) u_i),  T(i, i) = tau(i)
        double *column = b.minus_Tt + i * block;
        for (uint64_t l = 0; l < i; l++) {
            const double factor = tau[i] * b.gram[i * block + l];
            for (uint64_t r = 0; r < block; r++) column[r] -= factor * b.minus_Tt[l * block + r];
        }
        column[i] = -tau[i];
    }
}

// Replaces the n reflectors in the first rows of Xt by the columns of H_0 H_1 ... H_(n-1), one to a row, as many as Xt
// has rows.
void expand_reflectors(const simd::Kernels &kernel, const Panel &Xt, uint64_t n, const double *tau, Pieces pieces) {
    ReflectorBlock b(Xt, pieces);
    for (uint64_t j = n; j < Xt.rows; j++) Xt.row(j)[j] = 1.0;
    for (uint64_t end = n; end > 0; end -= b.Y.rows) {
        // Rows `end` and below are final for the reflectors from `end` on; they are zero before column `end`.
        b.Y.rows = (end - 1) % block + 1;
        const uint64_t begin = end - b.Y.rows;
        const uint64_t from = round_down(begin);
        const uint64_t width = b.Y.cols - from;
        const uint64_t rows = Xt.rows - begin;
        memcpy(b.Y.p, Xt.row(begin), b.Y.rows * b.Y.stride * sizeof(double));
        for (uint64_t j = 0; j < width; j++)
            for (uint64_t i = 0; i < block; i++) b.Y_columns[j * block + i] = i < b.Y.rows ? b.Y.row(i)[from + j] : 0.0;
        for (uint64_t j = begin; j < end; j++) {
            clear(Xt.row(j), Xt.stride);
            Xt.row(j)[j] = 1.0;
        }
        triangular_factor(kernel, b, from, tau + begin);
        // --- Xt := Xt - (Xt Y) T' Y'; the rows of the identity pick their elements from Y ---
        double *X = Xt.row(begin) + from;
        memcpy(b.S, b.Y_columns + (begin - from) * block, b.Y.rows * block * sizeof(double));
        kernel.product(rows - b.Y.rows, block, width, X + b.Y.rows * Xt.stride, Xt.stride, 1, b.Y_columns, block,
                       b.S + b.Y.rows * block, block, b.product_work);
        kernel.product(rows, block, block, b.S, block, 1, b.minus_Tt, block, b.ST, block, b.product_work);
        kernel.product_add(rows, width, b.Y.rows, b.ST, block, 1, b.Y.p + from, b.Y.stride, X, Xt.stride,
                           b.product_work);
    }
}

uint64_t expansion_work(const simd::Kernels &kernel, uint64_t rows, uint64_t stride) {
    const uint64_t most = larger(rows, block);      // rows of any of the products
    const uint64_t longest = larger(stride, block); // their other sizes
    const uint64_t product =
        larger(kernel.product_work(most, block, longest), kernel.product_work(most, longest, block));
    return 2 * block * block + 2 * rows * block + 2 * stride * block + product;
}

} // namespace

void reduce_to_bidiagonal(const Panel &A, const Panel &Qt, const Panel &Pt, double *d, double *e, double *work) {
    const simd::Kernels &kernel = simd::kernels();
    Pieces pieces(work);
    double *tau = pieces.take(A.cols);
    double *sigma = pieces.take(A.cols);
    clear(Qt.p, Qt.size());
    clear(Pt.p, Pt.size());
    reduce(kernel, A, Qt, Pt, d, e, tau, sigma, pieces);
    expand_reflectors(kernel, Qt, A.cols, tau, pieces);
    expand_reflectors(kernel, Pt, A.cols, sigma, pieces);
}

uint64_t reduction_work(uint64_t m, uint64_t n, uint64_t q_rows) {
    const simd::Kernels &kernel = simd::kernels();
    const uint64_t stride = panel_stride(m);
    const uint64_t reduction = round_up(m) + 2 * panel_stride(n);
    return 2 * round_up(n) + larger(reduction, expansion_work(kernel, q_rows, stride));
}

} // namespace sarvo::nr
