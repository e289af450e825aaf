// Owners and fills for the tests of typed arrays.
#pragma once

#include <sarvo/array.h>

#include <string.h>

#include <string>
#include <vector>

#include "test_support.h"

namespace test {

// Owns a vector or a matrix; `&object` is the address that filling operations take.
struct Vector {
    sarvo_vector *v = nullptr;

    Vector() = default;
    Vector(const std::vector<double> &values) : v(vector_of(values)) {}
    Vector(const std::vector<int32_t> &values) {
        expect_success(sarvo_vector_alloc(&v, SARVO_INT32, 0, values.size()));
        if (!values.empty()) memcpy(v->data, values.data(), values.size() * sizeof(int32_t));
    }
    Vector(uint32_t dtype, uint64_t length) { expect_success(sarvo_vector_alloc(&v, dtype, 0, length)); }
    Vector(Vector &&other) noexcept : v(other.v) { other.v = nullptr; }
    ~Vector() { sarvo_vector_free(v); }

    std::vector<double> doubles() const { return elements<double>(); }
    std::vector<int32_t> ints() const { return elements<int32_t>(); }

private:
    template <class T> std::vector<T> elements() const {
        const T *data = static_cast<const T *>(v->data);
        return data ? std::vector<T>(data, data + v->length) : std::vector<T>();
    }
};

struct Matrix {
    sarvo_matrix *m = nullptr;

    Matrix() = default;
    Matrix(uint64_t rows, uint64_t cols, const std::vector<double> &values) : m(matrix_of(rows, cols, values)) {}
    Matrix(uint32_t dtype, uint64_t rows, uint64_t cols) {
        expect_success(sarvo_matrix_alloc(&m, dtype, 0, rows, cols));
    }
    Matrix(Matrix &&other) noexcept : m(other.m) { other.m = nullptr; }
    ~Matrix() { sarvo_matrix_free(m); }

    // Element (i,j) through the row pointers, of either implemented dtype.
    double get(uint64_t i, uint64_t j) const {
        return m->dtype == SARVO_INT32 ? static_cast<const int32_t *>(m->row_ptrs[i])[j]
                                       : static_cast<const double *>(m->row_ptrs[i])[j];
    }
    void set(uint64_t i, uint64_t j, double value) {
        if (m->dtype == SARVO_INT32) static_cast<int32_t *>(m->row_ptrs[i])[j] = static_cast<int32_t>(value);
        else static_cast<double *>(m->row_ptrs[i])[j] = value;
    }
};

inline Matrix numbered(uint32_t dtype, uint64_t rows, uint64_t cols) { // element (i,j) = 10 (i + 1) + j + 1
    Matrix out(dtype, rows, cols);
    for (uint64_t i = 0; i < rows; i++)
        for (uint64_t j = 0; j < cols; j++) out.set(i, j, static_cast<double>(10 * (i + 1) + j + 1));
    return out;
}

inline std::string invalid(uint32_t dtype) { return "Invalid data type " + std::to_string(static_cast<int>(dtype)); }

inline std::string unimplemented(uint32_t dtype) {
    return "Invalid or not implemented data type " + std::to_string(static_cast<int>(dtype));
}

constexpr uint32_t invalid_dtypes[] = {0, 25, 26, 1u << 31, UINT32_MAX};
constexpr uint64_t huge_sizes[] = {1ull << 61, 1ull << 63, UINT64_MAX - 1, UINT64_MAX};

} // namespace test
