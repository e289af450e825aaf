// The singular value decomposition of the shape that has no more columns than rows.
#include "matrix/thin_svd.h"

#include <algorithm>
#include <cmath>

namespace command {
namespace {

Matrix tall(const DenseInput &A) {
    if (A.rows >= A.cols) return typed(A);
    Matrix T = make_matrix(A.cols, A.rows);
    for (size_t i = 0; i < A.rows; i++)
        for (size_t j = 0; j < A.cols; j++) row(T.get(), j)[i] = A.values[i * A.cols + j];
    return T;
}

} // namespace

double ThinSvd::condition() const { return w.back() > 0.0 ? w.front() / w.back() : HUGE_VAL; }

ThinSvd thin_svd(const DenseInput &A, double threshold) {
    const size_t least = std::min(A.rows, A.cols);
    const Svd svd = make_svd();
    svd->thresh = threshold;
    check(sarvo_nr_svd_decompose(tall(A).get(), 0, 0, std::max(A.rows, A.cols), least, svd.get()));
    check(sarvo_nr_svd_reorder(svd.get()));
    ThinSvd thin;
    thin.U = dense(*svd->U);
    thin.V = dense(*svd->V);
    if (A.rows < A.cols) std::swap(thin.U, thin.V);
    thin.w.assign(elements(svd->w), elements(svd->w) + least);
    thin.threshold = svd->thresh;
    thin.rank = svd->rank;
    return thin;
}

} // namespace command
