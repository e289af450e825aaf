// Arithmetic on typed vectors and matrices: inner product, sums, scaling, shifting, matrix product.
#include <sarvo/array.h>

#include "dtype.h"
#include "simd/simd.h"

using sarvo::fail;
using sarvo::simd::kernels;

namespace {

template <class T> T *elements(const sarvo_vector &v) { return static_cast<T *>(v.data); }
template <class T> T *elements(const sarvo_matrix &m) { return static_cast<T *>(m.data); }

int32_t wrapping_sum(int32_t a, int32_t b) {
    return static_cast<int32_t>(static_cast<uint32_t>(a) + static_cast<uint32_t>(b));
}

// Products as the inner product forms them: two ints in 32 bits, wrapping; anything else in double.
double product(int32_t a, int32_t b) {
    return static_cast<double>(static_cast<int32_t>(static_cast<uint32_t>(a) * static_cast<uint32_t>(b)));
}
double product(double a, double b) { return a * b; }
double product(int32_t a, double b) { return static_cast<double>(a) * b; }
double product(double a, int32_t b) { return a * static_cast<double>(b); }

// sum_k x(k) y(k), k ascending, one running sum from +0.
template <class X, class Y>
double inner_product(const sarvo_vector &x, const sarvo_vector &y, uint64_t x_offset, uint64_t y_offset,
                     uint64_t count) {
    const X *xs = elements<X>(x) + x_offset;
    const Y *ys = elements<Y>(y) + y_offset;
    double sum = 0.0;
    for (uint64_t k = 0; k < count; k++) sum += product(xs[k], ys[k]);
    return sum;
}

sarko_error_t check_operands(uint32_t x, uint32_t y) {
    if (!sarvo::is_implemented_dtype(x)) return sarvo::fail_unimplemented_dtype(x);
    if (!sarvo::is_implemented_dtype(y)) return sarvo::fail_unimplemented_dtype(y);
    return 0;
}

// How many products an inner product sums; false when the offsets or the count lie outside.
bool count_products(const sarvo_vector &x, const sarvo_vector &y, uint64_t x_offset, uint64_t y_offset,
                    uint64_t *count) {
    if (x_offset > x.length || y_offset > y.length) return false;
    const uint64_t x_left = x.length - x_offset;
    const uint64_t y_left = y.length - y_offset;
    if (*count == 0) {
        if (x_left == 0 || y_left == 0) return false;
        *count = x_left < y_left ? x_left : y_left;
    }
    return *count <= x_left && *count <= y_left;
}

// out(i) = x(i) + y(i) with the ints converted first.
void add_mixed(const int32_t *x, const double *y, uint64_t count, double *out) {
    for (uint64_t i = 0; i < count; i++) out[i] = static_cast<double>(x[i]) + y[i];
}

void convert(const int32_t *x, uint64_t count, double *out) {
    for (uint64_t i = 0; i < count; i++) out[i] = static_cast<double>(x[i]);
}

using ScalarKernel = void (*)(uint64_t n, double s, const double *x, double *out);

// out(i) = kernel(s, x(i)) where out must hold doubles and x ints or doubles.
sarko_error_t apply(ScalarKernel kernel, double s, uint32_t x_dtype, const void *x, uint64_t count, uint32_t out_dtype,
                    void *out) {
    if (out_dtype != SARVO_DOUBLE) return sarvo::fail_unimplemented_dtype(out_dtype);
    if (!sarvo::is_implemented_dtype(x_dtype)) return sarvo::fail_unimplemented_dtype(x_dtype);
    double *to = static_cast<double *>(out);
    const double *from = static_cast<const double *>(x);
    if (x_dtype == SARVO_INT32) {
        convert(static_cast<const int32_t *>(x), count, to);
        from = to;
    }
    kernel(count, s, from, to);
    return 0;
}

// The destination of a scalar operation: made or resized to x's length; an existing one keeps its own dtype.
sarko_error_t match_length(const sarvo_vector &x, sarvo_vector **out) {
    if (*out && (*out)->length == x.length) return 0;
    return sarvo_vector_realloc(out, x.dtype, 0, x.length);
}

sarko_error_t match_shape(const sarvo_matrix &a, sarvo_matrix **out) {
    if (*out && (*out)->rows == a.rows && (*out)->cols == a.cols) return 0;
    return sarvo_matrix_realloc(out, a.dtype, 0, a.rows, a.cols);
}

// out = x + shift; a shift of 0 copies, dtype included.
sarko_error_t shift_vector(double shift, const sarvo_vector *x, sarvo_vector **out) {
    if (!x || !out) return fail(SarvoNullEC);
    if (sarko_error_t e = match_length(*x, out)) return e;
    if (shift == 0.0) return sarvo_vector_copy(x, 0, 0, out, 0);
    return apply(kernels().shift, shift, x->dtype, x->data, x->length, (*out)->dtype, (*out)->data);
}

// out = a b for doubles; work space comes first so that its failure leaves *out alone.
sarko_error_t multiply(const sarvo_matrix &a, const sarvo_matrix &b, sarvo_matrix **out) {
    const uint64_t m = a.rows, n = b.cols, k = a.cols;
    sarvo::Buffer<double> work;
    if (sarko_error_t e = work.allocate_unset(kernels().product_work(m, n, k))) return e;
    if (sarko_error_t e = sarvo_matrix_realloc(out, SARVO_DOUBLE, SARVO_REALLOC_DTYPE, m, n)) return e;
    kernels().product(m, n, k, elements<double>(a), k, 1, elements<double>(b), n, elements<double>(**out), n,
                      work.get());
    return 0;
}

} // namespace

