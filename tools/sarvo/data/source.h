// Bytes from a file or standard input, and faults in them named by file, line and column.
#pragma once

#include <cstdio>
#include <istream>
#include <memory>
#include <streambuf>
#include <string>
#include <string_view>
#include <vector>

#include "errors.h"

namespace command {

// The bytes of a file, "-" being standard input, in pieces. An error is never taken for the end.
class Source {
public:
    explicit Source(const std::string &path); // throws file_error

    size_t read(char *block, size_t size); // how many there were, 0 at the end; throws file_error
    size_t size_of_file() const;           // 0 when it is not a plain file

private:
    struct Close {
        void operator()(FILE *file) const {
            if (file != stdin) std::fclose(file);
        }
    };
    std::string name_;
    std::unique_ptr<FILE, Close> file_;
};

// The same as a stream: getline and the like throw file_error where reading fails, too.
class SourceStream : private std::streambuf, public std::istream {
public:
    explicit SourceStream(const std::string &path);

private:
    std::streambuf::int_type underflow() override;

    Source source_;
    std::vector<char> block_;
};

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
