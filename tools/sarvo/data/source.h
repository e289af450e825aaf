// Bytes from a file or standard input, and faults in them named by file, line and column.
#pragma once

#include <string>
#include <string_view>

#include "errors.h"

namespace command {

// The whole file, "-" being standard input. Throws file_error.
std::string read_text(const std::string &path);

// What messages call it.
inline std::string source_name(const std::string &path) { return path == "-" ? "standard input" : path; }

// "SOURCE:LINE:COLUMN: what" with the line and a caret; line counted from 1, position from 0. Of a long line the part
// around the position is shown.
Failure fault_at(const std::string &source, size_t number, const std::string &line, size_t position,
                 const std::string &what);

// A piece of input in quotes for a message: shortened when long.
std::string quoted(std::string_view piece);

// Fit for a terminal: '?' for the control characters that a file may hold, tabs left.
std::string printable(std::string_view text);

} // namespace command
