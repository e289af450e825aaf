// Sums of one vector: one dependent chain, the latency of an addition each term. Shared by the dense routines.
#pragma once

#include <stdint.h>

namespace sarvo::mh {

// sum a(i) b(i), i ascending, one running sum from `sum` on.
inline double dot(uint64_t n, const double *a, const double *b, double sum = 0.0) {
    for (uint64_t i = 0; i < n; i++) sum += a[i] * b[i];
    return sum;
}

} // namespace sarvo::mh
