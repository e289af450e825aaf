// Fourier transforms and convolutions: bits of the stated loops, accuracy against extended precision, laws, checks.
#include <cmath>
#include <complex>

#include "mh/fourier_factors.h"
#include "mh_support.h"

namespace {

using namespace test::mh;
using test::expect_error;
using test::expect_success;
using Exact = std::complex<long double>;

constexpr double eps = 0x1p-52;
const char *const null_message = "Input structure(s) is(are) not initialized";

struct Signal {
    Vec re, im;
    uint64_t dim() const { return re.p->dim; }
};

Signal random_signal(uint64_t n, uint64_t seed) {
    test::Random random(seed);
    return {Vec(values(n, random)), Vec(values(n, random))};
}

// e^(i pi k / m) to 64 bits.
Exact root(uint64_t k, uint64_t m) {
    const long double angle = acosl(-1.0L) * static_cast<long double>(k) / static_cast<long double>(m);
    return {cosl(angle), sinl(angle)};
}

std::vector<Exact> exact_transform(const Signal &x) {
    const uint64_t n = x.dim();
    std::vector<Exact> y(n);
    for (uint64_t i = 0, j = 0; i < n; i++) {
        y[j] = {x.re.p->elems[i], x.im.p->elems[i]};
        uint64_t bit = n / 2;
        for (; bit != 0 && (j & bit) != 0; bit /= 2) j ^= bit;
        j |= bit;
    }
    for (uint64_t m = 1; m < n; m *= 2)
        for (uint64_t k = 0; k < m; k++) {
            const Exact w = root(k, m);
            for (uint64_t i = k; i < n; i += 2 * m) {
                const Exact t = w * y[i + m];
                y[i + m] = y[i] - t;
                y[i] += t;
            }
        }
    return y;
}

// |x - exact| / |exact| in units of eps log2 n.
double relative_error(const Signal &x, const std::vector<Exact> &exact) {
    long double error = 0, size = 0;
    for (uint64_t i = 0; i < x.dim(); i++) {
        error += std::norm(Exact(x.re.p->elems[i], x.im.p->elems[i]) - exact[i]);
        size += std::norm(exact[i]);
    }
    return static_cast<double>(std::sqrt(error / size)) / (eps * std::log2(static_cast<double>(x.dim())));
}

void transform(Signal &x) { expect_success(sarvo_mh_fft(x.re.p, x.im.p)); }

TEST(Factors, AreRoundedCorrectlyInTheTableAndWithinTwoUlpBeyond) {
    for (uint64_t m = 2; m <= 2048; m *= 2)
        for (uint64_t k = 0; k < m / 2; k++) { // 64 bits decide 53 except near halfway: allow what those 11 bits leave
            const Exact w = root(k, m);
            EXPECT_LE(std::fabs(w.real() - sarvo::mh::fourier_roots[m + k]), 0.501L * 0x1p-53L) << k << " of " << m;
            EXPECT_LE(std::fabs(w.imag() - sarvo::mh::fourier_roots[m + m / 2 + k]), 0.501L * 0x1p-53L);
        }
    const uint64_t n = uint64_t{1} << 17;
    Doubles fine(sarvo::mh::fine_count(n));
    sarvo::mh::fill_fine(n, fine.data());
    for (uint64_t m = 4096; m < n; m *= 2)
        for (uint64_t s = m / 256, r = 0; r < s; r++) {
            const Exact w = root(r, m);
            EXPECT_LE(std::fabs(w.real() - fine[2 * s + r]), 0.51L * 0x1p-53L);
            EXPECT_LE(std::fabs(w.imag() - fine[3 * s + r]), 2.5L * 0x1p-53L * w.imag());
        }
}

TEST(Transform, IsAccurateAgainstExtendedPrecision) {
    double worst = 0.0;
    for (uint64_t n = 2; n <= uint64_t{1} << 16; n *= 2) {
        Signal x = random_signal(n, n);
        const std::vector<Exact> exact = exact_transform(x);
        transform(x);
        const double ratio = relative_error(x, exact);
        EXPECT_LE(ratio, 0.5) << n;
        worst = std::fmax(worst, ratio);
    }
    std::printf("worst relative error of 2 .. 2^16: %.3f eps log2 n\n", worst);
}

TEST(Transform, IsAccurateForAMillionElements) {
    Signal x = random_signal(uint64_t{1} << 20, 20);
    const std::vector<Exact> exact = exact_transform(x);
    transform(x);
    const double ratio = relative_error(x, exact);
    EXPECT_LE(ratio, 0.5);
    std::printf("relative error of 2^20: %.3f eps log2 n\n", ratio);
}

TEST(Transform, HasTheSameBitsAtEveryLevel) {
    for (const uint64_t n : {1u, 3u, 64u, 100u, 5000u, 20000u}) {
        Doubles re, im;
        at_every_level([&](const std::string &level) { // the literal loops come first
            Signal x = random_signal(n, n);
            transform(x);
            if (re.empty()) {
                re = x.re.get();
                im = x.im.get();
            }
            expect_bits(x.re.get(), re, level);
            expect_bits(x.im.get(), im, level);
        });
    }
}

TEST(Transform, OfAnImpulseIsAWaveOfTheFactors) {
    for (const uint64_t n : {2u, 8u, 64u, 1024u, 16384u})
        for (const uint64_t at : {uint64_t{0}, uint64_t{1}, n / 2, n - 1}) {
            Signal x{Vec(Doubles(n)), Vec(Doubles(n))};
            x.re.p->elems[at] = 1.0;
            transform(x);
            std::vector<Exact> wave;
            for (uint64_t j = 0; j < n; j++) wave.push_back(root(at * j % n * 2, n));
            EXPECT_LE(relative_error(x, wave), 0.5) << at << " of " << n;
        }
}

TEST(Transform, IsLinearShiftsToFactorsAndComesBack) {
    for (const uint64_t n : {4u, 32u, 512u, 8192u}) {
        const Signal a = random_signal(n, 1), b = random_signal(n, 2);
        Signal sum = random_signal(n, 3), shifted = random_signal(n, 4), fa = random_signal(n, 1),
               fb = random_signal(n, 2);
        for (uint64_t i = 0; i < n; i++) {
            sum.re.p->elems[i] = 0.5 * a.re.p->elems[i] + b.re.p->elems[i];
            sum.im.p->elems[i] = 0.5 * a.im.p->elems[i] + b.im.p->elems[i];
            shifted.re.p->elems[(i + 3) % n] = a.re.p->elems[i];
            shifted.im.p->elems[(i + 3) % n] = a.im.p->elems[i];
        }
        for (Signal *x : {&sum, &shifted, &fa, &fb}) transform(*x);
        std::vector<Exact> combined, turned, original;
        for (uint64_t j = 0; j < n; j++) {
            const Exact ya(fa.re.p->elems[j], fa.im.p->elems[j]), yb(fb.re.p->elems[j], fb.im.p->elems[j]);
            combined.push_back(0.5L * ya + yb);
            turned.push_back(ya * root(3 * j % n * 2, n));
            original.emplace_back(a.re.p->elems[j], a.im.p->elems[j]);
        }
        EXPECT_LE(relative_error(sum, combined), 1.0) << n; // two transforms, each with its error
        EXPECT_LE(relative_error(shifted, turned), 1.0) << n;
        expect_success(sarvo_mh_ifft(fa.re.p, fa.im.p));
        EXPECT_LE(relative_error(fa, original), 1.0) << n;
    }
}

TEST(Transform, PadsToAPowerOfTwoAndTurnsPositively) {
    Signal padded{Vec({1, 0, 0}), Vec({0, 0, 0})}, pair{Vec({0, 1}), Vec({0, 0})},
        four{Vec({0, 1, 0, 0}), Vec(Doubles(4))};
    for (Signal *x : {&padded, &pair, &four}) transform(*x);
    EXPECT_EQ(padded.re.get(), Doubles({1, 1, 1, 1}));
    EXPECT_EQ(padded.im.get(), Doubles(4));
    EXPECT_EQ(pair.re.get(), Doubles({1, -1}));
    EXPECT_EQ(four.re.get(), Doubles({1, 0, -1, 0}));
    EXPECT_EQ(four.im.get(), Doubles({0, 1, 0, -1}));
    Signal none{Vec(Doubles{}), Vec(Doubles{})}, one{Vec({3}), Vec({4})};
    transform(none);
    transform(one);
    EXPECT_EQ(none.re.get(), Doubles{0});
    EXPECT_EQ(one.im.get(), Doubles{4});
    expect_success(sarvo_mh_ifft(padded.re.p, padded.im.p));
    EXPECT_EQ(padded.re.get(), Doubles({1, 0, 0, 0}));
}

TEST(Transform, ChecksInOrder) {
    Vec x({1, 2, 3}), y({1, 2, 3, 4});
    expect_error(sarvo_mh_fft(nullptr, y.p), SarvoMHNullEC, {null_message});
    expect_error(sarvo_mh_fft(x.p, nullptr), SarvoMHNullEC, {null_message});
    expect_error(sarvo_mh_fft(x.p, y.p), SarvoMHSizesEC, {"Wrong size(s) of object(s)"});
    expect_error(sarvo_mh_ifft(x.p, nullptr), SarvoMHNullEC, {null_message});
    EXPECT_EQ(y.get(), Doubles({1, 2, 3, 4}));
    expect_error(sarvo_mh_ifft(nullptr, y.p), SarvoMHNullEC, {null_message});
    EXPECT_EQ(y.get(), Doubles({-1, -2, -3, -4})) << "negated before the forward transform checks";
    expect_error(sarvo_mh_ifft(x.p, y.p), SarvoMHSizesEC, {"Wrong size(s) of object(s)"});
    EXPECT_EQ(x.p->dim, 3u);
}

// ---- Convolution ----

Doubles linear(const Doubles &x1, const Doubles &x2) {
    Doubles out(x1.empty() || x2.empty() ? 0 : x1.size() + x2.size() - 1);
    for (uint64_t i = 0; i < x1.size(); i++)
        for (uint64_t j = 0; j < x2.size(); j++) out[i + j] += x1[i] * x2[j];
    return out;
}

Doubles periodic(const Doubles &x1, const Doubles &x2) {
    Doubles out(x2.size());
    for (uint64_t i = 0; i < x1.size(); i++)
        for (uint64_t j = 0; j < x2.size(); j++) out[(i + j) % x2.size()] += x1[i] * x2[j];
    return out;
}

TEST(Convolution, HasTheBitsOfTheStatedLoops) {
    test::Random random(5);
    const uint64_t sizes[] = {0, 1, 2, 3, 5, 8, 17, 95, 97, 200, 700};
    for (const uint64_t n1 : sizes)
        for (const uint64_t n2 : sizes)
            for (const bool spoil1 : {false, true})
                for (const bool spoil2 : {false, true}) { // zeros everywhere, infinities in either or both
                    Doubles a = values(n1, random, Fill::zeros), b = values(n2, random, Fill::zeros);
                    if (spoil1 && n1 != 0) a[random.below(n1)] = random.below(2) ? HUGE_VAL : NAN;
                    if (spoil2 && n2 != 0) b[random.below(n2)] = random.below(2) ? HUGE_VAL : NAN;
                    const Vec x1(a), x2(b);
                    at_every_level([&](const std::string &level) {
                        const std::string what = std::to_string(n1) + " x " + std::to_string(n2) + " " + level;
                        Vec fresh, used({1, 2, 3});
                        expect_success(sarvo_mh_v_conv(x1.p, x2.p, &fresh.p));
                        expect_bits(fresh.get(), linear(a, b), "linear " + what);
                        expect_success(sarvo_mh_v_pconv(x1.p, x2.p, &used.p));
                        expect_bits(used.get(), periodic(a, b), "periodic " + what);
                    });
                }
}

TEST(Convolution, ChecksInOrderAndSizesTheOutput) {
    Vec x({1, 2}), y({1, 1, 1}), none{Doubles{}}, out, kept({5, 6});
    for (const auto operation : {sarvo_mh_v_conv, sarvo_mh_v_pconv}) {
        expect_error(operation(nullptr, y.p, &out.p), SarvoMHNullEC, {null_message});
        expect_error(operation(x.p, nullptr, &out.p), SarvoMHNullEC, {null_message});
        expect_error(operation(x.p, y.p, nullptr), SarvoMHNullEC, {null_message});
        expect_error(operation(x.p, y.p, &x.p), SarvoMHInsituEC, {"Can't do operation in situ"});
        expect_error(operation(x.p, y.p, &y.p), SarvoMHInsituEC, {"Can't do operation in situ"});
        expect_success(operation(x.p, none.p, &kept.p));
        EXPECT_EQ(kept.p->dim, 0u);
        EXPECT_EQ(kept.p->max_dim, 2u);
    }
    EXPECT_EQ(out.p, nullptr);
    expect_success(sarvo_mh_v_conv(none.p, y.p, &out.p));
    EXPECT_EQ(out.p->dim, 0u);
    expect_success(sarvo_mh_v_conv(x.p, y.p, &out.p));
    EXPECT_EQ(out.get(), Doubles({1, 3, 3, 2}));
    expect_success(sarvo_mh_v_pconv(x.p, y.p, &out.p));
    EXPECT_EQ(out.get(), Doubles({3, 3, 3}));
    expect_success(sarvo_mh_v_conv(x.p, x.p, &out.p));
    EXPECT_EQ(out.get(), Doubles({1, 4, 4}));
}

} // namespace
