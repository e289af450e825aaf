// .npy files made by hand for the tests.
#pragma once

#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

namespace test {

// A file of version major.0 with the dictionary as it stands, then the data.
inline std::string npy(const std::string &dictionary, const std::string &data, int major = 1) {
    std::string bytes = "\x93NUMPY";
    bytes += {static_cast<char>(major), '\0'};
    for (int i = 0; i < (major == 1 ? 2 : 4); i++) bytes += static_cast<char>(dictionary.size() >> 8 * i & 255);
    return bytes + dictionary + data;
}

inline std::string npy_header(const std::string &type, const std::string &shape, bool fortran_order = false) {
    return "{'descr': '" + type + "', 'fortran_order': " + (fortran_order ? "True" : "False") + ", 'shape': " + shape +
           ", }\n";
}

// The bytes of numbers of a little-endian machine, those of each number reversed where `swapped`.
template <class T> std::string bytes_of(const std::vector<T> &numbers, bool swapped = false) {
    std::string all;
    for (const T number : numbers) {
        std::string one(sizeof number, '\0');
        std::memcpy(one.data(), &number, sizeof number);
        if (swapped) std::reverse(one.begin(), one.end());
        all += one;
    }
    return all;
}

} // namespace test
