// Solves with the transpose of a factorised matrix for many right-hand sides at once.
#pragma once

#include "dense.h"

namespace sarvo::mh {

// Column c of X solves F' x = column c of B, where LU and pivot are the factors of F: bits as by sarvo_mh_LUTsolve on each
// column. B and X are n x n and apart. Errors: those of sarvo_mh_LUTsolve, X is then partly written.
[[nodiscard]] sarko_error_t solve_transposed(const MAT &LU, const PERM &pivot, const View &B, const View &X);

} // namespace sarvo::mh
