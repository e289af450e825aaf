// Probability distributions by name: density, both tails, quantiles, on the library's functions.
#pragma once

#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace command {

struct Distribution {
    std::string_view name;
    std::vector<std::string_view> parameters; // all greater than 0 but the mean
    std::string_view meaning;
    double (*density)(std::span<const double> p, double x);
    double (*lower)(std::span<const double> p, double x); // P(X <= x)
    double (*upper)(std::span<const double> p, double x); // P(X > x), not as 1 - lower
    double (*quantile)(std::span<const double> p, double q);
};

std::span<const Distribution> distributions();

} // namespace command
