// Evaluation of formulas with forward-mode derivatives.
#include "tape.h"

#include <cmath>
#include <cstdlib>

#include "elementary.h"
#include "special/special_functions.h"

namespace command::formula {
namespace {

namespace el = elementary;

constexpr double two_over_root_pi = 1.1283791670955126; // 2/sqrt(pi)
constexpr double ln_2 = 0.6931471805599453;
constexpr double ln_10 = 2.302585092994046;

const Function function_table[] = {
    {"exp", el::exp, [](double, double v) { return v; }},
    {"expm1", el::expm1, [](double, double v) { return v + 1.0; }},
    {"log", el::log, [](double x, double) { return 1.0 / x; }},
    {"log2", el::log2, [](double x, double) { return 1.0 / (x * ln_2); }},
    {"log10", el::log10, [](double x, double) { return 1.0 / (x * ln_10); }},
    {"log1p", el::log1p, [](double x, double) { return 1.0 / (1.0 + x); }},
    {"sqrt", el::sqrt, [](double, double v) { return 0.5 / v; }},
    {"cbrt", el::cbrt, [](double, double v) { return 1.0 / (3.0 * v * v); }},
    {"sin", el::sin, [](double x, double) { return el::cos(x); }},
    {"cos", el::cos, [](double x, double) { return -el::sin(x); }},
    {"tan", el::tan, [](double, double v) { return 1.0 + v * v; }},
    {"asin", el::asin, [](double x, double) { return 1.0 / el::sqrt((1.0 - x) * (1.0 + x)); }},
    {"acos", el::acos, [](double x, double) { return -1.0 / el::sqrt((1.0 - x) * (1.0 + x)); }},
    {"atan", el::atan, [](double x, double) { return 1.0 / (1.0 + x * x); }},
    {"sinh", el::sinh, [](double x, double) { return el::cosh(x); }},
    {"cosh", el::cosh, [](double x, double) { return el::sinh(x); }},
    {"tanh", el::tanh, [](double, double v) { return (1.0 - v) * (1.0 + v); }},
    {"erf", el::erf, [](double x, double) { return two_over_root_pi * el::exp(-x * x); }},
    {"erfc", el::erfc, [](double x, double) { return -two_over_root_pi * el::exp(-x * x); }},
    {"lngamma", special::lngamma, [](double x, double) { return special::psi(x); }},
    {"gamma", special::gamma, [](double x, double v) { return v * special::psi(x); }},
    {"psi", special::psi, [](double x, double) { return special::trigamma(x); }},
    {"psi1", special::trigamma, [](double x, double) { return special::tetragamma(x); }},
    {"abs", [](double x) { return std::fabs(x); },
     [](double x, double) { return x < 0.0   ? -1.0
                                   : x > 0.0 ? 1.0
                                             : 0.0; }},
};

// x^n from the highest bit of |n| down: square, then multiply by x where the bit is set; 1 over it for negative n.
double integer_power(double x, long n) {
    const unsigned long size = n < 0 ? 0ul - static_cast<unsigned long>(n) : static_cast<unsigned long>(n);
    double result = 1.0;
    for (unsigned long bit = 1ul << 62; bit > 0; bit >>= 1) {
        if (bit <= size) result *= result;
        if (size & bit) result *= x;
    }
    return n < 0 ? 1.0 / result : result;
}

// How a step with derivative factors f, g passes on those of its operands: f left' + g right'. Inactive operands give
// none.
struct Factors {
    double left = 0.0, right = 0.0;
};

double apply(const Step &s, double a, double b) {
    switch (s.op) {
    case Op::add: return a + b;
    case Op::subtract: return a - b;
    case Op::multiply: return a * b;
    case Op::divide: return a / b;
    case Op::negate: return -a;
    case Op::power: return el::pow(a, b);
    case Op::integer_power: return integer_power(a, s.exponent);
    case Op::minimum: return a < b || a != a ? a : b;
    case Op::maximum: return a > b || a != a ? a : b;
    case Op::arc_tangent: return el::atan2(a, b);
    default: return function_table[s.right].value(a);
    }
}

Factors factors(const Step &s, double a, double b, double value) {
    switch (s.op) {
    case Op::add: return {1.0, 1.0};
    case Op::subtract: return {1.0, -1.0};
    case Op::multiply: return {b, a};
    case Op::divide: return {1.0 / b, -value / b};
    case Op::negate: return {-1.0, 0.0};
    case Op::power: // at a = 0 the derivative by the exponent is the limit 0
        return {b * el::pow(a, b - 1.0), value == 0.0 ? 0.0 : value * el::log(a)};
    case Op::integer_power:
        return {s.exponent == 0 ? 0.0 : static_cast<double>(s.exponent) * integer_power(a, s.exponent - 1), 0.0};
    case Op::minimum: return a < b ? Factors{1.0, 0.0} : Factors{0.0, 1.0};
    case Op::maximum: return a > b ? Factors{1.0, 0.0} : Factors{0.0, 1.0};
    case Op::arc_tangent: return {b / (a * a + b * b), -a / (a * a + b * b)};
    default: return {function_table[s.right].derivative(a, value), 0.0};
    }
}

bool takes_two(Op op) {
    return op == Op::add || op == Op::subtract || op == Op::multiply || op == Op::divide || op == Op::power ||
           op == Op::minimum || op == Op::maximum || op == Op::arc_tangent;
}

bool is_leaf(Op op) { return op == Op::constant || op == Op::column || op == Op::parameter; }

} // namespace

std::span<const Function> functions() { return function_table; }

size_t Tape::append(Step step) {
    if (step.op == Op::parameter) step.active = true;
    else if (!is_leaf(step.op))
        step.active = steps_[step.left].active || (takes_two(step.op) && steps_[step.right].active);
    steps_.push_back(step);
    return steps_.size() - 1;
}

Tape::Work Tape::work(size_t parameters) const {
    return {std::vector<double>(steps_.size()), std::vector<double>(steps_.size() * parameters)};
}

double Tape::evaluate(std::span<const std::vector<double>> columns, size_t row, std::span<const double> parameters,
                      double *gradient, Work &work) const {
    const size_t count = parameters.size();
    for (size_t i = 0; i < steps_.size(); i++) {
        const Step &s = steps_[i];
        double *d = work.derivatives.data() + i * count;
        if (is_leaf(s.op)) {
            work.values[i] = s.op == Op::constant ? s.value
                             : s.op == Op::column ? columns[s.left][row]
                                                  : parameters[s.left];
            for (size_t p = 0; gradient && s.active && p < count; p++) d[p] = p == s.left ? 1.0 : 0.0;
            continue;
        }
        const bool two = takes_two(s.op);
        const double a = work.values[s.left];
        const double b = two ? work.values[s.right] : 0.0;
        work.values[i] = apply(s, a, b);
        if (!gradient || !s.active) continue;
        const Factors f = factors(s, a, b, work.values[i]);
        const bool left = steps_[s.left].active;
        const bool right = two && steps_[s.right].active;
        const double *dl = work.derivatives.data() + s.left * count;
        const double *dr = work.derivatives.data() + s.right * count;
        for (size_t p = 0; p < count; p++)
            d[p] = left && right ? f.left * dl[p] + f.right * dr[p] : left ? f.left * dl[p] : f.right * dr[p];
    }
    const size_t last = steps_.size() - 1;
    for (size_t p = 0; gradient && p < count; p++)
        gradient[p] = steps_[last].active ? work.derivatives[last * count + p] : 0.0;
    return work.values[last];
}

} // namespace command::formula
