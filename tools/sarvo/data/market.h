// Matrices from Matrix Market files.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace command {

struct MarketMatrix {
    struct Entry {
        int32_t row, col; // from 0
        double value;
    };
    std::string source; // name of the file, for messages
    int32_t rows = 0, cols = 0;
    bool symmetric = false;     // by the header
    std::vector<Entry> entries; // all of them: of symmetric files both halves, the diagonal once
};

// Reads coordinate and array files, real, integer and pattern (all entries 1), general, symmetric and skew-symmetric;
// entries that occur twice are added up. Complex ones are refused.
// Throws input_error "SOURCE:LINE:COLUMN: what" with the line and a caret.
MarketMatrix read_market(const std::string &path);
MarketMatrix parse_market(const std::string &text, const std::string &source);

} // namespace command
