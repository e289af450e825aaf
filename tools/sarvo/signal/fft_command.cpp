// The subcommand fft.
#include <algorithm>
#include <bit>
#include <cmath>
#include <filesystem>
#include <memory>

#include "answer/output.h"
#include "data/matrix.h"
#include "data/source.h"
#include "data/table.h"
#include "line/options.h"
#include "line/subcommands.h"
#include "line/suggest.h"
#include "numbers.h"
#include "signal/transform.h"
#include "stopwatch.h"

namespace command {
namespace {

const char *const prose = "X is a list of numbers, or of complex ones: a complex .npy or Matrix Market file, a table "
                          "with columns re and im, as "
                          "this\n"
                          "subcommand prints, or one of two columns (real, imaginary part); - for standard input. "
                          "--column picks one column of a\n"
                          "table, or RE,IM two; --complex says that two are meant. The answer says what was taken.\n"
                          "Forward: sum of x[k] exp(+2 pi i j k / n), unscaled; --inverse: the opposite sign, 1/n. Any "
                          "length n is transformed\n"
                          "exactly as given; --pad appends zeros up to a power of two first. Checks: the inverse of "
                          "the result against X, and "
                          "the\n"
                          "energy.\n";

struct Arguments {
    std::string data, column, output;
    bool inverse = false, complex = false, pad = false;
    double rate = 1.0;
    OutputOptions form;
};

struct Input {
    ComplexList x;
    std::string taken; // for people
};

// ---- What is transformed ----

Input from_columns(const Table &table, size_t re, size_t im) {
    if (re == im) return {{table.columns[re], std::vector<double>(table.rows())}, "column " + table.names[re]};
    return {{table.columns[re], table.columns[im]},
            "columns " + table.names[re] + " and " + table.names[im] + " as real and imaginary parts"};
}

size_t column_of(const Table &table, const std::string &name) {
    if (const auto column = table.find(name)) return *column;
    throw usage_error("there is no column '" + name + "' in " + table.source + "." + suggestion(name, table.names));
}

Input from_table(const Table &table, const Arguments &a) {
    const size_t count = table.columns.size(), comma = a.column.find(',');
    if (!a.column.empty() && comma == std::string::npos) {
        const size_t column = column_of(table, a.column);
        return from_columns(table, column, column);
    }
    if (!a.column.empty())
        return from_columns(table, column_of(table, a.column.substr(0, comma)),
                            column_of(table, a.column.substr(comma + 1)));

    const auto re = table.find("re"), im = table.find("im");
    if (re && im) return from_columns(table, *re, *im);
    if (table.rows() == 1 && count > 2) { // a list in a row
        Input row{{{}, std::vector<double>(count)}, "one row"};
        for (const auto &column : table.columns) row.x.re.push_back(column[0]);
        return row;
    }
    if (count == 1 && !a.complex) return from_columns(table, 0, 0);
    if (count == 2) return from_columns(table, 0, 1);
    throw input_error(table.source + ": it has " + std::to_string(count) +
                      " columns: --column NAME takes one, --column RE,IM two");
}

Input read_input(const Arguments &a) {
    const std::string bytes = read_text(a.data), source = source_name(a.data);
    DenseInput in = parse_matrix(bytes, source);
    const bool list = in.rows == 1 || in.cols == 1;
    if (!in.imaginary.empty() && list) return {{in.values, in.imaginary}, "complex numbers"};
    if (!in.imaginary.empty())
        throw input_error(source + ": a list is expected, not " + std::to_string(in.rows) + " x " +
                          std::to_string(in.cols) + " complex numbers");
    if (in.form.rfind("Matrix Market", 0) != 0) return from_table(parse_table(bytes, source), a);

    Table table{source, {}, {}, std::vector<size_t>(in.rows)};
    for (size_t j = 0; j < in.cols; j++) {
        table.names.push_back("c" + std::to_string(j + 1));
        table.columns.emplace_back(in.rows);
        for (size_t i = 0; i < in.rows; i++) table.columns[j][i] = in.values[i * in.cols + j];
    }
    return from_table(table, a);
}

// ---- Checks ----

double energy(const ComplexList &x) {
    double sum = 0.0;
    for (size_t i = 0; i < x.re.size(); i++) sum += x.re[i] * x.re[i] + x.im[i] * x.im[i];
    return sum;
}

// Largest difference, as a share of the largest element.
double difference(const ComplexList &x, const ComplexList &y) {
    double most = 0.0, scale = 0.0;
    for (size_t i = 0; i < x.re.size(); i++) {
        most = std::max({most, std::fabs(x.re[i] - y.re[i]), std::fabs(x.im[i] - y.im[i])});
        scale = std::max({scale, std::fabs(x.re[i]), std::fabs(x.im[i])});
    }
    return most / (scale > 0.0 ? scale : 1.0);
}

void add_checks(Answer &answer, const ComplexList &x, const ComplexList &result, bool inverse) {
    ComplexList back = result;
    transform(back, !inverse);
    const auto n = static_cast<double>(result.re.size());
    const double before = energy(x) * (inverse ? 1.0 / n : n), after = energy(result);
    answer.fact("round_trip", "round trip |x - back| / |x|", difference(x, back), 3);
    answer.fact("energy", "energy, relative difference", std::fabs(after - before) / (before > 0.0 ? before : 1.0), 3);
}

// ---- Output ----

std::string ending(const std::string &path) { return std::filesystem::path(path).extension().string(); }

void check_list_name(const std::string &path) {
    if (path.empty()) return;
    for (const char *known : {".npy", ".tsv", ".csv"})
        if (ending(path) == known) return;
    throw usage_error("--output: the name '" + path + "' does not end in .npy, .tsv or .csv");
}

// .npy: complex numbers. Text: the columns re and im, which fft reads again.
void write_list(const ComplexList &x, const std::string &path) {
    const std::string kind = ending(path);
    if (kind == ".npy") {
        std::vector<double> pairs;
        for (size_t i = 0; i < x.re.size(); i++) pairs.insert(pairs.end(), {x.re[i], x.im[i]});
        const uint64_t shape[] = {x.re.size()};
        return write_npy(path, shape, pairs, true);
    }
    const std::string separator = kind == ".tsv" ? "\t" : ",";
    std::string text = "re" + separator + "im\n";
    for (size_t i = 0; i < x.re.size(); i++) text += shortest(x.re[i]) + separator + shortest(x.im[i]) + "\n";
    write_file(text, path);
}

void add_spectrum(Answer &answer, const ComplexList &x, const Arguments &a) {
    const size_t n = x.re.size();
    const char *const place_name = a.inverse ? "time" : "frequency";
    Grid &grid = answer.grid("spectrum", "",
                             {{"index", "index"},
                              {place_name, place_name},
                              {"re", "real part"},
                              {"im", "imaginary part"},
                              {"magnitude", "magnitude"},
                              {"phase", "phase"}});
    grid.shown = 64;
    for (size_t k = 0; k < n; k++) {
        const double re = x.re[k], im = x.im[k], index = static_cast<double>(k);
        const double place = a.inverse ? index / a.rate : index * a.rate / static_cast<double>(n);
        grid.rows.push_back({whole(k), place, re, im, std::hypot(re, im), std::atan2(im, re)});
    }
}

int run_fft(const Arguments &a) {
    check_list_name(a.output);
    const Stopwatch watch;
    Input input = read_input(a);
    const size_t given = input.x.re.size(), length = a.pad ? std::bit_ceil(given) : given;
    input.x.re.resize(length);
    input.x.im.resize(length);
    ComplexList result = input.x;
    transform(result, a.inverse);

    Answer answer;
    answer.fact("taken", "taken", input.taken);
    answer.fact("length", "length", whole(given));
    answer.fact("transformed", "length transformed", whole(length));
    if (length != given) answer.notes.push_back("zeros were appended up to the next power of two");
    add_checks(answer, input.x, result, a.inverse);
    answer.time(watch.seconds());
    if (a.output.empty()) add_spectrum(answer, result, a);
    else write_list(result, a.output);
    print(answer, a.form);
    return exit_done;
}

} // namespace

Run add_fft(CLI::App &app) {
    const auto a = std::make_shared<Arguments>();
    explain(app, prose,
            {"sarvo fft signal.csv --column y", "sarvo fft signal.npy --rate 44100 --format csv",
             "sarvo fft signal.csv | sarvo fft - --inverse"});
    argument(app, "X", a->data, "File of numbers, - for standard input")->required();
    app.add_flag("--inverse", a->inverse, "The inverse transform");
    option(app, "--column", a->column, "NAME", "The column of a table to transform, or two: RE,IM");
    app.add_flag("--complex", a->complex, "Two columns are real and imaginary parts");
    app.add_flag("--pad", a->pad, "Append zeros up to a power of two");
    option(app, "--output", a->output, "FILE", "Write the numbers to FILE.npy, .tsv or .csv instead");
    option(app, "--rate", a->rate, 1e-300, 1e300, "X", "Samples a unit of time, for the frequencies (default 1)");
    add_output_options(app, a->form);
    return [a] { return run_fft(*a); };
}

} // namespace command
