// Literal loop of the convolution.
#include "../levels.h"

namespace sarvo::simd::ref {

void convolve(uint64_t outputs, uint64_t terms, const double *s, const double *x, int64_t step, double *out) {
    for (uint64_t t = 0; t < terms; t++)
        for (uint64_t o = 0; o < outputs; o++)
            out[o] = out[o] + s[t] * x[static_cast<int64_t>(o) + step * static_cast<int64_t>(t)];
}

} // namespace sarvo::simd::ref
