// What a subcommand found, whatever its form: a headline, facts with names, tables, notes.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <variant>
#include <vector>

namespace command {

// One value: nothing, a number, a whole number, yes or no, a text.
using Value = std::variant<std::monostate, double, int64_t, bool, std::string>;

inline Value value(const std::optional<double> &x) { return x ? Value(*x) : Value(); }
inline Value whole(uint64_t n) { return static_cast<int64_t>(n); }

struct Fact {
    std::string key, label; // key for machines, label for people; a fact without a key is for people alone
    Value value;
    int digits = 0;      // in forms for people; 0: as many as asked for
    bool varies = false; // from run to run: times, what the machine is
    std::string remark;  // stands behind the value in forms for people
};

struct Column {
    std::string key, label; // a column without a key is for people alone
    int digits = 0;
    bool exact = false; // shortest digits that read back, also in forms for people
};

struct Grid {
    enum class Shape { records, list, matrix }; // rows with named columns; one named column; no names at all
    std::string key, title;
    Shape shape = Shape::records;
    std::vector<Column> columns;
    std::vector<std::vector<Value>> rows;
    bool turned = false; // in forms for people the records stand side by side
    size_t shown = 0;    // in forms for people so many rows at most, the middle left out; 0: all
    bool varies = false;
};

// Facts and grids come out in the order in which they were added. The first grid is what the others accompany.
struct Answer {
    std::string headline; // a sentence; may be empty
    std::vector<std::variant<Fact, Grid>> parts;
    std::vector<std::string> notes;

    void fact(std::string key, std::string label, Value value, int digits = 0, std::string remark = "") {
        parts.push_back(Fact{std::move(key), std::move(label), std::move(value), digits, false, std::move(remark)});
    }
    void time(double seconds) { parts.push_back(Fact{"seconds", "time, s", seconds, 3, true, ""}); }
    void line(std::string label, std::string text) {
        parts.push_back(Fact{"", std::move(label), std::move(text), 0, true, ""});
    }
    // The reference is good until the next part is added.
    Grid &grid(std::string key, std::string title, std::vector<Column> columns) {
        Grid grid{std::move(key), std::move(title), Grid::Shape::records, std::move(columns), {}, false, 0, false};
        return std::get<Grid>(parts.emplace_back(std::move(grid)));
    }
    // Numbers in a row; people see them numbered, from 1, under `what`.
    Grid &list(std::string key, std::string title, std::string what, const std::vector<double> &values);
    Grid &matrix(std::string key, std::string title, const double *values, size_t rows, size_t columns);
};

// A hash of the bits of numbers in their order: FNV-1a, 64 bits, little end first; every NaN counts as the same.
class Fingerprint {
public:
    void add(double x);
    void add(const Value &value); // texts and nothing are passed over
    uint64_t state() const { return state_; }
    std::string text() const; // 16 hexadecimal digits

private:
    void add_word(uint64_t word);
    uint64_t state_ = 0xcbf29ce484222325;
};

// Of all numbers of the answer that do not vary.
Fingerprint fingerprint(const Answer &answer);

struct OutputOptions {
    std::string format; // table, csv, tsv, json, md; empty: table on a terminal, else tsv
    int digits = 8;     // in table and md
    bool hex = false;   // numbers in hexadecimal, exactly
    bool fingerprint = false;
};

// The form that is meant: "tsv" or "table" where none was said.
std::string resolved_format(const OutputOptions &options);

std::string formatted(const Answer &answer, const OutputOptions &options);

// To standard output.
void print(const Answer &answer, const OutputOptions &options);

} // namespace command
