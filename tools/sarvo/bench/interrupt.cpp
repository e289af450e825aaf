// The handler.
#include "bench/interrupt.h"

namespace command {
namespace {

volatile std::sig_atomic_t noted = 0;

void note(int) { noted = 1; }

} // namespace

Interruption::Interruption() {
    noted = 0;
    struct sigaction action = {};
    action.sa_handler = note;
    action.sa_flags = static_cast<int>(SA_RESETHAND); // the second one has its usual effect
    sigemptyset(&action.sa_mask);
    sigaction(SIGINT, &action, &before_);
}

Interruption::~Interruption() { sigaction(SIGINT, &before_, nullptr); }

bool Interruption::wanted() const { return noted != 0; }

} // namespace command
