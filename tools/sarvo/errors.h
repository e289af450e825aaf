// What can go wrong in the command, and the exit code that each brings.
#pragma once

#include <stdexcept>
#include <string>

namespace command {

enum ExitCode { exit_done = 0, exit_not_converged = 1, exit_usage = 2, exit_input = 3 };

// Ends the command with a message on standard error.
class Failure : public std::runtime_error {
public:
    Failure(ExitCode code, const std::string &message) : std::runtime_error(message), code_(code) {}
    ExitCode code() const { return code_; }

private:
    ExitCode code_;
};

inline Failure usage_error(const std::string &message) { return {exit_usage, message}; }
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
