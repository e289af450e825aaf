// What the dense routines share: rows of a matrix at equal distances, the two sizing rules, texts of the older style.
#pragma once

#include <sarvo/mh/objects.h>

#include "core/fail.h"

namespace sarvo::mh {

inline constexpr const char *null_matrix = "Input matrix is not initialized.";
inline constexpr const char *null_vector = "Input vector is not initialized.";
inline constexpr const char *null_permutation = "Input permutation is not initialized.";

// An error of the older style: code 0 and a text.
[[nodiscard]] inline sarko_error_t fail_text(const char *text) { return fail(0, text); }

// Distance of the rows, which go through row_ptrs: a view has that of its parent.
inline uint64_t row_stride(const MAT &A) {
    return A.rows < 2 ? A.cols : static_cast<uint64_t>(A.row_ptrs[1] - A.row_ptrs[0]);
}

inline double *first_row(const MAT &A) { return A.rows == 0 ? nullptr : A.row_ptrs[0]; }

// A matrix as the kernels see it.
struct View {
    double *p;
    uint64_t rows, cols, ld;
};
inline View view(const MAT &A) { return {first_row(A), A.rows, A.cols, row_stride(A)}; }

// No infinity and no NaN.
inline bool all_finite(const double *x, uint64_t n) {
    uint64_t others = 0;
    for (uint64_t i = 0; i < n; i++) others += !(__builtin_fabs(x[i]) < __builtin_inf());
    return others == 0;
}
inline bool all_finite(const View &a) {
    for (uint64_t i = 0; i < a.rows; i++)
        if (!all_finite(a.p + i * a.ld, a.cols)) return false;
    return true;
}

// A size is stored as given: one that is negative when read as signed has no entries, and is the size of nothing else.
inline uint32_t entries_of(const PERM &px) { return static_cast<int32_t>(px.size) > 0 ? px.size : 0; }
inline bool has_size(const PERM &px, uint64_t n) { return static_cast<int32_t>(px.size) >= 0 && px.size == n; }

inline uint64_t smaller(uint64_t x, uint64_t y) { return x < y ? x : y; }
inline uint64_t larger(uint64_t x, uint64_t y) { return x > y ? x : y; }

// Counts that no memory can hold once they overflow: the allocator refuses them.
inline uint64_t product_of_counts(uint64_t x, uint64_t y) {
    uint64_t xy;
    return __builtin_mul_overflow(x, y, &xy) ? UINT64_MAX : xy;
}
inline uint64_t sum_of_counts(uint64_t x, uint64_t y) {
    uint64_t sum;
    return __builtin_add_overflow(x, y, &sum) ? UINT64_MAX : sum;
}

// Exactly rows x cols, or exactly dim.
[[nodiscard]] inline sarko_error_t size_exactly(MAT **A, uint64_t rows, uint64_t cols) {
    if (*A && (*A)->rows == rows && (*A)->cols == cols) return 0;
    return sarvo_mh_m_resize(A, rows, cols);
}
[[nodiscard]] inline sarko_error_t size_exactly(VEC **v, uint64_t dim) {
    if (*v && (*v)->dim == dim) return 0;
    return sarvo_mh_v_resize(v, dim);
}

// As large as asked for; an object that is larger keeps its size.
[[nodiscard]] inline sarko_error_t size_at_least(MAT **A, uint64_t rows, uint64_t cols) {
    if (*A && (*A)->rows >= rows && (*A)->cols >= cols) return 0;
    return sarvo_mh_m_resize(A, rows, cols);
}
[[nodiscard]] inline sarko_error_t size_at_least(VEC **v, uint64_t dim) {
    if (*v && (*v)->dim >= dim) return 0;
    return sarvo_mh_v_resize(v, dim);
}

// Work space, unset; up to inline_count elements of it without an allocation.
template <class T, uint64_t inline_count> class Scratch {
public:
    [[nodiscard]] sarko_error_t allocate(uint64_t count) {
        if (count <= inline_count) return 0;
        const sarko_error_t e = block_.allocate_unset(count);
        p_ = block_.get();
        return e;
    }
    T *get() { return p_; }

private:
    T inline_[inline_count];
    Buffer<T> block_;
    T *p_ = inline_;
};

// Objects that live for one call.
template <class Object, void (*release)(Object *)> class Temporary {
public:
    Temporary() = default;
    Temporary(const Temporary &) = delete;
    Temporary &operator=(const Temporary &) = delete;
    ~Temporary() { release(p); }
    Object *p = nullptr;
};
using TemporaryMatrix = Temporary<MAT, sarvo_mh_m_free>;
using TemporaryVector = Temporary<VEC, sarvo_mh_v_free>;
using TemporaryPermutation = Temporary<PERM, sarvo_mh_px_free>;

} // namespace sarvo::mh
