// The subcommand dist.
#include <cmath>
#include <memory>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>
#include <sarvo/sarvo.h>

#include "errors.h"
#include "library.h"
#include "numbers.h"
#include "output.h"
#include "special/distributions.h"
#include "subcommands.h"
#include "suggest.h"
#include "text.h"

namespace command {
namespace {

std::string footer() {
    std::string text = "Distributions and their parameters:\n";
    for (const Distribution &d : distributions()) {
        std::string call(d.name);
        for (const auto &parameter : d.parameters) call += " " + std::string(parameter);
        text += "  " + call + std::string(18 - call.size(), ' ') + std::string(d.meaning) + "\n";
    }
    return text +
           "cdf and pdf take points x behind the parameters, quantile probabilities of the lower tail. Both tails\n"
           "are computed as such, not as 1 minus the other, where that keeps more digits.\n"
           "\n"
           "Examples:\n"
           "  sarvo dist student cdf 10 2.228\n"
           "  sarvo dist chi2 quantile 3 0.95 0.99\n"
           "  sarvo dist normal pdf 0 1 -1 0 1 --format csv";
}

struct Arguments {
    std::string name, what;
    std::vector<std::string> numbers;
    std::string format = "table";
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

struct Row {
    double x, lower, upper, density;
};

int run_dist(const Arguments &a) {
    check(sarvo_initialize());
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
    std::vector<Row> rows;
    for (const double point : points) {
        if (a.what == "quantile" && (point < 0.0 || point > 1.0))
            throw usage_error("a probability lies between 0 and 1, not at " + shortest(point));
        const double x = a.what == "quantile" ? d.quantile(p, point) : point;
        rows.push_back({x, d.lower(p, x), d.upper(p, x), d.density(p, x)});
    }

    std::string text;
    if (a.format == "json") {
        text = "[";
        for (const Row &r : rows)
            text += std::string(text.size() > 1 ? "," : "") + "\n  {\"x\": " + json_number(r.x) +
                    ", \"lower\": " + json_number(r.lower) + ", \"upper\": " + json_number(r.upper) +
                    ", \"density\": " + json_number(r.density) + "}";
        text += "\n]\n";
    } else if (a.format == "value") {
        for (const Row &r : rows)
            text += shortest(a.what == "quantile" ? r.x : a.what == "pdf" ? r.density : r.lower) + "\n";
    } else if (a.format == "csv") {
        text = "x,lower,upper,density\n";
        for (const Row &r : rows)
            text += csv_number(r.x) + "," + csv_number(r.lower) + "," + csv_number(r.upper) + "," +
                    csv_number(r.density) + "\n";
    } else {
        std::vector<std::vector<std::string>> cells = {{"x", "P(X <= x)", "P(X > x)", "density"}};
        for (const Row &r : rows)
            cells.push_back({shortest(r.x), shortest(r.lower), shortest(r.upper), general(r.density, 10)});
        text = aligned(cells);
    }
    write_out(text);
    return exit_done;
}

} // namespace

Run add_dist(CLI::App &app) {
    const auto a = std::make_shared<Arguments>();
    app.footer(footer());
    app.add_option("NAME", a->name, "Distribution")->required()->type_name("");
    app.add_option("WHAT", a->what, "cdf, pdf or quantile")
        ->required()
        ->check(CLI::Validator(CLI::IsMember({"cdf", "pdf", "quantile"})).description(""))
        ->type_name("");
    app.add_option("NUMBERS", a->numbers, "Parameters, then points or probabilities")->required()->type_name("");
    app.add_option("--format", a->format, "table, csv, json, or value: the bare number asked for (default table)")
        ->check(CLI::Validator(CLI::IsMember({"table", "csv", "json", "value"})).description(""))
        ->type_name("FORM");
    return [a] { return run_dist(*a); };
}

} // namespace command
