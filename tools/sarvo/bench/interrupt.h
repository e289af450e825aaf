// Ctrl-C as a wish that long work can ask about, so that what is known is printed before the end.
#pragma once

#include <csignal>

namespace command {

// While one exists SIGINT is noted; a second one ends the program at once. Only one at a time.
class Interruption {
public:
    Interruption();
    ~Interruption();
    Interruption(const Interruption &) = delete;
    Interruption &operator=(const Interruption &) = delete;

    bool wanted() const;

private:
    struct sigaction before_;
};

} // namespace command
