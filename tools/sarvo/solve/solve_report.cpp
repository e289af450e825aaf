// The result of a linear system as an answer.
#include "solve/solve_report.h"

#include <algorithm>
#include <cmath>

#include "numbers.h"

namespace command {
namespace {

bool direct(const SolveResult &r) { return r.method == "chol" || r.method == "lu"; }

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

void add_work(Answer &answer, const SolveResult &r) {
    answer.fact("rows", "rows", r.rows);
    answer.fact("columns", "columns", r.cols);
    answer.fact("entries", "entries", r.entries);
    answer.fact("method", "method", r.method, 0, "(" + r.choice + ")");
    if (direct(r)) {
        const double fill =
            static_cast<double>(r.factor_entries) / static_cast<double>(std::max<int64_t>(r.entries, 1));
        answer.fact("order", "ordering", r.order);
        answer.fact("factor_entries", "factor", r.factor_entries, 0, "entries, " + general(fill, 3) + " of the matrix");
        answer.fact("steps", "refinement", whole(r.steps), 0, r.steps == 1 ? "step" : "steps");
        return;
    }
    answer.fact("preconditioner", "preconditioner", r.precond);
    answer.fact("norm", "tested norm of", r.norm);
    answer.fact("steps", "steps", whole(r.steps));
    if (r.history.size() > 1)
        answer.line("norms",
                    bars(r.history) + "  " + general(r.history.front(), 3) + " to " + general(r.history.back(), 3));
}

} // namespace

Answer solve_answer(const SolveResult &r) {
    Answer answer;
    answer.headline = (r.converged ? "Solved: " : "NOT SOLVED: ") + r.reason + ".";
    answer.fact("solved", "solved", r.converged);
    add_work(answer, r);
    if (r.condition) answer.fact("condition", "condition (1-norm, estimate)", *r.condition, 3);
    answer.fact("residual", "largest residual", r.residual, 3);
    answer.fact("backward_error", "backward error", r.backward_error, 3);
    if (r.gradient) answer.fact("gradient", "gradient |A'r| / |A'b|", *r.gradient, 3);
    if (r.error) answer.fact("error", "largest error (b made for x = 1)", *r.error, 3);
    answer.time(r.seconds);
    answer.list("x", "", "unknown", r.x).shown = 20;
    return answer;
}

std::string solution_market(const SolveResult &r) {
    std::string text = "%%MatrixMarket matrix array real general\n" + std::to_string(r.x.size()) + " 1\n";
    for (const double x : r.x) text += shortest(x) + "\n";
    return text;
}

} // namespace command
