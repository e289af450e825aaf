// Polynomials of a matrix on plain blocks, for the polynomial itself and the Pade approximant.
#pragma once

#include "dense.h"

namespace sarvo::mh {

// Block size of Horner's rule for a degree.
uint64_t horner_block(uint64_t degree);

// Evaluates `count` polynomials of one degree >= 1 in the n x n matrix A side by side: polynomial p, with coefficients
// coefficients[p][0 .. degree], in columns p n .. p n + n - 1 of out, which has rows of count n elements. P = A^r is
// given, r = horner_block(degree). `work` as said by polynomial_work. out must be apart from all.
void evaluate_polynomials(const View &A, const View &P, uint64_t degree, uint64_t count,
                          const double *const *coefficients, double *out, double *work);
uint64_t polynomial_work(uint64_t n, uint64_t degree, uint64_t count);

} // namespace sarvo::mh
