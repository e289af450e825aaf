/* mh, fourier: fast Fourier transform of complex vectors, linear and periodic convolution. See sarvo/mh.h. */
#ifndef SARVO_MH_FOURIER_H
#define SARVO_MH_FOURIER_H

#include <sarvo/mh/objects.h>

#ifdef __cplusplus
extern "C" {
#endif

/* ---- Fourier transform ----
 * A complex vector is a pair of vectors, real and imaginary parts, transformed in place; re and im must be two objects.
 *
 * Method: radix 2, decimation in time (Cooley and Tukey, Mathematics of Computation 19, 1965): the elements are put
 * into bit-reversed order; then for m = 1, 2, 4, .. n/2 and each k < m, for each i = k, k + 2m, .. below n:
 *     t_re = w_re re[i+m] - w_im im[i+m]        re[i+m] = re[i] - t_re        re[i] = re[i] + t_re
 *     t_im = w_re im[i+m] + w_im re[i+m]        im[i+m] = im[i] - t_im        im[i] = im[i] + t_im
 * with w = w(m, k) close to e^(i pi k / m), always multiplied, also when it is 1 or i:
 *     w(m, k)       m = 1: 1.  k < m/2, m <= 2048: correctly rounded.  m >= 4096: with s = m/256, k = a s + r, r < s,
 *                   the product c f, (c_re f_re - c_im f_im) + i (c_re f_im + c_im f_re), of c = w(256, a) and
 *                   f = e^(i pi r / m) by polynomials in x = r/m: f_re = 1 + x x (c2 + x x (c4 + x x c6)),
 *                   f_im = x (s1 + x x (s3 + x x (s5 + x x s7))), the terms of the Taylor series of cos(pi x) and
 *                   sin(pi x) rounded to double; within two ulp
 *     w(m, k + m/2) i w(m, k) = (0 - w_im) + i w_re
 * Factors are not advanced by repeated multiplication, whose errors pile up. The relative error in the sense of least
 * squares is about 0.1 * 2^-52 * log2 n. n log2 n steps; n/128 doubles of scratch above n = 4096, none below. */

/* X[j] = sum_k x[k] e^(+2 pi i j k / n): no scaling. n is the least power of two not below the dimension, at least 1;
 * both vectors are first resized to it, the new elements being 0, and keep that dimension.
 * Errors, in order: re or im null: SarvoMHNullEC; dimensions differ: SarvoMHSizesEC; the allocator's. The vectors are
 * as before then. */
SARVO_API sarko_error_t sarvo_mh_fft(VEC *re, VEC *im);

/* The inverse, X[j] = 1/n sum_k x[k] e^(-2 pi i j k / n): im is negated, sarvo_mh_fft is applied, im is multiplied by
 * -1/n and re by 1/n.
 * Errors, in order: im null: SarvoMHNullEC; then those of sarvo_mh_fft: im stays negated then. */
SARVO_API sarko_error_t sarvo_mh_ifft(VEC *re, VEC *im);

/* ---- Convolution: x1 and x2 may be one object, *out neither ----
 * Each element is one running sum from +0 over ascending i; no term is left out, so a zero opposite to an infinity
 * gives NaN. Scratch: about the size of the operands.
 * Errors, in order: x1, x2 or out null: SarvoMHNullEC; *out is x1 or x2: SarvoMHInsituEC; the allocator's. */

/* out[k] = sum_i x1[i] x2[k - i], linear: *out is made or resized to x1.dim + x2.dim - 1 elements, to none when x1 or
 * x2 has none. */
SARVO_API sarko_error_t sarvo_mh_v_conv(const VEC *x1, const VEC *x2, VEC **out);

/* out[k] = sum_i x1[i] x2[(k - i) mod n], of period n = x2.dim: *out is made or resized to n elements. x1 may have any
 * dimension. */
SARVO_API sarko_error_t sarvo_mh_v_pconv(const VEC *x1, const VEC *x2, VEC **out);

#ifdef __cplusplus
}
#endif

#endif
