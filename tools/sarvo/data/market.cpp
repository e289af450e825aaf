// Reading of Matrix Market files: a header, the sizes, then one entry a line.
#include "market.h"

#include <algorithm>
#include <cmath>
#include <optional>
#include <span>
#include <string_view>

#include "numbers.h"
#include "source.h"

namespace command {
namespace {

constexpr std::string_view banner = "%%matrixmarket";
enum class Field { real, integer, complex, pattern, real_too };
constexpr std::string_view fields[] = {"real", "integer", "complex", "pattern", "double"};
enum class Symmetry { general, symmetric, skew, hermitian };
constexpr std::string_view symmetries[] = {"general", "symmetric", "skew-symmetric", "hermitian"};
constexpr std::string_view objects[] = {"matrix"};
constexpr std::string_view layouts[] = {"coordinate", "array"};

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
    size_t size() const { return text_.size(); }
    Failure ends(const std::string &what) const { return input_error(source_ + ": " + what); }

private:
    const std::string &text_;
    const std::string &source_;
    size_t number_ = 0, begin_ = 0, end_ = 0, at_ = 0, word_ = 0;
};

std::string lower(std::string_view word) {
    std::string all(word);
    for (char &c : all)
        if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
    return all;
}

size_t choose(Words &words, const char *what, std::span<const std::string_view> choices) {
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
        throw words.fault(std::string(what) + " " + std::to_string(static_cast<int64_t>(*x)) + " is outside " +
                          std::to_string(lowest) + " .. " + std::to_string(highest));
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

// The entries of a file as they come; knows what the symmetry asks of them.
class Entries {
public:
    Entries(Words &words, MarketMatrix &A, Field field, Symmetry symmetry)
        : words_(words), A_(A), field_(field), symmetry_(symmetry) {}

    void read_coordinates(int64_t count) {
        constexpr size_t shortest_line = 4; // "1 1\n": what is announced need not be there
        A_.entries.reserve(std::min(static_cast<size_t>(count), words_.size() / shortest_line));
        for (int64_t k = 0; k < count; k++) {
            if (!words_.next_line())
                throw words_.ends("ends after " + std::to_string(k) + " of " + std::to_string(count) + " entries");
            const int64_t i = whole(words_, "row", 1, A_.rows) - 1;
            const int64_t j = whole(words_, "column", 1, A_.cols) - 1;
            if (symmetry_ == Symmetry::skew && i == j) throw words_.fault("a skew-symmetric matrix has no diagonal");
            if (symmetry_ != Symmetry::general && i != j) check_half(i > j);
            add(i, j);
        }
    }

    void read_array() {
        for (int32_t j = 0; A_.rows > 0 && j < A_.cols; j++) {
            const int32_t first = symmetry_ == Symmetry::general ? 0 : symmetry_ == Symmetry::skew ? j + 1 : j;
            for (int32_t i = first; i < A_.rows; i++) {
                if (!words_.next_line())
                    throw words_.ends("ends before element (" + std::to_string(i + 1) + ", " + std::to_string(j + 1) +
                                      ")");
                add(i, j);
            }
        }
    }

private:
    // An entry off the diagonal and its mirror image would otherwise be added up where both are stored.
    void check_half(bool lower) {
        if (half_ && *half_ != lower)
            throw words_.fault("a symmetric file has entries on one side of the diagonal, this is on the other");
        half_ = lower;
    }

    // The value on the current line at (i, j), and its mirror image.
    void add(int64_t i, int64_t j) {
        const auto row = static_cast<int32_t>(i), col = static_cast<int32_t>(j);
        const double x = field_ == Field::pattern ? 1.0 : value(words_);
        const double y = field_ == Field::complex ? value(words_) : 0.0;
        if (symmetry_ == Symmetry::hermitian && i == j && y != 0.0)
            throw words_.fault("the diagonal of a hermitian matrix is real");
        end_of_line(words_);
        A_.entries.push_back({row, col, x, y});
        if (symmetry_ == Symmetry::general || i == j) return;
        const double sign = symmetry_ == Symmetry::skew ? -1.0 : 1.0;
        A_.entries.push_back({col, row, sign * x, symmetry_ == Symmetry::symmetric ? y : -y});
    }

    Words &words_;
    MarketMatrix &A_;
    Field field_;
    Symmetry symmetry_;
    std::optional<bool> half_; // whether the lower one is stored
};

// Entries by rows and columns; what occurs twice is added up in the order of the file.
void merge(MarketMatrix &A) {
    auto &entries = A.entries;
    const auto before = [](const auto &x, const auto &y) { return x.row < y.row || (x.row == y.row && x.col < y.col); };
    if (!std::is_sorted(entries.begin(), entries.end(), before))
        std::stable_sort(entries.begin(), entries.end(), before);
    size_t kept = 0;
    for (const auto &entry : entries) {
        if (kept == 0 || before(entries[kept - 1], entry)) {
            entries[kept++] = entry;
            continue;
        }
        auto &sum = entries[kept - 1];
        sum.value += entry.value;
        sum.imaginary += entry.imaginary;
        if (!std::isfinite(sum.value) || !std::isfinite(sum.imaginary))
            throw input_error(A.source + ": the entries (" + std::to_string(sum.row + 1) + ", " +
                              std::to_string(sum.col + 1) + ") add up to more than a double holds");
    }
    entries.resize(kept);
}

// The first line behind its first word.
void read_header(Words &words, MarketMatrix &A, bool &array, Field &field, Symmetry &symmetry) {
    choose(words, "kind of object", objects);
    const size_t layout = choose(words, "layout", layouts);
    array = layout == 1;
    const size_t f = choose(words, "field", fields);
    field = static_cast<Field>(f);
    if (array && field == Field::pattern) throw words.fault("an array cannot be a pattern");
    const size_t s = choose(words, "symmetry", symmetries);
    symmetry = static_cast<Symmetry>(s);
    if (symmetry == Symmetry::hermitian && field != Field::complex)
        throw words.fault("a hermitian matrix is complex: a real one is symmetric");
    if (symmetry == Symmetry::skew && field == Field::pattern) throw words.fault("a pattern cannot be skew-symmetric");
    end_of_line(words);
    A.form = std::string(layouts[layout]) + " " + std::string(fields[f]) + " " + std::string(symmetries[s]);
    A.symmetric = symmetry == Symmetry::symmetric;
    A.complex = field == Field::complex;
}

} // namespace

bool is_market(std::string_view text) { return lower(text.substr(0, banner.size())) == banner; }

MarketMatrix parse_market(const std::string &text, const std::string &source) {
    Words words(text, source);
    MarketMatrix A;
    A.source = source;
    if (!words.next_line()) throw input_error(source + ": there is no data");
    if (lower(words.next()) != banner) throw words.fault("a Matrix Market file begins with '%%MatrixMarket matrix'");
    bool array = false;
    Field field = Field::real;
    Symmetry symmetry = Symmetry::general;
    read_header(words, A, array, field, symmetry);

    if (!words.next_line()) throw input_error(source + ": the sizes are missing");
    A.rows = static_cast<int32_t>(whole(words, "number of rows", 0, INT32_MAX));
    A.cols = static_cast<int32_t>(whole(words, "number of columns", 0, INT32_MAX));
    if (symmetry != Symmetry::general && A.rows != A.cols) throw words.fault("a symmetric matrix must be square");
    const int64_t count = array ? 0 : whole(words, "number of entries", 0, INT64_C(1) << 40);
    end_of_line(words);
    Entries entries(words, A, field, symmetry);
    if (array) entries.read_array();
    else entries.read_coordinates(count);
    if (words.next_line()) {
        words.next();
        throw words.fault("there are more entries than announced");
    }
    merge(A);
    return A;
}

MarketMatrix read_market(const std::string &path) { return parse_market(read_text(path), source_name(path)); }

} // namespace command
