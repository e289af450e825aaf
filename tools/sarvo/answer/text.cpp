// Cells and values as text.
#include "answer/text.h"

#include <algorithm>
#include <cmath>

#include "numbers.h"

namespace command {

std::vector<std::string> split(const std::string &text, char separator) {
    std::vector<std::string> parts;
    for (size_t begin = 0; begin <= text.size() && !text.empty();) {
        const size_t end = std::min(text.find(separator, begin), text.size());
        parts.push_back(text.substr(begin, end - begin));
        begin = end + 1;
    }
    return parts;
}

size_t width(const std::string &text) {
    return static_cast<size_t>(std::count_if(text.begin(), text.end(), [](char c) { return (c & 0xC0) != 0x80; }));
}

std::string aligned(const std::vector<std::vector<std::string>> &rows) {
    std::vector<size_t> widths;
    for (const auto &row : rows)
        for (size_t c = 0; c < row.size(); c++) {
            if (c == widths.size()) widths.push_back(0);
            widths[c] = std::max(widths[c], width(row[c]));
        }
    std::string text;
    for (const auto &row : rows) {
        std::string line = " ";
        for (size_t c = 0; c < row.size(); c++) {
            const std::string padding(widths[c] - width(row[c]), ' ');
            line += c == 0 ? " " + row[c] + padding : "  " + padding + row[c];
        }
        line.erase(line.find_last_not_of(' ') + 1);
        text += line + "\n";
    }
    return text;
}

std::string listed(const std::vector<std::vector<std::string>> &pairs) {
    size_t name_width = 0;
    for (const auto &pair : pairs) name_width = std::max(name_width, width(pair[0]));
    std::string text;
    for (const auto &pair : pairs)
        text += "  " + pair[0] + std::string(name_width - width(pair[0]) + 2, ' ') + pair[1] + "\n";
    return text;
}

std::string markup(const std::string &text) {
    std::string all;
    for (const char c : text) {
        if (c == '<') all += "&lt;";
        else if (c == '&') all += "&amp;";
        else all += c;
    }
    return all;
}

std::string csv_cell(const std::string &text) {
    if (text.find_first_of(",\"\n") == std::string::npos) return text;
    std::string quoted = "\"";
    for (const char c : text) quoted += c == '"' ? std::string("\"\"") : std::string(1, c);
    return quoted + "\"";
}

std::string csv_number(double x) { return std::isfinite(x) ? shortest(x) : ""; }
std::string json_number(double x) { return std::isfinite(x) ? shortest(x) : "null"; }
std::string json_number(const std::optional<double> &x) { return x ? json_number(*x) : "null"; }

std::string json_string(const std::string &text) {
    static constexpr char hex[] = "0123456789abcdef";
    std::string quoted = "\"";
    for (const char c : text) {
        if (c == '"' || c == '\\') quoted += '\\';
        if (static_cast<unsigned char>(c) < 0x20) quoted += std::string("\\u00") + hex[(c >> 4) & 15] + hex[c & 15];
        else quoted += c;
    }
    return quoted + "\"";
}

} // namespace command
