// The page.
#include "bench/html.h"

#include "answer/text.h"
#include "numbers.h"

namespace command {
namespace {

std::string cell(const Value &value, int digits) {
    if (const auto *x = std::get_if<double>(&value)) return general(*x, digits ? digits : 4);
    if (const auto *n = std::get_if<int64_t>(&value)) return std::to_string(*n);
    if (const auto *yes = std::get_if<bool>(&value)) return *yes ? "yes" : "no";
    if (const auto *text = std::get_if<std::string>(&value)) return markup(*text);
    return "-";
}

bool is_number(const Value &value) {
    return std::holds_alternative<double>(value) || std::holds_alternative<int64_t>(value);
}

std::string table(const Grid &grid) {
    std::string text = grid.title.empty() ? "" : "<h2>" + markup(grid.title) + "</h2>\n";
    text += "<div class=\"wide\"><table>\n<tr>";
    for (size_t c = 0; c < grid.columns.size(); c++) {
        const bool number = !grid.rows.empty() && is_number(grid.rows[0][c]);
        text += std::string(number ? "<th class=\"n\">" : "<th>") + markup(grid.columns[c].label) + "</th>";
    }
    text += "</tr>\n";
    for (const auto &row : grid.rows) {
        text += "<tr>";
        for (size_t c = 0; c < row.size(); c++)
            text += (is_number(row[c]) ? "<td class=\"n\">" : "<td>") + cell(row[c], grid.columns[c].digits) + "</td>";
        text += "</tr>\n";
    }
    return text + "</table></div>\n";
}

constexpr const char *style =
    "body{font:16px/1.5 system-ui,sans-serif;color:#222;background:#fff;max-width:60rem;margin:2rem auto;padding:0 "
    "1rem}"
    "h1{font-size:1.6rem}h2{font-size:1.15rem;margin-top:2rem}"
    "table{border-collapse:collapse}th,td{padding:.25rem .9rem .25rem 0;text-align:left;border-bottom:1px solid #ddd}"
    "th{font-weight:600}.n{text-align:right;font-variant-numeric:tabular-nums}.wide{overflow-x:auto}"
    "dl{display:grid;grid-template-columns:max-content 1fr;gap:.15rem 1.5rem}dt{color:#666}dd{margin:0}"
    "svg{width:100%;height:auto;margin:1rem 0}.note{color:#8a4b00}";

} // namespace

std::string html_page(const std::string &title, const Answer &answer, const Plot &plot) {
    std::string facts, tables;
    for (const auto &part : answer.parts) {
        if (const auto *fact = std::get_if<Fact>(&part))
            facts += "<dt>" + markup(fact->label) + "</dt><dd>" + cell(fact->value, fact->digits) +
                     (fact->remark.empty() ? "" : " " + markup(fact->remark)) + "</dd>\n";
        else if (std::get<Grid>(part).audience != Audience::programs) tables += table(std::get<Grid>(part));
    }
    std::string text = "<!DOCTYPE html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\">\n"
                       "<meta name=\"viewport\" content=\"width=device-width\">\n<title>" +
                       markup(title) + "</title>\n<style>" + style + "</style>\n</head>\n<body>\n<h1>" + markup(title) +
                       "</h1>\n";
    if (!answer.headline.empty()) text += "<p class=\"note\">" + markup(answer.headline) + "</p>\n";
    text += "<dl>\n" + facts + "</dl>\n" + plot_svg(plot) + tables;
    for (const std::string &note : answer.notes) text += "<p class=\"note\">Note: " + markup(note) + ".</p>\n";
    return text + "</body>\n</html>\n";
}

} // namespace command
