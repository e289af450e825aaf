// The singular value decomposition in its thin form: min(m, n) columns on both sides.
#pragma once

#include <vector>

#include "matrix/dense.h"

namespace command {

struct ThinSvd {
    Dense U, V;            // m x k and n x k, k = min(m, n)
    std::vector<double> w; // k of them, largest first
    double threshold = 0.0;
    size_t rank = 0; // values above the threshold

    double condition() const; // largest by smallest; infinite when that is 0
};

// A = U diag(w) V'. Of a wide matrix the transpose is decomposed, so memory grows with m n and k^2 alone. Threshold
// below 0: eps/2 sqrt(m + n + 1) times the largest value.
ThinSvd thin_svd(const DenseInput &A, double threshold);

} // namespace command
