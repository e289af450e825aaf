// Triangular systems with many right-hand sides, one lane each.
#include "levels.h"
#include "vec.h"

namespace sarvo::simd::SARVO_SIMD_LEVEL {
namespace {

// `vectors` running sums side by side.
template <uint64_t vectors> void solve_columns(uint64_t n, const double *u, uint64_t ldu, double *x) {
    for (uint64_t i = n; i-- > 0;) {
        Vec sum[vectors] = {};
        const double *row = u + i * ldu;
        const double *xj = x + (i + 1) * solve_strip;
        for (uint64_t j = i + 1; j < n; j++, xj += solve_strip)
            for (uint64_t v = 0; v < vectors; v++) sum[v] += row[j] * load(xj + v * lanes);
        double *xi = x + i * solve_strip;
        for (uint64_t v = 0; v < vectors; v++) store(xi + v * lanes, (load(xi + v * lanes) - sum[v]) / row[i]);
    }
}

} // namespace

void upper_solve_strip(uint64_t n, const double *u, uint64_t ldu, uint64_t columns, double *x) {
    constexpr uint64_t most = lanes == 8 ? 4 : 8; // enough to hide the latency of an addition
    static_assert(solve_strip % (most * lanes) == 0);
    uint64_t c = 0;
    for (; c + (most - 1) * lanes < columns; c += most * lanes) solve_columns<most>(n, u, ldu, x + c);
    if (c + lanes < columns && c + 2 * lanes <= solve_strip) {
        solve_columns<2>(n, u, ldu, x + c);
        c += 2 * lanes;
    }
    for (; c < columns; c += lanes) solve_columns<1>(n, u, ldu, x + c);
}

} // namespace sarvo::simd::SARVO_SIMD_LEVEL
