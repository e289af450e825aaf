// The bench harness: candidates timed in interleaved rounds on one thread, medians with spread, and what the figures
// were taken on.
#pragma once

#include <stdint.h>

#include <functional>
#include <string>
#include <vector>

namespace bench {

struct Candidate {
    std::string name;
    std::function<void()> prepare; // before each run, not timed; may be empty
    std::function<void()> run;
};

struct Timing {
    double median;    // seconds
    double low, high; // quartiles
};

// Prints processor, compiler, flags, commit, chosen level, peers' versions.
void print_environment(const std::string &peers);

// One run of each candidate in turn, `rounds` times, after one round that is thrown away. A run that is too short for the
// clock is made `repeats` times within each timing (prepare only once); times are per run.
std::vector<Timing> interleave(const std::vector<Candidate> &candidates, int rounds, int repeats = 1);

// Times candidates, ours first, and prints a line: our time, rate (work / time, in thousand millions), each peer's ratio
// of times, the best peer's against `at_least` (0: no figure to reach). Rounds and repeats are chosen by the time that a
// run takes. Returns our median.
double compare(const std::string &what, uint64_t n, double work, const std::vector<Candidate> &candidates,
               double at_least = 0.0);

// Seconds of one addition in a chain of dependent ones, measured.
double addition_latency();

// "1.234 ms (1.21 .. 1.30)"
std::string format(const Timing &t);

// OpenBLAS falls back to its slowest kernels on processors that it does not know yet: restarts the program with the
// best kernels that this processor can run, once, unless OPENBLAS_CORETYPE is set already.
void use_best_openblas_kernels(char **argv);

} // namespace bench
