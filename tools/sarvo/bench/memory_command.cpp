// The subcommand bench memory.
#include <algorithm>
#include <cmath>
#include <memory>
#include <set>

#include <sarvo/membench.h>

#include "answer/text.h"
#include "bench/bench_commands.h"
#include "bench/machine.h"
#include "bench/run.h"
#include "library.h"
#include "line/options.h"
#include "numbers.h"

namespace command {
namespace {

const char *const prose =
    "Copies and fills of a buffer in each level of the memory, by fifteen tests. TESTS are numbers, as 4,10-13; "
    "without\n"
    "them all are run. A copy of n bytes counts n; it touches twice as many, which must fit into a level of caches: a\n"
    "quarter of each cache is copied, and as much as the last cache has for the memory.\n";

constexpr uint32_t test_count = 15;

struct Arguments {
    std::string tests, sizes;
    int rounds = 7;
    double min_time = 0.01;
    BenchOutput output;
};

struct Place {
    std::string level;
    uint64_t size;
};

// 4,10-13 in ascending order.
std::set<uint32_t> parse_tests(const std::string &text) {
    std::set<uint32_t> all;
    const auto wrong = [&](const std::string &part) {
        return usage_error("'" + part + "' is no test: they are 1 to 15, as in 4,10-13");
    };
    for (const std::string &part : split(text, ',')) {
        const size_t dash = part.find('-');
        const auto first = parse_number(part.substr(0, dash));
        const auto last = dash == std::string::npos ? first : parse_number(part.substr(dash + 1));
        if (!first || !last || !(*first >= 1.0) || !(*last >= *first) || !(*last <= test_count)) throw wrong(part);
        if (*first != std::floor(*first) || *last != std::floor(*last)) throw wrong(part);
        for (auto n = static_cast<uint32_t>(*first); n <= static_cast<uint32_t>(*last); n++) all.insert(n);
    }
    if (text.empty())
        for (uint32_t n = 1; n <= test_count; n++) all.insert(n);
    return all;
}

std::vector<Place> places(const std::string &sizes) {
    const auto levels = caches();
    constexpr uint64_t least = uint64_t{32} << 20, most = uint64_t{1} << 30;
    std::vector<Place> all;
    for (const std::string &text : split(sizes, ',')) {
        const uint64_t size = parse_size(text, "--size");
        if (size < 64 || size > most) throw usage_error("--size takes sizes from 64 to 1G");
        all.push_back({level_holding(2 * size, levels), size});
    }
    if (!all.empty()) return all;
    for (const CacheLevel &level : levels)
        if (level.bytes / 4 <= most) all.push_back({level.name, level.bytes / 4 / 64 * 64});
    all.push_back({"memory", std::clamp(levels.empty() ? 0 : levels.back().bytes, least, most)});
    return all;
}

double measure(uint32_t test, uint64_t size, double min_time, std::string *name) {
    sarvo_membench_bandwidth_t record = {};
    record.size = size;
    record.repeats = 1;
    record.min_time = std::max(min_time, 1e-5); // what the clock can tell: a rate is a number
    check(sarvo_membench_bandwidth(test, &record));
    *name = record.test_name;
    return record.best;
}

std::string test_name(uint32_t test) {
    std::string name;
    measure(test, 64, 0.0, &name);
    return name;
}

// A row a test, a column a level, medians.
void add_table(Answer &answer, const Report &report, const std::vector<Place> &where) {
    std::vector<Column> columns = {{"", "MB/s, median"}};
    for (const Place &place : where) columns.push_back({"", place.level + ", " + size_text(place.size)});
    Grid &wide = answer.grid("", "", columns);
    wide.audience = Audience::people;
    for (const Measured &m : report.all) {
        const auto same = std::find_if(wide.rows.begin(), wide.rows.end(),
                                       [&](const auto &row) { return std::get<std::string>(row[0]) == m.name; });
        const size_t row = static_cast<size_t>(same - wide.rows.begin());
        if (same == wide.rows.end()) {
            wide.rows.emplace_back(columns.size());
            wide.rows.back()[0] = m.name;
        }
        for (size_t c = 0; c < where.size(); c++)
            if (where[c].size == m.size)
                wide.rows[row][c + 1] = whole(static_cast<uint64_t>(std::lround(spread_of(m).median)));
    }
}

void add_list(Answer &answer, const Report &report) {
    Grid &grid = answer.grid("tests", "",
                             {{"name", ""},
                              {"level", ""},
                              {"size", ""},
                              {"median", ""},
                              {"best", ""},
                              {"low", ""},
                              {"high", ""},
                              {"outliers", ""}});
    grid.audience = Audience::programs;
    grid.varies = true;
    for (const Measured &m : report.all) {
        const Spread s = spread_of(m);
        grid.rows.push_back({m.name, m.level, whole(m.size), s.median, s.best, s.low, s.high, whole(s.outliers)});
    }
}

Plot picture(const Report &report, const std::vector<Place> &where, const std::vector<std::string> &names) {
    Plot plot("Memory bandwidth", {}, "test", "MB/s, median");
    plot.log_y = true;
    for (const Place &place : where) {
        Series series{{}, {}, place.level + ", " + size_text(place.size), true};
        for (const Measured &m : report.all)
            if (m.size == place.size) {
                const auto at = std::find(names.begin(), names.end(), m.name) - names.begin();
                series.x.push_back(static_cast<double>(at));
                series.y.push_back(spread_of(m).median);
            }
        plot.series.push_back(series);
    }
    for (size_t i = 0; i < names.size(); i++) plot.x_marks.emplace_back(static_cast<double>(i), std::to_string(i + 1));
    return plot;
}

int run_memory(Arguments &a) {
    check_bench_options(a.output);
    const std::set<uint32_t> tests = parse_tests(a.tests);
    const std::vector<Place> where = places(a.sizes);
    std::vector<std::string> names;
    for (uint32_t n = 1; n <= test_count; n++) names.push_back(test_name(n));
    std::vector<Task> tasks;
    for (const Place &place : where)
        for (const uint32_t test : tests) {
            Task task;
            task.measured = {names[test - 1], place.level, place.size, "MB/s", true, {}};
            task.weight = a.min_time + 0.004 + 1.5e-9 * static_cast<double>(place.size); // filling the buffers
            task.measure = [test, size = place.size, min_time = a.min_time] {
                std::string name;
                return measure(test, size, min_time, &name);
            };
            tasks.push_back(task);
        }
    const Report report = run_tasks("memory", std::move(tasks), a.rounds);
    Answer answer;
    add_machine(answer);
    answer.fact("rounds", "rounds", int64_t{a.rounds});
    add_table(answer, report, where);
    add_list(answer, report);
    return finish(report, answer, picture(report, where, names), a.output);
}

} // namespace

Run add_bench_memory(CLI::App &app) {
    const auto a = std::make_shared<Arguments>();
    explain(app, prose,
            {"sarvo bench memory", "sarvo bench memory 4,14 --size 16K,64M --json > now.json",
             "sarvo bench memory 10-13 --html fills.html"});
    argument(app, "TESTS", a->tests, "Numbers of tests (default all)");
    option(app, "--size", a->sizes, "BYTES,...", "Sizes to copy or fill, as 48K or 2M (default by the caches)");
    option(app, "--rounds", a->rounds, 1, 1000, "N", "Measurements of each (default 7)");
    option(app, "--min-time", a->min_time, 0.0, 60.0, "SECONDS", "Least time of a measurement (default 0.01)");
    add_bench_options(app, a->output);
    return [a] { return run_memory(*a); };
}

} // namespace command
