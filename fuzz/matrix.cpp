// Dense matrices in any form: as many finite numbers as the sizes say, and lists are matrices of one row or column.
#include "data/matrix.h"

#include <cmath>

#include "support.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    constexpr size_t most = 1 << 12; // a matrix that a small file announces is filled with zeros for each input
    const std::string bytes = fuzz::text_of(data, size);
    command::DenseInput A, list;
    const std::string refused = fuzz::file_refusal([&] { A = command::parse_matrix(bytes, "data", most); });
    if (!refused.empty()) return 0;
    const std::string refused_list = fuzz::file_refusal([&] { list = command::parse_vector(bytes, "data", most); });
    fuzz::require(A.rows > 0 && A.cols > 0 && A.values.size() == A.rows * A.cols, "the numbers fill the matrix");
    fuzz::require(A.values.size() <= most || A.values.size() <= size, "no more numbers than allowed or than bytes");
    fuzz::require(A.imaginary.empty() || A.imaginary.size() == A.values.size(), "so do the imaginary parts");
    for (const double x : A.values) fuzz::require(std::isfinite(x), "the numbers are finite");
    for (const double y : A.imaginary) fuzz::require(std::isfinite(y), "the imaginary parts are finite");
    fuzz::require(refused_list.empty() == (A.rows == 1 || A.cols == 1), "a list has one row or one column");
    if (refused_list.empty()) fuzz::require(fuzz::same(list.values, A.values), "a list has the numbers of its matrix");
    return 0;
}
