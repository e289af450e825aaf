// The classic generator: three combinations of short 64-bit steps, and deviates drawn from its uniform doubles.
#include <math.h>
#include <sarvo/nr.h>

#include "core/elementary.h"
#include "core/fail.h"
#include "rng_fill.h"
#include "simd/simd.h"

namespace sarvo {
namespace {

// ---- Steps, modulo 2^64 ----

uint64_t congruential(uint64_t u) { return u * 2862933555777941757 + 7046029254386353087; }

uint64_t xorshift(uint64_t v) {
    v ^= v >> 17;
    v ^= v << 31;
    return v ^ (v >> 8);
}

uint64_t multiply_with_carry(uint64_t w) { return 4294957665 * (w & 0xFFFFFFFF) + (w >> 32); }

template <int method> uint64_t next(uint64_t &u, uint64_t &v, uint64_t &w) {
    if constexpr (method == 0) {
        u = congruential(u);
        v = xorshift(v);
        w = multiply_with_carry(w);
        uint64_t x = u ^ (u << 21);
        x ^= x >> 35;
        x ^= x << 4;
        return (x + v) ^ w;
    } else if constexpr (method == 1) {
        v ^= v >> 21;
        v ^= v << 35;
        v ^= v >> 4;
        return v * 2685821657736338717;
    } else {
        v = xorshift(v);
        w = multiply_with_carry(w);
        return w ^ v;
    }
}

uint64_t draw(sarvo_nr_rng_t &rng) {
    switch (rng.method) {
    case 0: return next<0>(rng.u, rng.v, rng.w);
    case 1: return next<1>(rng.u, rng.v, rng.w);
    case 2: return next<2>(rng.u, rng.v, rng.w);
    default: return 0;
    }
}

// k 2^-64 rounded once, as the conversion of k would: both halves are exact. Unlike that conversion it does not branch
// on the upper bit.
double uniform(sarvo_nr_rng_t &rng) {
    const uint64_t k = draw(rng);
    return static_cast<double>(k >> 32) * 0x1p-32 + static_cast<double>(k & 0xFFFFFFFF) * 0x1p-64;
}

// Rejections in a row after which a deviate is NaN: a generator that draws zeros only, of an unknown method or with a state
// of zeros, has no others. A good one has fewer for all time.
constexpr int most_rejections = 1000;

double positive_uniform(sarvo_nr_rng_t &rng) {
    for (int i = 0; i < most_rejections; i++)
        if (const double u = uniform(rng); u != 0.0) return u;
    return NAN;
}

struct RatioPoint {
    double u, v;
};

// A point below the curve v^2 = -4 u^2 ln u, which lies between two quadratic bounds (Kinderman and Monahan 1977, Leva
// 1992): v / u is a standard normal deviate.
RatioPoint ratio_of_uniforms(sarvo_nr_rng_t &rng) {
    for (int i = 0; i < most_rejections; i++) {
        const double u = uniform(rng);
        const double v = 1.7156 * (uniform(rng) - 0.5);
        const double x = u - 0.449871;
        const double y = fabs(v) + 0.386595;
        const double q = x * x + y * (0.196 * y - 0.25472 * x);
        if (q <= 0.27597) return {u, v};
        if (q > 0.27846) continue;
        if (v * v <= -4.0 * elementary::log(u) * (u * u)) return {u, v};
    }
    return {NAN, NAN};
}

// ---- Bulk ----

// The chains advance in registers, a block of integers at a time; vectors convert the block.
template <int method> void fill(sarvo_nr_rng_t &rng, uint64_t n, double *out) {
    constexpr uint64_t block = 512;
    uint64_t drawn[block];
    uint64_t u = rng.u, v = rng.v, w = rng.w;
    for (uint64_t done = 0; done < n;) {
        const uint64_t count = n - done < block ? n - done : block;
        for (uint64_t i = 0; i < count; i++) drawn[i] = next<method>(u, v, w);
        simd::kernels().fractions(count, drawn, out + done);
        done += count;
    }
    rng.u = u;
    rng.v = v;
    rng.w = w;
}

} // namespace

void nr_rng_fill(sarvo_nr_rng_t *rng, uint64_t n, double *out) {
    switch (rng->method) {
    case 0: return fill<0>(*rng, n, out);
    case 1: return fill<1>(*rng, n, out);
    case 2: return fill<2>(*rng, n, out);
    default:
        for (uint64_t i = 0; i < n; i++) out[i] = 0.0;
    }
}

} // namespace sarvo

