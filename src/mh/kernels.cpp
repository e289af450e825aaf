// The exported kernels on plain arrays.
#include <sarvo/mh/kernels.h>

#include <string.h>

#include "simd/simd.h"
#include "sums.h"

using sarvo::simd::kernels;

extern "C" {

double __ip__(const double *a, const double *b, uint64_t n) { return sarvo::mh::dot(n, a, b); }
void __mltadd__(double *dst, const double *src, uint64_t n, double s) { kernels().axpy(n, s, src, dst); }
void __smlt__(const double *src, double *dst, uint64_t n, double s) { kernels().scale(n, s, src, dst); }
void __add__(const double *a, const double *b, double *dst, uint64_t n) { kernels().add(n, a, b, dst); }
void __sadd__(const double *src, double *dst, uint64_t n, double s) { kernels().shift(n, s, src, dst); }
void __sub__(const double *a, const double *b, double *dst, uint64_t n) { kernels().subtract(n, a, b, dst); }
void __ssub__(const double *src, double *dst, uint64_t n, double s) { kernels().shift(n, -s, src, dst); }
void __zero__(double *dst, uint64_t n) {
    if (n != 0) memset(dst, 0, n * sizeof *dst);
}
double square(double x) { return x * x; }
double cube(double x) { return x * x * x; }

} // extern "C"
