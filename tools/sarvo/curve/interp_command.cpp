// The subcommand interp.
#include <cmath>
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include <sarvo/nr.h>

#include "answer/text.h"
#include "data/source.h"
#include "data/table.h"
#include "errors.h"
#include "library.h"
#include "line/options.h"
#include "line/subcommands.h"
#include "line/suggest.h"
#include "numbers.h"
#include "picture/plot.h"
#include "stopwatch.h"

namespace command {
namespace {

const char *const prose =
    "DATA is a text file of numbers (- for standard input), as for fit: the abscissae in the first column or --x,\n"
    "ascending or descending, the ordinates in the second or --y. A cubic spline with natural ends, or with the "
    "slopes\n"
    "given, goes through the points; linear connects them. Beyond the ends both go on; such points are marked.\n";

struct Arguments {
    std::string data, x, y, at, grid, method = "spline", left, right, plot;
    OutputOptions form;
};

std::vector<double> numbers(const std::string &text, char separator, const std::string &option) {
    std::vector<double> all;
    for (const std::string &part : split(text, separator)) {
        const auto x = parse_number(part);
        if (!x || !std::isfinite(*x)) throw usage_error(option + ": '" + part + "' is not a finite number");
        all.push_back(*x);
    }
    return all;
}

std::vector<double> places(const Arguments &a) {
    if (a.at.empty() == a.grid.empty()) throw usage_error("say where: --at X,... or --grid FROM:TO:N");
    if (!a.at.empty()) return numbers(a.at, ',', "--at");
    const auto g = numbers(a.grid, ':', "--grid");
    if (g.size() != 3 || g[2] != std::floor(g[2]) || g[2] < 2.0 || g[2] > 1e8)
        throw usage_error("--grid takes FROM:TO:N with N from 2 to 100000000");
    std::vector<double> all;
    for (double k = 0.0; k < g[2]; k++) all.push_back(k == g[2] - 1.0 ? g[1] : g[0] + (g[1] - g[0]) * k / (g[2] - 1.0));
    return all;
}

size_t column(const Table &table, const std::string &name, size_t otherwise) {
    if (name.empty()) {
        if (otherwise >= table.names.size()) throw input_error(table.source + ": has one column, x and y are wanted");
        return otherwise;
    }
    const auto found = table.find(name);
    if (!found) throw usage_error("there is no column '" + name + "'." + suggestion(name, table.names));
    return *found;
}

void check_abscissae(const Table &table, const std::vector<double> &x) {
    if (x.size() < 2) throw input_error(table.source + ": has one point, two are the least");
    const bool ascending = x[1] > x[0];
    for (size_t i = 1; i < x.size(); i++)
        if (ascending ? !(x[i] > x[i - 1]) : !(x[i] < x[i - 1]))
            throw input_error(table.source + ":" + std::to_string(table.lines[i]) + ": the abscissa " + shortest(x[i]) +
                              " does not go on " + (ascending ? "upward" : "downward") + " from " + shortest(x[i - 1]));
}

class Interpolation {
public:
    Interpolation(const std::vector<double> &x, const std::vector<double> &y, const Arguments &a)
        : x_(x), y_(y), linear_(a.method == "linear") {
        const auto slope = [](const std::string &text, const char *option) {
            return text.empty() ? 1e99 : numbers(text, ',', option)[0]; // natural
        };
        const auto n = static_cast<int32_t>(x.size());
        check(linear_ ? sarvo_nr_itpl_init(&record_, x.data(), y.data(), n, 2)
                      : sarvo_nr_itpl_init_cspline(&record_, x.data(), y.data(), nullptr, n, slope(a.left, "--left"),
                                                   slope(a.right, "--right")));
    }
    ~Interpolation() {
        if (!linear_) sarvo_nr_itpl_free_cspline(&record_);
    }
    Interpolation(const Interpolation &) = delete;
    Interpolation &operator=(const Interpolation &) = delete;

    double operator()(double at) {
        double value = 0.0;
        if (!linear_) {
            check(sarvo_nr_itpl_cspline(&record_, &value, at));
            return value;
        }
        const uint32_t i = record_.correlated ? sarvo_nr_itpl_hunt(&record_, at) : sarvo_nr_itpl_locate(&record_, at);
        const double share = (at - x_[i]) / (x_[i + 1] - x_[i]);
        return y_[i] + share * (y_[i + 1] - y_[i]);
    }

private:
    const std::vector<double> &x_, &y_;
    bool linear_;
    sarvo_nr_itpl record_ = {};
};

int run_interp(const Arguments &a) {
    check_plot_name(a.plot);
    const Stopwatch watch;
    const std::vector<double> at = places(a);
    const Table table = read_table(a.data);
    const std::vector<double> &x = table.columns[column(table, a.x, 0)], &y = table.columns[column(table, a.y, 1)];
    if (x.size() > INT32_MAX) throw input_error(table.source + ": has too many points");
    check_abscissae(table, x);
    Interpolation curve(x, y, a);
    std::vector<double> values;
    for (const double place : at) values.push_back(curve(place));
    const double low = std::min(x.front(), x.back()), high = std::max(x.front(), x.back());
    size_t outside = 0;
    for (const double place : at) outside += place < low || place > high;
    if (outside > 0)
        std::fprintf(stderr, "sarvo: %zu of %zu points lie outside %s .. %s\n", outside, at.size(),
                     shortest(low).c_str(), shortest(high).c_str());
    if (!a.plot.empty()) {
        write_plot({a.method + " through " + std::to_string(x.size()) + " points",
                    {{at, values, a.method}, {x, y, "data", true}}},
                   a.plot);
        return exit_done;
    }
    Answer answer;
    Grid &grid = answer.grid("curve", "", {{"x", "x"}, {"y", "y"}, {"outside", "outside"}});
    for (size_t i = 0; i < at.size(); i++) grid.rows.push_back({at[i], values[i], at[i] < low || at[i] > high});
    answer.fact("points_outside", "points outside the data", whole(outside));
    answer.time(watch.seconds());
    print(answer, a.form);
    return exit_done;
}

} // namespace

Run add_interp(CLI::App &app) {
    const auto a = std::make_shared<Arguments>();
    explain(app, prose,
            {"sarvo interp table.csv --at 0.5,1.25", "sarvo interp table.csv --grid 0:10:101 --format csv",
             "sarvo interp table.csv --x t --y level --left 0 --grid 0:10:200 --plot curve.svg"});
    argument(app, "DATA", a->data, "File of numbers, - for standard input")->required();
    option(app, "--at", a->at, "X,...", "Where to interpolate");
    option(app, "--grid", a->grid, "FROM:TO:N", "N places from FROM to TO, evenly");
    option(app, "--x", a->x, "COLUMN", "Column of abscissae (default the first)");
    option(app, "--y", a->y, "COLUMN", "Column of ordinates (default the second)");
    choice(app, "--method", a->method, "spline|linear", "Method (default spline)");
    option(app, "--left", a->left, "X", "Slope of the spline at the first point (default natural)");
    option(app, "--right", a->right, "X", "Slope of the spline at the last point (default natural)");
    option(app, "--plot", a->plot, "FILE", "Draw instead: FILE.svg, FILE.png, or - for the terminal");
    add_output_options(app, a->form);
    return [a] { return run_interp(*a); };
}

} // namespace command
