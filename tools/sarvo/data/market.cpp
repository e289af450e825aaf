// Reading of Matrix Market files: a header, the sizes, then one entry a line.
#include "market.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <optional>
#include <string_view>

#include "numbers.h"
#include "source.h"

namespace command {
namespace {

enum class Symmetry { general, symmetric, skew };

// The words of a text, line by line; remembers where the current one stands.
class Words {
public:
    Words(const std::string &text, const std::string &source) : text_(text), source_(source) {}

    // The next line that is not blank; comments are skipped from the second line on.
    bool next_line() {
        while (end_ < text_.size()) {
            begin_ = number_ == 0 ? 0 : end_ + 1;
            end_ = std::min(text_.find('\n', begin_), text_.size());
            if (begin_ >= text_.size()) break;
            number_++;
            at_ = begin_;
            const size_t first = text_.find_first_not_of(" \t\r", begin_);
            if (first < end_ && (text_[first] != '%' || number_ == 1)) return true;
        }
        begin_ = at_ = end_ = text_.size();
        return false;
    }
    // The next word of the line, empty at its end.
    std::string_view next() {
        const auto blank = [](char c) { return c == ' ' || c == '\t' || c == '\r'; };
        while (at_ < end_ && blank(text_[at_])) at_++;
        word_ = at_;
        while (at_ < end_ && !blank(text_[at_])) at_++;
        return std::string_view(text_).substr(word_, at_ - word_);
    }
    // A fault at the current word.
    Failure fault(const std::string &what) const {
        std::string line = text_.substr(begin_, end_ - begin_);
        if (!line.empty() && line.back() == '\r') line.pop_back();
        return fault_at(source_, std::max<size_t>(number_, 1), line, word_ - begin_, what);
    }
    Failure ends(const std::string &what) const { return input_error(source_ + ": " + what); }

private:
    const std::string &text_;
    const std::string &source_;
    size_t number_ = 0, begin_ = 0, end_ = 0, at_ = 0, word_ = 0;
};

std::string quoted(std::string_view word) { return "'" + std::string(word) + "'"; }

std::string lower(std::string_view word) {
    std::string all(word);
    for (char &c : all)
        if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
    return all;
}

size_t choose(Words &words, const char *what, std::initializer_list<std::string_view> choices) {
    const std::string word = lower(words.next());
    size_t i = 0;
    for (const std::string_view choice : choices) {
        if (word == choice) return i;
        i++;
    }
    std::string list;
    for (const std::string_view choice : choices) list += (list.empty() ? "" : ", ") + std::string(choice);
    throw words.fault(word.empty() ? std::string("the ") + what + " is missing: " + list
                                   : quoted(word) + " is not a " + what + ": " + list);
}

int64_t whole(Words &words, const char *what, int64_t lowest, int64_t highest) {
    const std::string_view word = words.next();
    const std::optional<double> x = parse_number(word);
    if (!x || *x != std::floor(*x) || std::fabs(*x) > 9e15)
        throw words.fault(word.empty() ? std::string("the ") + what + " is missing"
                                       : quoted(word) + " is not a " + what);
    if (*x < static_cast<double>(lowest) || *x > static_cast<double>(highest))
        throw words.fault(std::string(what) + " " + std::string(word) + " is outside " + std::to_string(lowest) +
                          " .. " + std::to_string(highest));
    return static_cast<int64_t>(*x);
}

double value(Words &words) {
    const std::string_view word = words.next();
    const std::optional<double> x = parse_number(word);
    if (!x) throw words.fault(word.empty() ? "the value is missing" : quoted(word) + " is not a number");
    if (!std::isfinite(*x)) throw words.fault(quoted(word) + " is not finite");
    return *x;
}

void end_of_line(Words &words) {
    const std::string_view word = words.next();
    if (!word.empty()) throw words.fault(quoted(word) + " is one word too many");
}

// Adds an entry and its mirror image.
void add(MarketMatrix &A, Symmetry symmetry, int64_t i, int64_t j, double x) {
    const auto row = static_cast<int32_t>(i), col = static_cast<int32_t>(j);
    A.entries.push_back({row, col, x});
    if (symmetry != Symmetry::general && i != j) A.entries.push_back({col, row, symmetry == Symmetry::skew ? -x : x});
}

void read_coordinates(Words &words, MarketMatrix &A, Symmetry symmetry, bool pattern, int64_t count) {
    A.entries.reserve(static_cast<size_t>(std::min<int64_t>(count, 1 << 24)));
    for (int64_t k = 0; k < count; k++) {
        if (!words.next_line())
            throw words.ends("ends after " + std::to_string(k) + " of " + std::to_string(count) + " entries");
        const int64_t i = whole(words, "row", 1, A.rows) - 1;
        const int64_t j = whole(words, "column", 1, A.cols) - 1;
        if (symmetry == Symmetry::skew && i == j) throw words.fault("a skew-symmetric matrix has no diagonal");
        add(A, symmetry, i, j, pattern ? 1.0 : value(words));
        end_of_line(words);
    }
}

void read_array(Words &words, MarketMatrix &A, Symmetry symmetry) {
    for (int32_t j = 0; j < A.cols; j++)
        for (int32_t i = symmetry == Symmetry::general     ? 0
                         : symmetry == Symmetry::symmetric ? j
                                                           : j + 1;
             i < A.rows; i++) {
            if (!words.next_line())
                throw words.ends("ends before element (" + std::to_string(i + 1) + ", " + std::to_string(j + 1) + ")");
            const double x = value(words);
            end_of_line(words);
            add(A, symmetry, i, j, x);
        }
}

// Entries by rows and columns; what occurs twice is added up in the order of the file.
void merge(std::vector<MarketMatrix::Entry> &entries) {
    const auto before = [](const auto &x, const auto &y) { return x.row < y.row || (x.row == y.row && x.col < y.col); };
    if (!std::is_sorted(entries.begin(), entries.end(), before))
        std::stable_sort(entries.begin(), entries.end(), before);
    size_t kept = 0;
    for (const auto &entry : entries) {
        if (kept > 0 && entries[kept - 1].row == entry.row && entries[kept - 1].col == entry.col)
            entries[kept - 1].value += entry.value;
        else entries[kept++] = entry;
    }
    entries.resize(kept);
}

} // namespace

MarketMatrix parse_market(const std::string &text, const std::string &source) {
    Words words(text, source);
    MarketMatrix A;
    A.source = source;
    if (!words.next_line()) throw input_error(source + ": there is no data");
    if (lower(words.next()) != "%%matrixmarket")
        throw words.fault("a Matrix Market file begins with '%%MatrixMarket matrix'");
    choose(words, "kind of object", {"matrix"});
    const bool array = choose(words, "layout", {"coordinate", "array"}) == 1;
    const size_t field = choose(words, "field of real matrices", {"real", "integer", "pattern", "double"});
    const size_t symmetry = choose(words, "symmetry of real matrices", {"general", "symmetric", "skew-symmetric"});
    end_of_line(words);
    const auto kind = static_cast<Symmetry>(symmetry);
    if (array && field == 2) throw words.fault("an array cannot be a pattern");

    if (!words.next_line()) throw input_error(source + ": the sizes are missing");
    A.rows = static_cast<int32_t>(whole(words, "number of rows", 0, INT32_MAX));
    A.cols = static_cast<int32_t>(whole(words, "number of columns", 0, INT32_MAX));
    if (kind != Symmetry::general && A.rows != A.cols) throw words.fault("a symmetric matrix must be square");
    A.symmetric = kind == Symmetry::symmetric;
    const int64_t count = array ? 0 : whole(words, "number of entries", 0, INT64_C(1) << 40);
    end_of_line(words);
    if (array) read_array(words, A, kind);
    else read_coordinates(words, A, kind, field == 2, count);
    if (words.next_line()) {
        words.next();
        throw words.fault("there are more entries than announced");
    }
    merge(A.entries);
    return A;
}

MarketMatrix read_market(const std::string &path) { return parse_market(read_text(path), source_name(path)); }

} // namespace command
