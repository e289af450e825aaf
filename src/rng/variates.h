// The deviates' algorithms, written once for every source of draws: a record's functions, or MT19937 itself.
//
// A Source has  raw() and uniform()  the next integer and the next double of one stream,
//               offset(), range()    the smallest integer and the largest minus it,
//               normal()             the normal deviate of unit variance that gamma deviates take.
#pragma once

#include <math.h>
#include <sarvo/rng.h>

#include "core/elementary.h"
#include "core/fail.h"
#include "mt19937.h"
#include "ziggurat_tables.h"

namespace sarvo {

// ---- Uniform ----

template <class Source> double positive_uniform(Source &source) {
    double u;
    do u = source.uniform();
    while (u == 0.0);
    return u;
}

// Buckets of equal size; the partial one at the top is drawn again.
template <class Source> uint64_t bounded(Source &source, uint64_t s) {
    const uint64_t range = source.range();
    if (s - 1 >= range) {
        sarko_error_malfunction(
            sarko_error_create_i(SARKO_KIND_MALFUNCTION, 0, 0, 0, 0, 0, "Invalid s in sarvo_rng_uint64_scale."));
        return 0; // a handler that returns
    }
    const uint64_t scale = range / s;
    uint64_t k;
    do k = (source.raw() - source.offset()) / scale;
    while (k >= s);
    return k;
}

// ---- Normal ----

template <class Source> double polar(Source &source, double sigma) {
    double y, r2;
    do {
        const double x = 2.0 * positive_uniform(source) - 1.0;
        y = 2.0 * positive_uniform(source) - 1.0;
        r2 = x * x + y * y;
    } while (r2 > 1.0 || r2 == 0.0);
    return sigma * y * sqrt(-2.0 * elementary::log(r2) / r2);
}

struct ZigguratPoint {
    uint64_t layer;  // bit 7 is the sign, the rest the layer
    uint64_t offset; // 24 bits
};

template <class Source> ZigguratPoint ziggurat_point(Source &source) {
    const uint64_t range = source.range();
    if (range >= 0xFFFFFFFF) {
        const uint64_t k = source.raw() - source.offset();
        return {k & 0xFF, (k >> 8) & 0xFFFFFF};
    }
    if (range >= 0xFFFFFF) {
        const uint64_t layer = (source.raw() - source.offset()) & 0xFF;
        return {layer, (source.raw() - source.offset()) & 0xFFFFFF};
    }
    const uint64_t layer = bounded(source, 256);
    return {layer, bounded(source, 16777216)};
}

template <class Source> double ziggurat_normal(Source &source, double sigma) {
    using namespace ziggurat;
    for (;;) {
        const ZigguratPoint point = ziggurat_point(source);
        const double sign = point.layer & 0x80 ? 1.0 : -1.0;
        const uint64_t i = point.layer & 0x7F;
        double x = static_cast<double>(point.offset) * width[i];
        if (point.offset < inside[i]) return sign * sigma * x;
        double y;
        if (i < layers - 1) { // the wedge beside the layer above
            y = height[i + 1] + (height[i] - height[i + 1]) * source.uniform();
        } else { // the tail, below an exponential function
            const double u1 = 1.0 - source.uniform();
            const double u2 = source.uniform();
            x = R - elementary::log(u1) / R;
            y = elementary::exp(-R * (x - half_R)) * u2;
        }
        if (y < elementary::exp(-(x * x) / 2.0)) return sign * sigma * x;
    }
}

// ---- Gamma ----

// What a shape a >= 1 fixes.
struct GammaShape {
    double d, c, margin;
    explicit GammaShape(double a) : d(a - 1.0 / 3.0), c((1.0 / 3.0) / sqrt(d)), margin(1e-13 * (1.0 + 1.0 / c)) {}

