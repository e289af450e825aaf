// Element-by-element kernels.
#include "levels.h"
#include "vec.h"

namespace sarvo::simd::SARVO_SIMD_LEVEL {

void add(uint64_t n, const double *x, const double *y, double *out) {
    uint64_t i = 0;
    for (; i + lanes <= n; i += lanes) store(out + i, load(x + i) + load(y + i));
    for (; i < n; i++) out[i] = x[i] + y[i];
}

void scale(uint64_t n, double s, const double *x, double *out) {
    uint64_t i = 0;
    for (; i + lanes <= n; i += lanes) store(out + i, s * load(x + i));
    for (; i < n; i++) out[i] = s * x[i];
}

void shift(uint64_t n, double s, const double *x, double *out) {
    uint64_t i = 0;
    for (; i + lanes <= n; i += lanes) store(out + i, load(x + i) + s);
    for (; i < n; i++) out[i] = x[i] + s;
}

void axpy(uint64_t n, double s, const double *x, double *y) {
    uint64_t i = 0;
    for (; i + lanes <= n; i += lanes) store(y + i, load(y + i) + s * load(x + i));
    for (; i < n; i++) y[i] = y[i] + s * x[i];
}

} // namespace sarvo::simd::SARVO_SIMD_LEVEL
