// Random dense operands for the benches, in our records and in Eigen's.
#pragma once

#include <random>

#include <Eigen/Dense>
#include <sarvo/mh.h>

namespace bench {

using Matrix = Eigen::Matrix<double, Eigen::Dynamic, Eigen::Dynamic, Eigen::RowMajor>;

struct Mat {
    MAT *p = nullptr;
    Mat() = default;
    Mat(uint64_t rows, uint64_t cols, unsigned seed) {
        sarko_error_clear(sarvo_mh_m_get(rows, cols, &p));
        std::mt19937_64 generator(seed);
        std::uniform_real_distribution<double> uniform(-1.0, 1.0);
        for (uint64_t i = 0; i < rows * cols; i++) p->base[i] = uniform(generator);
    }
    Mat(const Mat &) = delete;
    ~Mat() { sarvo_mh_m_free(p); }
    Matrix eigen() const {
        return Eigen::Map<Matrix>(p->base, static_cast<Eigen::Index>(p->rows), static_cast<Eigen::Index>(p->cols));
    }
};

struct Vec {
    VEC *p = nullptr;
    Vec() = default;
    Vec(uint64_t dim, unsigned seed) {
        sarko_error_clear(sarvo_mh_v_get(dim, &p));
        std::mt19937_64 generator(seed);
        std::uniform_real_distribution<double> uniform(-1.0, 1.0);
        for (uint64_t i = 0; i < dim; i++) p->elems[i] = uniform(generator);
    }
    Vec(const Vec &) = delete;
    ~Vec() { sarvo_mh_v_free(p); }
    Eigen::VectorXd eigen() const { return Eigen::Map<Eigen::VectorXd>(p->elems, static_cast<Eigen::Index>(p->dim)); }
};

// Remembers that a call failed; the bench then fails.
struct Right {
    bool all = true;
    void operator()(sarko_error_t e) { all = sarko_error_clear(e) == 0 && e == 0 && all; }
    void close(const double *x, const double *y, uint64_t n, double tolerance) {
        for (uint64_t i = 0; i < n; i++) all = all && std::fabs(x[i] - y[i]) <= tolerance;
    }
};

} // namespace bench
