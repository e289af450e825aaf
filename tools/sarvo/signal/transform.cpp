// Fourier transforms of any length from those of a power of two.
#include "signal/transform.h"

#include <bit>
#include <cmath>
#include <cstdint>
#include <utility>

#include "elementary.h"
#include "library.h"

namespace command {
namespace {

void transform_power_of_two(ComplexList &x, bool inverse) {
    const auto vector_of = [](const std::vector<double> &values) {
        VEC *v = nullptr;
        check(sarvo_mh_v_get(values.size(), &v));
        std::copy(values.begin(), values.end(), v->elems);
        return DenseVector(v);
    };
    const DenseVector re = vector_of(x.re), im = vector_of(x.im);
    check(inverse ? sarvo_mh_ifft(re.get(), im.get()) : sarvo_mh_fft(re.get(), im.get()));
    x.re.assign(re->elems, re->elems + re->dim);
    x.im.assign(im->elems, im->elems + im->dim);
}

struct Root {
    double cosine, sine;
};

// exp(2 pi i s / n): the angle is brought into the first octant in whole numbers, so that each part is right to a unit in
// the last place.
Root root_of_unity(uint64_t s, uint64_t n) {
    constexpr double pi = 3.14159265358979323846;
    const uint64_t circle = 8 * n;
    uint64_t u = 8 * s;
    const bool below = 2 * u > circle; // the lower half plane: sine negative
    if (below) u = circle - u;
    const bool left = 4 * u > circle; // the left half plane: cosine negative
    if (left) u = circle / 2 - u;
    const bool steep = 8 * u > circle; // beyond 45 degrees: cosine and sine exchanged
    if (steep) u = circle / 4 - u;

    const double angle = 2.0 * pi * (static_cast<double>(u) / static_cast<double>(circle));
    Root root = {elementary::cos(angle), elementary::sin(angle)};
    if (steep) std::swap(root.cosine, root.sine);
    return {left ? -root.cosine : root.cosine, below ? -root.sine : root.sine};
}

// With j k = (j^2 + k^2 - (j - k)^2) / 2 and w(k) = exp(pi i k^2 / n) the transform is a convolution,
//     X(j) = w(j) sum_k (x(k) w(k)) conj w(j - k),
// done at the next power of two that holds 2 n - 1 values.
void transform_any_length(ComplexList &x) {
    const uint64_t n = x.re.size(), length = std::bit_ceil(2 * n - 1);
    std::vector<Root> w(n);
    for (uint64_t k = 0, square = 0; k < n; k++) { // square = k^2 modulo 2 n
        w[k] = root_of_unity(square, 2 * n);
        square = (square + 2 * k + 1) % (2 * n);
    }

    // --- both factors, the second one symmetric about 0 ---
    const std::vector<double> zeros(length);
    ComplexList a{zeros, zeros}, b{zeros, zeros};
    for (uint64_t k = 0; k < n; k++) {
        a.re[k] = x.re[k] * w[k].cosine - x.im[k] * w[k].sine;
        a.im[k] = x.re[k] * w[k].sine + x.im[k] * w[k].cosine;
        const uint64_t mirrored = (length - k) % length;
        b.re[k] = b.re[mirrored] = w[k].cosine;
        b.im[k] = b.im[mirrored] = -w[k].sine;
    }

    // --- their convolution ---
    transform_power_of_two(a, false);
    transform_power_of_two(b, false);
    for (uint64_t k = 0; k < length; k++) {
        const double re = a.re[k] * b.re[k] - a.im[k] * b.im[k];
        a.im[k] = a.re[k] * b.im[k] + a.im[k] * b.re[k];
        a.re[k] = re;
    }
    transform_power_of_two(a, true);
    for (uint64_t j = 0; j < n; j++) {
        x.re[j] = a.re[j] * w[j].cosine - a.im[j] * w[j].sine;
        x.im[j] = a.re[j] * w[j].sine + a.im[j] * w[j].cosine;
    }
}

} // namespace

void transform(ComplexList &x, bool inverse) {
    const uint64_t n = x.re.size();
    if (std::has_single_bit(n)) return transform_power_of_two(x, inverse);
    // The inverse is the forward transform between two exchanges of the parts, over n.
    if (inverse) std::swap(x.re, x.im);
    transform_any_length(x);
    if (!inverse) return;
    std::swap(x.re, x.im);
    for (std::vector<double> *part : {&x.re, &x.im})
        for (double &value : *part) value /= static_cast<double>(n);
}

} // namespace command
