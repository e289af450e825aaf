// The generator and its deviates as stated, one plain loop after the other, with tables of their own: the oracle.
#pragma once

#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>

namespace literal {

struct Mt {
    uint32_t word[624];
    int index = 624;

    explicit Mt(uint64_t seed) {
        word[0] = static_cast<uint32_t>(seed == 0 ? 4357 : seed);
        for (uint32_t i = 1; i < 624; i++) word[i] = 1812433253u * (word[i - 1] ^ (word[i - 1] >> 30)) + i;
    }
    uint32_t get() {
        if (index >= 624) {
            for (int k = 0; k < 624; k++) {
                const uint32_t y = (word[k] & 0x80000000u) | (word[(k + 1) % 624] & 0x7FFFFFFFu);
                word[k] = word[(k + 397) % 624] ^ (y >> 1) ^ (word[(k + 1) % 624] % 2 ? 0x9908B0DFu : 0);
            }
            index = 0;
        }
        uint32_t y = word[index++];
        y ^= y >> 11;
        y ^= (y << 7) & 0x9D2C5680u;
        y ^= (y << 15) & 0xEFC60000u;
        y ^= y >> 18;
        return y;
    }
    double uniform() { return get() * (1.0 / 4294967296.0); }
    double positive() {
        for (;;)
            if (const double u = uniform(); u != 0.0) return u;
    }

    double polar(double sigma) {
        for (;;) {
            const double x = 2 * positive() - 1;
            const double y = 2 * positive() - 1;
            const double r2 = x * x + y * y;
            if (!(r2 > 1.0 || r2 == 0.0)) return sigma * y * std::sqrt(-2 * std::log(r2) / r2);
        }
    }
    double ziggurat(double sigma);
    double normal(int method, double sigma) { return method == 2 ? ziggurat(sigma) : polar(sigma); }
    double gamma(int normal_method, double a, double b) {
        if (a < 1) {
            const double u = positive();
            return gamma(normal_method, a + 1, b) * std::pow(u, 1 / a);
        }
        const double d = a - 1.0 / 3.0;
        const double c = (1.0 / 3.0) / std::sqrt(d);
        for (;;) {
            const double x = normal(normal_method, 1.0);
            double v = 1 + c * x;
            if (v <= 0) continue;
            v = v * v * v;
            const double u = positive();
            if (u < 1 - 0.0331 * ((x * x) * (x * x))) return b * d * v;
            if (std::log(u) < 0.5 * (x * x) + d * ((1 - v) + std::log(v))) return b * d * v;
        }
    }
};

// Layers from their definition in extended precision: areas v = f(R) (R + 1/R), the topmost closing at height 1.
struct Layers {
    double y[128], w[128];
    uint64_t k[128];
    long double R;

    static long double height(long double R, long double *y) {
        const long double f = std::exp(-R * R / 2);
        y[127] = f;
        for (int i = 126; i >= 0; i--) y[i] = y[i + 1] + f * (R + 1 / R) / abscissa(y[i + 1]);
        return y[0];
    }
    static long double abscissa(long double y) { return y < 1 ? std::sqrt(-2 * std::log(y)) : 1e-9L; }
    static double digits12(long double x) {
        char text[40];
        std::snprintf(text, sizeof text, "%.11Le", x);
        return std::strtod(text, nullptr);
    }
    Layers() {
        long double exact[128], low = 3.4L, high = 3.5L;
        for (int i = 0; i < 80; i++) {
            R = (low + high) / 2;
            (height(R, exact) > 1 ? low : high) = R;
        }
        height(R, exact);
        exact[0] = 1;
        const long double scale = 16777216;
        for (int i = 0; i < 128; i++) {
            const long double edge = i < 127 ? abscissa(exact[i + 1]) : R + 1 / R;
            const long double inner = i == 0 ? 0 : i < 127 ? abscissa(exact[i]) : R;
            y[i] = digits12(exact[i]);
            w[i] = digits12(edge / scale);
            k[i] = static_cast<uint64_t>(scale * inner / edge);
        }
    }
};
inline const Layers layers;

inline double Mt::ziggurat(double sigma) {
    for (;;) {
        const uint32_t k = get();
        uint32_t i = k & 0xFF;
        const uint32_t j = (k >> 8) & 0xFFFFFF;
        const double sign = i & 0x80 ? +1 : -1;
        i &= 0x7F;
        double x = j * layers.w[i];
        double y;
        if (j < layers.k[i]) return sign * sigma * x;
        if (i < 127) {
            y = layers.y[i + 1] + (layers.y[i] - layers.y[i + 1]) * uniform();
        } else {
            const double u1 = 1 - uniform();
            const double u2 = uniform();
            x = 3.44428647676 - std::log(u1) / 3.44428647676;
            y = std::exp(-3.44428647676 * (x - 1.72214323838)) * u2;
        }
        if (y < std::exp(-x * x / 2)) return sign * sigma * x;
    }
}

} // namespace literal
