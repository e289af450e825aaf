// The subcommand stats.
#include <cerrno>
#include <cstring>
#include <fstream>
#include <iostream>
#include <memory>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>

#include "data/source.h"
#include "data/table.h"
#include "errors.h"
#include "numbers.h"
#include "output.h"
#include "progress.h"
#include "stats/summary.h"
#include "subcommands.h"
#include "suggest.h"
#include "text.h"

namespace command {
namespace {

const char *const footer =
    "DATA is a text file of numbers (- for standard input), as for fit. Every column is summed up: number, mean,\n"
    "standard deviation (divisor n - 1; with weights the sum of weights), standard error of the mean, skewness, "
    "excess\n"
    "kurtosis, extremes and quantiles, in one pass. Of standard input at most 100000 values a column are kept for the\n"
    "quantiles, a random part if there are more (marked ~); of files all, unless --keep says otherwise.\n"
    "\n"
    "Examples:\n"
    "  sarvo stats data.csv\n"
    "  sarvo stats data.csv --columns y,x --weights w --quantiles 0.05,0.5,0.95\n"
    "  zcat big.txt.gz | sarvo stats - --format json";

struct Arguments {
    std::string data, weights, columns, quantiles = "0.25,0.5,0.75", format = "table";
    uint64_t keep = 0; // 0: by the kind of the source
    int digits = 6;
};

std::vector<std::string> split(const std::string &text) {
    std::vector<std::string> parts;
    for (size_t begin = 0; begin <= text.size();) {
        const size_t end = std::min(text.find(',', begin), text.size());
        if (end > begin) parts.push_back(text.substr(begin, end - begin));
        begin = end + 1;
    }
    return parts;
}

std::vector<double> probabilities(const std::string &text) {
    std::vector<double> all;
    for (const std::string &part : split(text)) {
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
    std::ifstream file;
    if (!standard_input) {
        file.open(a.data, std::ios::binary);
        if (!file) throw file_error(a.data + ": cannot be opened: " + std::strerror(errno));
    }
    RowReader reader(standard_input ? std::cin : file, source_name(a.data));
    Table header;
    header.names = reader.names();
    std::vector<size_t> wanted;
    for (const std::string &name : split(a.columns)) wanted.push_back(column(header, name));
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
    for (ColumnSummary &c : columns) all.push_back(c.result(p));
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

std::string as_table(const std::vector<Summary> &all, const std::vector<double> &p, int digits) {
    const auto shown = [digits](const std::optional<double> &x) { return x ? general(*x, digits) : std::string("-"); };
    std::vector<std::vector<std::string>> rows = {
        {""},       {"n"}, {"mean"}, {"standard deviation"}, {"standard error"}, {"skewness"}, {"excess kurtosis"},
        {"minimum"}};
    for (const double q : p) rows.push_back({"quantile " + shortest(q)});
    rows.push_back({"maximum"});
    rows.push_back({"values"});
    for (const Summary &s : all) {
        std::vector<std::string> cells = {s.name,
                                          std::to_string(s.n),
                                          general(s.mean, digits),
                                          shown(s.sd),
                                          shown(s.standard_error),
                                          shown(s.skewness),
                                          shown(s.kurtosis),
                                          general(s.min, digits)};
        for (const auto &q : s.quantiles) cells.push_back((s.sampled ? "~" : "") + shown(q));
        cells.push_back(general(s.max, digits));
        cells.push_back(bars(s.histogram));
        for (size_t i = 0; i < rows.size(); i++) rows[i].push_back(cells[i]);
    }
    return aligned(rows);
}

std::string as_csv(const std::vector<Summary> &all, const std::vector<double> &p) {
    const auto cell = [](const std::optional<double> &x) { return x ? csv_number(*x) : std::string(); };
    std::string text = "column,n,mean,sd,standard_error,skewness,kurtosis,min,max";
    for (const double q : p) text += ",q" + shortest(q);
    text += "\n";
    for (const Summary &s : all) {
        text += csv_cell(s.name) + "," + std::to_string(s.n) + "," + csv_number(s.mean) + "," + cell(s.sd) + "," +
                cell(s.standard_error) + "," + cell(s.skewness) + "," + cell(s.kurtosis) + "," + csv_number(s.min) +
                "," + csv_number(s.max);
        for (const auto &q : s.quantiles) text += "," + cell(q);
        text += "\n";
    }
    return text;
}

std::string as_json(const std::vector<Summary> &all, const std::vector<double> &p) {
    std::string text = "[";
    for (const Summary &s : all) {
        text += std::string(text.size() > 1 ? "," : "") + "\n  {\"column\": " + json_string(s.name) +
                ", \"n\": " + std::to_string(s.n) + ", \"mean\": " + json_number(s.mean) +
                ", \"sd\": " + json_number(s.sd) + ", \"standard_error\": " + json_number(s.standard_error) +
                ", \"skewness\": " + json_number(s.skewness) + ", \"kurtosis\": " + json_number(s.kurtosis) +
                ", \"min\": " + json_number(s.min) + ", \"max\": " + json_number(s.max) + ", \"quantiles\": {";
        for (size_t i = 0; i < p.size(); i++)
            text += std::string(i ? ", " : "") + "\"" + shortest(p[i]) + "\": " + json_number(s.quantiles[i]);
        text += std::string("}, \"quantiles_of_a_sample\": ") + (s.sampled ? "true" : "false") + "}";
    }
    return text + "\n]\n";
}

int run_stats(const Arguments &a) {
    check(sarvo_initialize());
    const std::vector<double> p = probabilities(a.quantiles);
    const std::vector<Summary> all = summarise(a, p);
    const std::string text = a.format == "json"  ? as_json(all, p)
                             : a.format == "csv" ? as_csv(all, p)
                                                 : as_table(all, p, a.digits);
    write_out(text);
    return exit_done;
}

} // namespace

Run add_stats(CLI::App &app) {
    const auto a = std::make_shared<Arguments>();
    app.footer(footer);
    app.add_option("DATA", a->data, "File of numbers, - for standard input")->required()->type_name("");
    app.add_option("--columns", a->columns, "Only these columns")->type_name("NAME,...");
    app.add_option("--weights", a->weights, "Column of weights")->type_name("COLUMN");
    app.add_option("--quantiles", a->quantiles, "Probabilities (default 0.25,0.5,0.75)")->type_name("P,...");
    app.add_option("--keep", a->keep, "Values a column kept for the quantiles")
        ->check(CLI::Validator(CLI::Range(uint64_t{1}, uint64_t{1} << 40)).description(""))
        ->type_name("N");
    app.add_option("--format", a->format, "table, csv or json; the last two in full precision (default table)")
        ->check(CLI::Validator(CLI::IsMember({"table", "csv", "json"})).description(""))
        ->type_name("FORM");
    app.add_option("--digits", a->digits, "Digits in the table, 1 to 17 (default 6)")
        ->check(CLI::Validator(CLI::Range(1, 17)).description(""))
        ->type_name("N");
    return [a] { return run_stats(*a); };
}

} // namespace command
