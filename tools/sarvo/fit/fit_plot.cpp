// Data and fitted curve.
#include "fit/fit_plot.h"

#include <algorithm>
#include <optional>

#include "formula/parser.h"

namespace command {
namespace {

// The column that a formula uses, if it is only one.
std::optional<size_t> single_column(const formula::Tape &tape) {
    std::optional<size_t> column;
    for (size_t i = 0; i < tape.size(); i++) {
        if (tape.step(i).op != formula::Op::column) continue;
        if (column && *column != tape.step(i).left) return std::nullopt;
        column = tape.step(i).left;
    }
    return column;
}

std::vector<double> evaluated(const formula::Tape &tape, const std::vector<std::vector<double>> &columns, size_t rows,
                              const std::vector<double> &parameters) {
    auto work = tape.work(0);
    std::vector<double> values;
    for (size_t i = 0; i < rows; i++) values.push_back(tape.evaluate(columns, i, parameters, nullptr, work));
    return values;
}

// Evenly over the column, 300 points; the other columns do not matter.
Series curve(const formula::Tape &tape, const Table &table, size_t column, const std::vector<double> &parameters) {
    constexpr size_t count = 300;
    const auto &x = table.columns[column];
    const auto [low, high] = std::minmax_element(x.begin(), x.end());
    std::vector<std::vector<double>> columns(table.columns.size(), std::vector<double>(count));
    for (size_t i = 0; i < count; i++)
        columns[column][i] = *low + (*high - *low) * static_cast<double>(i) / static_cast<double>(count - 1);
    return {columns[column], evaluated(tape, columns, count, parameters), "fit"};
}

} // namespace

Plot fit_plot(const Table &table, const FitOptions &options, const FitResult &result) {
    const formula::Model model = formula::parse_model(options.formula, table, result.names);
    const std::optional<size_t> column = single_column(model.right);
    const std::vector<double> observed = evaluated(model.left, table.columns, table.rows(), {});
    std::vector<double> x;
    for (size_t i = 0; i < table.rows(); i++)
        x.push_back(column ? table.columns[*column][i] : static_cast<double>(i + 1));
    const Series fitted = column
                              ? curve(model.right, table, *column, result.estimates)
                              : Series{x, evaluated(model.right, table.columns, table.rows(), result.estimates), "fit"};
    return {options.formula,
            {fitted, {x, observed, "data", true}},
            column ? table.names[*column] : "row",
            options.formula.substr(0, options.formula.find_last_not_of(" ~", options.formula.find('~')) + 1)};
}

} // namespace command
