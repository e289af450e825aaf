// The subcommand sample.
#include <cmath>
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include <sarvo/sampler.h>

#include "elementary.h"
#include "errors.h"
#include "formula/parser.h"
#include "line/options.h"
#include "line/subcommands.h"
#include "numbers.h"
#include "picture/plot.h"
#include "stopwatch.h"

namespace command {
namespace {

const char *const prose = "EXPRESSION is a formula of x as in fit. Points are added where the curve bends, until "
                          "neighbouring chords turn by\n"
                          "less than --angle or the limit is reached. Without --plot the points are printed.\n";

struct Arguments {
    std::string expression, from, to, plot;
    OutputOptions form;
    int initial = 33, most = 5000;
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

int run_sample(const Arguments &a) {
    const auto from = parse_number(a.from), to = parse_number(a.to);
    if (!from || !to || !std::isfinite(*from) || !std::isfinite(*to))
        throw usage_error("FROM and TO must be finite numbers");
    if (!(*from < *to)) throw usage_error("FROM must be less than TO");
    check_plot_name(a.plot);
    const Stopwatch watch;
    const Curve curve = sample(a, *from, *to);
    if (!curve.complete)
        std::fprintf(stderr, "sarvo: the limit of %d points was reached before the curve was smooth\n", a.most);
    if (!a.plot.empty()) {
        write_plot({a.expression + ", " + std::to_string(curve.x.size()) + " points", {{curve.x, curve.y}}}, a.plot);
        return exit_done;
    }
    Answer answer;
    answer.fact("points", "points", whole(curve.x.size()));
    answer.fact("complete", "smooth everywhere", curve.complete);
    answer.time(watch.seconds());
    Grid &grid = answer.grid("curve", "", {{"x", "x"}, {"y", "y"}});
    for (size_t i = 0; i < curve.x.size(); i++) grid.rows.push_back({curve.x[i], curve.y[i]});
    print(answer, a.form);
    return exit_done;
}

} // namespace

Run add_sample(CLI::App &app) {
    const auto a = std::make_shared<Arguments>();
    explain(app, prose,
            {"sarvo sample 'sin(1/x)' 0.05 1 --plot -", "sarvo sample 'exp(-x^2)' -4 4 --format csv",
             "sarvo sample 'x*log(x)' 0 3 --plot curve.svg --angle 3"});
    argument(app, "EXPRESSION", a->expression, "Formula of x")->required();
    argument(app, "FROM", a->from, "Lower end")->required();
    argument(app, "TO", a->to, "Upper end")->required();
    option(app, "--initial", a->initial, 3, 1000000, "N", "Points to begin with, evenly (default 33)");
    option(app, "--most", a->most, 3, 10000000, "N", "Limit of points (default 5000)");
    option(app, "--angle", a->angle, 0.01, 90.0, "X", "Degrees by which chords may turn (default 5)");
    option(app, "--rel-tol", a->rel_tol, 0.0, HUGE_VAL, "X",
           "Ignore steps below this share of the range of y (default 0.001)");
    option(app, "--abs-tol", a->abs_tol, 0.0, HUGE_VAL, "X", "Ignore steps of y below this (default 0)");
    option(app, "--min-dx", a->min_dx, 1e-12, 1.0, "X", "Least interval, as a share of TO - FROM (default 1e-6)");
    option(app, "--plot", a->plot, "FILE", "Draw instead: FILE.svg, FILE.png, or - for the terminal");
    add_output_options(app, a->form);
    return [a] { return run_sample(*a); };
}

} // namespace command
