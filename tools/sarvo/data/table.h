// Columns of numbers with names, and where their rows came from.
#pragma once

#include <cstddef>
#include <istream>
#include <memory>
#include <optional>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

#include "data/npy.h"

namespace command {

struct Table {
    std::string source;                       // name of the file, for messages
    std::vector<std::string> names;           // one per column; c1, c2, ... without a header
    std::vector<std::vector<double>> columns; // all of the same length
    std::vector<size_t> lines;                // line of the source of each row, counted from 1; of .npy the row

    size_t rows() const { return lines.size(); }

    // The column called `name`, or number N (from 1) as "$N".
    std::optional<size_t> find(std::string_view name) const;
};

// Reads a table from a file, "-" being standard input. See parse_table. Throws file_error.
Table read_table(const std::string &path);

// Reads a table from the bytes of a file.
//
// Text: comments (# or % first in a line) and blank lines are skipped; cells are separated by the
// first of semicolon, tab and comma that the first row has outside quotes, else by blanks; the first row is a header
// when none of its cells is a number. Every other cell must be a finite number; all rows must have as many cells as the
// first. A Matrix Market file, whose first line would pass as a comment, is refused.
// Throws input_error "SOURCE:LINE:COLUMN: what" with the line and a caret.
//
// .npy, known by its first bytes: a list is a column c1, a matrix has the columns c1, c2, ... Its numbers must be real
// and finite. Throws as NpyView.
Table parse_table(const std::string &text, const std::string &source);

// The same rows one at a time, of text in constant memory.
class RowReader {
public:
    RowReader(std::istream &stream, const std::string &source); // reads the header or the first row

    const std::vector<std::string> &names() const { return names_; }
    bool next(std::vector<double> *row);    // false at the end
    size_t line() const { return number_; } // of the last row, counted from 1; of .npy the row

private:
    void open_npy();
    bool next_line(std::string *line);

    std::istream *stream_;
    std::string source_;
    std::vector<std::string> names_;
    std::vector<double> first_; // a row read to see what the columns are
    size_t number_ = 0;
    char separator_ = ' ';
    std::string bytes_; // of a .npy file
    std::unique_ptr<NpyView> npy_;
    std::istringstream text_; // what was taken for .npy and is not
};

} // namespace command
