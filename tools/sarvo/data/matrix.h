// Dense matrices and lists of numbers from any of the forms that the command reads.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace command {

struct DenseInput {
    std::string source; // name of the file, for messages
    std::string form;   // what it was read as, for people: "Matrix Market, array real general"
    size_t rows = 0, cols = 0;
    std::vector<double> values;    // by rows
    std::vector<double> imaginary; // as values; empty when the numbers are real
};

// Matrix Market files announce sizes that their entries do not fill: what such a file may grow to, 2 GiB of doubles.
constexpr size_t most_elements = size_t{1} << 28;

// Reads a matrix, "-" being standard input. Its form is known by its content, whatever the name: .npy, Matrix Market,
// or else a table of numbers as table.h describes it (a header is skipped). All numbers must be finite, and there must
// be one at least.
// Throws file_error; input_error as NpyView, parse_market or parse_table, and when the matrix does not fit into memory.
DenseInput read_matrix(const std::string &path);
DenseInput parse_matrix(const std::string &bytes, const std::string &source, size_t most = most_elements);

// A matrix of one column or one row, whose values are the list.
DenseInput read_vector(const std::string &path);
DenseInput parse_vector(const std::string &bytes, const std::string &source, size_t most = most_elements);

} // namespace command
