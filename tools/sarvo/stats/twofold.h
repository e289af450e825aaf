// Numbers as unevaluated sums of two doubles, some 106 bits (T. J. Dekker 1971, D. E. Knuth 1969): for sums whose terms
// cancel. No fused operations, so that the bits are the same everywhere.
#pragma once

namespace command {

struct Twofold {
    double high = 0.0, low = 0.0;

    Twofold() = default;
    Twofold(double x) : high(x) {}
    Twofold(double h, double l) : high(h), low(l) {}
    double value() const { return high + low; }
};

// a + b exactly.
inline Twofold exact_sum(double a, double b) {
    const double s = a + b, from_b = s - a;
    return {s, (a - (s - from_b)) + (b - from_b)};
}

// The same where |a| >= |b|.
inline Twofold exact_sum_ordered(double a, double b) {
    const double s = a + b;
    return {s, b - (s - a)};
}

// a b exactly, unless a part overflows or vanishes: both factors are split into halves of 26 bits.
inline Twofold exact_product(double a, double b) {
    constexpr double splitter = 134217729.0; // 2^27 + 1
    const double p = a * b, ta = splitter * a, tb = splitter * b;
    const double ah = ta - (ta - a), al = a - ah, bh = tb - (tb - b), bl = b - bh;
    return {p, ((ah * bh - p) + ah * bl + al * bh) + al * bl};
}

inline Twofold operator+(Twofold a, Twofold b) {
    const Twofold s = exact_sum(a.high, b.high);
    return exact_sum_ordered(s.high, s.low + (a.low + b.low));
}
inline Twofold operator-(Twofold a) { return {-a.high, -a.low}; }
inline Twofold operator-(Twofold a, Twofold b) { return a + -b; }

inline Twofold operator*(Twofold a, Twofold b) {
    const Twofold p = exact_product(a.high, b.high);
    return exact_sum_ordered(p.high, p.low + (a.high * b.low + a.low * b.high));
}

// One step of Newton's from the quotient of the leading parts.
inline Twofold operator/(Twofold a, Twofold b) {
    const double q = a.high / b.high;
    const Twofold rest = a - b * Twofold(q);
    return exact_sum_ordered(q, rest.high / b.high);
}

} // namespace command
