// Cells and values as text: aligned tables, CSV, JSON.
#pragma once

#include <optional>
#include <string>
#include <vector>

namespace command {

// The parts between separators, empty ones too; of an empty text none.
std::vector<std::string> split(const std::string &text, char separator);

size_t width(const std::string &text); // characters, not bytes

// Rows of cells in columns as wide as their widest cell, the first to the left, the others to the right.
std::string aligned(const std::vector<std::vector<std::string>> &rows);

// Names and values, two spaces in, the values below one another.
std::string listed(const std::vector<std::vector<std::string>> &pairs);

std::string markup(const std::string &text);   // as text in XML and HTML
std::string csv_cell(const std::string &text); // quoted where needed
std::string csv_number(double x);              // in full precision; empty when not finite
std::string json_number(double x);             // in full precision; null when not finite
std::string json_number(const std::optional<double> &x);
std::string json_string(const std::string &text);

} // namespace command
