// The tables of reference values and of the errors that the stated formulas reach on them.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <fstream>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "test_support.h"

namespace test {

struct Row {
    std::vector<double> in;
    std::vector<long double> out;
    std::string tag;
};

struct Attainable {
    long double rel, abs;
};

inline std::vector<std::vector<std::string>> csv(const std::string &name) {
    std::ifstream file(SARVO_SHARED_DATA "/special/" + name + ".csv");
    std::vector<std::vector<std::string>> lines;
    std::string line, cell;
    while (std::getline(file, line)) {
        lines.emplace_back();
        std::stringstream cells(line);
        while (std::getline(cells, cell, ',')) lines.back().push_back(cell);
    }
    return lines;
}

inline bool reference_tables_present() { return std::ifstream(SARVO_SHARED_DATA "/special/attainable.csv").good(); }

// `inputs` doubles, then `outputs` numbers, the tag last.
inline std::vector<Row> table(const std::string &name, size_t inputs, size_t outputs) {
    std::vector<Row> rows;
    for (const auto &cells : csv(name)) {
        if (std::isalpha(cells[0][0])) continue; // the head
        Row row;
        for (size_t i = 0; i < inputs; i++) row.in.push_back(std::strtod(cells[i].c_str(), nullptr));
        for (size_t i = 0; i < outputs; i++) row.out.push_back(std::strtold(cells[inputs + i].c_str(), nullptr));
        row.tag = cells.back();
        rows.push_back(row);
    }
    return rows;
}

// Errors in units of 2^-52 and absolute, by tag; the largest of all under "".
inline std::map<std::string, Attainable> attainable(const std::string &name) {
    std::map<std::string, Attainable> result;
    for (const auto &cells : csv("attainable")) {
        if (cells[0] != name) continue;
        const Attainable a{std::strtold(cells[3].c_str(), nullptr), std::strtold(cells[5].c_str(), nullptr)};
        result[cells[1]] = a;
        result[""].rel = std::max(result[""].rel, a.rel);
        result[""].abs = std::max(result[""].abs, a.abs);
    }
    return result;
}

} // namespace test
