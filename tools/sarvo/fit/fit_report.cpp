// The three forms of a fit's result.
#include "fit/fit_report.h"

#include <cmath>

#include "numbers.h"
#include "text.h"

namespace command {
namespace {

std::string shown(double x, int digits) { return std::isfinite(x) ? general(x, digits) : "-"; }

std::string fixed(double x) { // of a correlation
    if (!std::isfinite(x)) return "-";
    const bool negative = x < 0.0;
    const long thousandths = std::lround(std::fabs(x) * 1000.0);
    std::string digits = std::to_string(thousandths % 1000);
    return (negative ? "-" : "") + std::to_string(thousandths / 1000) + "." + std::string(3 - digits.size(), '0') +
           digits;
}

} // namespace

std::string fit_table(const FitResult &r, const FitOptions &options, int digits) {
    std::string text = r.converged ? "Converged" : "NOT CONVERGED";
    text += " after " + std::to_string(r.iterations) + (r.iterations == 1 ? " iteration: " : " iterations: ") +
            r.reason + ".\n\n";

    std::vector<std::vector<std::string>> rows = {{"parameter", "estimate", "standard error", "t", "p"}};
    for (size_t p = 0; p < r.names.size(); p++)
        rows.push_back({r.names[p], shown(r.estimates[p], digits), shown(r.standard_errors[p], digits),
                        shown(r.t_values[p], 4), shown(r.p_values[p], 3)});
    text += aligned(rows) + "\n";

    const auto line = [&](const std::string &name, const std::string &value) { rows.push_back({name, value}); };
    rows.clear();
    line(options.weights.empty() ? "sum of squares" : "weighted sum of squares", shown(r.chi_square, digits));
    line("residual standard deviation", r.residual_sd ? shown(*r.residual_sd, digits) : "-");
    line("degrees of freedom", std::to_string(r.degrees_of_freedom) + " (" + std::to_string(r.rows) + " rows)");
    line("R\u00B2", r.r_squared ? shown(*r.r_squared, digits) : "-");
    if (r.condition > 0.0) line("condition of the Jacobian", shown(r.condition, 3));
    text += listed(rows);

    if (r.names.size() > 1 && r.warning.empty()) {
        rows = {{"correlation"}};
        for (size_t p = 0; p + 1 < r.names.size(); p++) rows[0].push_back(r.names[p]);
        for (size_t a = 1; a < r.names.size(); a++) {
            rows.push_back({r.names[a]});
            for (size_t b = 0; b < a; b++) rows.back().push_back(fixed(r.correlation[a][b]));
        }
        text += "\n" + aligned(rows);
    }
    if (!r.warning.empty()) text += "\n  Note: " + r.warning + ".\n";
    return text;
}

std::string fit_csv(const FitResult &r) {
    std::string text = "item,value,standard_error,t,p\n";
    for (size_t p = 0; p < r.names.size(); p++)
        text += csv_cell(r.names[p]) + "," + csv_number(r.estimates[p]) + "," + csv_number(r.standard_errors[p]) + "," +
                csv_number(r.t_values[p]) + "," + csv_number(r.p_values[p]) + "\n";
    const auto line = [&](const std::string &name, const std::string &value) { text += name + "," + value + ",,,\n"; };
    line("chi_square", csv_number(r.chi_square));
    line("residual_sd", r.residual_sd ? csv_number(*r.residual_sd) : "");
    line("degrees_of_freedom", std::to_string(r.degrees_of_freedom));
    line("r_squared", r.r_squared ? csv_number(*r.r_squared) : "");
    line("condition", csv_number(r.condition));
    line("iterations", std::to_string(r.iterations));
    line("converged", r.converged ? "1" : "0");
    line("reason", csv_cell(r.reason));
    if (!r.warning.empty()) line("warning", csv_cell(r.warning));
    for (size_t a = 0; a < r.names.size(); a++)
        for (size_t b = 0; b < a; b++)
            line(csv_cell("correlation " + r.names[a] + " " + r.names[b]), csv_number(r.correlation[a][b]));
    return text;
}

std::string fit_json(const FitResult &r) {
    std::string text = "{\n  \"converged\": " + std::string(r.converged ? "true" : "false");
    text += ",\n  \"reason\": " + json_string(r.reason);
    text += ",\n  \"iterations\": " + std::to_string(r.iterations);
    text += ",\n  \"parameters\": [";
    for (size_t p = 0; p < r.names.size(); p++)
        text += std::string(p ? "," : "") + "\n    {\"name\": " + json_string(r.names[p]) +
                ", \"estimate\": " + json_number(r.estimates[p]) +
                ", \"standard_error\": " + json_number(r.standard_errors[p]) +
                ", \"t\": " + json_number(r.t_values[p]) + ", \"p\": " + json_number(r.p_values[p]) + "}";
    text += "\n  ],\n  \"chi_square\": " + json_number(r.chi_square);
    text += ",\n  \"residual_sd\": " + json_number(r.residual_sd);
    text += ",\n  \"degrees_of_freedom\": " + std::to_string(r.degrees_of_freedom);
    text += ",\n  \"rows\": " + std::to_string(r.rows);
    text += ",\n  \"r_squared\": " + json_number(r.r_squared);
    text += ",\n  \"condition\": " + json_number(r.condition);
    text += ",\n  \"correlation\": [";
    for (size_t a = 0; a < r.names.size(); a++) {
        text += std::string(a ? "," : "") + "\n    [";
        for (size_t b = 0; b < r.names.size(); b++) text += (b ? ", " : "") + json_number(r.correlation[a][b]);
        text += "]";
    }
    text += "\n  ],\n  \"warning\": " + (r.warning.empty() ? "null" : json_string(r.warning)) + "\n}\n";
    return text;
}

} // namespace command
