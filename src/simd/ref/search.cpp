// Literal loops of the searches.
#include "../levels.h"

namespace sarvo::simd::ref {

uint64_t first_zero(uint64_t n, const double *x) {
    uint64_t i = 0;
    while (i < n && x[i] != 0.0) i++;
    return i;
}

uint64_t min_index(uint64_t n, const double *x) {
    uint64_t best = 0;
    for (uint64_t i = 1; i < n; i++)
        if (x[i] < x[best]) best = i;
    return best;
}

uint64_t max_index(uint64_t n, const double *x) {
    uint64_t best = 0;
    for (uint64_t i = 1; i < n; i++)
        if (x[i] > x[best]) best = i;
    return best;
}

uint64_t scaled_pivot(uint64_t n, const double *x, const double *s) {
    uint64_t chosen = n;
    double best = 0.0;
    for (uint64_t i = 0; i < n; i++) {
        const double magnitude = __builtin_fabs(x[i]);
        if (!(s[i] >= 0.0 * magnitude)) continue;
        if (magnitude / s[i] > best) {
            best = magnitude / s[i];
            chosen = i;
        }
    }
    return chosen;
}

double max_abs(uint64_t n, const double *x) {
    double largest = 0.0;
    for (uint64_t i = 0; i < n; i++)
        if (__builtin_fabs(x[i]) > largest) largest = __builtin_fabs(x[i]);
    return largest;
}

uint64_t crossings(uint64_t n, const double *x, const double *y, double px, double py) {
    uint64_t count = 0;
    for (uint64_t i = 1; i < n; i++) {
        const double xj = x[i - 1];
        const double yj = y[i - 1];
        if ((y[i] > py) != (yj > py) && (py - y[i]) * (xj - x[i]) / (yj - y[i]) + x[i] > px) count++;
    }
    return count;
}

} // namespace sarvo::simd::ref