using namespace sarvo;

extern "C" {

sarko_error_t sarvo_nr_rng_init(sarvo_nr_rng_t **rng, int32_t method, uint64_t seed) {
    void *block;
    const sarko_error_t e = sarko_mem_calloc(1, sizeof(sarvo_nr_rng_t), &block);
    *rng = static_cast<sarvo_nr_rng_t *>(block);
    if (e) return e;
    constexpr uint64_t mask = 4101842887655102017;
    sarvo_nr_rng_t &r = **rng;
    r.method = method;
    switch (method) {
    case 0:
        r.v = mask;
        r.w = 1;
        r.u = seed ^ mask;
        draw(r);
        r.v = r.u;
        draw(r);
        r.w = r.v;
        draw(r);
        break;
    case 1:
        r.v = seed ^ mask;
        r.v = draw(r);
        break;
    case 2:
        r.v = seed ^ mask;
        r.w = 1;
        r.w = draw(r);
        r.v = draw(r);
        break;
    default: break; // kept without a seed: every draw is 0
    }
    return 0;
}

void sarvo_nr_rng_free(sarvo_nr_rng_t *rng) { sarko_mem_free(rng); }

uint64_t sarvo_nr_rng_uint64(sarvo_nr_rng_t *rng) { return draw(*rng); }

uint32_t sarvo_nr_rng_uint32(sarvo_nr_rng_t *rng) { return static_cast<uint32_t>(draw(*rng)); }

double sarvo_nr_rng_double(sarvo_nr_rng_t *rng) { return uniform(*rng); }

double sarvo_nr_rng_expdev(sarvo_nr_rng_t *rng, double beta) { return -elementary::log(positive_uniform(*rng)) / beta; }

double sarvo_nr_rng_logdev(sarvo_nr_rng_t *rng, double mu, double sigma) {
    double u;
    int rejections = 0;
    do u = uniform(*rng);
    while (u * (1.0 - u) == 0.0 && ++rejections < most_rejections);
    if (rejections == most_rejections) return NAN;
    return mu + 0.5513288954217921 * sigma * elementary::log(u / (1.0 - u)); // sqrt(3) / pi
}

double sarvo_nr_rng_cauchydev(sarvo_nr_rng_t *rng, double mu, double sigma) {
    double x, u;
    int rejections = 0;
    do {
        x = 2.0 * uniform(*rng) - 1.0;
        u = uniform(*rng);
    } while ((u == 0.0 || !(u * u + x * x < 1.0)) && ++rejections < most_rejections);
    if (rejections == most_rejections) return NAN;
    return x * sigma / u + mu;
}

double sarvo_nr_rng_normdev(sarvo_nr_rng_t *rng, double mu, double sigma) {
    const RatioPoint p = ratio_of_uniforms(*rng);
    return mu + sigma * p.v / p.u;
}

sarko_error_t sarvo_nr_rng_gammadev_init(sarvo_nr_rng_gamma_t *g, double alpha, double beta) {
    if (alpha <= 0.0) return failf(SarvoDomainEC, "%f as alpha is not allowed", alpha);
    g->alph = alpha < 1.0 ? alpha + 1.0 : alpha;
    g->bet = beta;
    g->oalph = alpha;
    g->a1 = g->alph - 1.0 / 3.0;
    g->a2 = 1.0 / sqrt(9.0 * g->a1);
    return 0;
}

double sarvo_nr_rng_gammadev(sarvo_nr_rng_t *rng, const sarvo_nr_rng_gamma_t *g) {
    double u, v, x;
    do {
        do {
            const RatioPoint p = ratio_of_uniforms(*rng);
            x = p.v / p.u;
            if (x != x) return x;
            v = 1.0 + g->a2 * x;
        } while (v <= 0.0);
        v = v * v * v;
        u = uniform(*rng);
    } while (!(u <= 1.0 - 0.331 * ((x * x) * (x * x)) ||
               elementary::log(u) <= 0.5 * (x * x) + g->a1 * ((1.0 - v) + elementary::log(v))));
    if (g->alph == g->oalph) return g->a1 * v / g->bet;
    return g->a1 * v * elementary::pow(positive_uniform(*rng), 1.0 / g->oalph) / g->bet;
}

} // extern "C"
