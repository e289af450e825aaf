// Tables: read at once and row by row they are the same, and what is printed of one reads back to it.
#include <cmath>
#include <sstream>

#include "data/table.h"
#include "numbers.h"
#include "support.h"

namespace {

using command::RowReader;
using command::Table;

Table row_by_row(const std::string &bytes) {
    std::istringstream stream(bytes);
    RowReader reader(stream, "data");
    Table table;
    table.names = reader.names();
    table.columns.resize(table.names.size());
    for (std::vector<double> row; reader.next(&row);) {
        fuzz::require(row.size() == table.names.size(), "a row has a number for each column");
        for (size_t c = 0; c < row.size(); c++) table.columns[c].push_back(row[c]);
        table.lines.push_back(reader.line());
    }
    return table;
}

std::string printed(const Table &table) {
    std::string text;
    for (size_t c = 0; c < table.names.size(); c++) {
        text += c ? ",\"" : "\"";
        for (const char letter : table.names[c]) text += letter == '"' ? "\"\"" : std::string(1, letter);
        text += '"';
    }
    for (size_t i = 0; i < table.rows(); i++)
        for (size_t c = 0; c < table.names.size(); c++)
            text += (c ? "," : "\n") + command::shortest(table.columns[c][i]);
    return text;
}

void require_equal(const Table &a, const Table &b) {
    fuzz::require(a.names == b.names, "the names are the same");
    for (size_t c = 0; c < a.names.size(); c++)
        fuzz::require(fuzz::same(a.columns[c], b.columns[c]), "the columns are the same");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    const std::string bytes = fuzz::text_of(data, size);
    Table whole, rows;
    const std::string refused = fuzz::file_refusal([&] { whole = command::parse_table(bytes, "data"); });
    const std::string refused_rows = fuzz::file_refusal([&] { rows = row_by_row(bytes); });
    if (!refused.empty()) {
        fuzz::require(refused_rows == refused || (refused_rows.empty() && rows.lines.empty()),
                      "both are refused for the same reason, but for a header alone");
        return 0;
    }
    fuzz::require(refused_rows.empty(), "what is read at once is read row by row");
    require_equal(whole, rows);
    fuzz::require(whole.lines == rows.lines && whole.rows() > 0, "the lines are the same");
    for (size_t c = 0; c < whole.names.size(); c++) {
        fuzz::require(whole.columns[c].size() == whole.rows(), "columns are as long as the table");
        for (const double x : whole.columns[c]) fuzz::require(std::isfinite(x), "numbers of a table are finite");
        fuzz::require(whole.find(whole.names[c]) == c, "a column is found by its name");
    }
    require_equal(whole, command::parse_table(printed(whole), "printed"));
    return 0;
}