extern "C" {

sarko_error_t sarvo_vv_inprod(const sarvo_vector *x, const sarvo_vector *y, uint64_t x_offset, uint64_t y_offset,
                              uint64_t count, double *result) {
    if (!x || !y || !result) return fail(SarvoNullEC);
    if (!count_products(*x, *y, x_offset, y_offset, &count)) return fail(SarvoBoundsEC);
    *result = 0.0;
    if (sarko_error_t e = check_operands(x->dtype, y->dtype)) return e;
    const bool x_int = x->dtype == SARVO_INT32;
    const bool y_int = y->dtype == SARVO_INT32;
    const auto sum = x_int ? (y_int ? inner_product<int32_t, int32_t> : inner_product<int32_t, double>)
                           : (y_int ? inner_product<double, int32_t> : inner_product<double, double>);
    *result = sum(*x, *y, x_offset, y_offset, count);
    return 0;
}

sarko_error_t sarvo_vv_add(const sarvo_vector *x, const sarvo_vector *y, sarvo_vector **out) {
    if (!x || !y || !out) return fail(SarvoNullEC);
    if (x->length != y->length) return fail(SarvoSizeEC);
    if (sarko_error_t e = check_operands(x->dtype, y->dtype)) return e;
    const bool x_int = x->dtype == SARVO_INT32, y_int = y->dtype == SARVO_INT32;
    const uint32_t dtype = x_int && y_int ? SARVO_INT32 : SARVO_DOUBLE;
    if ((*out == x || *out == y) && (*out)->dtype != dtype)
        return fail(SarvoInsituEC); // the resize would free an operand
    const uint64_t n = x->length;
    if (sarko_error_t e = sarvo_vector_realloc(out, dtype, SARVO_REALLOC_DTYPE, n)) return e;

    if (x_int && y_int) {
        const int32_t *xi = elements<int32_t>(*x), *yi = elements<int32_t>(*y);
        int32_t *sum = elements<int32_t>(**out);
        for (uint64_t i = 0; i < n; i++) sum[i] = wrapping_sum(xi[i], yi[i]);
    } else if (x_int) {
        add_mixed(elements<int32_t>(*x), elements<double>(*y), n, elements<double>(**out));
    } else if (y_int) {
        add_mixed(elements<int32_t>(*y), elements<double>(*x), n, elements<double>(**out));
    } else {
        kernels().add(n, elements<double>(*x), elements<double>(*y), elements<double>(**out));
    }
    return 0;
}

sarko_error_t sarvo_sv_mlt(double s, const sarvo_vector *x, sarvo_vector **out) {
    if (!x || !out) return fail(SarvoNullEC);
    if (sarko_error_t e = match_length(*x, out)) return e;
    if (s == 0.0) return sarko_error_clear(sarvo_vector_zero(*out));
    if (s == 1.0) return sarvo_vector_copy(x, 0, 0, out, 0);
    return apply(kernels().scale, s, x->dtype, x->data, x->length, (*out)->dtype, (*out)->data);
}

sarko_error_t sarvo_sv_add(double s, const sarvo_vector *x, sarvo_vector **out) { return shift_vector(s, x, out); }

sarko_error_t sarvo_vs_sub(double s, const sarvo_vector *x, sarvo_vector **out) {
    return shift_vector(-s, x, out); // x - s and x + (-s) are the same operation
}

sarko_error_t sarvo_mm_mlt(const sarvo_matrix *a, const sarvo_matrix *b, sarvo_matrix **out) {
    if (!a || !b || !out) return fail(SarvoNullEC);
    if (a->cols != b->rows) return fail(SarvoSizeEC);
    if (*out == a || *out == b) return fail(SarvoInsituEC);
    if (sarko_error_t e = check_operands(a->dtype, b->dtype)) return e;
    if (a->dtype != SARVO_DOUBLE || b->dtype != SARVO_DOUBLE) return 0; // accepted, not computed: part of the interface
    return multiply(*a, *b, out);
}

sarko_error_t sarvo_sm_mlt(double s, const sarvo_matrix *a, sarvo_matrix **out) {
    if (!a || !out) return fail(SarvoNullEC);
    if (sarko_error_t e = match_shape(*a, out)) return e;
    if (s == 0.0) return sarko_error_clear(sarvo_matrix_zero(*out));
    if (s == 1.0) return sarvo_matrix_copy(a, 0, 0, 0, 0, out, 0, 0);
    return apply(kernels().scale, s, a->dtype, a->data, a->rows * a->cols, (*out)->dtype, (*out)->data);
}

} // extern "C"
