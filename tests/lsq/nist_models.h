// The models of the certified non-linear data sets with their exact derivatives.
#pragma once

#include <math.h>

namespace nist {

// f(x; b) and its derivatives by b(0), b(1), ...
struct Value {
    double f;
    double df[8];
};

inline Value misra1a(const double *b, double x) { // b0 (1 - exp(-b1 x))
    const double e = exp(-b[1] * x);
    return {b[0] * (1 - e), {1 - e, b[0] * x * e}};
}

inline Value chwirut(const double *b, double x) { // exp(-b0 x) / (b1 + b2 x)
    const double q = b[1] + b[2] * x;
    const double f = exp(-b[0] * x) / q;
    return {f, {-x * f, -f / q, -x * f / q}};
}

inline Value danwood(const double *b, double x) { // b0 x^b1
    const double p = pow(x, b[1]);
    return {b[0] * p, {p, b[0] * p * log(x)}};
}

inline Value lanczos(const double *b, double x) { // sum of three b exp(-b x)
    Value v = {};
    for (int i = 0; i < 6; i += 2) {
        const double e = exp(-b[i + 1] * x);
        v.f += b[i] * e;
        v.df[i] = e;
        v.df[i + 1] = -b[i] * x * e;
    }
    return v;
}

inline Value gauss(const double *b, double x) { // b0 exp(-b1 x) + two peaks b exp(-(x - b)^2 / b^2)
    const double decay = exp(-b[1] * x);
    Value v = {b[0] * decay, {decay, -b[0] * x * decay}};
    for (int i = 2; i < 8; i += 3) {
        const double u = (x - b[i + 1]) / b[i + 2];
        const double e = exp(-u * u);
        v.f += b[i] * e;
        v.df[i] = e;
        v.df[i + 1] = b[i] * e * 2 * u / b[i + 2];
        v.df[i + 2] = b[i] * e * 2 * u * u / b[i + 2];
    }
    return v;
}

// (b0 + b1 x + ...) / (1 + b_{k} x + ...) with `numerator` coefficients above and `denominator` below.
inline Value rational(const double *b, double x, int numerator, int denominator) {
    double p = 0, q = 1, power = 1;
    for (int i = 0; i < numerator; i++, power *= x) p += b[i] * power;
    power = x;
    for (int i = 0; i < denominator; i++, power *= x) q += b[numerator + i] * power;
    Value v = {p / q, {}};
    power = 1;
    for (int i = 0; i < numerator; i++, power *= x) v.df[i] = power / q;
    power = x;
    for (int i = 0; i < denominator; i++, power *= x) v.df[numerator + i] = -v.f * power / q;
    return v;
}

inline Value kirby2(const double *b, double x) { return rational(b, x, 3, 2); }
inline Value thurber(const double *b, double x) { return rational(b, x, 4, 3); }

inline Value mgh09(const double *b, double x) { // b0 (x^2 + x b1) / (x^2 + x b2 + b3)
    const double n = x * x + x * b[1], q = x * x + x * b[2] + b[3];
    const double f = b[0] * n / q;
    return {f, {n / q, b[0] * x / q, -f * x / q, -f / q}};
}

inline Value eckerle4(const double *b, double x) { // (b0 / b1) exp(-((x - b2) / b1)^2 / 2)
    const double u = (x - b[2]) / b[1];
    const double e = exp(-0.5 * u * u) / b[1];
    const double f = b[0] * e;
    return {f, {e, f * (u * u - 1) / b[1], f * u / b[1]}};
}

} // namespace nist
