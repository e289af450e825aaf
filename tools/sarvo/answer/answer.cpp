// Parts of answers, and their fingerprint.
#include "answer/answer.h"

#include <bit>
#include <cmath>
#include <limits>

namespace command {

void Fingerprint::add_word(uint64_t word) {
    for (int i = 0; i < 8; i++) state_ = (state_ ^ (word >> 8 * i & 0xFF)) * 0x100000001b3;
}

void Fingerprint::add(double x) {
    add_word(std::bit_cast<uint64_t>(std::isnan(x) ? std::numeric_limits<double>::quiet_NaN() : x));
}

void Fingerprint::add(const Value &value) {
    if (const auto *x = std::get_if<double>(&value)) add(*x);
    else if (const auto *n = std::get_if<int64_t>(&value)) add_word(static_cast<uint64_t>(*n));
    else if (const auto *yes = std::get_if<bool>(&value)) add_word(uint64_t{*yes});
}

std::string Fingerprint::text() const {
    static constexpr char digits[] = "0123456789abcdef";
    std::string all;
    for (int i = 60; i >= 0; i -= 4) all += digits[state_ >> i & 15];
    return all;
}

Grid &Answer::list(std::string key, std::string title, std::string what, const std::vector<double> &values) {
    const std::string column = key;
    Grid &made = grid(std::move(key), std::move(title), {{"", std::move(what)}, {column, "value"}});
    made.shape = Grid::Shape::list;
    for (const double x : values) made.rows.push_back({whole(made.rows.size() + 1), x});
    return made;
}

Grid &Answer::matrix(std::string key, std::string title, const double *values, size_t rows, size_t columns) {
    Grid &made = grid(std::move(key), std::move(title), std::vector<Column>(columns));
    made.shape = Grid::Shape::matrix;
    for (size_t i = 0; i < rows; i++) {
        const double *row = values + i * columns;
        made.rows.emplace_back(row, row + columns);
    }
    return made;
}

Fingerprint fingerprint(const Answer &answer) {
    Fingerprint all;
    for (const auto &part : answer.parts) {
        if (const auto *fact = std::get_if<Fact>(&part)) {
            if (!fact->varies) all.add(fact->value);
            continue;
        }
        const Grid &grid = std::get<Grid>(part);
        if (grid.varies) continue;
        for (const auto &row : grid.rows)
            for (const Value &value : row) all.add(value);
    }
    return all;
}

} // namespace command
