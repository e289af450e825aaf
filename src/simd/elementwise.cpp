// Element-by-element kernels.
#include "levels.h"
#include "vec.h"

namespace sarvo::simd::SARVO_SIMD_LEVEL {
namespace {

// out(i) = f(i) for vectors, then for the rest of them.
template <class Whole, class Single> inline void each(uint64_t n, double *out, Whole whole, Single single) {
    uint64_t i = 0;
    for (; i + lanes <= n; i += lanes) store(out + i, whole(i));
    for (; i < n; i++) out[i] = single(i);
}

} // namespace

void add(uint64_t n, const double *x, const double *y, double *out) {
    each(
        n, out, [=](uint64_t i) { return load(x + i) + load(y + i); }, [=](uint64_t i) { return x[i] + y[i]; });
}

void subtract(uint64_t n, const double *x, const double *y, double *out) {
    each(
        n, out, [=](uint64_t i) { return load(x + i) - load(y + i); }, [=](uint64_t i) { return x[i] - y[i]; });
}

void multiply(uint64_t n, const double *x, const double *y, double *out) {
    each(
        n, out, [=](uint64_t i) { return load(x + i) * load(y + i); }, [=](uint64_t i) { return x[i] * y[i]; });
}

void divide(uint64_t n, const double *x, const double *y, double *out) {
    each(
        n, out, [=](uint64_t i) { return load(x + i) / load(y + i); }, [=](uint64_t i) { return x[i] / y[i]; });
}

void divide_by(uint64_t n, double s, const double *x, double *out) {
    each(
        n, out, [=](uint64_t i) { return load(x + i) / s; }, [=](uint64_t i) { return x[i] / s; });
}

void scale(uint64_t n, double s, const double *x, double *out) {
    each(
        n, out, [=](uint64_t i) { return s * load(x + i); }, [=](uint64_t i) { return s * x[i]; });
}

void shift(uint64_t n, double s, const double *x, double *out) {
    each(
        n, out, [=](uint64_t i) { return load(x + i) + s; }, [=](uint64_t i) { return x[i] + s; });
}

void scale_add(uint64_t n, double s, const double *x, const double *y, double *out) {
    each(
        n, out, [=](uint64_t i) { return load(y + i) + s * load(x + i); }, [=](uint64_t i) { return y[i] + s * x[i]; });
}

void axpy(uint64_t n, double s, const double *x, double *y) { scale_add(n, s, x, y, y); }

} // namespace sarvo::simd::SARVO_SIMD_LEVEL
