// Literal loops of the random generators' kernels.
#include "../levels.h"

namespace sarvo::simd::ref {
namespace {

// (upper bit of `high`, lower bits of `low`) shifted and folded into `distant`: the recurrence of MT19937.
uint64_t twist(uint64_t high, uint64_t low, uint64_t distant) {
    const uint64_t y = (high & 0x80000000) | (low & 0x7FFFFFFF);
    return distant ^ (y >> 1) ^ (low & 1 ? 0x9908B0DF : 0);
}

uint64_t temper(uint64_t y) {
    y ^= y >> 11;
    y ^= (y << 7) & 0x9D2C5680;
    y ^= (y << 15) & 0xEFC60000;
    return y ^ (y >> 18);
}

} // namespace

void mt_regenerate(uint64_t *words) {
    for (uint64_t k = 0; k <= 226; k++) words[k] = twist(words[k], words[k + 1], words[k + 397]);
    for (uint64_t k = 227; k <= 622; k++) words[k] = twist(words[k], words[k + 1], words[k - 227]);
    words[623] = twist(words[623], words[0], words[396]);
}

void mt_uniforms(uint64_t n, const uint64_t *words, double *out) {
    for (uint64_t p = 0; p < n; p++) out[p] = static_cast<double>(temper(words[p])) * 0x1p-32;
}

uint64_t mt_ziggurat(uint64_t n, const uint64_t *words, double sigma, const double *width, const uint64_t *inside,
                     double *out, uint32_t *outside) {
    uint64_t count = 0;
    for (uint64_t p = 0; p < n; p++) {
        const uint64_t k = temper(words[p]);
        const uint64_t i = k & 127;
        const uint64_t j = k >> 8;
        const double sign = k & 128 ? 1.0 : -1.0;
        out[p] = sign * sigma * (static_cast<double>(j) * width[i]);
        if (j >= inside[i]) outside[count++] = static_cast<uint32_t>(p);
    }
    return count;
}

void gamma_trials(uint64_t n, double c, const double *x, const double *u, double *out) {
    for (uint64_t p = 0; p < n; p++) {
        const double v = 1.0 + c * x[p];
        const double V = v * v * v;
        const bool sure = u[p] < 1.0 - 0.0331 * ((x[p] * x[p]) * (x[p] * x[p]));
        out[p] = v > 0.0 && u[p] > 0.0 ? (sure ? V : -V) : __builtin_nan("");
    }
}

void fractions(uint64_t n, const uint64_t *x, double *out) {
    for (uint64_t i = 0; i < n; i++) out[i] = static_cast<double>(x[i]) * 0x1p-64;
}

} // namespace sarvo::simd::ref
