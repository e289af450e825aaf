// The library's special functions by name, with their error estimates.
#pragma once

#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace command::special {

struct Result {
    double value = 0.0;
    std::optional<double> error; // estimate of the absolute error
    std::optional<double> sign;  // of Gamma, where the value is a logarithm
};

struct Function {
    std::string_view name;
    std::vector<std::string_view> arguments;
    std::string_view meaning;
    Result (*evaluate)(std::span<const double> x); // throws Failure with the library's error
};
std::span<const Function> functions();
const Function *find(std::string_view name); // null when there is none

// Plain functions for formulas: NaN where the library refuses.
double lngamma(double x);
double gamma(double x);
double psi(double x);
double trigamma(double x);
double tetragamma(double x);

} // namespace command::special
