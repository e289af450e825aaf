// The subcommand stats.
#include <memory>
#include <string>
#include <vector>

#include "answer/text.h"
#include "data/source.h"
#include "data/table.h"
#include "errors.h"
#include "line/options.h"
#include "line/subcommands.h"
#include "line/suggest.h"
#include "numbers.h"
#include "picture/plot.h"
#include "progress.h"
#include "stats/summary.h"
#include "stopwatch.h"

namespace command {
namespace {

const char *const prose =
    "DATA is a text file of numbers (- for standard input), as for fit. Every column is summed up: number, mean,\n"
    "standard deviation (divisor n - 1; with weights the sum of weights), standard error of the mean, skewness, "
    "excess\n"
    "kurtosis, extremes and quantiles; sums carry twice the digits, so that large values that lie close together lose "
    "none.\n"
    "Of standard input at most 100000 values a column are kept for the\n"
    "quantiles, a random part if there are more; of files all, unless --keep says otherwise.\n";

struct Arguments {
    std::string data, weights, columns, quantiles = "0.25,0.5,0.75", plot;
    uint64_t keep = 0; // 0: by the kind of the source
    OutputOptions form = {"", 6};
};

std::vector<double> probabilities(const std::string &text) {
    std::vector<double> all;
    for (const std::string &part : split(text, ',')) {
        const auto p = parse_number(part);
        if (!p || !(*p >= 0.0 && *p <= 1.0)) throw usage_error("'" + part + "' is not a probability from 0 to 1");
        all.push_back(*p);
    }
    return all;
}

size_t column(const Table &header, const std::string &name) {
    const auto found = header.find(name);
    if (!found) throw usage_error("there is no column '" + name + "'." + suggestion(name, header.names));
    return *found;
}

std::vector<Summary> summarise(const Arguments &a, const std::vector<double> &p) {
    const bool standard_input = a.data == "-";
    SourceStream source(a.data);
    RowReader reader(source, source_name(a.data));
    Table header;
    header.names = reader.names();
    std::vector<size_t> wanted;
    for (const std::string &name : split(a.columns, ',')) wanted.push_back(column(header, name));
    constexpr size_t none = SIZE_MAX;
    const size_t weights = a.weights.empty() ? none : column(header, a.weights);
    if (a.columns.empty())
        for (size_t c = 0; c < header.names.size(); c++)
            if (c != weights) wanted.push_back(c);
    const uint64_t keep = a.keep ? a.keep : standard_input ? 100000 : UINT64_MAX;
    std::vector<ColumnSummary> columns;
    for (const size_t c : wanted) columns.emplace_back(header.names[c], keep, weights != none);

    Progress progress;
    uint64_t rows = 0;
    for (std::vector<double> row; reader.next(&row); rows++) {
        const double w = weights != none ? row[weights] : 1.0;
        if (w < 0.0)
            throw input_error(source_name(a.data) + ":" + std::to_string(reader.line()) + ": the weight is negative");
        for (size_t i = 0; i < wanted.size(); i++) columns[i].add(row[wanted[i]], w);
        if (rows % 65536 == 65535)
            progress.show(std::to_string(rows) + " rows  " +
                          general(static_cast<double>(rows) / progress.seconds(), 3) + " rows/s");
    }
    progress.clear();
    if (rows == 0) throw input_error(source_name(a.data) + ": there is a header but no data");
    std::vector<Summary> all;
    for (ColumnSummary &c : columns) all.push_back(c.result(p, a.plot.empty() ? 16 : 40));
    return all;
}

std::string bars(const std::vector<uint64_t> &counts) {
    static const char *const heights[] = {" ",      "\u2581", "\u2582", "\u2583", "\u2584",
                                          "\u2585", "\u2586", "\u2587", "\u2588"};
    uint64_t most = 1;
    for (const uint64_t count : counts) most = std::max(most, count);
    std::string text;
    for (const uint64_t count : counts) text += heights[(count * 8 + most - 1) / most];
    return text;
}

Answer as_answer(const std::vector<Summary> &all, const std::vector<double> &p, double seconds) {
    std::vector<Column> columns = {{"column", ""},
                                   {"n", "n"},
                                   {"mean", "mean"},
                                   {"sd", "standard deviation"},
                                   {"standard_error", "standard error"},
                                   {"skewness", "skewness"},
                                   {"kurtosis", "excess kurtosis"},
                                   {"min", "minimum"}};
    for (const double q : p) columns.push_back({"q" + shortest(q), "quantile " + shortest(q)});
    columns.push_back({"max", "maximum"});
    columns.push_back({"", "values"});
    Answer answer;
    bool sampled = false;
    Grid &grid = answer.grid("columns", "", columns);
    grid.turned = true;
    for (const Summary &s : all) {
        std::vector<Value> row = {
            s.name, whole(s.n), s.mean, value(s.sd), value(s.standard_error), value(s.skewness), value(s.kurtosis),
            s.min};
        for (const auto &q : s.quantiles) row.push_back(value(q));
        row.emplace_back(s.max);
        row.emplace_back(bars(s.histogram));
        grid.rows.push_back(row);
        sampled = sampled || s.sampled;
    }
    answer.fact("quantiles_of_a_sample", "quantiles of a random part", sampled);
    answer.time(seconds);
    return answer;
}

// The outline of the bars.
Plot histogram(const std::vector<Summary> &all) {
    if (all.size() != 1) throw usage_error("--plot draws one column: say which with --columns");
    const Summary &s = all[0];
    Series outline;
    const auto bins = static_cast<double>(s.histogram.size());
    const auto add = [&](double x, double y) {
        outline.x.push_back(x);
        outline.y.push_back(y);
    };
    add(s.min, 0.0);
    for (size_t i = 0; i < s.histogram.size(); i++) {
        const double left = static_cast<double>(i) / bins, right = static_cast<double>(i + 1) / bins;
        for (const double share : {left, right})
            add(s.min + (s.max - s.min) * share, static_cast<double>(s.histogram[i]));
        add(s.min + (s.max - s.min) * right, 0.0);
    }
    return {s.name + ", " + std::to_string(s.n) + " values", {outline}, s.name, "count"};
}

int run_stats(const Arguments &a) {
    check_plot_name(a.plot);
    const Stopwatch watch;
    const std::vector<double> p = probabilities(a.quantiles);
    const std::vector<Summary> all = summarise(a, p);
    if (!a.plot.empty()) write_plot(histogram(all), a.plot);
    print(as_answer(all, p, watch.seconds()), a.form);
    return exit_done;
}

} // namespace

Run add_stats(CLI::App &app) {
    const auto a = std::make_shared<Arguments>();
    explain(app, prose,
            {"sarvo stats data.csv", "sarvo stats data.csv --columns y,x --weights w --quantiles 0.05,0.5,0.95",
             "zcat big.txt.gz | sarvo stats - --format json"});
    argument(app, "DATA", a->data, "File of numbers, - for standard input")->required();
    option(app, "--columns", a->columns, "NAME,...", "Only these columns");
    option(app, "--weights", a->weights, "COLUMN", "Column of weights");
    option(app, "--quantiles", a->quantiles, "P,...", "Probabilities (default 0.25,0.5,0.75)");
    option(app, "--keep", a->keep, uint64_t{1}, uint64_t{1} << 40, "N", "Values a column kept for the quantiles");
    option(app, "--plot", a->plot, "FILE", "Draw the histogram too: FILE.svg, FILE.png, or - for the terminal");
    add_output_options(app, a->form);
    return [a] { return run_stats(*a); };
}

} // namespace command
