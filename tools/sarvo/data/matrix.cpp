// Reading of dense matrices.
#include "matrix.h"

#include <cmath>
#include <limits>
#include <new>
#include <sstream>
#include <stdexcept>

#include "market.h"
#include "npy.h"
#include "source.h"
#include "table.h"

namespace command {
namespace {

std::string sizes(const DenseInput &A) { return std::to_string(A.rows) + " x " + std::to_string(A.cols); }

void check_sizes(const DenseInput &A, size_t most) {
    if (A.rows == 0 || A.cols == 0) throw input_error(A.source + ": a matrix of " + sizes(A) + " has no numbers");
    if (A.cols > most / A.rows)
        throw input_error(A.source + ": a dense matrix of " + sizes(A) + " is too large, " + std::to_string(most) +
                          " numbers are the most");
}

DenseInput from_npy(const std::string &bytes, const std::string &source) {
    const NpyView view(bytes, source);
    DenseInput A{source, view.form(), view.rows(), view.cols(), {}, {}};
    check_sizes(A, std::numeric_limits<size_t>::max() / sizeof(double)); // the file has them all
    A.values.resize(A.rows * A.cols);
    if (view.complex()) A.imaginary.resize(A.rows * A.cols);
    size_t at = 0;
    for (size_t i = 0; i < A.rows; i++)
        for (size_t j = 0; j < A.cols; j++, at++) {
            const double x = view.real(i, j), y = view.imaginary(i, j);
            if (!std::isfinite(x) || !std::isfinite(y)) throw view.fault(i, j, "the number is not finite");
            A.values[at] = x;
            if (view.complex()) A.imaginary[at] = y;
        }
    return A;
}

DenseInput from_market(const std::string &text, const std::string &source, size_t most) {
    const MarketMatrix m = parse_market(text, source);
    DenseInput A{source, "Matrix Market, " + m.form, static_cast<size_t>(m.rows), static_cast<size_t>(m.cols), {}, {}};
    check_sizes(A, most);
    A.values.resize(A.rows * A.cols);
    if (m.complex) A.imaginary.resize(A.rows * A.cols);
    for (const auto &entry : m.entries) {
        const size_t at = static_cast<size_t>(entry.row) * A.cols + static_cast<size_t>(entry.col);
        A.values[at] = entry.value;
        if (m.complex) A.imaginary[at] = entry.imaginary;
    }
    return A;
}

DenseInput from_table(const std::string &text, const std::string &source) {
    std::istringstream stream(text);
    RowReader reader(stream, source);
    DenseInput A{source, "table", 0, reader.names().size(), {}, {}};
    for (std::vector<double> row; reader.next(&row); A.rows++) A.values.insert(A.values.end(), row.begin(), row.end());
    if (A.rows == 0) throw input_error(source + ": there is a header but no data");
    return A;
}

} // namespace

DenseInput parse_matrix(const std::string &bytes, const std::string &source, size_t most) {
    try {
        return is_npy(bytes)      ? from_npy(bytes, source)
               : is_market(bytes) ? from_market(bytes, source, most)
                                  : from_table(bytes, source);
    } catch (const std::bad_alloc &) {
        throw input_error(source + ": the matrix does not fit into memory");
    }
}

DenseInput parse_vector(const std::string &bytes, const std::string &source, size_t most) {
    DenseInput list = parse_matrix(bytes, source, most);
    if (list.rows > 1 && list.cols > 1)
        throw input_error(source + ": is a matrix of " + sizes(list) + ", one column or one row is wanted");
    return list;
}

DenseInput read_matrix(const std::string &path) { return parse_matrix(read_text(path), source_name(path)); }
DenseInput read_vector(const std::string &path) { return parse_vector(read_text(path), source_name(path)); }

} // namespace command
