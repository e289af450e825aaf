// Solving linear systems and least squares, sparse and dense: the choice of the method, and what a careful reader asks
// of a result.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "data/market.h"
#include "data/matrix.h"

namespace command {

struct SolveOptions {
    std::string method = "auto";  // auto chol lu cg minres gmres bicgstab lsqr svd
    std::string precond = "auto"; // auto none jacobi ich ilu ilut
    std::string order = "auto";   // auto natural rcm amd
    double tolerance = 1e-10;     // of the norm that the method tests, relative to that of x = 0
    uint32_t max_steps = 0;       // 0: twice the unknowns, at least 1000
    uint32_t restart = 30;        // of gmres
    double drop = 1e-3;           // of ilut: share of the norm of a row, below which entries are dropped
    int32_t fill = 10;            // and entries beyond those of the matrix, on either side of the diagonal of a row
    double threshold = 0.0;       // of the pivots of sparse lu; 0: see SparseLu
};

struct SolveResult {
    int64_t rows = 0, cols = 0, entries = 0;
    std::string method, choice, order, precond; // choice: why this method; order and precond may be empty
    bool converged = false;
    std::string reason;
    std::string norm; // of an iterative method: whose norm it makes small and tests
    std::vector<double> x;
    std::vector<double> history; // of an iterative method: these norms, that of the start first
    uint32_t steps = 0;          // of an iterative method; of the refinement otherwise
    int64_t factor_entries = 0;  // of a sparse direct method
    int64_t blocks = 0;          // on the diagonal, of sparse lu
    bool dense = false;
    std::optional<int64_t> rank;     // by singular values
    double residual = 0.0;           // largest |b - A x|
    double backward_error = 0.0;     // residual / (|A| |x| + |b|), infinity norms
    std::optional<double> gradient;  // of least squares: |A' (b - A x)| / |A' b|
    std::optional<double> condition; // of a direct method: in the 1-norm, estimated; of svd: in the 2-norm
    std::optional<double> error;     // largest |x - 1| when b was made so that all x are 1, and no other x gives it
    double seconds = 0.0;
};

// What is told while it works; either may be empty.
struct SolveObserver {
    std::function<void(const char *)> phase;                         // a part of the work begins
    std::function<void(uint32_t, double, const std::string &)> step; // after each step of an iterative method: number,
                                                                     // norm, and whose
};

// One result for each right-hand side; the factors serve for all. Without right-hand sides b is A times the vector of
// ones. Throws Failure when the system cannot be solved at all; an iteration
// that ends early is a result.
std::vector<SolveResult> solve_systems(const MarketMatrix &A, const std::vector<std::vector<double>> &right_sides,
                                       const SolveOptions &options, const SolveObserver &observer);
SolveResult solve_system(const MarketMatrix &A, const std::optional<std::vector<double>> &b,
                         const SolveOptions &options, const SolveObserver &observer);

// The same with a dense matrix, by lu (partial pivoting) or svd (least squares; of many solutions the shortest).
std::vector<SolveResult> solve_dense_systems(const DenseInput &A, const std::vector<std::vector<double>> &right_sides,
                                             const SolveOptions &options, const SolveObserver &observer);

} // namespace command
