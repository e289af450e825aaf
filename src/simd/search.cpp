// Searches through a vector: zeros, extremes, the largest magnitude.
#include "levels.h"
#include "vec.h"

namespace sarvo::simd::SARVO_SIMD_LEVEL {
namespace {

constexpr uint64_t step = 4 * lanes; // four vectors at a time hide the latency of comparisons

// The extreme value that a running extreme from x(0) on ends with: which of equals is the same value but for a zero's
// sign. better(a, b): a replaces b.
template <class Better> double extreme(uint64_t n, const double *x, Better better) {
    Vec best[4];
    for (Vec &b : best) b = broadcast(x[0]);
    uint64_t i = 0;
    for (; i + step <= n; i += step)
        for (uint64_t v = 0; v < 4; v++) {
            const Vec xi = load(x + i + v * lanes);
            best[v] = better(xi, best[v]) ? xi : best[v];
        }
    double all[step];
    for (uint64_t v = 0; v < 4; v++) store(all + v * lanes, best[v]);
    double result = x[0];
    for (uint64_t l = 0; l < step; l++)
        if (better(all[l], result)) result = all[l];
    for (; i < n; i++)
        if (better(x[i], result)) result = x[i];
    return result;
}

// Least index of an element equal to value (either zero for a zero); 0 when value is a NaN: then x(0) is.
uint64_t first_equal(uint64_t n, const double *x, double value) {
    if (value != value) return 0;
    uint64_t i = 0;
    for (; i + step <= n; i += step) {
        auto equal = load(x + i) == broadcast(value);
        for (uint64_t v = 1; v < 4; v++) equal |= load(x + i + v * lanes) == broadcast(value);
        uint64_t found = 0;
        for (uint64_t l = 0; l < lanes; l++) found |= static_cast<uint64_t>(equal[l]);
        if (found) break;
    }
    while (i < n && x[i] != value) i++;
    return i;
}

struct Smaller {
    template <class T> auto operator()(const T &a, const T &b) const { return a < b; }
};
struct Larger {
    template <class T> auto operator()(const T &a, const T &b) const { return a > b; }
};

// Whether edges i .. i + lanes - 1 pass the height of the point, and which of them do so on its right (all bits of a lane).
inline Mask straddling(const double *y, uint64_t i, double py) { return (load(y + i) > py) ^ (load(y + i - 1) > py); }
inline Mask crossing(const double *x, const double *y, uint64_t i, double px, double py) {
    const Vec xi = load(x + i), xj = load(x + i - 1), yi = load(y + i), yj = load(y + i - 1);
    return (py - yi) * (xj - xi) / (yj - yi) + xi > px;
}

} // namespace

uint64_t first_zero(uint64_t n, const double *x) { return first_equal(n, x, 0.0); }

uint64_t min_index(uint64_t n, const double *x) { return first_equal(n, x, extreme(n, x, Smaller{})); }

uint64_t max_index(uint64_t n, const double *x) { return first_equal(n, x, extreme(n, x, Larger{})); }

uint64_t scaled_pivot(uint64_t n, const double *x, const double *s) {
    Vec best = {}, place = broadcast(static_cast<double>(n)), at;
    for (uint64_t l = 0; l < lanes; l++) at[l] = static_cast<double>(l);
    uint64_t i = 0;
    for (; i + lanes <= n; i += lanes) {
        const Vec a = magnitude(load(x + i));
        const Vec ratio = 0.0 * a == Vec{} ? a / load(s + i) : Vec{};
        place = ratio > best ? at : place;
        best = ratio > best ? ratio : best;
        at += static_cast<double>(lanes);
    }
    uint64_t chosen = n;
    double most = 0.0;
    for (uint64_t l = 0; l < lanes; l++) { // of equals the one that stands first
        const auto found = static_cast<uint64_t>(place[l]);
        if (best[l] > most || (best[l] == most && found < chosen)) {
            most = best[l];
            chosen = found;
        }
    }
    for (; i < n; i++) {
        const double a = __builtin_fabs(x[i]);
        if (0.0 * a == 0.0 && a / s[i] > most) {
            most = a / s[i];
            chosen = i;
        }
    }
    return chosen;
}

double max_abs(uint64_t n, const double *x) {
    Vec most[4] = {};
    uint64_t i = 0;
    for (; i + step <= n; i += step)
        for (uint64_t v = 0; v < 4; v++) {
            const Vec a = magnitude(load(x + i + v * lanes));
            most[v] = a > most[v] ? a : most[v];
        }
    double all[step], largest = 0.0;
    for (uint64_t v = 0; v < 4; v++) store(all + v * lanes, most[v]);
    for (uint64_t l = 0; l < step; l++)
        if (all[l] > largest) largest = all[l];
    for (; i < n; i++)
        if (__builtin_fabs(x[i]) > largest) largest = __builtin_fabs(x[i]);
    return largest;
}

uint64_t crossings(uint64_t n, const double *x, const double *y, double px, double py) {
    Mask found = {}; // minus the number found in each lane
    uint64_t i = 1;
    for (; i + step <= n; i += step) { // most edges pass no given height: the division is for those that do
        Mask straddles[4];
        for (uint64_t v = 0; v < 4; v++) straddles[v] = straddling(y, i + v * lanes, py);
        if (!any((straddles[0] | straddles[1]) | (straddles[2] | straddles[3]))) continue;
        for (uint64_t v = 0; v < 4; v++)
            if (any(straddles[v])) found += straddles[v] & crossing(x, y, i + v * lanes, px, py);
    }
    uint64_t count = 0;
    for (uint64_t l = 0; l < lanes; l++) count -= static_cast<uint64_t>(found[l]);
    for (; i < n; i++) {
        const double xj = x[i - 1];
        const double yj = y[i - 1];
        if ((y[i] > py) != (yj > py) && (py - y[i]) * (xj - x[i]) / (yj - y[i]) + x[i] > px) count++;
    }
    return count;
}

} // namespace sarvo::simd::SARVO_SIMD_LEVEL
