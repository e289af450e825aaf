// A plan of measurements carried out round by round, with progress, until done or interrupted; and what is said of it.
#pragma once

#include <functional>

#include "answer/answer.h"
#include "bench/samples.h"
#include "picture/plot.h"

namespace CLI {
class App;
}

namespace command {

struct Task {
    Measured measured;               // without samples
    std::function<double()> measure; // one sample; throws Failure
    double weight = 1.0;             // its share of the time, as far as is known
};

struct Report {
    std::string benchmark; // "memory", "latency", "scimark"
    std::vector<Measured> all;
    bool interrupted = false;
    double seconds = 0.0;
};

// Every task once a round: what slows the machine down for a while meets all of them.
Report run_tasks(const std::string &benchmark, std::vector<Task> tasks, int rounds);

// What every report says: machine, rounds, time, outliers, for programs all samples.
void add_machine(Answer &answer);
void add_samples(Answer &answer, const Report &report);

struct BenchOutput {
    OutputOptions form;
    bool json = false;
    std::string html, plot;
};
void add_bench_options(CLI::App &app, BenchOutput &output);
void check_bench_options(BenchOutput &output); // before the work

// Prints the answer, draws, writes the page. Returns the exit code.
int finish(const Report &report, Answer answer, const Plot &plot, const BenchOutput &output);

} // namespace command