    // Whether a trial of normal x and uniform u is taken; V = (1 + c x)^3.
    bool takes(double x, double V, double u) const {
        return u < 1.0 - 0.0331 * ((x * x) * (x * x)) || takes_by_logarithms(x, V, u);
    }
    // log u < h, h = 0.5 (x x) + d ((1 - V) + log V). With y = c x the terms up to y^3 cancel:
    //     h = -(y^2 x^2 / 3) (1/4 - y/5 + y^2/6 - ...),
    // and exp(h), h <= 0, lies between the sums of its series to h^3 and to h^4. The logarithms are only needed where
    // these bounds leave it open; the margin is a thousand times the rounding of either side.
    bool takes_by_logarithms(double x, double V, double u) const {
        const double y = c * x, yy = y * y;
        if (yy <= 0.5625) {
            constexpr double k[] = {1 / 4.0,  -1 / 5.0, 1 / 6.0,   -1 / 7.0, 1 / 8.0,
                                    -1 / 9.0, 1 / 10.0, -1 / 11.0, 1 / 12.0, -1 / 13.0};
            const double even = k[0] + yy * (k[2] + yy * (k[4] + yy * (k[6] + yy * k[8])));
            const double odd = k[1] + yy * (k[3] + yy * (k[5] + yy * (k[7] + yy * k[9])));
            const double series = even + y * odd, q = yy * (x * x) * (1 / 3.0);
            const double rest = (yy * yy) * (yy * yy) * yy * (1 / 3.5); // sum of |y|^j / (j + 4), j >= 10
            const double least = -q * (series + rest), most = -q * (series - rest);
            if (u < 1.0 + least * (1.0 + least * (0.5 + least * (1 / 6.0))) - margin) return true;
            if (u > 1.0 + most * (1.0 + most * (0.5 + most * (1 / 6.0 + most * (1 / 24.0)))) + margin) return false;
        }
        return elementary::log(u) < 0.5 * (x * x) + d * ((1.0 - V) + elementary::log(V));
    }
};

template <class Source> double marsaglia_tsang(Source &source, const GammaShape &shape, double b) {
    for (;;) {
        double x, v;
        do {
            x = source.normal();
            v = 1.0 + shape.c * x;
        } while (v <= 0.0);
        const double V = v * v * v;
        const double u = positive_uniform(source);
        if (shape.takes(x, V, u)) return b * shape.d * V;
    }
}

// A shape below 1 recurses upward by ones, a negative one as deep as its size: there is an end to that.
constexpr double least_gamma_shape = -1000.0;

template <class Source> double marsaglia_tsang(Source &source, double a, double b) {
    if (!(a >= least_gamma_shape)) return NAN;
    if (!(a < 1.0)) return marsaglia_tsang(source, GammaShape(a), b);
    const double u = positive_uniform(source);
    return marsaglia_tsang(source, a + 1.0, b) * elementary::pow(u, 1.0 / a);
}

// ---- Sources ----

struct RecordSource {
    sarvo_rng_t &rng;
    uint64_t raw() { return rng.get(rng.state); }
    double uniform() { return rng.get_double(rng.state); }
    uint64_t offset() const { return rng.min; }
    uint64_t range() const { return rng.max - rng.min; }
    double normal() { return rng.gauss(&rng, 1.0); }
};

struct Mt19937Source {
    Mt19937 &state;
    bool by_ziggurat; // the normal deviates' method
    uint64_t raw() { return mt_draw(state); }
    double uniform() { return mt_to_double(mt_draw(state)); }
    static constexpr uint64_t offset() { return 0; }
    static constexpr uint64_t range() { return 0xFFFFFFFF; }
    double normal() { return by_ziggurat ? ziggurat_normal(*this, 1.0) : polar(*this, 1.0); }
};

// The functions that a record carries for the methods.
double polar_method(sarvo_rng_t *rng, double sigma);
double ziggurat_method(sarvo_rng_t *rng, double sigma);
double marsaglia_tsang_method(sarvo_rng_t *rng, double a, double b);

} // namespace sarvo
