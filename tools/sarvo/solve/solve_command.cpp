// The subcommand solve.
#include <cmath>
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include "answer/output.h"
#include "data/market.h"
#include "data/source.h"
#include "data/table.h"
#include "errors.h"
#include "line/options.h"
#include "line/subcommands.h"
#include "numbers.h"
#include "progress.h"
#include "solve/linear_system.h"
#include "solve/solve_report.h"

namespace command {
namespace {

const char *const prose =
    "A is a Matrix Market file (- for standard input): coordinate or array, real, integer or pattern, general,\n"
    "symmetric or skew-symmetric; entries that occur twice are added up. B is one too, of one column, or a text file\n"
    "of one number a line. Without B the right-hand side is made so that all unknowns are 1, and the error is shown.\n"
    "\n"
    "Methods: chol (Cholesky) and lu, with a fill-reducing order and refinement; cg for symmetric positive definite\n"
    "matrices, minres for symmetric, gmres and bicgstab for any square, lsqr for any shape: it minimises |b - A x|.\n"
    "auto takes chol for symmetric positive definite matrices, lu for other square ones, lsqr for the rest.\n"
    "Orders: natural, rcm (reverse Cuthill-McKee), amd (approximate minimum degree, the default).\n"
    "Iterative methods stop by the norm of the residual r = b - A x, lsqr by that of the gradient A'r; minres and "
    "lsqr\n"
    "with a preconditioner measure in its norm. The answer names it.\n"
    "Preconditioners: none, jacobi (the diagonal), ich and ilu (factors without fill).\n"
    "Exit codes: 0 solved, 1 not solved (the best iterate is printed), 2 usage, 3 bad input, 4 file not readable.\n";

struct Arguments {
    SolveOptions solve;
    std::string matrix, right, output;
    bool history = false;
    OutputOptions form;
};

void refuse_complex(const MarketMatrix &m) {
    if (m.complex) throw input_error(m.source + ": the matrix is complex, only real systems are solved");
}

// One column of numbers, from either kind of file.
std::vector<double> read_right_side(const std::string &path, int32_t rows) {
    const std::string text = read_text(path), source = source_name(path);
    std::vector<double> b;
    if (text.compare(0, 2, "%%") == 0) {
        const MarketMatrix m = parse_market(text, source);
        refuse_complex(m);
        if (m.cols != 1) throw input_error(source + ": has " + std::to_string(m.cols) + " columns, one is wanted");
        b.assign(static_cast<size_t>(m.rows), 0.0);
        for (const auto &entry : m.entries) b[static_cast<size_t>(entry.row)] = entry.value;
    } else {
        const Table table = parse_table(text, source);
        if (table.columns.size() != 1)
            throw input_error(source + ": has " + std::to_string(table.columns.size()) + " columns, one is wanted");
        b = table.columns[0];
    }
    if (b.size() != static_cast<size_t>(rows))
        throw input_error(source + ": has " + std::to_string(b.size()) + " numbers, the matrix " +
                          std::to_string(rows) + " rows");
    return b;
}

int run_solve(const Arguments &a) {
    if (a.matrix == "-" && a.right == "-") throw usage_error("only one of A and B can be standard input");
    const MarketMatrix A = read_market(a.matrix);
    refuse_complex(A);
    std::optional<std::vector<double>> b;
    if (!a.right.empty()) b = read_right_side(a.right, A.rows);
    Progress progress;
    SolveObserver observer;
    observer.phase = [&](const char *what) { progress.announce(what); };
    observer.step = [&](uint32_t number, double norm, const std::string &name) {
        if (a.history) {
            if (number == 1) std::fprintf(stderr, "%8s  norm of the %s\n", "step", name.c_str());
            std::fprintf(stderr, "%8u  %s\n", number, general(norm, 10).c_str());
        } else {
            progress.show("step " + std::to_string(number) + "  norm of the " + name + " " + general(norm, 4) + "  " +
                          general(number / progress.seconds(), 3) + " steps/s");
        }
    };
    const SolveResult result = solve_system(A, b, a.solve, observer);
    progress.clear();
    print(solve_answer(result), a.form);
    if (!a.output.empty()) write_file(solution_market(result), a.output);
    return result.converged ? exit_done : exit_numerical;
}

} // namespace

Run add_solve(CLI::App &app) {
    const auto a = std::make_shared<Arguments>();
    explain(app, prose,
            {"sarvo solve A.mtx", "sarvo solve A.mtx b.mtx --method gmres --precond ilu --history",
             "sarvo solve A.mtx b.txt --order rcm --format json --output x.mtx"});
    argument(app, "A", a->matrix, "Matrix, a Matrix Market file or -")->required();
    argument(app, "B", a->right, "Right-hand side");
    choice(app, "--method", a->solve.method, "auto|chol|lu|cg|minres|gmres|bicgstab|lsqr", "Method (default auto)");
    choice(app, "--precond", a->solve.precond, "auto|none|jacobi|ich|ilu", "Preconditioner (default auto)");
    choice(app, "--order", a->solve.order, "auto|natural|rcm|amd", "Order of elimination (default auto)");
    option(app, "--tol", a->solve.tolerance, 0.0, HUGE_VAL, "X",
           "Tolerance of iterative methods, relative (default 1e-10)");
    option(app, "--max-steps", a->solve.max_steps, 1u, 4000000000u, "N",
           "Limit of steps (default twice the unknowns, at least 1000)");
    option(app, "--restart", a->solve.restart, 1u, 1000000u, "N", "Steps of gmres between restarts (default 30)");
    option(app, "--threshold", a->solve.threshold, 1e-12, 1.0, "X",
           "Pivots of lu: least share of the largest (default 0.1)");
    app.add_flag("--history", a->history, "One line per step on standard error");
    option(app, "--output", a->output, "FILE", "File for the solution, as a Matrix Market array");
    add_output_options(app, a->form);
    return [a] { return run_solve(*a); };
}

} // namespace command
