// The subcommand sample.
#include <cmath>
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>
#include <sarvo/sampler.h>

#include "curve/plot.h"
#include "elementary.h"
#include "errors.h"
#include "formula/parser.h"
#include "library.h"
#include "numbers.h"
#include "output.h"
#include "subcommands.h"
#include "text.h"

namespace command {
namespace {

const char *const footer = "EXPRESSION is a formula of x as in fit. Points are added where the curve bends, until "
                           "neighbouring chords turn by\n"
                           "less than --angle or the limit is reached. Without --plot the points are printed.\n"
                           "\n"
                           "Examples:\n"
                           "  sarvo sample 'sin(1/x)' 0.05 1 --plot -\n"
                           "  sarvo sample 'exp(-x^2)' -4 4 --format csv\n"
                           "  sarvo sample 'x*log(x)' 0 3 --plot curve.svg --angle 3";

struct Arguments {
    std::string expression, from, to, format = "table", plot;
    int initial = 33, most = 5000, digits = 8;
    double angle = 5.0, rel_tol = 0.001, abs_tol = 0.0, min_dx = 1e-6;
};

struct Free {
    void operator()(sarvo_fsampler_1d_t *s) const { sarvo_fsampler_1d_destroy(s); }
};

struct Curve {
    std::vector<double> x, y;
    bool complete = true; // not stopped by the limit
};

Curve sample(const Arguments &a, double from, double to) {
    const formula::Tape tape = formula::parse_expression(a.expression, {"x"});
    auto work = tape.work(0);
    const auto value = [&](double x) {
        const std::vector<std::vector<double>> columns = {{x}};
        return tape.evaluate(columns, 0, {}, nullptr, work);
    };
    sarvo_fsampler_1d_options_t options;
    sarvo_fsampler_1d_options_defaults(&options);
    options.abs_tol = a.abs_tol;
    options.rel_tol = a.rel_tol;
    options.min_sin_angle = elementary::sin(a.angle * 3.141592653589793 / 180.0);
    options.min_dx = a.min_dx * (to - from);
    const std::unique_ptr<sarvo_fsampler_1d_t, Free> sampler(sarvo_fsampler_1d_new(&options));
    const auto add = [&](double x) {
        if (!sampler || sarvo_fsampler_1d_add(sampler.get(), x, value(x), 0) != 0)
            throw Failure(exit_numerical, "out of memory");
    };
    for (int i = 0; i < a.initial; i++) add(i == a.initial - 1 ? to : from + (to - from) * i / (a.initial - 1));
    Curve curve;
    while (!sarvo_fsampler_1d_is_done(sampler.get())) {
        const int left = a.most - sarvo_fsampler_1d_num_samples(sampler.get());
        if (left <= 0) {
            curve.complete = false;
            break;
        }
        double next[32];
        const int count = sarvo_fsampler_1d_get_refine(sampler.get(), left < 32 ? left : 32, next);
        if (count <= 0) break;
        for (int i = 0; i < count; i++) add(next[i]);
    }
    const int count = sarvo_fsampler_1d_num_samples(sampler.get());
    for (int i = 0; i < count; i++) {
        double x = 0.0, y = 0.0;
        uint32_t tag = 0;
        sarvo_fsampler_1d_get(sampler.get(), i, &x, &y, &tag);
        curve.x.push_back(x);
        curve.y.push_back(y);
    }
    return curve;
}

std::string printed(const Curve &c, const Arguments &a) {
    if (a.format == "json") {
        std::string text = "{\"complete\": " + std::string(c.complete ? "true" : "false") + ", \"points\": [";
        for (size_t i = 0; i < c.x.size(); i++)
            text += std::string(i ? ", " : "") + "[" + json_number(c.x[i]) + ", " + json_number(c.y[i]) + "]";
        return text + "]}\n";
    }
    if (a.format == "csv") {
        std::string text = "x,y\n";
        for (size_t i = 0; i < c.x.size(); i++) text += csv_number(c.x[i]) + "," + csv_number(c.y[i]) + "\n";
        return text;
    }
    std::vector<std::vector<std::string>> rows = {{"x", "y"}};
    for (size_t i = 0; i < c.x.size(); i++) rows.push_back({general(c.x[i], a.digits), general(c.y[i], a.digits)});
    return aligned(rows);
}

int run_sample(const Arguments &a) {
    check(sarvo_initialize());
    const auto from = parse_number(a.from), to = parse_number(a.to);
    if (!from || !to || !std::isfinite(*from) || !std::isfinite(*to))
        throw usage_error("FROM and TO must be finite numbers");
    if (!(*from < *to)) throw usage_error("FROM must be less than TO");
    check_plot_name(a.plot);
    const Curve curve = sample(a, *from, *to);
    if (!curve.complete)
        std::fprintf(stderr, "sarvo: the limit of %d points was reached before the curve was smooth\n", a.most);
    if (a.plot.empty()) write_out(printed(curve, a));
    else write_plot({a.expression + ", " + std::to_string(curve.x.size()) + " points", curve.x, curve.y}, a.plot);
    return exit_done;
}

// A validator whose name stays out of the help.
CLI::Validator silent(CLI::Validator v) { return v.description(""); }

} // namespace

Run add_sample(CLI::App &app) {
    const auto a = std::make_shared<Arguments>();
    app.footer(footer);
    app.add_option("EXPRESSION", a->expression, "Formula of x")->required()->type_name("");
    app.add_option("FROM", a->from, "Lower end")->required()->type_name("");
    app.add_option("TO", a->to, "Upper end")->required()->type_name("");
    app.add_option("--initial", a->initial, "Points to begin with, evenly (default 33)")
        ->check(silent(CLI::Range(3, 1000000)))
        ->type_name("N");
    app.add_option("--most", a->most, "Limit of points (default 5000)")
        ->check(silent(CLI::Range(3, 10000000)))
        ->type_name("N");
    app.add_option("--angle", a->angle, "Degrees by which chords may turn (default 5)")
        ->check(silent(CLI::Range(0.01, 90.0)))
        ->type_name("X");
    app.add_option("--rel-tol", a->rel_tol, "Ignore steps below this share of the range of y (default 0.001)")
        ->check(silent(CLI::NonNegativeNumber))
        ->type_name("X");
    app.add_option("--abs-tol", a->abs_tol, "Ignore steps of y below this (default 0)")
        ->check(silent(CLI::NonNegativeNumber))
        ->type_name("X");
    app.add_option("--min-dx", a->min_dx, "Least interval, as a share of TO - FROM (default 1e-6)")
        ->check(silent(CLI::Range(1e-12, 1.0)))
        ->type_name("X");
    app.add_option("--plot", a->plot, "Draw instead: FILE.svg, FILE.png, or - for the terminal")->type_name("FILE");
    app.add_option("--format", a->format, "table, csv or json; the last two in full precision (default table)")
        ->check(silent(CLI::IsMember({"table", "csv", "json"})))
        ->type_name("FORM");
    app.add_option("--digits", a->digits, "Digits in the table, 1 to 17 (default 8)")
        ->check(silent(CLI::Range(1, 17)))
        ->type_name("N");
    return [a] { return run_sample(*a); };
}

} // namespace command
