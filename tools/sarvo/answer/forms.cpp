// The forms of an answer: for people an aligned table or Markdown, for programs CSV, tab-separated values, JSON.
#include <unistd.h>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdio>

#include "answer/answer.h"
#include "answer/output.h"
#include "answer/text.h"
#include "numbers.h"

namespace command {
namespace {

using Cells = std::vector<std::vector<std::string>>;

// Numbers and words as text, for people or to be read back.
class Printer {
public:
    explicit Printer(const OutputOptions &options) : options_(options) {}
    std::string exact(const Fact &fact) const {
        const auto *x = std::get_if<double>(&fact.value);
        return x && fact.varies ? general(*x, 6) : exact(fact.value); // nobody wants a time in full
    }

    std::string exact(const Value &value) const {
        if (const auto *x = std::get_if<double>(&value)) return options_.hex ? hexadecimal(*x) : shortest(*x);
        if (const auto *n = std::get_if<int64_t>(&value)) return std::to_string(*n);
        if (const auto *yes = std::get_if<bool>(&value)) return *yes ? "1" : "0";
        if (const auto *text = std::get_if<std::string>(&value)) return *text;
        return "";
    }
    std::string rounded(const Value &value, int digits, bool is_exact = false) const {
        if (const auto *x = std::get_if<double>(&value))
            return options_.hex || is_exact ? exact(value) : general(*x, digits ? digits : options_.digits);
        if (const auto *yes = std::get_if<bool>(&value)) return *yes ? "yes" : "no";
        if (std::holds_alternative<std::monostate>(value)) return "-";
        return exact(value);
    }
    std::string json(const Value &value) const {
        if (const auto *x = std::get_if<double>(&value))
            return options_.hex && std::isfinite(*x) ? json_string(hexadecimal(*x)) : json_number(*x);
        if (const auto *yes = std::get_if<bool>(&value)) return *yes ? "true" : "false";
        if (const auto *text = std::get_if<std::string>(&value)) return json_string(*text);
        return std::holds_alternative<std::monostate>(value) ? "null" : exact(value);
    }

private:
    const OutputOptions &options_;
};

// Columns without a key are for people alone.
bool for_programs(const Grid &grid, size_t c) {
    return grid.shape == Grid::Shape::matrix || !grid.columns[c].key.empty();
}

// Heading and rows of a grid for people.
Cells people_cells(const Grid &grid, const Printer &printer) {
    Cells cells;
    if (grid.shape != Grid::Shape::matrix) {
        cells.emplace_back();
        for (const Column &column : grid.columns) cells[0].push_back(column.label);
    }
    const size_t count = grid.rows.size(), half = grid.shown / 2;
    for (size_t i = 0; i < count; i++) {
        if (grid.shown != 0 && count > grid.shown && i == half) {
            cells.emplace_back(grid.columns.size(), "...");
            i = count - half;
        }
        cells.emplace_back();
        for (size_t c = 0; c < grid.rows[i].size(); c++)
            cells.back().push_back(printer.rounded(grid.rows[i][c], grid.columns[c].digits, grid.columns[c].exact));
    }
    if (!grid.turned) return cells;
    Cells turned(grid.columns.size());
    for (const auto &row : cells)
        for (size_t c = 0; c < row.size(); c++) turned[c].push_back(row[c]);
    return turned;
}

std::string people_value(const Fact &fact, const Printer &printer) {
    const auto *x = std::get_if<double>(&fact.value);
    const std::string text =
        x && fact.varies ? general(*x, fact.digits ? fact.digits : 3) : printer.rounded(fact.value, fact.digits);
    return text + (fact.remark.empty() ? "" : " " + fact.remark);
}

// Calls `facts` for each run of facts and `grid` for each grid, in order.
template <typename Facts, typename OneGrid> void walk(const Answer &answer, Facts facts, OneGrid one_grid) {
    std::vector<const Fact *> run;
    const auto end_run = [&] {
        if (!run.empty()) facts(run);
        run.clear();
    };
    for (const auto &part : answer.parts) {
        if (const auto *fact = std::get_if<Fact>(&part)) run.push_back(fact);
        else {
            end_run();
            one_grid(std::get<Grid>(part));
        }
    }
    end_run();
}

std::string as_table(const Answer &answer, const Printer &printer) {
    std::string text = answer.headline.empty() ? "" : answer.headline + "\n";
    const auto space = [&text] { text += text.empty() ? "" : "\n"; };
    walk(
        answer,
        [&](const std::vector<const Fact *> &facts) {
            Cells cells;
            for (const Fact *fact : facts) cells.push_back({fact->label, people_value(*fact, printer)});
            space();
            text += listed(cells);
        },
        [&](const Grid &grid) {
            space();
            if (!grid.title.empty()) text += "  " + grid.title + "\n";
            text += aligned(people_cells(grid, printer));
        });
    for (const std::string &note : answer.notes) text += "\n  Note: " + note + ".\n";
    return text;
}

std::string markdown_row(const std::vector<std::string> &cells) {
    std::string text = "|";
    for (const std::string &cell : cells) {
        text += " ";
        for (const char c : cell) text += c == '|' ? std::string("\\|") : std::string(1, c);
        text += " |";
    }
    return text + "\n";
}

std::string as_markdown(const Answer &answer, const Printer &printer) {
    std::string text = answer.headline.empty() ? "" : answer.headline + "\n";
    const auto table = [&](const Cells &cells, bool heading) {
        text += text.empty() ? "" : "\n";
        const size_t columns = cells.empty() ? 0 : cells[0].size();
        text += markdown_row(heading ? cells[0] : std::vector<std::string>(columns)) + "|---|";
        for (size_t c = 1; c < columns; c++) text += "---:|";
        text += "\n";
        for (size_t i = heading ? 1 : 0; i < cells.size(); i++) text += markdown_row(cells[i]);
    };
    walk(
        answer,
        [&](const std::vector<const Fact *> &facts) {
            Cells cells;
            for (const Fact *fact : facts) cells.push_back({fact->label, people_value(*fact, printer)});
            table(cells, false);
        },
        [&](const Grid &grid) {
            if (!grid.title.empty()) text += std::string(text.empty() ? "" : "\n") + "**" + grid.title + "**\n";
            table(people_cells(grid, printer), grid.shape != Grid::Shape::matrix);
        });
    for (const std::string &note : answer.notes) text += "\nNote: " + note + ".\n";
    return text;
}

std::string tab_cell(std::string text) {
    std::replace_if(
        text.begin(), text.end(), [](char c) { return c == '\t' || c == '\n' || c == '\r'; }, ' ');
    return text;
}

// Facts in lines that begin with #, the first grid, then each other grid behind a blank line and its name.
std::string as_separated(const Answer &answer, const Printer &printer, char separator) {
    const auto cell = [separator](const std::string &text) {
        return separator == ',' ? csv_cell(text) : tab_cell(text);
    };
    std::string head, body;
    if (!answer.headline.empty()) head = "# " + answer.headline + "\n";
    for (const std::string &note : answer.notes) head += "# note: " + note + "\n";
    const auto row = [&](const Grid &grid, const auto &text) {
        std::string line;
        bool first = true;
        for (size_t c = 0; c < grid.columns.size(); c++) {
            if (!for_programs(grid, c)) continue;
            line += (first ? "" : std::string(1, separator)) + cell(text(c));
            first = false;
        }
        body += line + "\n";
    };
    walk(
        answer,
        [&](const std::vector<const Fact *> &facts) {
            for (const Fact *fact : facts)
                if (!fact->key.empty()) head += "# " + fact->key + ": " + tab_cell(printer.exact(*fact)) + "\n";
        },
        [&](const Grid &grid) {
            if (!body.empty()) body += "\n# " + grid.key + "\n";
            if (grid.shape != Grid::Shape::matrix) row(grid, [&](size_t c) { return grid.columns[c].key; });
            for (const auto &values : grid.rows) row(grid, [&](size_t c) { return printer.exact(values[c]); });
        });
    return head + body;
}

std::string json_row(const Grid &grid, const std::vector<Value> &row, const Printer &printer) {
    if (grid.shape == Grid::Shape::list) return printer.json(row.back());
    const bool named = grid.shape == Grid::Shape::records;
    std::string text = named ? "{" : "[";
    for (size_t c = 0; c < row.size(); c++)
        if (for_programs(grid, c))
            text += (text.size() > 1 ? ", " : "") + (named ? json_string(grid.columns[c].key) + ": " : "") +
                    printer.json(row[c]);
    return text + (named ? "}" : "]");
}

std::string as_json(const Answer &answer, const Printer &printer) {
    std::string text = "{";
    const auto field = [&](const std::string &key, const std::string &content) {
        text += (text.size() > 1 ? ",\n  " : "\n  ") + json_string(key) + ": " + content;
    };
    if (!answer.headline.empty()) field("headline", json_string(answer.headline));
    walk(
        answer,
        [&](const std::vector<const Fact *> &facts) {
            for (const Fact *fact : facts)
                if (!fact->key.empty())
                    field(fact->key, fact->varies && std::holds_alternative<double>(fact->value)
                                         ? printer.exact(*fact)
                                         : printer.json(fact->value));
        },
        [&](const Grid &grid) {
            std::string rows;
            const bool flat = grid.shape == Grid::Shape::list;
            for (const auto &row : grid.rows)
                rows += (rows.empty() ? ""
                         : flat       ? ", "
                                      : ",") +
                        std::string(flat ? "" : "\n    ") + json_row(grid, row, printer);
            field(grid.key, "[" + rows + (flat || rows.empty() ? "]" : "\n  ]"));
        });
    if (!answer.notes.empty()) {
        std::string notes;
        for (const std::string &note : answer.notes) notes += (notes.empty() ? "" : ", ") + json_string(note);
        field("notes", "[" + notes + "]");
    }
    return text + "\n}\n";
}

} // namespace

std::string resolved_format(const OutputOptions &options) {
    if (!options.format.empty()) return options.format;
    return isatty(STDOUT_FILENO) == 1 ? "table" : "tsv";
}

std::string formatted(const Answer &answer, const OutputOptions &options) {
    if (options.fingerprint) {
        Answer with = answer;
        with.fact("fingerprint", "fingerprint", fingerprint(answer).text());
        OutputOptions without = options;
        without.fingerprint = false;
        return formatted(with, without);
    }
    const Printer printer(options);
    const std::string format = resolved_format(options);
    if (format == "json") return as_json(answer, printer);
    if (format == "md") return as_markdown(answer, printer);
    if (format == "table") return as_table(answer, printer);
    return as_separated(answer, printer, format == "csv" ? ',' : '\t');
}

void print(const Answer &answer, const OutputOptions &options) { write_out(formatted(answer, options)); }

} // namespace command
