/* mh, kernels: loops on plain arrays of doubles. Not part of sarvo/mh.h, since two of the names are common words.
 *
 * Nothing is checked and nothing fails. n counts elements; exactly n are read and written, in ascending order; n = 0
 * touches nothing. dst may be a source exactly. Every operation rounds by itself.
 *
 *     #include <stdio.h>
 *     #include <sarvo/mh/kernels.h>
 *     int main(void) {
 *         double a[] = {1.0, 2.0, 3.0}, b[] = {4.0, 5.0, 6.0};
 *         printf("%g\n", __ip__(a, b, 3));                 // 32
 *     }
 */
#ifndef SARVO_MH_KERNELS_H
#define SARVO_MH_KERNELS_H

#include <sarvo/sarvo.h>

#ifdef __cplusplus
extern "C" {
#endif

SARVO_API double __ip__(const double *a, const double *b, uint64_t n);           /* sum a[i] b[i], ascending from +0 */
SARVO_API void __mltadd__(double *dst, const double *src, uint64_t n, double s); /* dst[i] += src[i] s */
SARVO_API void __smlt__(const double *src, double *dst, uint64_t n, double s);   /* dst[i] = src[i] s */
SARVO_API void __add__(const double *a, const double *b, double *dst, uint64_t n); /* dst[i] = a[i] + b[i] */
SARVO_API void __sadd__(const double *src, double *dst, uint64_t n, double s);     /* dst[i] = src[i] + s */
SARVO_API void __sub__(const double *a, const double *b, double *dst, uint64_t n); /* dst[i] = a[i] - b[i] */
SARVO_API void __ssub__(const double *src, double *dst, uint64_t n, double s);     /* dst[i] = src[i] - s */
SARVO_API void __zero__(double *dst, uint64_t n);                                  /* dst[i] = 0 */
SARVO_API double square(double x);                                                 /* x x */
SARVO_API double cube(double x);                                                   /* x x x, left to right */

#ifdef __cplusplus
}
#endif

#endif
