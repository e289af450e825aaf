// Recursive descent from text to tape.
#include "parser.h"

#include <charconv>
#include <cmath>
#include <string_view>

#include "data/source.h"
#include "errors.h"
#include "line/suggest.h"

namespace command::formula {
namespace {

constexpr int deepest = 200;             // nested parentheses, signs and powers
constexpr size_t longest = 100000;       // steps of a tape
constexpr size_t longest_name = 100;     // that a suggestion is sought for: its cost is the product of two lengths
constexpr double largest_integer = 1024; // constant exponents up to here are done by multiplication

bool is_letter(char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_' || (c & 0x80); }
bool is_digit(char c) { return c >= '0' && c <= '9'; }

std::string suggested(const std::string &word, const std::vector<std::string> &known) {
    return word.size() <= longest_name ? suggestion(word, known) : "";
}

struct TwoArguments {
    std::string_view name;
    Op op;
};
constexpr TwoArguments two_arguments[] = {
    {"pow", Op::power}, {"min", Op::minimum}, {"max", Op::maximum}, {"atan2", Op::arc_tangent}};

class Parser {
public:
    Parser(const std::string &text, size_t begin, size_t end, const Table &table,
           const std::vector<std::string> &parameters, bool lone = false)
        : text_(text), position_(begin), end_(end), table_(table), parameters_(parameters), lone_(lone) {}

    Tape parse() {
        skip_blanks();
        if (position_ == end_) throw fault("an expression is missing here", position_);
        sum();
        if (position_ < end_) throw fault(unexpected(), position_);
        return std::move(tape_);
    }

private:
    Failure fault(const std::string &what, size_t position) const {
        return usage_error("formula: " + what + "\n" + with_caret(text_, position));
    }
    std::string unexpected() const {
        if (position_ == end_) return "the expression ends too early";
        const char c = text_[position_];
        if (c == ')' || c == ']') return std::string("this '") + c + "' closes nothing";
        if (c == '~') return "a formula has one '~'";
        if (c == '=') return "'=' is not an operator: write left ~ right";
        if (is_letter(c) || is_digit(c) || c == '(' || c == '.') return "an operator is missing here";
        return std::string("'") + c + "' has no meaning here";
    }

    void skip_blanks() {
        while (position_ < end_ && (text_[position_] == ' ' || text_[position_] == '\t' || text_[position_] == '\n'))
            position_++;
    }
    bool take(std::string_view token) {
        if (text_.compare(position_, token.size(), token) != 0 || position_ + token.size() > end_) return false;
        position_ += token.size();
        skip_blanks();
        return true;
    }

    size_t append(const Step &step, size_t position) {
        if (tape_.size() == longest) throw fault("the formula is too long", position);
        return tape_.append(step);
    }

    struct Depth { // guards the stack of the recursion
        explicit Depth(Parser &p) : parser(p) {
            if (++parser.depth_ > deepest) throw parser.fault("the formula is nested too deeply", parser.position_);
        }
        ~Depth() { parser.depth_--; }
        Depth(const Depth &) = delete;
        Parser &parser;
    };

    size_t sum() {
        size_t left = product();
        for (;;) {
            const size_t place = position_;
            if (take("+")) left = append({Op::add, left, product()}, place);
            else if (take("-")) left = append({Op::subtract, left, product()}, place);
            else return left;
        }
    }

    size_t product() {
        size_t left = unary();
        for (;;) {
            const size_t place = position_;
            if (text_.compare(position_, 2, "**") != 0 && take("*"))
                left = append({Op::multiply, left, unary()}, place);
            else if (take("/")) left = append({Op::divide, left, unary()}, place);
            else return left;
        }
    }

    size_t unary() {
        const Depth depth(*this);
        const size_t place = position_;
        if (take("+")) return unary();
        if (take("-")) return append({Op::negate, unary()}, place);
        return power();
    }

    size_t power() {
        const size_t base = primary();
        const size_t place = position_;
        if (!take("**") && !take("^")) return base;
        return make_power(base, unary(), place);
    }

    // A constant integer exponent, perhaps with a sign, becomes repeated multiplication.
    size_t make_power(size_t base, size_t exponent, size_t place) {
        const Step &s = tape_.step(exponent);
        const bool negative = s.op == Op::negate;
        const Step &magnitude = negative ? tape_.step(s.left) : s;
        if (magnitude.op == Op::constant && magnitude.value == std::floor(magnitude.value) &&
            magnitude.value <= largest_integer) {
            Step step{Op::integer_power, base};
            step.exponent = negative ? -static_cast<long>(magnitude.value) : static_cast<long>(magnitude.value);
            return append(step, place);
        }
        return append({Op::power, base, exponent}, place);
    }

    size_t primary() {
        const Depth depth(*this);
        const size_t place = position_;
        for (const auto &[open, close] : {std::pair{"(", ")"}, {"[", "]"}})
            if (take(open)) {
                const size_t inner = sum();
                if (!take(close))
                    throw fault(position_ == end_ ? "this is not closed" : unexpected(),
                                position_ == end_ ? place : position_);
                return inner;
            }
        if (position_ < end_ && (is_digit(text_[position_]) || text_[position_] == '.')) return number();
        if (position_ < end_ && (is_letter(text_[position_]) || text_[position_] == '$')) return name();
        throw fault(unexpected(), position_);
    }

    size_t number() {
        const size_t place = position_;
        double value = 0.0;
        const auto [rest, error] = std::from_chars(text_.data() + position_, text_.data() + end_, value);
        if (error == std::errc::result_out_of_range) throw fault("the number is out of range", place);
        if (error != std::errc{}) throw fault("this is not a number", place);
        position_ = static_cast<size_t>(rest - text_.data());
        skip_blanks();
        Step step{Op::constant};
        step.value = value;
        return append(step, place);
    }

    size_t name() {
        const size_t place = position_;
        position_++;
        while (position_ < end_ &&
               (is_letter(text_[position_]) || is_digit(text_[position_]) || text_[position_] == '.'))
            position_++;
        const std::string word = text_.substr(place, position_ - place);
        skip_blanks();
        if (take("(")) return call(word, place);
        for (size_t p = 0; p < parameters_.size(); p++)
            if (parameters_[p] == word) return append({Op::parameter, p}, place);
        if (const auto column = table_.find(word)) return append({Op::column, *column}, place);
        if (word == "pi" || word == "e") {
            Step step{Op::constant};
            step.value = word == "pi" ? 3.141592653589793 : 2.718281828459045;
            return append(step, place);
        }
        throw fault(unknown_name(word), place);
    }

    std::string unknown_name(const std::string &word) const {
        if (lone_) {
            std::string variables;
            for (const std::string &name : table_.names) variables += (variables.empty() ? "" : ", ") + name;
            return "'" + word + "' means nothing here" +
                   (variables.empty() ? std::string(".") : ": the variable is " + variables + ".") +
                   suggested(word, table_.names);
        }
        std::vector<std::string> known = table_.names;
        known.insert(known.end(), parameters_.begin(), parameters_.end());
        std::string text = word.front() == '$'
                               ? "there is no column " + word
                               : "'" + word + "' is neither a column nor a parameter." + suggested(word, known);
        if (word.front() == '$') return text;
        constexpr size_t most = 30;
        text += " Columns:";
        for (size_t c = 0; c < table_.names.size() && c < most; c++) text += " " + printable(table_.names[c]);
        return text + (table_.names.size() > most ? " and more" : "") + ". A parameter needs a start: --start " + word +
               "=...";
    }

    size_t call(const std::string &word, size_t place) {
        const size_t first = sum();
        for (const TwoArguments &f : two_arguments)
            if (f.name == word) {
                if (!take(",")) throw fault("'" + word + "' takes two arguments", position_);
                const size_t second = sum();
                close_call(word, "two arguments");
                return f.op == Op::power ? make_power(first, second, place) : append({f.op, first, second}, place);
            }
        for (size_t f = 0; f < functions().size(); f++)
            if (functions()[f].name == word) {
                close_call(word, "one argument");
                return append({Op::function, first, f}, place);
            }
        std::vector<std::string> known;
        for (const Function &f : functions()) known.emplace_back(f.name);
        for (const TwoArguments &f : two_arguments) known.emplace_back(f.name);
        throw fault("there is no function '" + word + "'." + suggested(word, known), place);
    }

    void close_call(const std::string &word, const std::string &arguments) {
        if (take(")")) return;
        if (position_ < end_ && text_[position_] == ',') throw fault("'" + word + "' takes " + arguments, position_);
        throw fault(position_ == end_ ? "the call of '" + word + "' is not closed" : unexpected(), position_);
    }

    const std::string &text_;
    size_t position_, end_;
    const Table &table_;
    const std::vector<std::string> &parameters_;
    bool lone_; // an expression of variables, not one side of a formula
    Tape tape_;
    int depth_ = 0;
};

} // namespace

Model parse_model(const std::string &text, const Table &table, const std::vector<std::string> &parameters) {
    const size_t tilde = text.find('~');
    if (tilde == std::string::npos)
        throw usage_error("formula: there is no '~': write left ~ right, for example 'y ~ a + b*x'\n" +
                          with_caret(text, text.size()));
    const std::vector<std::string> none;
    Model model;
    model.left = Parser(text, 0, tilde, table, none).parse();
    model.right = Parser(text, tilde + 1, text.size(), table, parameters).parse();
    return model;
}

Tape parse_expression(const std::string &text, const std::vector<std::string> &variables) {
    const std::vector<std::string> none;
    Table table;
    table.names = variables;
    table.columns.resize(variables.size());
    return Parser(text, 0, text.size(), table, none, true).parse();
}

} // namespace command::formula
