// Text from a file or standard input, and faults in it named by file, line and column.
#pragma once

#include <string>

#include "errors.h"

namespace command {

// The whole file, "-" being standard input. Throws file_error.
std::string read_text(const std::string &path);

// What messages call it.
inline std::string source_name(const std::string &path) { return path == "-" ? "standard input" : path; }

// "SOURCE:LINE:COLUMN: what" with the line and a caret; line counted from 1, position from 0.
inline Failure fault_at(const std::string &source, size_t number, const std::string &line, size_t position,
                        const std::string &what) {
    return input_error(source + ":" + std::to_string(number) + ":" + std::to_string(position + 1) + ": " + what + "\n" +
                       with_caret(line, position));
}

} // namespace command
