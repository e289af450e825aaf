// The result of a linear system as an answer.
#include "solve/solve_report.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "matrix/dense.h"
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

void add_work(Answer &answer, const SolveResult &r, bool single) {
    answer.fact("rows", "rows", r.rows);
    answer.fact("columns", "columns", r.cols);
    answer.fact("entries", "entries", r.entries);
    answer.fact("method", "method", r.method);
    answer.fact("choice", "because", r.choice);
    if (r.rank) answer.fact("rank", "rank", *r.rank);
    if (direct(r)) {
        if (!r.dense) {
            answer.fact("order", "ordering", r.order);
            if (r.blocks > 1) answer.fact("blocks", "diagonal blocks", r.blocks);
            answer.fact("factor_entries", "factor entries", r.factor_entries);
            answer.fact("fill", "of those of the matrix",
                        static_cast<double>(r.factor_entries) / static_cast<double>(std::max<int64_t>(r.entries, 1)),
                        3);
        }
        if (single) answer.fact("steps", "refinement steps", whole(r.steps));
    } else if (r.method != "svd" && single) {
        answer.fact("preconditioner", "preconditioner", r.precond);
        answer.fact("norm", "tested norm of", r.norm);
        answer.fact("steps", "steps", whole(r.steps));
        if (r.history.size() > 1)
            answer.line("norms",
                        bars(r.history) + "  " + general(r.history.front(), 3) + " to " + general(r.history.back(), 3));
    }
}

// How many digits of x its condition leaves; a warning where there are none.
void add_condition(Answer &answer, const SolveResult &r) {
    if (!r.condition) return;
    constexpr double precision = 15.95; // -log10 of eps/2
    const bool estimated = r.method != "svd";
    answer.fact("condition", estimated ? "condition (1-norm, estimate)" : "condition (2-norm)", *r.condition, 3);
    answer.fact("digits", "digits left of 16, about", std::clamp(precision - std::log10(*r.condition), 0.0, 16.0), 3);
    if (*r.condition < 1.0 / std::numeric_limits<double>::epsilon()) return;
    answer.notes.push_back(
        "the matrix is singular to working precision: of the 16 digits of x expect 0 to be right, its condition " +
        general(*r.condition, 3) + " is above 1/eps = 4.5e+15" +
        (r.method == "lu" || r.method == "chol"
             ? ". --method " + std::string(r.dense ? "svd" : "lsqr") + " finds a least-squares solution"
             : ""));
}

void add_one(Answer &answer, const SolveResult &r) {
    answer.fact("residual", "largest residual", r.residual, 3);
    answer.fact("backward_error", "backward error", r.backward_error, 3);
    if (r.gradient) answer.fact("gradient", "gradient |A'r| / |A'b|", *r.gradient, 3);
    if (r.error) answer.fact("error", "largest error (b made for x = 1)", *r.error, 3);
    answer.time(r.seconds);
    answer.list("x", "", "unknown", r.x).shown = 20;
    // For people the bars are it.
    if (!r.history.empty()) answer.list("norms", "", "step", r.history).audience = Audience::programs;
}

void add_several(Answer &answer, const std::vector<SolveResult> &results, const std::vector<double> &x) {
    answer.time(results.back().seconds);
    answer.matrix("x", "X, solutions in columns", x.data(), x.size() / results.size(), results.size()).shown = 20;
    Grid &grid = answer.grid("columns", "each column",
                             {{"column", "column"},
                              {"solved", "solved"},
                              {"steps", "steps"},
                              {"residual", "largest residual", 3},
                              {"backward_error", "backward error", 3},
                              {"gradient", "gradient", 3},
                              {"reason", "reason"}});
    for (size_t k = 0; k < results.size(); k++) {
        const SolveResult &r = results[k];
        grid.rows.push_back(
            {whole(k + 1), r.converged, whole(r.steps), r.residual, r.backward_error, value(r.gradient), r.reason});
    }
}

std::vector<double> in_columns(const std::vector<SolveResult> &results) {
    std::vector<double> x;
    for (size_t i = 0; i < results.front().x.size(); i++)
        for (const SolveResult &r : results) x.push_back(r.x[i]);
    return x;
}

} // namespace

Answer solve_answer(const std::vector<SolveResult> &results) {
    size_t solved = 0;
    for (const SolveResult &r : results) solved += r.converged;
    const bool single = results.size() == 1, all = solved == results.size();
    const SolveResult &first = results.front();
    Answer answer;
    answer.headline = all ? "Solved: " : "NOT SOLVED: ";
    answer.headline +=
        (single ? first.reason
                : std::to_string(solved) + " of " + std::to_string(results.size()) + " right-hand sides") +
        ".";
    answer.fact("solved", "solved", all);
    add_work(answer, first, single);
    add_condition(answer, first);
    if (single) add_one(answer, first);
    else add_several(answer, results, in_columns(results));
    return answer;
}

void write_solution(const std::vector<SolveResult> &results, const std::string &path) {
    const std::vector<double> x = in_columns(results);
    const Dense X = make_dense(x.size() / results.size(), results.size());
    std::copy(x.begin(), x.end(), X->base);
    write_matrix(*X, path, ".mtx");
}

} // namespace command
