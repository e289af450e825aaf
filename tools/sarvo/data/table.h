// Columns of numbers with names, and where their rows came from.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace command {

struct Table {
    std::string source;                       // name of the file, for messages
    std::vector<std::string> names;           // one per column; c1, c2, ... without a header
    std::vector<std::vector<double>> columns; // all of the same length
    std::vector<size_t> lines;                // line of the source of each row, counted from 1

    size_t rows() const { return lines.size(); }

    // The column called `name`, or number N (from 1) as "$N".
    std::optional<size_t> find(std::string_view name) const;
};

// Reads a table from a file, "-" being standard input. See parse_table. Throws input_error.
Table read_table(const std::string &path);

// Reads a table from text. Comments (# or % first in a line) and blank lines are skipped; cells are separated by the
// first of semicolon, tab and comma that the first row has outside quotes, else by blanks; the first row is a header
// when none of its cells is a number. Every other cell must be a finite number; all rows must have as many cells as the
// first.
// Throws input_error "SOURCE:LINE:COLUMN: what" with the line and a caret.
Table parse_table(const std::string &text, const std::string &source);

} // namespace command
