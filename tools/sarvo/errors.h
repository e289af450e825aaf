// What can go wrong in the command, and the exit code that each brings.
#pragma once

#include <stdexcept>
#include <string>

namespace command {

enum ExitCode {
    exit_done = 0,
    exit_numerical = 1,    // not converged, singular, out of range: the mathematics says no
    exit_usage = 2,        // the command line is wrong
    exit_input = 3,        // what was read makes no sense
    exit_file = 4,         // a file cannot be opened, read or written
    exit_interrupted = 130 // Ctrl-C
};

// Ends the command with a message on standard error.
class Failure : public std::runtime_error {
public:
    Failure(ExitCode code, const std::string &message) : std::runtime_error(message), code_(code) {}
    ExitCode code() const { return code_; }

private:
    ExitCode code_;
};

inline Failure usage_error(const std::string &message) { return {exit_usage, message}; }
inline Failure file_error(const std::string &message) { return {exit_file, message}; }
inline Failure input_error(const std::string &message) { return {exit_input, message}; }

// A line of text with a caret under its character `position` (counted from 0; tabs are kept so that the caret stands
// right).
inline std::string with_caret(const std::string &line, size_t position) {
    std::string below = "  ";
    for (size_t i = 0; i < position && i < line.size(); i++)
        if ((static_cast<unsigned char>(line[i]) & 0xC0) != 0x80) below += line[i] == '\t' ? '\t' : ' ';
    return "  " + line + "\n" + below + "^";
}

} // namespace command
