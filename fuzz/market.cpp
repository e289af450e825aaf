// Matrix Market files: entries in order and within the matrix, symmetries kept, and what is printed reads back.
#include <algorithm>
#include <cmath>

#include "data/market.h"
#include "numbers.h"
#include "support.h"

namespace {

using command::MarketMatrix;
using Entry = MarketMatrix::Entry;

bool before(const Entry &x, const Entry &y) { return x.row < y.row || (x.row == y.row && x.col < y.col); }

std::string printed(const MarketMatrix &A) {
    std::string text = "%%MatrixMarket matrix coordinate complex general\n";
    text += std::to_string(A.rows) + " " + std::to_string(A.cols) + " " + std::to_string(A.entries.size()) + "\n";
    for (const Entry &e : A.entries)
        text += std::to_string(e.row + 1) + " " + std::to_string(e.col + 1) + " " + command::shortest(e.value) + " " +
                command::shortest(e.imaginary) + "\n";
    return text;
}

void require_sound(const MarketMatrix &A) {
    for (size_t k = 0; k < A.entries.size(); k++) {
        const Entry &e = A.entries[k];
        fuzz::require(e.row >= 0 && e.row < A.rows && e.col >= 0 && e.col < A.cols, "entries lie in the matrix");
        fuzz::require(k == 0 || before(A.entries[k - 1], e), "entries are in order, each place once");
        fuzz::require(std::isfinite(e.value) && std::isfinite(e.imaginary), "entries are finite");
        fuzz::require(A.complex || e.imaginary == 0.0, "real matrices have no imaginary parts");
        if (!A.symmetric) continue;
        const auto mirror = std::lower_bound(A.entries.begin(), A.entries.end(), Entry{e.col, e.row, 0.0}, before);
        fuzz::require(mirror != A.entries.end() && mirror->row == e.col && mirror->col == e.row &&
                          fuzz::same(mirror->value, e.value) && fuzz::same(mirror->imaginary, e.imaginary),
                      "symmetric matrices are their own mirror images");
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    const std::string text = fuzz::text_of(data, size);
    MarketMatrix A;
    if (!fuzz::file_refusal([&] { A = command::parse_market(text, "data"); }).empty()) return 0;
    require_sound(A);
    const MarketMatrix again = command::parse_market(printed(A), "printed");
    fuzz::require(again.rows == A.rows && again.cols == A.cols && again.entries.size() == A.entries.size(),
                  "the sizes read back");
    for (size_t k = 0; k < A.entries.size(); k++) {
        const Entry &x = A.entries[k], &y = again.entries[k];
        fuzz::require(x.row == y.row && x.col == y.col && fuzz::same(x.value, y.value) &&
                          fuzz::same(x.imaginary, y.imaginary),
                      "the entries read back");
    }
    return 0;
}
