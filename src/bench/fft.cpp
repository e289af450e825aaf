// Fourier transform of interleaved complex values, radix 2; factors are made on the way, a strip at a time.
#include <sarvo/scimark.h>

#include <string.h>

#include "measure.h"

namespace sarvo::bench {
namespace {

struct Complex {
    double re, im;
};

inline Complex operator*(Complex a, Complex b) { return {a.re * b.re - a.im * b.im, a.re * b.im + a.im * b.re}; }
inline Complex operator+(Complex a, Complex b) { return {a.re + b.re, a.im + b.im}; }
inline Complex operator-(Complex a, Complex b) { return {a.re - b.re, a.im - b.im}; }

// cos and sin of pi / 2^j, j = 0 .. 30, correctly rounded from 300 bits (mpmath 1.3).
constexpr Complex turns[] = {
    {-0x1p0, 0},
    {0, 0x1p0},
    {0x1.6a09e667f3bcdp-1, 0x1.6a09e667f3bcdp-1},
    {0x1.d906bcf328d46p-1, 0x1.87de2a6aea963p-2},
    {0x1.f6297cff75cbp-1, 0x1.8f8b83c69a60bp-3},
    {0x1.fd88da3d12526p-1, 0x1.917a6bc29b42cp-4},
    {0x1.ff621e3796d7ep-1, 0x1.91f65f10dd814p-5},
    {0x1.ffd886084cd0dp-1, 0x1.92155f7a3667ep-6},
    {0x1.fff62169b92dbp-1, 0x1.921d1fcdec784p-7},
    {0x1.fffd8858e8a92p-1, 0x1.921f0fe670071p-8},
    {0x1.ffff621621d02p-1, 0x1.921f8becca4bap-9},
    {0x1.ffffd88586ee6p-1, 0x1.921faaee6472ep-10},
    {0x1.fffff62161a34p-1, 0x1.921fb2aecb36p-11},
    {0x1.fffffd8858675p-1, 0x1.921fb49ee4ea6p-12},
    {0x1.ffffff621619cp-1, 0x1.921fb51aeb57cp-13},
    {0x1.ffffffd885867p-1, 0x1.921fb539ecf31p-14},
    {0x1.fffffff62161ap-1, 0x1.921fb541ad59ep-15},
    {0x1.fffffffd88586p-1, 0x1.921fb5439d73ap-16},
    {0x1.ffffffff62162p-1, 0x1.921fb544197a1p-17},
    {0x1.ffffffffd8858p-1, 0x1.921fb544387bap-18},
    {0x1.fffffffff6216p-1, 0x1.921fb544403c1p-19},
    {0x1.fffffffffd886p-1, 0x1.921fb544422c2p-20},
    {0x1.ffffffffff621p-1, 0x1.921fb54442a83p-21},
    {0x1.ffffffffffd88p-1, 0x1.921fb54442c73p-22},
    {0x1.fffffffffff62p-1, 0x1.921fb54442cefp-23},
    {0x1.fffffffffffd9p-1, 0x1.921fb54442d0ep-24},
    {0x1.ffffffffffff6p-1, 0x1.921fb54442d16p-25},
    {0x1.ffffffffffffep-1, 0x1.921fb54442d18p-26},
    {0x1.fffffffffffffp-1, 0x1.921fb54442d18p-27},
    {0x1p0, 0x1.921fb54442d18p-28},
    {0x1p0, 0x1.921fb54442d18p-29},
};

// e^(sign pi i h / m), h and m powers of two, h <= m.
Complex turn(int32_t h, int32_t m, double sign) {
    const Complex t = turns[__builtin_ctz(static_cast<uint32_t>(m)) - __builtin_ctz(static_cast<uint32_t>(h))];
    return {t.re, sign * t.im};
}

constexpr int32_t strip_length = 128; // factors made at a time: 2 KiB beside the data in the nearest cache

// w(k), k = k0 .. k0 + length - 1, of stage m: k0 a multiple of length, a power of two. Each from the one whose lowest
// set bit is cleared.
void make_factors(int32_t k0, int32_t length, int32_t m, double sign, Complex *w) {
    w[0] = {1.0, 0.0};
    for (int32_t h = m / 2; h >= length; h /= 2)
        if (k0 & h) w[0] = w[0] * turn(h, m, sign);
    for (int32_t h = length / 2; h > 0; h /= 2) {
        const Complex r = turn(h, m, sign);
        for (int32_t k = h; k < length; k += 2 * h) w[k] = w[k - h] * r;
    }
}

inline void combine(int32_t length, const Complex *w, Complex *a, Complex *c) {
    for (int32_t k = 0; k < length; k++) {
        const Complex t = w[k] * c[k], x = a[k];
        c[k] = x - t;
        a[k] = x + t;
    }
}

void run_stage(int32_t N, int32_t m, double sign, Complex *x) {
    Complex w[strip_length];
    const int32_t length = m < strip_length ? m : strip_length;
    for (int32_t k0 = 0; k0 < m; k0 += length) {
        make_factors(k0, length, m, sign, w);
        for (int32_t b = k0; b < N; b += 2 * m) combine(length, w, x + b, x + b + m);
    }
}

// Stages 1 and 2, whose factors are 1 and sign i, in one pass.
void run_first_stages(int32_t N, double sign, Complex *x) {
    for (int32_t b = 0; b < N; b += 4) {
        const Complex y0 = x[b] + x[b + 1], y1 = x[b] - x[b + 1], y2 = x[b + 2] + x[b + 3], d = x[b + 2] - x[b + 3];
        const Complex y3 = {-(sign * d.im), sign * d.re};
        x[b] = y0 + y2;
        x[b + 2] = y0 - y2;
        x[b + 1] = y1 + y3;
        x[b + 3] = y1 - y3;
    }
}

void transform(int32_t N, double sign, double *data) {
    FFT_bitreverse(N, data);
    Complex *const x = reinterpret_cast<Complex *>(data);
    if (N == 2) {
        const Complex a = x[0], c = x[1];
        x[0] = a + c;
        x[1] = a - c;
    }
    if (N >= 4) run_first_stages(N, sign, x);
    for (int32_t m = 4; m < N; m *= 2) run_stage(N, m, sign, x);
}

bool transformable(int32_t N) { return N > 0 && isPowerOfTwo(static_cast<uint32_t>(N)); }

double doublings(int32_t N) {
    double count = 0.0;
    for (int64_t p = 1; p < N; p *= 2) count += 1.0;
    return count;
}

double error_of_a_pair(int32_t N, const double *data, double *copy) {
    const size_t doubles = 2 * static_cast<size_t>(N);
    memcpy(copy, data, doubles * sizeof *copy);
    FFT_transform(N, copy);
    FFT_inverse(N, copy);
    double sum = 0.0;
    for (size_t i = 0; i < doubles; i++) {
        const double d = copy[i] - data[i];
        sum += d * d;
    }
    return __builtin_sqrt(sum / static_cast<double>(doubles));
}

} // namespace
} // namespace sarvo::bench

