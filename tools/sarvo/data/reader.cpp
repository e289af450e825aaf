// Reading of tables: lines to cells, cells to numbers, every fault named by file, line and column.
#include <cmath>
#include <set>
#include <sstream>

#include "market.h"
#include "numbers.h"
#include "source.h"
#include "table.h"

namespace command {
namespace {

struct Cell {
    std::string text;
    size_t position; // in the line, counted from 0
};

struct Line {
    std::string text;
    size_t number; // counted from 1
};

Failure fault(const std::string &source, const Line &line, size_t position, const std::string &what) {
    return fault_at(source, line.number, line.text, position, what);
}

bool is_blank(char c) { return c == ' ' || c == '\t'; }

// ';', '\t', ',' or ' ' for blanks.
char guess_separator(const std::string &line) {
    std::string outside;
    bool quoted = false;
    for (const char c : line) {
        if (c == '"') quoted = !quoted;
        else if (!quoted) outside += c;
    }
    for (const char separator : {';', '\t', ','})
        if (outside.find(separator) != std::string::npos) return separator;
    return ' ';
}

// A cell in quotes, `position` at the opening one; a doubled quote stands for one. Leaves `position` behind the closing
// one.
Cell quoted_cell(const std::string &source, const Line &line, size_t *position) {
    Cell cell{"", *position};
    for (size_t i = *position + 1; i < line.text.size(); i++) {
        if (line.text[i] != '"') {
            cell.text += line.text[i];
        } else if (i + 1 < line.text.size() && line.text[i + 1] == '"') {
            cell.text += '"';
            i++;
        } else {
            *position = i + 1;
            return cell;
        }
    }
    throw fault(source, line, *position, "this quote is not closed");
}

std::vector<Cell> split(const std::string &source, const Line &line, char separator) {
    const std::string &text = line.text;
    const auto separates = [separator](char c) { return separator == ' ' ? is_blank(c) : c == separator; };
    const auto skippable = [separator](char c) { return is_blank(c) && c != separator; };
    std::vector<Cell> cells;
    size_t i = 0;
    for (;;) {
        while (i < text.size() && (skippable(text[i]) || (separator == ' ' && is_blank(text[i])))) i++;
        if (separator == ' ' && i == text.size()) return cells;
        if (i < text.size() && text[i] == '"') {
            cells.push_back(quoted_cell(source, line, &i));
            while (i < text.size() && skippable(text[i])) i++;
            if (i < text.size() && !separates(text[i])) throw fault(source, line, i, "text behind a quoted cell");
        } else {
            Cell cell{"", i};
            while (i < text.size() && !separates(text[i])) cell.text += text[i++];
            while (!cell.text.empty() && is_blank(cell.text.back())) cell.text.pop_back();
            cells.push_back(cell);
        }
        if (i == text.size()) return cells;
        i++;
    }
}

bool is_header(const std::vector<Cell> &cells) {
    for (const Cell &cell : cells)
        if (cell.text.empty() || parse_number(cell.text)) return false;
    return true;
}

std::vector<std::string> column_names(const std::string &source, const Line &line, const std::vector<Cell> &cells,
                                      bool header) {
    std::vector<std::string> names;
    std::set<std::string> seen;
    for (size_t c = 0; c < cells.size(); c++) {
        const std::string name = header ? cells[c].text : "c" + std::to_string(c + 1);
        if (!seen.insert(name).second)
            throw fault(source, line, cells[c].position, "the column name " + quoted(name) + " occurs twice");
        names.push_back(name);
    }
    return names;
}

std::vector<double> numbers_of(const std::string &source, const std::vector<std::string> &names, const Line &line,
                               const std::vector<Cell> &cells) {
    const size_t expected = names.size();
    if (cells.size() != expected) {
        const size_t position = cells.size() > expected ? cells[expected].position : line.text.size();
        throw fault(source, line, position,
                    "the row has " + std::to_string(cells.size()) + " cells, the first has " +
                        std::to_string(expected));
    }
    std::vector<double> row(cells.size());
    for (size_t c = 0; c < cells.size(); c++) {
        const auto bad = [&](const std::string &what) {
            return fault(source, line, cells[c].position, what + " (column " + quoted(names[c]) + ")");
        };
        if (cells[c].text.empty()) throw bad("the cell is empty");
        const std::optional<double> x = parse_number(cells[c].text);
        if (!x) throw bad(quoted(cells[c].text) + " is not a number");
        if (!std::isfinite(*x)) throw bad(quoted(cells[c].text) + " is not finite");
        row[c] = *x;
    }
    return row;
}

} // namespace

std::optional<size_t> Table::find(std::string_view name) const {
    for (size_t c = 0; c < names.size(); c++)
        if (names[c] == name) return c;
    if (name.size() < 2 || name.front() != '$') return std::nullopt;
    const std::optional<double> number = parse_number(name.substr(1));
    for (size_t c = 0; number && c < names.size(); c++)
        if (*number == static_cast<double>(c + 1)) return c;
    return std::nullopt;
}

// ---- Row by row ----

// The next line that holds data or a header.
bool RowReader::next_line(std::string *line) {
    constexpr std::string_view byte_order_mark = "\xEF\xBB\xBF";
    while (std::getline(*stream_, *line)) {
        number_++;
        if (number_ == 1 && line->compare(0, byte_order_mark.size(), byte_order_mark) == 0)
            line->erase(0, byte_order_mark.size());
        if (number_ == 1 && is_market(*line))
            throw input_error(source_ + ": this is a Matrix Market file, a table is wanted");
        if (line->find('\0') != std::string::npos) throw input_error(source_ + ": this is not a text file");
        if (!line->empty() && line->back() == '\r') line->pop_back();
        const size_t first = line->find_first_not_of(" \t");
        if (first != std::string::npos && (*line)[first] != '#' && (*line)[first] != '%') return true;
    }
    if (stream_->bad()) throw file_error(source_ + ": cannot be read");
    return false;
}

RowReader::RowReader(std::istream &stream, const std::string &source) : stream_(&stream), source_(source) {
    open_npy();
    if (npy_) return;
    std::string text;
    if (!next_line(&text)) throw input_error(source + ": there is no data");
    separator_ = guess_separator(text);
    const Line line = {text, number_};
    const std::vector<Cell> cells = split(source, line, separator_);
    const bool header = is_header(cells);
    names_ = column_names(source, line, cells, header);
    if (!header) first_ = numbers_of(source, names_, line, cells);
}

// Takes the whole stream when it begins as .npy does; no UTF-8 text has such a first byte.
void RowReader::open_npy() {
    constexpr size_t most_columns = 1 << 20;
    if (stream_->peek() != 0x93) return;
    bytes_.assign(std::istreambuf_iterator<char>(*stream_), {});
    if (!is_npy(bytes_)) {
        text_.str(std::move(bytes_));
        stream_ = &text_;
        return;
    }
    npy_ = std::make_unique<NpyView>(bytes_, source_);
    if (npy_->complex()) throw input_error(source_ + ": the numbers are complex, a table has real ones");
    if (npy_->rows() == 0 || npy_->cols() == 0) throw input_error(source_ + ": there is no data");
    if (npy_->cols() > most_columns)
        throw input_error(source_ + ": has " + std::to_string(npy_->cols()) + " columns, " +
                          std::to_string(most_columns) + " are the most");
    for (size_t c = 0; c < npy_->cols(); c++) names_.push_back("c" + std::to_string(c + 1));
}

bool RowReader::next(std::vector<double> *row) {
    if (npy_) {
        if (number_ == npy_->rows()) return false;
        row->resize(names_.size());
        for (size_t c = 0; c < row->size(); c++) {
            (*row)[c] = npy_->real(number_, c);
            if (!std::isfinite((*row)[c])) throw npy_->fault(number_, c, "the number is not finite");
        }
        number_++;
        return true;
    }
    if (!first_.empty()) {
        *row = std::move(first_);
        first_.clear();
        return true;
    }
    std::string text;
    if (!next_line(&text)) return false;
    const Line line = {text, number_};
    *row = numbers_of(source_, names_, line, split(source_, line, separator_));
    return true;
}

Table parse_table(const std::string &text, const std::string &source) {
    std::istringstream stream(text);
    RowReader reader(stream, source);
    Table table;
    table.source = source;
    table.names = reader.names();
    table.columns.resize(table.names.size());
    for (std::vector<double> row; reader.next(&row);) {
        for (size_t c = 0; c < row.size(); c++) table.columns[c].push_back(row[c]);
        table.lines.push_back(reader.line());
    }
    if (table.rows() == 0) throw input_error(source + ": there is a header but no data");
    return table;
}

Table read_table(const std::string &path) { return parse_table(read_text(path), source_name(path)); }

} // namespace command
