// Dense matrices: conversions, measures, files.
#include "matrix/dense.h"

#include <algorithm>
#include <cmath>
#include <cstring>

#include "answer/output.h"
#include "data/npy.h"
#include "numbers.h"

namespace command {

Dense make_dense(uint64_t rows, uint64_t cols) {
    MAT *A = nullptr;
    check(sarvo_mh_m_get(rows, cols, &A));
    return Dense(A);
}

Dense dense(const DenseInput &input) {
    Dense A = make_dense(input.rows, input.cols);
    std::copy(input.values.begin(), input.values.end(), A->base);
    return A;
}

Matrix typed(const DenseInput &input) {
    Matrix A = make_matrix(input.rows, input.cols);
    for (size_t i = 0; i < input.rows; i++)
        std::copy_n(input.values.data() + i * input.cols, input.cols, row(A.get(), i));
    return A;
}

Dense dense(const sarvo_matrix &M) {
    Dense A = make_dense(M.rows, M.cols);
    for (uint64_t i = 0; i < M.rows; i++) std::copy_n(row(&M, i), M.cols, A->row_ptrs[i]);
    return A;
}

DenseInput read_real_matrix(const std::string &path) {
    DenseInput A = read_matrix(path);
    if (!A.imaginary.empty()) throw input_error(A.source + ": the matrix is complex, a real one is wanted");
    return A;
}

void require_square(const DenseInput &A) {
    if (A.rows != A.cols)
        throw input_error(A.source + ": the matrix has " + std::to_string(A.rows) + " rows and " +
                          std::to_string(A.cols) + " columns, a square one is wanted");
}

namespace {

using Multiply = sarko_error_t (*)(const MAT *, const MAT *, MAT **);

Dense multiply(Multiply operation, const MAT &A, const MAT &B) {
    MAT *out = nullptr;
    const sarko_error_t e = operation(&A, &B, &out);
    Dense owned(out);
    check(e);
    return owned;
}

template <typename Element> double most(const MAT &A, Element element) {
    double all = 0.0;
    for (uint64_t i = 0; i < A.rows; i++)
        for (uint64_t j = 0; j < A.cols; j++) {
            const double x = std::fabs(element(i, j));
            if (!(x <= all)) all = x; // a NaN stays
        }
    return all;
}

} // namespace

Dense product(const MAT &A, const MAT &B) { return multiply(sarvo_mh_m_mlt, A, B); }
Dense product_transposed(const MAT &A, const MAT &B) { return multiply(sarvo_mh_mmtr_mlt, A, B); }
Dense transposed_product(const MAT &A, const MAT &B) { return multiply(sarvo_mh_mtrm_mlt, A, B); }

double norm1(const MAT &A) {
    double norm = 0.0;
    check(sarvo_mh_m_norm1(&A, &norm));
    return norm;
}

double norm_inf(const MAT &A) {
    double norm = 0.0;
    check(sarvo_mh_m_norm_inf(&A, &norm));
    return norm;
}

double distance(const MAT &A, const MAT &B) {
    return most(A, [&](uint64_t i, uint64_t j) { return A.row_ptrs[i][j] - B.row_ptrs[i][j]; });
}

double distance_from_identity(const MAT &A) {
    return most(A, [&](uint64_t i, uint64_t j) { return A.row_ptrs[i][j] - (i == j ? 1.0 : 0.0); });
}

double largest(const MAT &A) {
    return most(A, [&](uint64_t i, uint64_t j) { return A.row_ptrs[i][j]; });
}

// ---- Files ----

namespace {

std::string ending(const std::string &path) {
    const size_t dot = path.rfind('.');
    return dot == std::string::npos ? "" : path.substr(dot);
}

std::string as_market(const MAT &A) {
    std::string text =
        "%%MatrixMarket matrix array real general\n" + std::to_string(A.rows) + " " + std::to_string(A.cols) + "\n";
    for (uint64_t j = 0; j < A.cols; j++)
        for (uint64_t i = 0; i < A.rows; i++) text += shortest(A.row_ptrs[i][j]) + "\n";
    return text;
}

std::string as_cells(const MAT &A, char separator) {
    std::string text;
    for (uint64_t i = 0; i < A.rows; i++)
        for (uint64_t j = 0; j < A.cols; j++) text += shortest(A.row_ptrs[i][j]) + (j + 1 == A.cols ? '\n' : separator);
    return text;
}

} // namespace

void check_matrix_name(const std::string &path) {
    if (path.empty()) return;
    for (const char *known : {".npy", ".mtx", ".tsv", ".csv"})
        if (ending(path) == known) return;
    throw usage_error("--output: the name '" + path + "' does not end in .npy, .mtx, .tsv or .csv");
}

void write_matrix(const MAT &A, const std::string &path, const std::string &otherwise) {
    std::string kind = ending(path);
    if (kind != ".npy" && kind != ".mtx" && kind != ".tsv" && kind != ".csv") kind = otherwise;
    const uint64_t shape[] = {A.rows, A.cols};
    if (kind == ".npy") write_npy(path, shape, {A.base, A.rows * A.cols});
    else if (kind == ".mtx") write_file(as_market(A), path);
    else write_file(as_cells(A, kind == ".tsv" ? '\t' : ','), path);
}

} // namespace command
