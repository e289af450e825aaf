// Literal loops of the Fourier transform.
#include "../levels.h"

namespace sarvo::simd::ref {
namespace {

struct Complex {
    double re, im;
};

// Factor k of stage m from the tables that the slot describes.
Complex factor(uint64_t m, uint64_t k, const double *roots, const double *fine) {
    if (m == 1) return {1.0, 0.0};
    if (k >= m / 2) {
        const Complex w = factor(m, k - m / 2, roots, fine);
        return {0.0 - w.im, w.re};
    }
    if (m <= 2048) return {roots[m + k], roots[m + m / 2 + k]};
    const uint64_t s = m / 256, a = k / s, r = k % s;
    const Complex coarse = {roots[256 + a], roots[384 + a]};
    const Complex rest = {fine[2 * s + r], fine[3 * s + r]};
    return {coarse.re * rest.re - coarse.im * rest.im, coarse.re * rest.im + coarse.im * rest.re};
}

void exchange(double &x, double &y) {
    const double old = x;
    x = y;
    y = old;
}

} // namespace

void fourier(uint64_t n, double *re, double *im, const double *roots, const double *fine) {
    for (uint64_t i = 0, j = 0; i + 1 < n; i++) {
        if (i < j) {
            exchange(re[i], re[j]);
            exchange(im[i], im[j]);
        }
        uint64_t k = n / 2;
        while (k <= j) {
            j -= k;
            k /= 2;
        }
        j += k;
    }
    for (uint64_t m = 1; m < n; m *= 2)
        for (uint64_t k = 0; k < m; k++) {
            const Complex w = factor(m, k, roots, fine);
            for (uint64_t i = k; i < n; i += 2 * m) {
                const double t_re = w.re * re[i + m] - w.im * im[i + m];
                const double t_im = w.re * im[i + m] + w.im * re[i + m];
                re[i + m] = re[i] - t_re;
                im[i + m] = im[i] - t_im;
                re[i] = re[i] + t_re;
                im[i] = im[i] + t_im;
            }
        }
}

} // namespace sarvo::simd::ref
