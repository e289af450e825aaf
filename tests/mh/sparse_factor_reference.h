// The sparse factorisations as their plain loops over dense arrays with a flag for each stored place.
#pragma once

#include <cmath>

#include "sparse_support.h"

namespace test::mh {

struct Stored {
    int32_t m, n;
    Doubles value;
    std::vector<char> has;

    explicit Stored(const SPMAT *A)
        : m(A->m), n(A->n), value(dense(A)), has(static_cast<size_t>(m) * static_cast<size_t>(n)) {
        for (int32_t i = 0; i < m; i++)
            for (int32_t k = 0; k < A->row[i].len; k++) has[at(i, A->row[i].elt[k].col)] = 1;
    }
    size_t at(int32_t i, int32_t j) const {
        return static_cast<size_t>(i) * static_cast<size_t>(n) + static_cast<size_t>(j);
    }
    bool stored(int32_t i, int32_t j) const { return has[at(i, j)] != 0; }
    double &operator()(int32_t i, int32_t j) { return value[at(i, j)]; }
    void store(int32_t i, int32_t j) { has[at(i, j)] = 1; }
    void drop_above_diagonal() {
        for (int32_t i = 0; i < m; i++)
            for (int32_t j = i + 1; j < n; j++) has[at(i, j)] = 0, value[at(i, j)] = 0.0;
    }
    int32_t length(int32_t i) const {
        int32_t count = 0;
        for (int32_t j = 0; j < n; j++) count += stored(i, j);
        return count;
    }
};

// All places (i, j), j <= i, that elimination fills, and the diagonal.
inline void fill_cholesky(Stored &A) {
    for (int32_t k = 0; k < A.n; k++) {
        A.store(k, k);
        for (int32_t i = k + 1; i < A.n; i++)
            for (int32_t j = k + 1; j < i; j++)
                if (A.stored(i, k) && A.stored(j, k)) A.store(i, j);
    }
}

// False when a pivot is not positive.
inline bool cholesky(Stored &A, bool complete) {
    if (complete) fill_cholesky(A);
    A.drop_above_diagonal();
    for (int32_t i = 0; i < A.n; i++) {
        A.store(i, i);
        for (int32_t j = 0; j <= i; j++) {
            if (!A.stored(i, j)) continue;
            double difference = A(i, j);
            for (int32_t k = 0; k < j; k++)
                if (A.stored(i, k) && A.stored(j, k)) difference -= A(i, k) * A(j, k);
            if (i == j && !(difference > 0.0)) return false;
            A(i, j) = i == j ? std::sqrt(difference) : difference / A(j, j);
        }
    }
    return true;
}

inline std::vector<uint32_t> lu(Stored &A, double alpha) {
    std::vector<uint32_t> px(static_cast<size_t>(A.m));
    for (size_t i = 0; i < px.size(); i++) px[i] = static_cast<uint32_t>(i);
    for (int32_t k = 0; k < std::min(A.m, A.n); k++) {
        const auto magnitude = [&A, k](int32_t i) {
            const double x = std::fabs(A(i, k));
            return A.stored(i, k) && x < INFINITY ? x : 0.0;
        };
        double largest = 0.0;
        for (int32_t i = k; i < A.m; i++) largest = std::max(largest, magnitude(i));
        if (largest == 0.0) {
            A(k, k) = 0.0;
            continue;
        }
        int32_t best = -1;
        for (int32_t i = k; i < A.m; i++)
            if (magnitude(i) > 0.0 && magnitude(i) >= alpha * largest && (best < 0 || A.length(i) < A.length(best)))
                best = i;
        std::swap(px[static_cast<size_t>(k)], px[static_cast<size_t>(best)]);
        for (int32_t j = 0; j < A.n; j++) {
            std::swap(A(k, j), A(best, j));
            std::swap(A.has[A.at(k, j)], A.has[A.at(best, j)]);
        }
        for (int32_t i = k + 1; i < A.m; i++) {
            if (!A.stored(i, k)) continue;
            A(i, k) /= A(k, k);
            for (int32_t j = k + 1; j < A.n; j++) {
                if (!A.stored(k, j)) continue;
                A.store(i, j);
                A(i, j) -= A(i, k) * A(k, j);
            }
        }
    }
    return px;
}

inline void ilu(Stored &A, double alpha) {
    for (int32_t i = 0; i < A.n; i++) {
        if (alpha > 0.0) A.store(i, i);
        for (int32_t k = 0; k < i; k++) {
            if (!A.stored(i, k) || A(k, k) == 0.0) continue;
            A(i, k) /= A(k, k);
            for (int32_t j = k + 1; j < A.n; j++)
                if (A.stored(i, j) && A.stored(k, j)) A(i, j) -= A(i, k) * A(k, j);
        }
        if (std::fabs(A(i, i)) < alpha) A(i, i) = std::copysign(alpha, A(i, i));
    }
}

// Equal structure, equal bits.
inline void expect_stored(const SPMAT *actual, Stored &expected, const std::string &what) {
    const Stored got(actual);
    EXPECT_EQ(got.has, expected.has) << what;
    for (size_t k = 0; k < expected.has.size(); k++)
        if (!expected.has[k]) expected.value[k] = 0.0;
    expect_bits(got.value, expected.value, what);
    expect_invariants(actual, what);
}

} // namespace test::mh
