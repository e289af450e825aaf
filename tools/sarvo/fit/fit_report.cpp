// The result of a fit as an answer.
#include "fit/fit_report.h"

#include <cmath>

namespace command {
namespace {

Value finite(double x) { return std::isfinite(x) ? Value(x) : Value(); } // nothing where it cannot be had

void add_parameters(Answer &answer, const FitResult &r) {
    Grid &grid = answer.grid("parameters", "",
                             {{"name", "parameter"},
                              {"estimate", "estimate"},
                              {"standard_error", "standard error"},
                              {"t", "t", 4},
                              {"p", "p", 3}});
    for (size_t p = 0; p < r.names.size(); p++)
        grid.rows.push_back({r.names[p], finite(r.estimates[p]), finite(r.standard_errors[p]), finite(r.t_values[p]),
                             finite(r.p_values[p])});
}

// The lower triangle for people would do; programs get the whole.
void add_correlation(Answer &answer, const FitResult &r) {
    std::vector<Column> columns = {{"name", ""}};
    for (const std::string &name : r.names) columns.push_back({name, name, 3});
    Grid &grid = answer.grid("correlation", "correlation", columns);
    for (size_t a = 0; a < r.names.size(); a++) {
        grid.rows.push_back({r.names[a]});
        for (size_t b = 0; b < r.names.size(); b++) grid.rows.back().push_back(finite(r.correlation[a][b]));
    }
}

} // namespace

Answer fit_answer(const FitResult &r, const FitOptions &options) {
    Answer answer;
    answer.headline = std::string(r.converged ? "Converged" : "NOT CONVERGED") + " after " +
                      std::to_string(r.iterations) + (r.iterations == 1 ? " iteration: " : " iterations: ") + r.reason +
                      ".";
    add_parameters(answer, r);
    answer.fact("chi_square", options.weights.empty() ? "sum of squares" : "weighted sum of squares", r.chi_square);
    answer.fact("residual_sd", "residual standard deviation", value(r.residual_sd));
    answer.fact("degrees_of_freedom", "degrees of freedom", int64_t{r.degrees_of_freedom}, 0,
                "(" + std::to_string(r.rows) + " rows)");
    answer.fact("r_squared", "R\u00B2", value(r.r_squared));
    answer.fact("condition", "condition of the Jacobian", r.condition > 0.0 ? finite(r.condition) : Value(), 3);
    answer.fact("iterations", "iterations", int64_t{r.iterations});
    answer.fact("converged", "converged", r.converged);
    answer.time(r.seconds);
    if (r.names.size() > 1 && r.warning.empty()) add_correlation(answer, r);
    if (!r.warning.empty()) answer.notes.push_back(r.warning);
    return answer;
}

} // namespace command
