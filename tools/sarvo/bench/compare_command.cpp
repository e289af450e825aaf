// The subcommand bench compare.
#include <cmath>
#include <map>
#include <memory>

#include <nlohmann/json.hpp>

#include "bench/bench_commands.h"
#include "bench/samples.h"
#include "data/source.h"
#include "line/options.h"
#include "numbers.h"

namespace command {
namespace {

const char *const prose =
    "A and B are what sarvo bench ... --json printed. What both measured is compared: the ratio of the medians, above "
    "1 where\n"
    "B is better, and the two-sided probability of the rank-sum test (Mann and Whitney), adjusted for the number of "
    "rows\n"
    "(Holm). The verdict is faster or slower where that is below the level, else none: no difference was shown.\n";

struct Arguments {
    std::string first, second;
    double level = 0.05;
    OutputOptions form;
};

struct Recorded {
    std::string benchmark;
    std::vector<Measured> all;
};

Recorded read_run(const std::string &path) {
    const std::string text = read_text(path), source = source_name(path);
    try {
        const auto json = nlohmann::json::parse(text);
        Recorded run{json.at("benchmark").get<std::string>(), {}};
        for (const auto &sample : json.at("samples")) {
            const auto name = sample.at("name").get<std::string>(), level = sample.at("level").get<std::string>();
            const auto size = sample.at("size").get<uint64_t>();
            if (run.all.empty() || run.all.back().name != name || run.all.back().size != size)
                run.all.push_back({name,
                                   level,
                                   size,
                                   sample.at("unit").get<std::string>(),
                                   sample.at("more_is_better").get<bool>(),
                                   {}});
            run.all.back().samples.push_back(sample.at("value").get<double>());
        }
        if (run.all.empty()) throw input_error(source + ": there are no samples");
        return run;
    } catch (const nlohmann::json::parse_error &e) {
        throw input_error(source + ": byte " + std::to_string(e.byte) + ": this is not JSON");
    } catch (const nlohmann::json::exception &) {
        throw input_error(source + ": this is not what sarvo bench ... --json prints");
    }
}

struct Pair {
    const Measured *a, *b;
};

std::vector<Pair> pairs(const Recorded &a, const Recorded &b) {
    std::vector<Pair> all;
    for (const Measured &x : a.all)
        for (const Measured &y : b.all)
            if (x.name == y.name && x.size == y.size && x.unit == y.unit) all.push_back({&x, &y});
    return all;
}

int run_compare(const Arguments &arguments) {
    if (arguments.first == "-" && arguments.second == "-")
        throw usage_error("only one of A and B can be standard input");
    const Recorded a = read_run(arguments.first), b = read_run(arguments.second);
    if (a.benchmark != b.benchmark)
        throw input_error("A measured " + a.benchmark + ", B " + b.benchmark + ": they cannot be compared");
    const std::vector<Pair> common = pairs(a, b);
    if (common.empty()) throw input_error("A and B have no measurement in common");
    std::vector<double> p;
    for (const Pair &pair : common) p.push_back(rank_sum_probability(pair.a->samples, pair.b->samples));
    const std::vector<double> adjusted = holm_adjusted(p);
    Answer answer;
    int64_t faster = 0, slower = 0;
    Grid grid;
    for (size_t i = 0; i < common.size(); i++) {
        const Measured &x = *common[i].a, &y = *common[i].b;
        const double before = spread_of(x).median, now = spread_of(y).median;
        const double ratio = x.more_is_better ? now / before : before / now;
        const bool shown = adjusted[i] < arguments.level;
        faster += shown && ratio > 1.0;
        slower += shown && ratio < 1.0;
        grid.rows.push_back({x.name, x.level, before, now, ratio, adjusted[i],
                             std::string(!shown        ? "no difference shown"
                                         : ratio > 1.0 ? "faster"
                                                       : "slower")});
    }
    const auto n = static_cast<int64_t>(common.size());
    answer.headline = "B against A: " + std::to_string(faster) + " faster, " + std::to_string(slower) + " slower, " +
                      std::to_string(n - faster - slower) + " without a difference shown.";
    answer.fact("test", "test",
                std::string("Mann-Whitney rank sums, two-sided, Holm's adjustment for ") + std::to_string(n) +
                    (n == 1 ? " row" : " rows"));
    answer.fact("level", "level", arguments.level, 3);
    answer.fact("faster", "faster", faster);
    answer.fact("slower", "slower", slower);
    const std::string unit = common[0].a->unit;
    answer
        .grid("rows", "",
              {{"name", "measurement"},
               {"level", "level"},
               {"a", "A, " + unit, 4},
               {"b", "B, " + unit, 4},
               {"ratio", "ratio", 3},
               {"p", "p adjusted", 2},
               {"verdict", "verdict"}})
        .rows = std::move(grid.rows);
    print(answer, arguments.form);
    return exit_done;
}

} // namespace

Run add_bench_compare(CLI::App &app) {
    const auto a = std::make_shared<Arguments>();
    explain(app, prose,
            {"sarvo bench compare before.json after.json", "sarvo bench compare a.json b.json --level 0.01 --format md",
             "sarvo bench memory 4 --json | sarvo bench compare before.json -"});
    argument(app, "A", a->first, "File, the base of the ratios")->required();
    argument(app, "B", a->second, "File")->required();
    option(app, "--level", a->level, 1e-9, 0.5, "P", "Level of the test (default 0.05)");
    add_output_options(app, a->form);
    return [a] { return run_compare(*a); };
}

} // namespace command
