// A small reader of Matrix Market files for the tests: coordinate and array, real and pattern, general and symmetric.
#pragma once

#include <stdint.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

namespace test {

struct MarketMatrix {
    struct Entry {
        int32_t i, j;
        double value;
    };
    std::string name;
    int32_t rows = 0, cols = 0;
    bool symmetric = false;
    std::vector<Entry> entries; // of symmetric matrices both halves
};

inline MarketMatrix read_market(const std::filesystem::path &path) {
    std::ifstream file(path);
    std::string line;
    std::getline(file, line);
    const auto has = [header = line](const char *word) { return header.find(word) != std::string::npos; };
    const bool array = has(" array "), pattern = has(" pattern ");
    MarketMatrix A;
    A.name = path.stem().string();
    A.symmetric = has(" symmetric");
    while (std::getline(file, line) && line[0] == '%') {
    }
    int64_t stored = 0;
    std::istringstream(line) >> A.rows >> A.cols >> stored;
    const auto add = [&A](int32_t i, int32_t j, double value) {
        A.entries.push_back({i, j, value});
        if (A.symmetric && i != j) A.entries.push_back({j, i, value});
    };
    std::string text;
    if (array) {
        for (int32_t j = 0; j < A.cols; j++)
            for (int32_t i = A.symmetric ? j : 0; i < A.rows && file >> text; i++) add(i, j, std::stod(text));
        return A;
    }
    for (int32_t i, j; stored > 0 && file >> i >> j; stored--) {
        if (!pattern) file >> text;
        add(i - 1, j - 1, pattern ? 1.0 : std::stod(text));
    }
    return A;
}

// All files of the reference data, in the order of their names; none when they are not there.
inline std::vector<MarketMatrix> market_collection() {
    std::vector<std::filesystem::path> paths;
    const std::filesystem::path folder = std::string(SARVO_SHARED_DATA) + "/matrix";
    if (std::filesystem::exists(folder))
        for (const auto &file : std::filesystem::directory_iterator(folder))
            if (file.path().extension() == ".mtx") paths.push_back(file.path());
    std::sort(paths.begin(), paths.end());
    std::vector<MarketMatrix> all;
    for (const auto &path : paths) all.push_back(read_market(path));
    return all;
}

} // namespace test