using namespace sarvo;
using namespace sarvo::bench;

extern "C" {

int32_t isPowerOfTwo(uint32_t n) { return n != 0 && (n & (n - 1)) == 0; }

double FFT_num_flops(int32_t N) {
    const double n = N;
    return (5.0 * n - 2.0) * doublings(N) + 2.0 * (n + 1.0);
}

void FFT_bitreverse(int32_t N, double *data) {
    if (!transformable(N)) return;
    Complex *const x = reinterpret_cast<Complex *>(data);
    const uint32_t n = static_cast<uint32_t>(N);
    uint32_t reversed = 0;
    for (uint32_t i = 0; i + 1 < n; i++) {
        if (i < reversed) {
            const Complex t = x[i];
            x[i] = x[reversed];
            x[reversed] = t;
        }
        // Counting up flips the lowest bits up to the first 0; reversed, the highest ones.
        reversed ^= n - (n >> (__builtin_ctz(i + 1) + 1));
    }
}

void FFT_transform(int32_t N, double *data) {
    if (transformable(N)) transform(N, -1.0, data);
}

void FFT_inverse(int32_t N, double *data) {
    if (!transformable(N)) return;
    transform(N, 1.0, data);
    const double scale = 1.0 / N;
    for (int64_t i = 0; i < 2 * int64_t{N}; i++) data[i] *= scale;
}

sarko_error_t kernel_measureFFT(int32_t N, double min_time, Random *R, double *mflops, double *result,
                                int64_t *cycles) {
    if (!transformable(N)) return failf(SarvoSMInvalidNumEC, "Requested FFT size (%d) is a not power of two!", N);
    const uint64_t doubles = 2 * static_cast<uint64_t>(N);
    Buffer<double> x, copy;
    if (sarko_error_t e = x.allocate_unset(doubles)) return e;
    if (sarko_error_t e = copy.allocate_unset(doubles)) return e;
    for (uint64_t i = 0; i < doubles; i++) x[i] = Random_nextDouble(R);
    return measure(
        min_time,
        [&](int64_t pairs) -> sarko_error_t {
            for (int64_t c = 0; c < pairs; c++) {
                FFT_transform(N, x.get());
                FFT_inverse(N, x.get());
            }
            return 0;
        },
        [&] { return error_of_a_pair(N, x.get(), copy.get()); },
        [&](int64_t pairs) { return FFT_num_flops(N) * static_cast<double>(pairs); }, {mflops, result, cycles});
}

} // extern "C"
