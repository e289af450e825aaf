// The subcommand dist.
#include <cmath>
#include <memory>
#include <string>
#include <vector>

#include <sarvo/sarvo.h>

#include "answer/output.h"
#include "errors.h"
#include "line/options.h"
#include "line/subcommands.h"
#include "line/suggest.h"
#include "numbers.h"
#include "special/distributions.h"
#include "stopwatch.h"

namespace command {
namespace {

std::string prose() {
    std::string text = "Distributions and their parameters:\n";
    for (const Distribution &d : distributions()) {
        std::string call(d.name);
        for (const auto &parameter : d.parameters) call += " " + std::string(parameter);
        text += "  " + call + std::string(18 - call.size(), ' ') + std::string(d.meaning) + "\n";
    }
    return text +
           "cdf and pdf take points x behind the parameters, quantile probabilities of the lower tail. Both tails\n"
           "are computed as such, not as 1 minus the other, where that keeps more digits.\n";
}

struct Arguments {
    std::string name, what;
    std::vector<std::string> numbers;
    OutputOptions form;
    bool bare = false;
};

const Distribution &find(const std::string &name) {
    std::vector<std::string> names;
    for (const Distribution &d : distributions()) {
        if (d.name == name) return d;
        names.emplace_back(d.name);
    }
    throw usage_error("there is no distribution '" + name + "'." + suggestion(name, names));
}

std::vector<double> parse(const std::vector<std::string> &words) {
    std::vector<double> numbers;
    for (const std::string &word : words) {
        const auto x = parse_number(word);
        if (!x || !std::isfinite(*x)) throw usage_error("'" + word + "' is not a finite number");
        numbers.push_back(*x);
    }
    return numbers;
}

int run_dist(const Arguments &a) {
    const Distribution &d = find(a.name);
    const std::vector<double> numbers = parse(a.numbers);
    const size_t count = d.parameters.size();
    if (numbers.size() <= count) {
        std::string list;
        for (const auto &parameter : d.parameters) list += std::string(parameter) + ", ";
        throw usage_error(a.name + " " + a.what + " takes " + list + "then one or more " +
                          (a.what == "quantile" ? "probabilities" : "points"));
    }
    const std::span<const double> p(numbers.data(), count), points(numbers.data() + count, numbers.size() - count);
    for (size_t i = 0; i < count; i++)
        if (!(p[i] > 0.0) && d.parameters[i] != "mean")
            throw usage_error(std::string(d.parameters[i]) + " must be greater than 0");
    const Stopwatch watch;
    Answer answer;
    Grid &grid = answer.grid("values", "",
                             {{"x", "x", 0, true},
                              {"lower", "P(X <= x)", 0, true},
                              {"upper", "P(X > x)", 0, true},
                              {"density", "density", 10}});
    std::vector<double> asked;
    for (const double point : points) {
        if (a.what == "quantile" && (point < 0.0 || point > 1.0))
            throw usage_error("a probability lies between 0 and 1, not at " + shortest(point));
        const double x = a.what == "quantile" ? d.quantile(p, point) : point;
        grid.rows.push_back({x, d.lower(p, x), d.upper(p, x), d.density(p, x)});
        asked.push_back(std::get<double>(grid.rows.back()[a.what == "quantile" ? 0 : a.what == "cdf" ? 1 : 3]));
    }

    if (!a.bare) {
        answer.time(watch.seconds());
        print(answer, a.form);
        return exit_done;
    }
    std::string text;
    for (const double number : asked) text += (a.form.hex ? hexadecimal(number) : shortest(number)) + "\n";
    write_out(text);
    return exit_done;
}

} // namespace

Run add_dist(CLI::App &app) {
    const auto a = std::make_shared<Arguments>();
    explain(app, prose(),
            {"sarvo dist student cdf 10 2.228", "sarvo dist chi2 quantile 3 0.95 0.99",
             "sarvo dist normal pdf 0 1 -1 0 1 --format csv"});
    argument(app, "NAME", a->name, "Distribution")->required();
    choice_argument(app, "WHAT", a->what, "cdf|pdf|quantile", "What of it")->required();
    argument(app, "NUMBERS", a->numbers, "Parameters, then points or probabilities")->required();
    app.add_flag("--bare", a->bare, "Print nothing but the numbers asked for");
    add_output_options(app, a->form);
    return [a] { return run_dist(*a); };
}

} // namespace command
