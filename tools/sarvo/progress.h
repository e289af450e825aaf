// A line on the terminal that tells how long work is going; nothing when standard error is not a terminal.
#pragma once

#include <chrono>
#include <string>

namespace command {

class Progress {
public:
    Progress();
    ~Progress() { clear(); }
    Progress(const Progress &) = delete;
    Progress &operator=(const Progress &) = delete;

    // Shows `text` with the seconds gone, at most ten times a second, and not before some work was done.
    void show(const std::string &text);
    // Takes the line away.
    void clear();
    double seconds() const;

private:
    using Clock = std::chrono::steady_clock;
    Clock::time_point start_ = Clock::now(), shown_ = start_;
    bool terminal_, visible_ = false;
};

} // namespace command
