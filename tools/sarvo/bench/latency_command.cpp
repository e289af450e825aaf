// The subcommand bench latency.
#include <algorithm>
#include <cmath>
#include <memory>

#include <sarvo/membench.h>

#include "bench/bench_commands.h"
#include "bench/machine.h"
#include "bench/run.h"
#include "library.h"
#include "line/options.h"

namespace command {
namespace {

const char *const prose =
    "The time of a random read, each waiting for the one before (single) or two at a time (dual), from a region of "
    "SIZE\n"
    "bytes (of which the largest power of two is read), or from regions of 4 KiB to 1 GiB: the steps are the caches.\n"
    "The time of the same chain in the nearest cache is subtracted, so that one is 0.\n";

struct Arguments {
    std::string size;
    int rounds = 7;
    int32_t reads = 1000000;
    BenchOutput output;
};

struct Sample {
    double single, dual;
};

Sample measure(uint64_t size, int32_t reads) {
    sarvo_membench_latency_t record = {};
    record.repeats = 2; // the smaller time of two passes
    record.reads = reads;
    check(sarvo_membench_latency(size, &record));
    return {record.single_ns, record.dual_ns};
}

std::vector<uint64_t> sizes(const std::string &text) {
    if (!text.empty()) {
        const uint64_t size = parse_size(text, "SIZE");
        if (size < 1024) throw usage_error("SIZE must be at least 1024 bytes");
        return {size};
    }
    std::vector<uint64_t> all;
    const uint64_t room = std::max(memory_bytes() / 4, uint64_t{1} << 26);
    for (uint64_t size = 4096; size <= std::min(room, uint64_t{1} << 30); size *= 2) all.push_back(size);
    return all;
}

// Two tasks a size: one measures both chains, the other takes over the second figure.
std::vector<Task> plan(const std::vector<uint64_t> &all, int32_t reads) {
    const auto levels = caches();
    std::vector<Task> tasks;
    for (const uint64_t size : all) {
        const std::string level = level_holding(size, levels);
        const auto dual = std::make_shared<double>(0.0);
        const double weight = 1e-8 * reads * (level == "memory" ? 12.0 : 3.0) + 1e-9 * static_cast<double>(size);
        tasks.push_back({{"single " + size_text(size), level, size, "ns", false, {}, 1.0},
                         [=] {
                             const Sample sample = measure(size, reads);
                             *dual = sample.dual;
                             return sample.single;
                         },
                         weight});
        tasks.push_back(
            {{"dual " + size_text(size), level, size, "ns", false, {}, 1.0}, [dual] { return *dual; }, 0.0});
    }
    return tasks;
}

void add_table(Answer &answer, const Report &report) {
    Grid &grid = answer.grid("latency", "",
                             {{"size", "bytes"},
                              {"", "size"},
                              {"level", "level"},
                              {"single", "single, ns", 3},
                              {"single_low", "lower quartile", 3},
                              {"single_high", "upper quartile", 3},
                              {"dual", "dual, ns", 3}});
    grid.varies = true;
    for (size_t i = 0; i + 1 < report.all.size(); i += 2) {
        const Measured &m = report.all[i];
        const Spread single = spread_of(m), dual = spread_of(report.all[i + 1]);
        grid.rows.push_back(
            {whole(m.size), size_text(m.size), m.level, single.median, single.low, single.high, dual.median});
    }
}

Plot picture(const Report &report) {
    Series single{{}, {}, "single"}, dual{{}, {}, "dual"};
    Plot plot("Memory latency", {}, "size", "ns a read, median");
    for (const Measured &m : report.all) {
        const double x = std::log2(static_cast<double>(m.size));
        Series &series = m.name[0] == 's' ? single : dual;
        series.x.push_back(x);
        series.y.push_back(spread_of(m).median);
        if (&series == &single) plot.x_marks.emplace_back(x, size_text(m.size));
    }
    plot.series = {single, dual};
    return plot;
}

int run_latency(Arguments &a) {
    check_bench_options(a.output);
    Report report = run_tasks("latency", plan(sizes(a.size), a.reads), a.rounds);
    if (report.all.size() % 2) report.all.pop_back(); // interrupted between the two figures
    Answer answer;
    add_machine(answer);
    answer.fact("rounds", "rounds", int64_t{a.rounds});
    answer.fact("reads", "reads", int64_t{a.reads});
    if (!report.all.empty()) add_table(answer, report);
    return finish(report, answer, picture(report), a.output);
}

} // namespace

Run add_bench_latency(CLI::App &app) {
    const auto a = std::make_shared<Arguments>();
    explain(app, prose,
            {"sarvo bench latency", "sarvo bench latency 64M --rounds 20",
             "sarvo bench latency --plot - --html latency.html"});
    argument(app, "SIZE", a->size, "One size, as 64M (default: a sweep)");
    option(app, "--rounds", a->rounds, 1, 1000, "N", "Measurements of each (default 7)");
    option(app, "--reads", a->reads, 1000, 1000000000, "N", "Reads a measurement (default 1000000)");
    add_bench_options(app, a->output);
    return [a] { return run_latency(*a); };
}

} // namespace command
