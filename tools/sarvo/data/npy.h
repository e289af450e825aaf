// Arrays of numbers in NumPy's .npy files, versions 1.0, 2.0 and 3.0: reading in memory, writing as a stream.
//
// A file is "\x93NUMPY", two bytes of version, the length of the header (two bytes little-endian in version 1.0, four
// later), the header, a dictionary as Python writes it, and the numbers, with nothing behind them:
//
//     {'descr': '<f8', 'fortran_order': False, 'shape': (3, 2), }
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "answer/output.h"
#include "errors.h"

namespace command {

bool is_npy(std::string_view bytes); // by its first six bytes

// A file in memory as a matrix whose elements are decoded where they are asked for. A single number is a matrix of 1 x
// 1, a list one of n x 1.
//
// Numbers of type f2 f4 f8, i1 i2 i4 i8, u1 u2 u4 u8, b1 (0 and 1), c8 and c16 are read, in both byte orders and in C
// and Fortran order. Integers that no double holds are rounded to the nearest double, as the same digits in a text file
// would be. Infinities and NaN are passed on.
class NpyView {
public:
    // The bytes must outlive the view. Nothing is allocated by what the header announces.
    // Throws input_error "SOURCE: byte N: what", bytes counted from 0.
    NpyView(std::string_view bytes, const std::string &source);

    size_t dimensions() const { return shape_.size(); } // 0, 1 or 2
    size_t rows() const { return shape_.empty() ? 1 : static_cast<size_t>(shape_[0]); }
    size_t cols() const { return shape_.size() < 2 ? 1 : static_cast<size_t>(shape_[1]); }
    bool complex() const { return complex_; }
    std::string form() const; // "NumPy array, <f8"

    double real(size_t i, size_t j) const { return decode_(element(i, j)); }
    double imaginary(size_t i, size_t j) const { return complex_ ? decode_(element(i, j) + part_size_) : 0.0; }

    // A fault of the element (i, j).
    Failure fault(size_t i, size_t j, const std::string &what) const;

private:
    const char *element(size_t i, size_t j) const {
        return numbers_ + (fortran_order_ ? j * rows() + i : i * cols() + j) * (part_size_ << complex_);
    }

    std::string_view bytes_;
    std::string source_;
    std::string type_;
    std::vector<uint64_t> shape_;
    bool fortran_order_ = false, complex_ = false;
    size_t part_size_ = 0; // bytes of a number, of a complex one half
    double (*decode_)(const char *) = nullptr;
    const char *numbers_ = nullptr;
};

// Writes version 1.0, little-endian doubles in C order: the header at once, then the numbers as they come, without any
// work on them.
class NpyWriter {
public:
    // Path "-" is standard output. Shape {} is a single number, {n} a list, {rows, cols} a matrix; of complex numbers
    // the real and the imaginary parts follow each other. Throws file_error, as all of this class.
    NpyWriter(const std::string &path, std::span<const uint64_t> shape, bool complex = false);

    void write(std::span<const double> block);
    void finish(); // completes the file (OutputFile); all numbers that the shape announces must have been written

private:
    OutputFile file_;
    uint64_t missing_; // doubles still to come
};

// A whole file at once.
void write_npy(const std::string &path, std::span<const uint64_t> shape, std::span<const double> numbers,
               bool complex = false);

} // namespace command
