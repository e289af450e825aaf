// A formula as a list of operations, evaluated in order together with its derivatives by the parameters.
#pragma once

#include <cstddef>
#include <span>
#include <string_view>
#include <vector>

namespace command::formula {

enum class Op : unsigned char {
    constant,  // value
    column,    // input number `left`
    parameter, // parameter number `left`
    add,
    subtract,
    multiply,
    divide,
    negate,
    power,         // left ^ right
    integer_power, // left ^ n by repeated squaring, n = exponent
    minimum,
    maximum,
    arc_tangent, // of two
    function     // number `right` of the functions of one argument
};

struct Step {
    Op op;
    size_t left = 0, right = 0; // earlier steps, or what the operation says
    double value = 0.0;         // of a constant
    long exponent = 0;          // of an integer power
    bool active = false;        // depends on a parameter
};

// A function of one argument and its derivative, which may use the function's value.
struct Function {
    std::string_view name;
    double (*value)(double x);
    double (*derivative)(double x, double value);
};
std::span<const Function> functions();

// Every operation rounds by itself, in the order of the steps; derivatives are propagated forward with them.
class Tape {
public:
    // Appends a step, folding nothing: a formula is evaluated as it is written. Returns its number.
    size_t append(Step step);
    size_t size() const { return steps_.size(); }
    const Step &step(size_t i) const { return steps_[i]; }
    bool uses_parameters() const { return !steps_.empty() && steps_.back().active; }

    // Work space for evaluations with `parameters` derivatives.
    struct Work {
        std::vector<double> values, derivatives;
    };
    Work work(size_t parameters) const;

    // Value of the last step, row `row` of the input columns. With `gradient` not null its derivatives by the
    // parameters.
    double evaluate(std::span<const std::vector<double>> columns, size_t row, std::span<const double> parameters,
                    double *gradient, Work &work) const;

private:
    std::vector<Step> steps_;
};

} // namespace command::formula
