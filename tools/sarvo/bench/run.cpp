// Rounds of measurements.
#include "bench/run.h"

#include <algorithm>
#include <cmath>

#include "answer/output.h"
#include "bench/html.h"
#include "bench/interrupt.h"
#include "bench/machine.h"
#include "errors.h"
#include "line/options.h"
#include "numbers.h"
#include "progress.h"
#include "stopwatch.h"

namespace command {
namespace {

std::string remaining(double seconds) {
    const long left = std::lround(seconds);
    return left >= 90 ? std::to_string((left + 30) / 60) + " min left" : std::to_string(left) + " s left";
}

} // namespace

Report run_tasks(const std::string &benchmark, std::vector<Task> tasks, int rounds) {
    Report report{benchmark, {}, false, 0.0};
    const Stopwatch watch;
    const Interruption interruption;
    Progress progress;
    double whole = 0.0, done = 0.0;
    for (const Task &task : tasks) whole += task.weight * rounds;
    std::string last;
    for (int round = 0; round < rounds && !report.interrupted; round++)
        for (Task &task : tasks) {
            Measured &m = task.measured;
            const double share = done / whole;
            progress.show(std::to_string(static_cast<int>(100.0 * share)) + "%  " + m.name +
                          (m.level.empty() ? "" : ", " + m.level) + last +
                          (share > 0.02 ? "  " + remaining(watch.seconds() / share * (1.0 - share)) : ""));
            m.samples.push_back(task.measure());
            done += task.weight;
            last = "  " + general(m.samples.back(), 4) + " " + m.unit;
            if ((report.interrupted = interruption.wanted())) break;
        }
    progress.clear();
    for (Task &task : tasks)
        if (!task.measured.samples.empty()) report.all.push_back(std::move(task.measured));
    report.seconds = watch.seconds();
    return report;
}

void add_machine(Answer &answer) {
    const auto fact = [&answer](const char *key, const char *label, const std::string &text) {
        answer.parts.push_back(Fact{key, label, text, 0, true, ""});
    };
    const std::string name = processor_name();
    if (!name.empty()) fact("processor", "processor", name);
    std::string sizes;
    for (const CacheLevel &cache : caches())
        sizes += (sizes.empty() ? "" : ", ") + cache.name + " " + size_text(cache.bytes);
    if (!sizes.empty()) fact("caches", "caches", sizes);
}

void add_samples(Answer &answer, const Report &report) {
    size_t outliers = 0, all = 0;
    double widest = 0.0;
    Grid &grid =
        answer.grid("samples", "",
                    {{"name", ""}, {"level", ""}, {"size", ""}, {"unit", ""}, {"more_is_better", ""}, {"value", ""}});
    grid.audience = Audience::programs;
    grid.varies = true;
    for (const Measured &m : report.all) {
        const Spread s = spread_of(m);
        outliers += s.outliers;
        all += m.samples.size();
        widest = std::max(widest, relative_spread(m));
        for (const double x : m.samples)
            grid.rows.push_back({m.name, m.level, whole(m.size), m.unit, m.more_is_better, x});
    }
    if (outliers * 20 > all || widest > 0.1)
        answer.notes.push_back(std::to_string(outliers) + " of " + std::to_string(all) +
                               " measurements are outliers, the widest spread is " + general(100.0 * widest, 3) +
                               "%: something else kept the machine busy");
}

void add_bench_options(CLI::App &app, BenchOutput &output) {
    app.add_flag("--json", output.json, "The same as --format json; sarvo bench compare reads it");
    option(app, "--html", output.html, "FILE", "Write a page with the figures and the picture too");
    option(app, "--plot", output.plot, "FILE", "Draw too: FILE.svg, FILE.png, or - for the terminal");
    add_output_options(app, output.form);
}

void check_bench_options(BenchOutput &output) {
    check_plot_name(output.plot);
    if (output.json) output.form.format = "json";
}

int finish(const Report &report, Answer answer, const Plot &plot, const BenchOutput &output) {
    if (report.all.empty()) return exit_interrupted;
    if (report.interrupted) answer.headline = "INTERRUPTED: this is what is known so far.";
    answer.parts.insert(answer.parts.begin(), Fact{"benchmark", "benchmark", report.benchmark, 0, true, ""});
    answer.time(report.seconds);
    add_samples(answer, report);
    if (!output.plot.empty()) write_plot(plot, output.plot);
    if (!output.html.empty()) write_file(html_page("sarvo bench " + report.benchmark, answer, plot), output.html);
    print(answer, output.form);
    return report.interrupted ? exit_interrupted : exit_done;
}

} // namespace command
