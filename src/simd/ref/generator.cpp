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

void mt_uniforms(uint64_t n, const uint64_t *words, double *out, uint64_t) {
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

void gamma_trials(uint64_t n, uint64_t stride, const uint64_t *words, double c, const double *width,
                  const uint64_t *inside, GammaTrials *out) {
    out->sure = out->odd = 0;
    for (uint64_t t = 0; t < n; t++) {
        uint32_t outside;
        const uint64_t unsure = mt_ziggurat(1, words + t * stride, 1.0, width, inside, out->x + t, &outside);
        mt_uniforms(1, words + t * stride + 1, out->u + t, 0);
        const double x = out->x[t], u = out->u[t];
        const double v = 1.0 + c * x;
        out->V[t] = v * v * v;
        const uint64_t odd = unsure || v <= 0.0 || u == 0.0;
        out->odd |= odd << t;
        out->sure |= (!odd && u < 1.0 - 0.0331 * ((x * x) * (x * x)) ? uint64_t{1} : 0) << t;
    }
}

uint64_t pack_scaled(uint64_t n, uint64_t mask, double s, const double *x, double *out) {
    uint64_t count = 0;
    for (uint64_t i = 0; i < n; i++)
        if (mask >> i & 1) out[count++] = s * x[i];
    return count;
}

void fractions(uint64_t n, const uint64_t *x, double *out) {
    for (uint64_t i = 0; i < n; i++) out[i] = static_cast<double>(x[i]) * 0x1p-64;
}

} // namespace sarvo::simd::ref
