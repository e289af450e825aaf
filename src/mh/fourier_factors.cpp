// The table of correctly rounded factors, made at compile time in double-double arithmetic, and the fine parts.
#include "fourier_factors.h"

namespace sarvo::mh {
namespace {

// hi + lo with |lo| at most half an ulp of hi: some 104 bits.
struct Pair {
    double hi, lo;
};

constexpr Pair sum(double a, double b) { // exact
    const double s = a + b, t = s - a;
    return {s, (a - (s - t)) + (b - t)};
}

constexpr Pair product(double a, double b) { // exact: halves of 26 bits
    const double p = a * b, splitter = 0x1p27 + 1;
    const double ta = splitter * a, tb = splitter * b;
    const double ah = ta - (ta - a), bh = tb - (tb - b), al = a - ah, bl = b - bh;
    return {p, ((ah * bh - p) + ah * bl + al * bh) + al * bl};
}

constexpr Pair operator+(Pair a, Pair b) {
    const Pair s = sum(a.hi, b.hi), t = sum(a.lo, b.lo), u = sum(s.hi, s.lo + t.hi);
    return sum(u.hi, u.lo + t.lo);
}
constexpr Pair operator-(Pair a) { return {-a.hi, -a.lo}; }
constexpr Pair operator*(Pair a, Pair b) {
    const Pair p = product(a.hi, b.hi);
    return sum(p.hi, p.lo + (a.hi * b.lo + a.lo * b.hi));
}

constexpr uint64_t largest = 2048; // stage

struct Roots {
    double all[2 * largest];
};

// e^(i pi k / 2048) for k up to an eighth of a turn by repeated rotation: after 512 of them the error is still 2^-90.
constexpr Roots make_roots() {
    Roots roots{};
    double *re = roots.all + largest, *im = re + largest / 2;
    const Pair cosine = {0x1.ffffd88586ee6p-1, 0x1.1af64f173ae5bp-55}; // of pi/2048
    const Pair sine = {0x1.921faaee6472ep-10, -0x1.ee52e284a9df8p-64};
    Pair c = {1.0, 0.0}, s = {0.0, 0.0};
    for (uint64_t k = 0; k <= largest / 4; k++) {
        re[k] = c.hi;
        im[k] = s.hi;
        if (k != 0) { // mirrored at pi/4
            re[largest / 2 - k] = s.hi;
            im[largest / 2 - k] = c.hi;
        }
        const Pair next = c * cosine + -(s * sine);
        s = s * cosine + c * sine;
        c = next;
    }
    for (uint64_t m = largest / 2; m >= 2; m /= 2)
        for (uint64_t k = 0; k < m; k++) roots.all[m + k] = roots.all[2 * m + 2 * k];
    return roots;
}

constexpr Roots roots = make_roots();

} // namespace

const double *const fourier_roots = roots.all;

// sin(pi f) = f (pi + f f (s3 + ...)), cos(pi f) = 1 + f f (c2 + ...) for f < 1/256: what is left out is below 2^-66.
void fill_fine(uint64_t n, double *fine) {
    constexpr double s1 = 0x1.921fb54442d18p+1, s3 = -0x1.4abbce625be53p+2, s5 = 0x1.466bc6775aae2p+1,
                     s7 = -0x1.32d2cce62bd86p-1;
    constexpr double c2 = -0x1.3bd3cc9be45dep+2, c4 = 0x1.03c1f081b5ac4p+2, c6 = -0x1.55d3c7e3cbffap+0;
    for (uint64_t m = 2 * largest; m < n; m *= 2) {
        const uint64_t s = m / 256;
        const double step = 1.0 / static_cast<double>(m);
        for (uint64_t r = 0; r < s; r++) {
            const double f = static_cast<double>(r) * step, ff = f * f;
            fine[2 * s + r] = 1.0 + ff * (c2 + ff * (c4 + ff * c6));
            fine[3 * s + r] = f * (s1 + ff * (s3 + ff * (s5 + ff * s7)));
        }
    }
}

} // namespace sarvo::mh
