// The subcommand fit.
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>

#include "errors.h"
#include "fit/fit.h"
#include "fit/fit_report.h"
#include "fit/start_values.h"
#include "numbers.h"
#include "output.h"
#include "subcommands.h"

namespace command {
namespace {

const char *const footer =
    "FORMULA is 'left ~ right': the left side an expression of columns, the right one of columns and parameters, with\n"
    "+ - * / ^ (or **), parentheses, exp log log2 log10 log1p expm1 sqrt cbrt sin cos tan asin acos atan sinh cosh\n"
    "tanh erf erfc lngamma gamma psi psi1 abs, pow min max atan2 of two arguments, and the constants pi and e. Columns "
    "go "
    "by the names in "
    "the\n"
    "header (c1, c2, ... without one) or by number as $1, $2, ...\n"
    "\n"
    "DATA is a text file of numbers (- for standard input), cells separated by commas, semicolons, tabs or blanks;\n"
    "lines that begin with # or % are skipped.\n"
    "\n"
    "Parameters are found by Levenberg-Marquardt iteration with exact derivatives.\n"
    "Exit codes: 0 converged, 1 not converged (the last state is printed), 2 usage, 3 bad input, 4 file not readable or writable.\n"
    "\n"
    "Examples:\n"
    "  sarvo fit 'y ~ b1*(1-exp(-b2*x))' misra1a.csv --start b1=500,b2=1e-4\n"
    "  sarvo fit 'log(count) ~ a + b*$3' data.tsv --start a=0,b=1 --weights w --format json\n"
    "  grep -v bad data.txt | sarvo fit 'c2 ~ a*c1^p' - --start a=1,p=2 --verbose";

struct Arguments {
    FitOptions fit;
    std::string data;
    std::vector<std::string> start;
    bool verbose = false;
    std::string format = "table";
    int digits = 8;
};

void print_iteration(const FitIteration &it) {
    if (it.number == 1)
        std::fprintf(stderr, "%5s  %-22s %-10s %-10s %s\n", "iter", "chi square", "lambda", "gain", "tries");
    std::fprintf(stderr, "%5d  %-22s %-10s %-10s %u%s\n", it.number, general(it.chi_square, 15).c_str(),
                 general(it.lambda, 4).c_str(), general(it.gain, 4).c_str(), it.tries,
                 it.accepted ? "" : " (all rejected)");
}

int run_fit(const Arguments &arguments) {
    FitOptions options = arguments.fit;
    for (const std::string &text : arguments.start)
        for (const auto &item : parse_start(text)) options.start.push_back(item);
    const Table table = read_table(arguments.data);
    const FitResult result =
        fit(table, options, arguments.verbose ? print_iteration : std::function<void(const FitIteration &)>());
    const std::string text = arguments.format == "json"  ? fit_json(result)
                             : arguments.format == "csv" ? fit_csv(result)
                                                         : fit_table(result, options, arguments.digits);
    write_out(text);
    return result.converged ? exit_done : exit_numerical;
}

// A validator whose name stays out of the help.
CLI::Validator silent(CLI::Validator v) { return v.description(""); }

} // namespace

Run add_fit(CLI::App &app) {
    const auto a = std::make_shared<Arguments>();
    app.footer(footer);
    app.add_option("FORMULA", a->fit.formula, "left ~ right")->required()->type_name("");
    app.add_option("DATA", a->data, "File of numbers, - for standard input")->required()->type_name("");
    app.add_option("--start", a->start, "Parameters and where to begin: b1=500,b2=1e-4")
        ->required()
        ->take_all()
        ->allow_extra_args(false)
        ->type_name("NAME=X,...");
    app.add_option("--weights", a->fit.weights, "Column of weights of the squared residuals")->type_name("COLUMN");
    app.add_flag("--known-variances", a->fit.known_variances,
                 "Weights are 1/variance: do not scale standard errors by the residuals");
    app.add_option("--tolx", a->fit.step_tolerance, "Step tolerance, relative (default 1e-11)")
        ->check(silent(CLI::NonNegativeNumber))
        ->type_name("X");
    app.add_option("--tolg", a->fit.gradient_tolerance, "Gradient tolerance (default 0)")
        ->check(silent(CLI::NonNegativeNumber))
        ->type_name("X");
    app.add_option("--max-iterations", a->fit.max_iterations, "Limit of iterations (default 1000)")
        ->check(silent(CLI::Range(1, 1000000000)))
        ->type_name("N");
    app.add_flag("--verbose", a->verbose, "One line per iteration on standard error");
    app.add_option("--format", a->format, "table, csv or json; the last two in full precision (default table)")
        ->check(silent(CLI::IsMember({"table", "csv", "json"})))
        ->type_name("FORM");
    app.add_option("--digits", a->digits, "Digits in the table, 1 to 17 (default 8)")
        ->check(silent(CLI::Range(1, 17)))
        ->type_name("N");
    return [a] { return run_fit(*a); };
}

} // namespace command
