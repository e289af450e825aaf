// Fast Fourier transform and convolution.
#include <sarvo/mh/fourier.h>

#include <string.h>

#include "dense.h"
#include "fourier_factors.h"
#include "simd/simd.h"

using sarvo::fail;
using sarvo::mh::larger;
using sarvo::mh::product_of_counts;
using sarvo::mh::size_exactly;
using sarvo::mh::smaller;
using sarvo::mh::sum_of_counts;
using sarvo::simd::kernels;

namespace {

// Outputs of one call of the kernel: a multiple of the tiles of all levels.
constexpr uint64_t block = 96;

// Least power of two not below dim; a count that no memory can hold when there is none.
uint64_t padded(uint64_t dim) {
    uint64_t n = 1;
    while (n < dim && n != 0) n *= 2;
    return n == 0 ? UINT64_MAX : n;
}

bool all_finite(const VEC &x) { return sarvo::mh::all_finite(x.elems, x.dim); }

sarko_error_t check(const VEC *x1, const VEC *x2, VEC *const *out) {
    if (!x1 || !x2 || !out) return fail(SarvoMHNullEC);
    if (*out == x1 || *out == x2) return fail(SarvoMHInsituEC);
    return 0;
}

sarko_error_t size_and_zero(VEC **out, uint64_t dim) {
    if (sarko_error_t e = size_exactly(out, dim)) return e;
    sarvo_mh_v_zero(*out);
    return 0;
}

// The loops as stated.
void convolve_plainly(const VEC &x1, const VEC &x2, double *out) {
    for (uint64_t i = 0; i < x1.dim; i++) kernels().axpy(x2.dim, x1.elems[i], x2.elems, out + i);
}

// One operand gives one factor a step, in the order of ascending i: x1 forwards or x2 backwards. The other, in `wide`
// with a block of zeros on either side, is read as vectors. Zeros there meet finite factors only: they add +0 or -0.
void convolve_blocks(const VEC &factors, bool backwards, const double *ordered, uint64_t wide_dim, const double *wide,
                     uint64_t dim, double *out) {
    for (uint64_t o = 0; o < dim; o += block) {
        const uint64_t count = smaller(block, dim - o);
        const uint64_t low = o < wide_dim ? 0 : o - (wide_dim - 1); // factors that meet any element of `wide`
        const uint64_t high = smaller(factors.dim - 1, o + count - 1);
        const double *x = wide + block + o;
        if (backwards)
            kernels().convolve(count, high - low + 1, ordered + (factors.dim - 1 - high), x - high, 1, out + o);
        else kernels().convolve(count, high - low + 1, ordered + low, x - low, -1, out + o);
    }
}

} // namespace

extern "C" {

sarko_error_t sarvo_mh_fft(VEC *re, VEC *im) {
    if (!re || !im) return fail(SarvoMHNullEC);
    if (re->dim != im->dim) return fail(SarvoMHSizesEC);
    const uint64_t dim = re->dim, n = padded(dim);
    sarvo::Buffer<double> fine;
    if (sarko_error_t e = sarvo_mh_v_resize(&re, n)) return e;
    sarko_error_t e = sarvo_mh_v_resize(&im, n);
    if (!e && sarvo::mh::fine_count(n) != 0) e = fine.allocate_unset(sarvo::mh::fine_count(n));
    if (e) { // smaller: cannot fail
        sarko_error_clear(sarvo_mh_v_resize(&re, dim));
        sarko_error_clear(sarvo_mh_v_resize(&im, dim));
        return e;
    }
    if (n == 1) return 0;
    sarvo::mh::fill_fine(n, fine.get());
    kernels().fourier(n, re->elems, im->elems, sarvo::mh::fourier_roots, fine.get());
    return 0;
}

sarko_error_t sarvo_mh_ifft(VEC *re, VEC *im) {
    if (!im) return fail(SarvoMHNullEC);
    for (uint64_t i = 0; i < im->dim; i++) im->elems[i] = -im->elems[i];
    if (sarko_error_t e = sarvo_mh_fft(re, im)) return e;
    const double n = static_cast<double>(im->dim);
    kernels().scale(im->dim, -1.0 / n, im->elems, im->elems);
    kernels().scale(re->dim, 1.0 / n, re->elems, re->elems);
    return 0;
}

sarko_error_t sarvo_mh_v_conv(const VEC *x1, const VEC *x2, VEC **out) {
    if (sarko_error_t e = check(x1, x2, out)) return e;
    if (x1->dim == 0 || x2->dim == 0) return size_exactly(out, 0);
    const uint64_t dim = sum_of_counts(x1->dim, x2->dim - 1);
    const bool first_is_shorter = x1->dim <= x2->dim;
    const bool fits = all_finite(first_is_shorter ? *x1 : *x2);
    const bool backwards = fits != first_is_shorter; // an operand that is not finite must be the wide one
    const VEC &factors = backwards ? *x2 : *x1, &wide = backwards ? *x1 : *x2;
    if (!fits && !all_finite(factors)) {
        if (sarko_error_t e = size_and_zero(out, dim)) return e;
        convolve_plainly(*x1, *x2, (*out)->elems);
        return 0;
    }
    sarvo::Buffer<double> work;
    const uint64_t padded_dim = sum_of_counts(wide.dim, 2 * block);
    if (sarko_error_t e = work.allocate_unset(sum_of_counts(padded_dim, backwards ? factors.dim : 0))) return e;
    if (sarko_error_t e = size_and_zero(out, dim)) return e;
    memset(work.get(), 0, block * sizeof(double));
    memcpy(work.get() + block, wide.elems, wide.dim * sizeof(double));
    memset(work.get() + block + wide.dim, 0, block * sizeof(double));
    double *reversed = work.get() + padded_dim;
    for (uint64_t j = 0; backwards && j < factors.dim; j++) reversed[j] = factors.elems[factors.dim - 1 - j];
    convolve_blocks(factors, backwards, backwards ? reversed : factors.elems, wide.dim, work.get(), dim, (*out)->elems);
    return 0;
}

sarko_error_t sarvo_mh_v_pconv(const VEC *x1, const VEC *x2, VEC **out) {
    if (sarko_error_t e = check(x1, x2, out)) return e;
    const uint64_t n = x2->dim;
    if (n == 0) return size_exactly(out, 0);
    const uint64_t chunk = product_of_counts(n, larger(1, 512 / n)); // terms of one call: whole periods
    sarvo::Buffer<double> repeated;                                  // x2 over and over
    if (sarko_error_t e = repeated.allocate_unset(sum_of_counts(chunk, n))) return e;
    if (sarko_error_t e = size_and_zero(out, n)) return e;
    for (uint64_t i = 0; i < chunk + n; i += n) memcpy(repeated.get() + i, x2->elems, n * sizeof(double));
    for (uint64_t i = 0; i < x1->dim; i += chunk)
        kernels().convolve(n, smaller(chunk, x1->dim - i), x1->elems + i, repeated.get() + chunk, -1, (*out)->elems);
    return 0;
}

} // extern "C"
