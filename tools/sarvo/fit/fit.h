// A least-squares fit of a formula to the columns of a table, over the library's C interface.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "data/table.h"

namespace command {

struct FitOptions {
    std::string formula;                               // left ~ right
    std::vector<std::pair<std::string, double>> start; // parameters in the order of the report
    std::string weights;                               // column of weights of the squared residuals; empty: none
    double step_tolerance = 1e-11;
    double gradient_tolerance = 0.0;
    int max_iterations = 1000;
    bool known_variances = false; // weights are 1 / variance: standard errors are not scaled by the residuals
};

struct FitIteration {
    int number; // from 1
    double chi_square, lambda, gain;
    unsigned tries;
    bool accepted;
};

struct FitResult {
    std::vector<std::string> names;
    std::vector<double> estimates, standard_errors; // errors NaN when they cannot be had
    std::vector<double> t_values;                   // estimate / standard error
    std::vector<double>
        p_values; // two-sided, of a parameter that is 0: Student's distribution; normal with known variances
    std::vector<std::vector<double>> correlation;
    double chi_square = 0;
    std::optional<double> residual_sd; // none without degrees of freedom
    std::optional<double> r_squared;   // none when the left side is constant
    size_t rows = 0;
    long degrees_of_freedom = 0;
    int iterations = 0;
    bool converged = false;
    std::string reason;  // why it stopped
    std::string warning; // about what the figures cannot tell; may be empty
    double seconds = 0.0;
    double condition = 0; // of the Jacobian with columns scaled to length 1
};

// Throws Failure: usage_error for options that do not fit the table, a formula that does not parse, fewer rows than
// parameters, a start at which the model is not finite.
FitResult fit(const Table &table, const FitOptions &options,
              const std::function<void(const FitIteration &)> &progress = {});

} // namespace command
