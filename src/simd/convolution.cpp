// Convolution: tiles of outputs stay in registers for all terms; each term adds a multiple of x shifted by one more.
#include "levels.h"
#include "vec.h"

namespace sarvo::simd::SARVO_SIMD_LEVEL {
namespace {

template <uint64_t vectors>
inline void tile(uint64_t terms, const double *s, const double *x, int64_t step, double *out) {
    Vec sum[vectors];
    for (uint64_t v = 0; v < vectors; v++) sum[v] = load(out + v * lanes);
    for (uint64_t t = 0; t < terms; t++, x += step) {
        const Vec st = broadcast(s[t]);
        for (uint64_t v = 0; v < vectors; v++) sum[v] += st * load(x + v * lanes);
    }
    for (uint64_t v = 0; v < vectors; v++) store(out + v * lanes, sum[v]);
}

} // namespace

void convolve(uint64_t outputs, uint64_t terms, const double *s, const double *x, int64_t step, double *out) {
    constexpr uint64_t vectors = lanes == 8 ? 12 : 8;
    uint64_t o = 0;
    for (; o + vectors * lanes <= outputs; o += vectors * lanes) tile<vectors>(terms, s, x + o, step, out + o);
    for (; o + 4 * lanes <= outputs; o += 4 * lanes) tile<4>(terms, s, x + o, step, out + o);
    for (; o + lanes <= outputs; o += lanes) tile<1>(terms, s, x + o, step, out + o);
    if (o == outputs) return;
    Vec sum = load_part(out + o, outputs - o);
    x += o;
    for (uint64_t t = 0; t < terms; t++, x += step) sum += s[t] * load_part(x, outputs - o);
    store_part(out + o, sum, outputs - o);
}

} // namespace sarvo::simd::SARVO_SIMD_LEVEL
