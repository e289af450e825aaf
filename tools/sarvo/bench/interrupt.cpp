// The handler.
#include "bench/interrupt.h"

#include <time.h>

namespace command {
namespace {

volatile std::sig_atomic_t noted = 0;
struct timespec first;

// The second one has the usual effect, unless it comes with the first: some programs signal a process and its group.
void note(int signal) {
    constexpr double together = 0.3; // seconds
    struct timespec now;
    clock_gettime(CLOCK_MONOTONIC, &now);
    const double since =
        static_cast<double>(now.tv_sec - first.tv_sec) + 1e-9 * static_cast<double>(now.tv_nsec - first.tv_nsec);
    if (noted && since > together) {
        std::signal(signal, SIG_DFL);
        raise(signal);
    }
    if (!noted) first = now;
    noted = 1;
}

} // namespace

Interruption::Interruption() {
    noted = 0;
    struct sigaction action = {};
    action.sa_handler = note;
    sigemptyset(&action.sa_mask);
    sigaction(SIGINT, &action, &before_);
}

Interruption::~Interruption() { sigaction(SIGINT, &before_, nullptr); }

bool Interruption::wanted() const { return noted != 0; }

} // namespace command
