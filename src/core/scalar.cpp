// Scalar utilities: integer powers, overflow tests, tolerant comparison, a four-value sort, a block printer.
#include <sarvo/sarvo.h>

#include <float.h>
#include <limits.h>
#include <stdio.h>

namespace {

constexpr int zero_to_the_zero = -1;
constexpr int result_overflows = -2;
constexpr int square_overflows = -3;

int32_t wrapping_product(int32_t a, int32_t b) {
    return static_cast<int32_t>(static_cast<uint32_t>(a) * static_cast<uint32_t>(b));
}
int64_t wrapping_product(int64_t a, int64_t b) {
    return static_cast<int64_t>(static_cast<uint64_t>(a) * static_cast<uint64_t>(b));
}

// Binary exponentiation; every product that the division tests let through wraps.
template <class Int> Int power(Int base, Int exponent, Int max) {
    if (exponent == 1) return base;
    if (exponent == 0) return base != 0 ? 1 : zero_to_the_zero;
    if (base == 0 || base == 1) return base;

    Int result = 1;
    if (exponent & 1) {
        if (max / base < 1) return result_overflows;
        result = base;
    }
    for (;;) {
        exponent = static_cast<Int>(exponent >> 1); // arithmetic: the sign stays
        if (exponent == 0) return result;
        if (base == 0 || base > max / base) return square_overflows; // a wrapped square may be 0
        if (base == 1 && exponent < 0) return square_overflows;      // or 1, which would never overflow
        base = wrapping_product(base, base);
        if (exponent & 1) {
            if (base == 0) return square_overflows;
            if (result > max / base) return result_overflows;
            result = wrapping_product(result, base);
        }
    }
}

template <class Real> int32_t compare(Real a, Real b, Real tol, Real xmin) {
    if (a == b) return 0;
    const Real d = a > b ? a - b : b - a;
    const int32_t sign = a > b ? 1 : -1;
    if (a == 0 || b == 0 || d < xmin) return tol >= d ? 0 : sign;
    const Real abs_a = a < 0 ? -a : a;
    const Real abs_b = b < 0 ? -b : b;
    return tol >= d / (abs_a > abs_b ? abs_a : abs_b) ? 0 : sign;
}

} // namespace

extern "C" {

int32_t sarvo_ipow(int32_t base, int32_t exponent) { return power<int32_t>(base, exponent, INT32_MAX); }
int64_t sarvo_i64pow(int64_t base, int64_t exponent) { return power<int64_t>(base, exponent, INT64_MAX); }

int32_t sarvo_test_int64add(int64_t a, int64_t b) {
    const bool unsafe = (b >= 1 && a > INT64_MAX - b) || (b < 0 && a < INT64_MIN - b);
    return !unsafe;
}

int32_t sarvo_test_int64sub(int64_t a, int64_t b) {
    const bool unsafe = (b < 0 && a > INT64_MAX + b) || (b >= 1 && a < INT64_MIN + b);
    return !unsafe;
}

int32_t sarvo_test_int64mult(int64_t a, int64_t b) {
    const int64_t lo = a < b ? a : b;
    const int64_t hi = a < b ? b : a;
    if (lo >= 1) return hi <= INT64_MAX / lo;
    if (hi == 0) return 1;
    const int64_t limit = hi < 1 ? INT64_MAX : INT64_MIN;
    return lo >= limit / hi;
}

int32_t sarvo_test_int64rem(int64_t a, int64_t b) { return !(b == 0 || (b == -1 && a == INT64_MIN)); }
int32_t sarvo_test_int64div(int64_t a, int64_t b) { return sarvo_test_int64rem(a, b); }
int32_t sarvo_test_int64umin(int64_t a) { return a != INT64_MIN; }

int32_t sarvo_is_number(double x) { return x == x; }
int32_t sarvo_is_finite_number(double x) { return x >= -DBL_MAX && x <= DBL_MAX; }

int32_t sarvo_cmp_double(double a, double b, double tol) { return compare<double>(a, b, tol, SarvoDblXmin); }
int32_t sarvo_cmp_float(float a, float b, float tol) { return compare<float>(a, b, tol, SarvoFltXmin); }

void sarvo_sort_four(double *a, double *b, double *c, double *d) {
    const double lo1 = *a < *b ? *a : *b;
    const double hi1 = *a < *b ? *b : *a;
    const double lo2 = *c < *d ? *c : *d;
    const double hi2 = *c < *d ? *d : *c;
    const double mid1 = lo1 > lo2 ? lo1 : lo2;
    const double mid2 = hi1 < hi2 ? hi1 : hi2;
    *a = lo1 < lo2 ? lo1 : lo2;
    *d = hi1 > hi2 ? hi1 : hi2;
    *b = mid1 < mid2 ? mid1 : mid2;
    *c = mid1 < mid2 ? mid2 : mid1;
}

void print_arr(double **rows, int32_t first_row, int32_t last_row, int32_t first_col, int32_t last_col) {
    for (int64_t i = first_row; i <= last_row; i++) {
        for (int64_t j = first_col; j <= last_col; j++) printf(" % 1.14e", rows[i][j]);
        puts(" ");
    }
}

} // extern "C"
