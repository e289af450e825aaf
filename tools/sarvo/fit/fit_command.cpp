// The subcommand fit.
#include <cmath>
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include "errors.h"
#include "fit/fit.h"
#include "fit/fit_plot.h"
#include "fit/fit_report.h"
#include "fit/start_values.h"
#include "line/options.h"
#include "line/subcommands.h"
#include "numbers.h"

namespace command {
namespace {

const char *const prose =
    "FORMULA is 'left ~ right': the left side an expression of columns, the right one of columns and parameters, with\n"
    "+ - * / ^ (or **), parentheses, exp log log2 log10 log1p expm1 sqrt cbrt sin cos tan asin acos atan sinh cosh\n"
    "tanh erf erfc lngamma gamma psi psi1 abs, pow min max atan2 of two arguments, and the constants pi and e. "
    "Columns\n"
    "go by the names in the header (c1, c2, ... without one) or by number as $1, $2, ...\n"
    "\n"
    "DATA is a text file of numbers (- for standard input), cells separated by commas, semicolons, tabs or blanks;\n"
    "lines that begin with # or % are skipped.\n"
    "\n"
    "Parameters are found by Levenberg-Marquardt iteration with exact derivatives.\n"
    "Exit codes: 0 converged, 1 not converged (the last state is printed), 2 usage, 3 bad input, 4 file not "
    "readable.\n";

struct Arguments {
    FitOptions fit;
    std::string data, plot;
    std::vector<std::string> start;
    bool verbose = false;
    OutputOptions form;
};

void print_iteration(const FitIteration &it) {
    if (it.number == 1)
        std::fprintf(stderr, "%5s  %-22s %-10s %-10s %s\n", "iter", "chi square", "lambda", "gain", "tries");
    std::fprintf(stderr, "%5d  %-22s %-10s %-10s %u%s\n", it.number, general(it.chi_square, 15).c_str(),
                 general(it.lambda, 4).c_str(), general(it.gain, 4).c_str(), it.tries,
                 it.accepted ? "" : " (all rejected)");
}

int run_fit(const Arguments &arguments) {
    check_plot_name(arguments.plot);
    FitOptions options = arguments.fit;
    for (const std::string &text : arguments.start)
        for (const auto &item : parse_start(text)) options.start.push_back(item);
    const Table table = read_table(arguments.data);
    const FitResult result =
        fit(table, options, arguments.verbose ? print_iteration : std::function<void(const FitIteration &)>());
    if (!arguments.plot.empty()) write_plot(fit_plot(table, options, result), arguments.plot);
    print(fit_answer(result, options), arguments.form);
    return result.converged ? exit_done : exit_numerical;
}

} // namespace

Run add_fit(CLI::App &app) {
    const auto a = std::make_shared<Arguments>();
    explain(app, prose,
            {"sarvo fit 'y ~ b1*(1-exp(-b2*x))' misra1a.csv --start b1=500,b2=1e-4",
             "sarvo fit 'log(count) ~ a + b*$3' data.tsv --start a=0,b=1 --weights w --format json",
             "grep -v bad data.txt | sarvo fit 'c2 ~ a*c1^p' - --start a=1,p=2 --verbose"});
    argument(app, "FORMULA", a->fit.formula, "left ~ right")->required();
    argument(app, "DATA", a->data, "File of numbers, - for standard input")->required();
    option(app, "--start", a->start, "NAME=X,...", "Parameters and where to begin: b1=500,b2=1e-4")
        ->required()
        ->take_all()
        ->allow_extra_args(false);
    option(app, "--weights", a->fit.weights, "COLUMN", "Column of weights of the squared residuals");
    app.add_flag("--known-variances", a->fit.known_variances,
                 "Weights are 1/variance: do not scale standard errors by the residuals");
    option(app, "--tolx", a->fit.step_tolerance, 0.0, HUGE_VAL, "X", "Step tolerance, relative (default 1e-11)");
    option(app, "--tolg", a->fit.gradient_tolerance, 0.0, HUGE_VAL, "X", "Gradient tolerance (default 0)");
    option(app, "--max-iterations", a->fit.max_iterations, 1, 1000000000, "N", "Limit of iterations (default 1000)");
    app.add_flag("--verbose", a->verbose, "One line per iteration on standard error");
    option(app, "--plot", a->plot, "FILE", "Draw data and curve too: FILE.svg, FILE.png, or - for the terminal");
    add_output_options(app, a->form);
    return [a] { return run_fit(*a); };
}

} // namespace command
