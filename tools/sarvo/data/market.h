// Matrices from Matrix Market files.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace command {

struct MarketMatrix {
    struct Entry {
        int32_t row, col; // from 0
        double value;
        double imaginary = 0.0;
    };
    std::string source; // name of the file, for messages
    std::string form;   // the words of the header: "coordinate real general"
    int32_t rows = 0, cols = 0;
    bool symmetric = false;     // by the header; hermitian matrices are not
    bool complex = false;       // by the header
    std::vector<Entry> entries; // by rows, then columns: of symmetric files both halves, the diagonal once
};

bool is_market(std::string_view text); // by its first word

// Reads coordinate and array files: real, integer, complex and pattern (all entries 1); general, symmetric,
// skew-symmetric and hermitian, of which either half may be stored, but not both. Entries that occur twice are added
// up. The words of the header may be in capitals.
// Throws input_error "SOURCE:LINE:COLUMN: what" with the line and a caret.
MarketMatrix read_market(const std::string &path);
MarketMatrix parse_market(const std::string &text, const std::string &source);

} // namespace command
