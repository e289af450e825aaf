// The subcommand solve.
#include <cmath>
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>

#include "data/market.h"
#include "data/source.h"
#include "data/table.h"
#include "errors.h"
#include "numbers.h"
#include "output.h"
#include "progress.h"
#include "solve/linear_system.h"
#include "solve/solve_report.h"
#include "subcommands.h"

namespace command {
namespace {

const char *const footer =
    "A is a Matrix Market file (- for standard input): coordinate or array, real, integer or pattern, general,\n"
    "symmetric or skew-symmetric; entries that occur twice are added up. B is one too, of one column, or a text file\n"
    "of one number a line. Without B the right-hand side is made so that all unknowns are 1, and the error is shown.\n"
    "\n"
    "Methods: chol (Cholesky) and lu, with a fill-reducing order and refinement; cg for symmetric positive definite\n"
    "matrices, minres for symmetric, gmres and bicgstab for any square, lsqr for any shape: it minimises |b - A x|.\n"
    "auto takes chol for symmetric positive definite matrices, lu for other square ones, lsqr for the rest.\n"
    "Orders: natural, rcm (reverse Cuthill-McKee), amd (approximate minimum degree, the default).\n"
    "Preconditioners: none, jacobi (the diagonal), ich and ilu (factors without fill).\n"
    "Exit codes: 0 solved, 1 not solved (the best iterate is printed), 2 usage, 3 bad input, 4 file not readable or writable.\n"
    "\n"
    "Examples:\n"
    "  sarvo solve A.mtx\n"
    "  sarvo solve A.mtx b.mtx --method gmres --precond ilu --history\n"
    "  sarvo solve A.mtx b.txt --order rcm --format json --output x.mtx";

struct Arguments {
    SolveOptions solve;
    std::string matrix, right, output;
    bool history = false;
    std::string format = "table";
    int digits = 8;
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
    observer.step = [&](uint32_t number, double norm) {
        if (a.history) {
            if (number == 1) std::fprintf(stderr, "%8s  %s\n", "step", "residual norm");
            std::fprintf(stderr, "%8u  %s\n", number, general(norm, 10).c_str());
        } else {
            progress.show("step " + std::to_string(number) + "  residual norm " + general(norm, 4) + "  " +
                          general(number / progress.seconds(), 3) + " steps/s");
        }
    };
    const SolveResult result = solve_system(A, b, a.solve, observer);
    progress.clear();
    write_out(a.format == "json"  ? solve_json(result)
              : a.format == "csv" ? solve_csv(result)
                                  : solve_table(result, a.digits));
    if (!a.output.empty()) write_file(solution_market(result), a.output);
    return result.converged ? exit_done : exit_numerical;
}

// A validator whose name stays out of the help.
CLI::Validator silent(CLI::Validator v) { return v.description(""); }

} // namespace

Run add_solve(CLI::App &app) {
    const auto a = std::make_shared<Arguments>();
    app.footer(footer);
    app.add_option("A", a->matrix, "Matrix, a Matrix Market file or -")->required()->type_name("");
    app.add_option("B", a->right, "Right-hand side")->type_name("");
    app.add_option("--method", a->solve.method, "auto, chol, lu, cg, minres, gmres, bicgstab or lsqr (default auto)")
        ->check(silent(CLI::IsMember({"auto", "chol", "lu", "cg", "minres", "gmres", "bicgstab", "lsqr"})))
        ->type_name("NAME");
    app.add_option("--precond", a->solve.precond, "auto, none, jacobi, ich or ilu (default auto)")
        ->check(silent(CLI::IsMember({"auto", "none", "jacobi", "ich", "ilu"})))
        ->type_name("NAME");
    app.add_option("--order", a->solve.order, "auto, natural, rcm or amd (default auto)")
        ->check(silent(CLI::IsMember({"auto", "natural", "rcm", "amd"})))
        ->type_name("NAME");
    app.add_option("--tol", a->solve.tolerance, "Tolerance of iterative methods, relative (default 1e-10)")
        ->check(silent(CLI::NonNegativeNumber))
        ->type_name("X");
    app.add_option("--max-steps", a->solve.max_steps, "Limit of steps (default twice the unknowns, at least 1000)")
        ->check(silent(CLI::Range(1u, 4000000000u)))
        ->type_name("N");
    app.add_option("--restart", a->solve.restart, "Steps of gmres between restarts (default 30)")
        ->check(silent(CLI::Range(1u, 1000000u)))
        ->type_name("N");
    app.add_option("--threshold", a->solve.threshold, "Pivots of lu: least share of the largest (default 0.1)")
        ->check(silent(CLI::Range(1e-12, 1.0)))
        ->type_name("X");
    app.add_flag("--history", a->history, "One line per step on standard error");
    app.add_option("--output", a->output, "File for the solution, as a Matrix Market array")->type_name("FILE");
    app.add_option("--format", a->format, "table, csv or json; the last two in full precision (default table)")
        ->check(silent(CLI::IsMember({"table", "csv", "json"})))
        ->type_name("FORM");
    app.add_option("--digits", a->digits, "Digits in the table, 1 to 17 (default 8)")
        ->check(silent(CLI::Range(1, 17)))
        ->type_name("N");
    return [a] { return run_solve(*a); };
}

} // namespace command
