// The progress line.
#include "progress.h"

#include <unistd.h>

#include <cstdio>

namespace command {

Progress::Progress() : terminal_(isatty(STDERR_FILENO) == 1) {}

double Progress::seconds() const { return std::chrono::duration<double>(Clock::now() - start_).count(); }

void Progress::show(const std::string &text) {
    if (!terminal_) return;
    const Clock::time_point now = Clock::now();
    if (now - start_ < std::chrono::milliseconds(300) || now - shown_ < std::chrono::milliseconds(100)) return;
    shown_ = now;
    visible_ = true;
    std::fprintf(stderr, "\r\033[K%s  %.1f s", text.c_str(), seconds());
    std::fflush(stderr);
}

void Progress::clear() {
    if (visible_) std::fputs("\r\033[K", stderr);
    visible_ = false;
}

} // namespace command
