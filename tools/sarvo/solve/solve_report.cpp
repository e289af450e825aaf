// The forms of the solution of a linear system.
#include "solve/solve_report.h"

#include <algorithm>
#include <cmath>

#include "numbers.h"
#include "text.h"

namespace command {
namespace {

bool direct(const SolveResult &r) { return r.method == "chol" || r.method == "lu"; }

std::string counted(uint64_t count, const std::string &thing) {
    return std::to_string(count) + " " + thing + (count == 1 ? "" : "s");
}

// The history as a line of up to 40 bars on a logarithmic scale.
std::string bars(const std::vector<double> &history) {
    static const char *const heights[] = {"\u2581", "\u2582", "\u2583", "\u2584",
                                          "\u2585", "\u2586", "\u2587", "\u2588"};
    std::vector<double> logs;
    for (const double norm : history) logs.push_back(std::log10(std::max(norm, 1e-300)));
    const auto [low, high] = std::minmax_element(logs.begin(), logs.end());
    const double range = *high - *low > 0.0 ? *high - *low : 1.0;
    const size_t count = std::min<size_t>(logs.size(), 40);
    std::string text;
    for (size_t k = 0; k < count; k++) {
        const size_t i = count == 1 ? 0 : k * (logs.size() - 1) / (count - 1);
        text += heights[static_cast<size_t>(std::lround((logs[i] - *low) / range * 7.0))];
    }
    return text;
}

std::vector<std::vector<std::string>> facts(const SolveResult &r) {
    std::vector<std::vector<std::string>> rows;
    const auto line = [&](const std::string &name, const std::string &value) { rows.push_back({name, value}); };
    line("matrix",
         std::to_string(r.rows) + " x " + std::to_string(r.cols) + ", " + std::to_string(r.entries) + " entries");
    line("method", r.method + " (" + r.choice + ")");
    if (direct(r)) {
        const double fill =
            static_cast<double>(r.factor_entries) / static_cast<double>(std::max<int64_t>(r.entries, 1));
        line("ordering", r.order);
        line("factor", std::to_string(r.factor_entries) + " entries, " + general(fill, 3) + " of the matrix");
        line("refinement", counted(r.steps, "step"));
    } else {
        line("preconditioner", r.precond);
        line("steps", std::to_string(r.steps));
        if (r.history.size() > 1)
            line("residual norms",
                 bars(r.history) + "  " + general(r.history.front(), 3) + " to " + general(r.history.back(), 3));
    }
    if (r.condition) line("condition (1-norm, estimate)", general(*r.condition, 3));
    line("largest residual", general(r.residual, 3));
    line("backward error", general(r.backward_error, 3));
    if (r.gradient) line("gradient |A'r| / |A'b|", general(*r.gradient, 3));
    if (r.error) line("largest error (b made for x = 1)", general(*r.error, 3));
    line("time", general(r.seconds, 3) + " s");
    return rows;
}

} // namespace

std::string solve_table(const SolveResult &r, int digits) {
    std::string text = (r.converged ? "Solved: " : "NOT SOLVED: ") + r.reason + ".\n\n" + listed(facts(r)) + "\n";
    std::vector<std::vector<std::string>> rows = {{"unknown", "value"}};
    for (size_t i = 0; i < r.x.size(); i++) {
        if (r.x.size() > 20 && i == 5) {
            rows.push_back({"...", "..."});
            i = r.x.size() - 5;
        }
        rows.push_back({"x" + std::to_string(i + 1), general(r.x[i], digits)});
    }
    return text + aligned(rows);
}

std::string solve_csv(const SolveResult &r) {
    std::string text = "item,value\n";
    const auto line = [&](const std::string &name, const std::string &value) { text += name + "," + value + "\n"; };
    line("solved", r.converged ? "1" : "0");
    line("reason", csv_cell(r.reason));
    line("method", r.method);
    line("steps", std::to_string(r.steps));
    line("residual", csv_number(r.residual));
    line("backward_error", csv_number(r.backward_error));
    if (r.condition) line("condition", csv_number(*r.condition));
    for (size_t i = 0; i < r.x.size(); i++) line("x" + std::to_string(i + 1), csv_number(r.x[i]));
    return text;
}

std::string solve_json(const SolveResult &r) {
    const auto list = [](const std::vector<double> &values) {
        std::string all;
        for (const double x : values) all += (all.empty() ? "" : ", ") + json_number(x);
        return "[" + all + "]";
    };
    std::string text = "{\n  \"solved\": " + std::string(r.converged ? "true" : "false");
    const auto field = [&](const char *name, const std::string &value) {
        text += std::string(",\n  \"") + name + "\": " + value;
    };
    field("reason", json_string(r.reason));
    field("rows", std::to_string(r.rows));
    field("columns", std::to_string(r.cols));
    field("entries", std::to_string(r.entries));
    field("method", json_string(r.method));
    field("order", r.order.empty() ? "null" : json_string(r.order));
    field("preconditioner", r.precond.empty() ? "null" : json_string(r.precond));
    field("steps", std::to_string(r.steps));
    field("factor_entries", direct(r) ? std::to_string(r.factor_entries) : "null");
    field("condition", json_number(r.condition));
    field("residual", json_number(r.residual));
    field("backward_error", json_number(r.backward_error));
    field("gradient", json_number(r.gradient));
    field("error", json_number(r.error));
    field("seconds", json_number(r.seconds));
    field("history", list(r.history));
    field("x", list(r.x));
    return text + "\n}\n";
}

std::string solution_market(const SolveResult &r) {
    std::string text = "%%MatrixMarket matrix array real general\n" + std::to_string(r.x.size()) + " 1\n";
    for (const double x : r.x) text += shortest(x) + "\n";
    return text;
}

} // namespace command
