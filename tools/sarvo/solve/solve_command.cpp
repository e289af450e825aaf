// The subcommand solve.
#include <cmath>
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include "answer/output.h"
#include "data/market.h"
#include "data/matrix.h"
#include "data/source.h"
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
    "A is a matrix: Matrix Market (coordinate or array, real, integer or pattern, general, symmetric or\n"
    "skew-symmetric; entries that occur twice are added up), a table of numbers, or .npy; - for standard input. B is\n"
    "of any of these forms, too: each column is a right-hand side, and a single row counts as a column. Without B the\n"
    "right-hand side is made so that all unknowns are 1, and the error is shown.\n"
    "\n"
    "A table or .npy is a dense matrix: lu (partial pivoting, refinement) when it is square, else svd: of all x that\n"
    "minimise |b - A x| the shortest. A Matrix Market file is sparse; with another method the one is taken as the "
    "other.\n"
    "Methods for sparse ones: chol (Cholesky) and lu, with a fill-reducing order and refinement; cg for symmetric\n"
    "positive definite matrices, minres for symmetric, gmres and bicgstab for any square, lsqr for any shape: it\n"
    "minimises |b - A x|. auto takes chol for symmetric positive definite matrices, lu for other square ones, lsqr "
    "for\n"
    "the rest.\n"
    "Orders: natural, rcm (reverse Cuthill-McKee), amd (approximate minimum degree of A + A'). auto is amd for chol; "
    "lu\n"
    "splits A into diagonal blocks first and takes amd of A + A' or of A'A for them, whichever keeps the factors "
    "small.\n"
    "Iterative methods stop by the norm of the residual r = b - A x, lsqr by that of the gradient A'r; minres and "
    "lsqr\n"
    "with a preconditioner measure in its norm. The answer names it.\n"
    "Preconditioners: none, jacobi (the diagonal), ich and ilu (factors without fill), ilut (LU factors with fill,\n"
    "but without what is small; for matrices that are not symmetric).\n"
    "A condition above 1/eps is noted: the matrix is singular to working precision, and no digit of x is certain.\n"
    "Exit codes: 0 solved, 1 not solved (the best iterate is printed), 2 usage, 3 bad input, 4 file not readable.\n";

struct Arguments {
    SolveOptions solve;
    std::string matrix, right, output;
    bool history = false;
    OutputOptions form;
};

void refuse_complex(bool complex, const std::string &source) {
    if (complex) throw input_error(source + ": the matrix is complex, only real systems are solved");
}

// The columns of B, or its only row.
std::vector<std::vector<double>> read_right_sides(const std::string &path, size_t rows) {
    DenseInput B = read_matrix(path);
    refuse_complex(!B.imaginary.empty(), B.source);
    if (B.rows == 1 && B.cols == rows) std::swap(B.rows, B.cols);
    if (B.rows != rows)
        throw input_error(B.source + ": has " + std::to_string(B.rows) + (B.cols == 1 ? " numbers" : " rows") +
                          ", the matrix " + std::to_string(rows) + " rows");
    std::vector<std::vector<double>> columns(B.cols, std::vector<double>(rows));
    for (size_t i = 0; i < rows; i++)
        for (size_t j = 0; j < B.cols; j++) columns[j][i] = B.values[i * B.cols + j];
    return columns;
}

// The entries of a dense matrix that are not 0, and the other way round.
MarketMatrix as_sparse(const DenseInput &A) {
    if (A.rows > INT32_MAX || A.cols > INT32_MAX)
        throw input_error(A.source + ": the matrix is too large for a sparse method");
    MarketMatrix m;
    m.source = A.source;
    m.rows = static_cast<int32_t>(A.rows);
    m.cols = static_cast<int32_t>(A.cols);
    for (int32_t i = 0; i < m.rows; i++)
        for (int32_t j = 0; j < m.cols; j++)
            if (const double x = A.values[static_cast<size_t>(i) * A.cols + static_cast<size_t>(j)]; x != 0.0)
                m.entries.push_back({i, j, x});
    return m;
}

std::vector<SolveResult> solve(const Arguments &a, const SolveObserver &observer) {
    const std::string text = read_text(a.matrix), source = source_name(a.matrix);
    const auto right_sides = [&a](size_t rows) {
        return a.right.empty() ? std::vector<std::vector<double>>() : read_right_sides(a.right, rows);
    };
    if (is_market(text) && a.solve.method != "svd") {
        const MarketMatrix A = parse_market(text, source);
        refuse_complex(A.complex, source);
        return solve_systems(A, right_sides(static_cast<size_t>(A.rows)), a.solve, observer);
    }
    const DenseInput A = parse_matrix(text, source);
    refuse_complex(!A.imaginary.empty(), source);
    const std::string &method = a.solve.method;
    if (method == "auto" || method == "lu" || method == "svd")
        return solve_dense_systems(A, right_sides(A.rows), a.solve, observer);
    return solve_systems(as_sparse(A), right_sides(A.rows), a.solve, observer);
}

int run_solve(const Arguments &a) {
    if (a.matrix == "-" && a.right == "-") throw usage_error("only one of A and B can be standard input");
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
    const std::vector<SolveResult> results = solve(a, observer);
    progress.clear();
    print(solve_answer(results), a.form);
    if (!a.output.empty()) write_solution(results, a.output);
    for (const SolveResult &result : results)
        if (!result.converged) return exit_numerical;
    return exit_done;
}

} // namespace

Run add_solve(CLI::App &app) {
    const auto a = std::make_shared<Arguments>();
    explain(app, prose,
            {"sarvo solve A.mtx", "sarvo solve A.mtx b.mtx --method gmres --precond ilu --history",
             "sarvo solve A.csv B.csv --format json --output X.npy"});
    argument(app, "A", a->matrix, "Matrix, a file or -")->required();
    argument(app, "B", a->right, "Right-hand sides, one a column");
    choice(app, "--method", a->solve.method, "auto|chol|lu|cg|minres|gmres|bicgstab|lsqr|svd", "Method (default auto)");
    choice(app, "--precond", a->solve.precond, "auto|none|jacobi|ich|ilu|ilut", "Preconditioner (default auto)");
    choice(app, "--order", a->solve.order, "auto|natural|rcm|amd", "Order of elimination (default auto)");
    option(app, "--tol", a->solve.tolerance, 0.0, HUGE_VAL, "X",
           "Tolerance of iterative methods, relative (default 1e-10)");
    option(app, "--max-steps", a->solve.max_steps, 1u, 4000000000u, "N",
           "Limit of steps (default twice the unknowns, at least 1000)");
    option(app, "--restart", a->solve.restart, 1u, 1000000u, "N", "Steps of gmres between restarts (default 30)");
    option(app, "--threshold", a->solve.threshold, 1e-12, 1.0, "X",
           "Pivots of sparse lu: least share of the largest (default 0.001 on the diagonal, 0.1 elsewhere)");
    option(app, "--drop", a->solve.drop, 0.0, 1.0, "X",
           "ilut drops entries below X times the norm of their row (default 0.001)");
    option(app, "--fill", a->solve.fill, 0, 1000000000, "N",
           "ilut adds N entries a row to each factor at most (default 10)");
    app.add_flag("--history", a->history, "One line per step on standard error");
    option(app, "--output", a->output, "FILE",
           "File for the solution, by its ending .npy, .tsv, .csv, else a Matrix Market array");
    add_output_options(app, a->form);
    return [a] { return run_solve(*a); };
}

} // namespace command
