// Dense matrices of the library from what was read, what is measured of them, and files of them.
#pragma once

#include <string>

#include "data/matrix.h"
#include "library.h"

namespace command {

struct DenseFree {
    void operator()(MAT *A) const { sarvo_mh_m_free(A); }
};
using Dense = std::unique_ptr<MAT, DenseFree>;

Dense make_dense(uint64_t rows, uint64_t cols);
Dense dense(const DenseInput &input);
Matrix typed(const DenseInput &input);
Dense dense(const sarvo_matrix &A);

// Reads a real matrix: an input_error for a complex one.
DenseInput read_real_matrix(const std::string &path);
void require_square(const DenseInput &A);

// With the library's errors as exceptions.
Dense product(const MAT &A, const MAT &B);
Dense product_transposed(const MAT &A, const MAT &B); // A B'
Dense transposed_product(const MAT &A, const MAT &B); // A' B
double norm1(const MAT &A);                           // largest column sum of magnitudes
double norm_inf(const MAT &A);                        // largest row sum
// Largest magnitude of an element of A - B; of A - 1.
double distance(const MAT &A, const MAT &B);
double distance_from_identity(const MAT &A);
double largest(const MAT &A);

// As its name says: .npy, .mtx (Matrix Market array), .tsv or .csv without a header; `otherwise` where it says nothing.
// check_matrix_name throws the usage_error before the work is done.
void check_matrix_name(const std::string &path);
void write_matrix(const MAT &A, const std::string &path, const std::string &otherwise = ".csv");

} // namespace command
