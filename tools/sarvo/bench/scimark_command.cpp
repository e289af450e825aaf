// The subcommand bench scimark.
#include <cmath>
#include <memory>

#include <sarvo/scimark.h>

#include "bench/bench_commands.h"
#include "bench/machine.h"
#include "bench/run.h"
#include "library.h"
#include "line/options.h"
#include "numbers.h"

namespace command {
namespace {

const char *const prose =
    "Five small numerical programs: Fourier transform, over-relaxation, Monte Carlo integration, sparse product, LU\n"
    "factorisation. Presets: small (FFT 1024, SOR 100, sparse 1000,5000, LU 100) fits into the caches, large "
    "(1048576,\n"
    "1000, 100000,1000000, 1000) does not fit into the near ones. A size of 0 leaves a kernel out. The error is what "
    "the\n"
    "kernel's result says of its correctness. The composite is the mean of the medians.\n";

struct Sizes {
    int32_t fft, sor, rows, entries, lu;
};
constexpr Sizes small_sizes = {1024, 100, 1000, 5000, 100}, large_sizes = {1048576, 1000, 100000, 1000000, 1000};

struct Arguments {
    std::string preset = "small", sparse;
    int32_t fft = -1, sor = -1, lu = -1; // -1: the preset's
    bool no_monte_carlo = false;
    int rounds = 7;
    double min_time = 0.1;
    BenchOutput output;
};

Sizes chosen(const Arguments &a) {
    Sizes s = a.preset == "large" ? large_sizes : small_sizes;
    if (a.fft >= 0) s.fft = a.fft;
    if (a.sor >= 0) s.sor = a.sor;
    if (s.sor == 1 || s.sor == 2) // nothing to do, at any rate that is asked for
        throw usage_error("--sor: the smallest grid with an interior has order 3; 0 leaves it out");
    if (a.lu >= 0) s.lu = a.lu;
    if (a.sparse.empty()) return s;
    const size_t comma = a.sparse.find(',');
    const auto rows = parse_number(a.sparse.substr(0, comma));
    const auto entries = comma == std::string::npos ? rows : parse_number(a.sparse.substr(comma + 1));
    for (const auto &x : {rows, entries})
        if (!x || !(*x >= 0.0 && *x <= INT32_MAX) || *x != std::floor(*x))
            throw usage_error("--sparse takes ROWS,ENTRIES, or 0");
    s.rows = static_cast<int32_t>(*rows);
    s.entries = static_cast<int32_t>(*entries);
    return s;
}

struct Kernel {
    const char *name;
    uint64_t bytes; // of its data
    Sizes sizes;    // the others 0
    int32_t monte_carlo;
    size_t slot;      // of its results
    std::string what; // its size in words
};

std::vector<Kernel> kernels(const Sizes &s, bool monte_carlo) {
    const auto bytes = [](double doubles) { return static_cast<uint64_t>(8.0 * doubles); };
    const auto square = [](int32_t n) { return static_cast<double>(n) * n; };
    const auto n = [](int32_t x) { return std::to_string(x); };
    std::vector<Kernel> all = {
        {"FFT", bytes(2.0 * s.fft), {s.fft, 0, 0, 0, 0}, 0, 1, n(s.fft)},
        {"SOR", bytes(square(s.sor)), {0, s.sor, 0, 0, 0}, 0, 2, n(s.sor) + " x " + n(s.sor)},
        {"Monte Carlo", monte_carlo ? bytes(17) : 0, {0, 0, 0, 0, 0}, 1, 3, "-"},
        {"sparse product",
         bytes(s.rows && s.entries ? 1.5 * s.entries + 2.5 * s.rows : 0.0),
         {0, 0, s.rows, s.entries, 0},
         0,
         4,
         n(s.rows) + ", " + n(s.entries) + " entries"},
        {"LU", bytes(2.0 * square(s.lu)), {0, 0, 0, 0, s.lu}, 0, 5, n(s.lu) + " x " + n(s.lu)},
    };
    std::erase_if(all, [](const Kernel &k) { return k.bytes == 0; });
    return all;
}

struct Outcome {
    double mflops, result;
    int64_t cycles;
};

Outcome measure(const Kernel &k, double min_time) {
    double mflops[6], result[6];
    int64_t cycles[6];
    check(sarvo_scimark_all(k.sizes.fft, k.sizes.sor, k.sizes.rows, k.sizes.entries, k.sizes.lu, k.monte_carlo,
                            min_time, mflops, result, cycles));
    return {mflops[k.slot], result[k.slot], cycles[k.slot]};
}

// How far the result of a run is from what it must be; nothing where it says nothing.
Value error_of(const Kernel &k, const Outcome &last) {
    if (k.slot != 1 && k.slot != 5) return {};
    return last.result / (std::log2(static_cast<double>(last.cycles)) + 1.0); // mean of the RMS errors of the passes
}

void add_table(Answer &answer, const Report &report, const std::vector<Kernel> &all, const std::vector<Outcome> &last) {
    double composite = 0.0;
    for (const Measured &m : report.all) composite += spread_of(m).median / static_cast<double>(report.all.size());
    answer.parts.push_back(Fact{"composite", "composite, Mflops", composite, 5, true, ""});
    Grid &grid = answer.grid("kernels", "",
                             {{"name", "kernel"},
                              {"", "size"},
                              {"level", "data in"},
                              {"median", "Mflops", 4},
                              {"low", "lower quartile", 4},
                              {"high", "upper quartile", 4},
                              {"best", "best", 4},
                              {"error", "error", 2}});
    grid.varies = true;
    for (size_t i = 0; i < report.all.size(); i++) {
        const Measured &m = report.all[i];
        const Spread s = spread_of(m);
        grid.rows.push_back({m.name, all[i].what, m.level, s.median, s.low, s.high, s.best, error_of(all[i], last[i])});
    }
}

Plot picture(const Report &report) {
    Series medians{{}, {}, "median", true}, samples{{}, {}, "measurements", true};
    Plot plot("SciMark", {}, "kernel", "Mflops");
    for (size_t i = 0; i < report.all.size(); i++) {
        const Measured &m = report.all[i];
        const auto x = static_cast<double>(i);
        medians.x.push_back(x);
        medians.y.push_back(spread_of(m).median);
        for (size_t k = 0; k < m.samples.size(); k++) {
            samples.x.push_back(x + 0.1 + 0.3 * static_cast<double>(k) / static_cast<double>(m.samples.size()));
            samples.y.push_back(m.samples[k]);
        }
        plot.x_marks.emplace_back(x, m.name);
    }
    plot.series = {medians, samples};
    return plot;
}

int run_scimark(Arguments &a) {
    check_bench_options(a.output);
    const std::vector<Kernel> all = kernels(chosen(a), !a.no_monte_carlo);
    if (all.empty()) throw usage_error("every kernel is left out");
    const auto levels = caches();
    std::vector<Outcome> last(all.size());
    std::vector<Task> tasks;
    for (size_t i = 0; i < all.size(); i++) {
        const uint64_t bytes = all[i].bytes;
        Task task;
        task.measured = {all[i].name, level_holding(bytes, levels), bytes, "Mflops", true, {}};
        task.measure = [&, i] {
            last[i] = measure(all[i], a.min_time);
            return last[i].mflops;
        };
        tasks.push_back(task);
    }
    const Report report = run_tasks("scimark", std::move(tasks), a.rounds);
    Answer answer;
    add_machine(answer);
    answer.fact("rounds", "rounds", int64_t{a.rounds});
    if (!report.all.empty()) add_table(answer, report, all, last);
    return finish(report, answer, picture(report), a.output);
}

} // namespace

Run add_bench_scimark(CLI::App &app) {
    const auto a = std::make_shared<Arguments>();
    explain(app, prose,
            {"sarvo bench scimark", "sarvo bench scimark --preset large --json > large.json",
             "sarvo bench scimark --fft 4096 --sor 0 --lu 0 --sparse 0"});
    choice(app, "--preset", a->preset, "small|large", "Sizes (default small)");
    option(app, "--fft", a->fft, 0, 1 << 30, "N", "Complex numbers, a power of two");
    option(app, "--sor", a->sor, 0, 46000, "N", "Order of the grid, at least 3; 0: none");
    option(app, "--sparse", a->sparse, "ROWS,ENTRIES", "Sizes of the sparse matrix");
    option(app, "--lu", a->lu, 0, 46000, "N", "Order of the matrix");
    app.add_flag("--no-monte-carlo", a->no_monte_carlo, "Leave the integration out");
    option(app, "--rounds", a->rounds, 1, 1000, "N", "Measurements of each (default 7)");
    option(app, "--min-time", a->min_time, 0.001, 3600.0, "SECONDS", "Least time of a measurement (default 0.1)");
    add_bench_options(app, a->output);
    return [a] { return run_scimark(*a); };
}

} // namespace command
