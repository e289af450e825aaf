// Literal loops of the element-by-element kernels.
#include "../levels.h"

namespace sarvo::simd::ref {

void add(uint64_t n, const double *x, const double *y, double *out) {
    for (uint64_t i = 0; i < n; i++) out[i] = x[i] + y[i];
}

void subtract(uint64_t n, const double *x, const double *y, double *out) {
    for (uint64_t i = 0; i < n; i++) out[i] = x[i] - y[i];
}

void multiply(uint64_t n, const double *x, const double *y, double *out) {
    for (uint64_t i = 0; i < n; i++) out[i] = x[i] * y[i];
}

void divide(uint64_t n, const double *x, const double *y, double *out) {
    for (uint64_t i = 0; i < n; i++) out[i] = x[i] / y[i];
}

void divide_by(uint64_t n, double s, const double *x, double *out) {
    for (uint64_t i = 0; i < n; i++) out[i] = x[i] / s;
}

void scale(uint64_t n, double s, const double *x, double *out) {
    for (uint64_t i = 0; i < n; i++) out[i] = s * x[i];
}

void shift(uint64_t n, double s, const double *x, double *out) {
    for (uint64_t i = 0; i < n; i++) out[i] = x[i] + s;
}

void axpy(uint64_t n, double s, const double *x, double *y) {
    for (uint64_t i = 0; i < n; i++) y[i] = y[i] + s * x[i];
}

void scale_add(uint64_t n, double s, const double *x, const double *y, double *out) {
    for (uint64_t i = 0; i < n; i++) out[i] = y[i] + s * x[i];
}

} // namespace sarvo::simd::ref
