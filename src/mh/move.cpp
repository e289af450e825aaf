// Copies and block moves between dense objects.
#include <sarvo/mh/objects.h>

#include <string.h>

#include "dense.h"

using sarvo::fail;
using sarvo::mh::fail_text;
using sarvo::mh::larger;
using sarvo::mh::null_matrix;
using sarvo::mh::null_vector;
using sarvo::mh::product_of_counts;
using sarvo::mh::sum_of_counts;

namespace {

constexpr const char *bad_matrix_block = "Wrong bounds for input matrix.";
constexpr const char *bad_vector_block = "Wrong bounds for input vector.";

bool is_range(uint64_t first, uint64_t count, uint64_t size) {
    return count != 0 && first <= size && count <= size - first;
}

bool is_block(const MAT &A, uint64_t i0, uint64_t j0, uint64_t bm, uint64_t bn) {
    return is_range(i0, bm, A.rows) && is_range(j0, bn, A.cols);
}

// Makes room for a bm x bn block at (i1, j1), keeping what *out holds.
sarko_error_t make_room(MAT **out, uint64_t i1, uint64_t j1, uint64_t bm, uint64_t bn) {
    const uint64_t rows = sum_of_counts(i1, bm), cols = sum_of_counts(j1, bn);
    if (!*out) return sarvo_mh_m_resize(out, rows, cols);
    return sarvo_mh_m_resize(out, larger(rows, (*out)->rows), larger(cols, (*out)->cols));
}

template <class V> using Resize = sarko_error_t (*)(V **, uint64_t);

template <class V> sarko_error_t make_room(V **out, uint64_t dim, Resize<V> resize) {
    return *out && (*out)->dim >= dim ? 0 : resize(out, dim);
}

template <class V> sarko_error_t copy(const V *in, V **out, uint64_t i0, Resize<V> resize) {
    if (!in || !out) return fail_text(null_vector);
    if (in == *out) return 0;
    if (sarko_error_t e = make_room(out, in->dim, resize)) return e;
    if (i0 < in->dim) memcpy((*out)->elems + i0, in->elems + i0, (in->dim - i0) * sizeof *in->elems);
    return 0;
}

template <class V> sarko_error_t move(const V *in, uint64_t i0, uint64_t len, V **out, uint64_t i1, Resize<V> resize) {
    if (!in || !out) return fail_text(null_vector);
    if (!is_range(i0, len, in->dim)) return fail(SarvoMHSizesEC, bad_vector_block);
    if (sarko_error_t e = make_room(out, sum_of_counts(i1, len), resize)) return e;
    memmove((*out)->elems + i1, in->elems + i0, len * sizeof *in->elems);
    return 0;
}

} // namespace

extern "C" {

sarko_error_t sarvo_mh_m_copy_(const MAT *in, MAT **out, uint64_t i0, uint64_t j0) {
    if (!in || !out) return fail_text(null_matrix);
    if (in == *out) return 0;
    if (sarko_error_t e = sarvo::mh::size_at_least(out, in->rows, in->cols)) return e;
    if (j0 >= in->cols) return 0;
    for (uint64_t i = i0; i < in->rows; i++)
        memcpy((*out)->row_ptrs[i] + j0, in->row_ptrs[i] + j0, (in->cols - j0) * sizeof(double));
    return 0;
}

sarko_error_t sarvo_mh_v_copy_(const VEC *in, VEC **out, uint64_t i0) { return copy(in, out, i0, sarvo_mh_v_resize); }
sarko_error_t sarvo_mh_iv_copy_(const IVEC *in, IVEC **out, uint64_t i0) {
    return copy(in, out, i0, sarvo_mh_iv_resize);
}
sarko_error_t sarvo_mh_i64v_copy_(const I64VEC *in, I64VEC **out, uint64_t i0) {
    return copy(in, out, i0, sarvo_mh_i64v_resize);
}

sarko_error_t sarvo_mh_m_move(const MAT *in, uint64_t i0, uint64_t j0, uint64_t bm, uint64_t bn, MAT **out, uint64_t i1,
                              uint64_t j1) {
    if (!in || !out) return fail_text(null_matrix);
    if (!is_block(*in, i0, j0, bm, bn)) return fail(SarvoMHSizesEC, bad_matrix_block);
    if (sarko_error_t e = make_room(out, i1, j1, bm, bn)) return e;
    for (uint64_t k = 0; k < bm; k++)
        memmove((*out)->row_ptrs[i1 + k] + j1, in->row_ptrs[i0 + k] + j0, bn * sizeof(double));
    return 0;
}

sarko_error_t sarvo_mh_v_move(const VEC *in, uint64_t i0, uint64_t len, VEC **out, uint64_t i1) {
    return move(in, i0, len, out, i1, sarvo_mh_v_resize);
}
sarko_error_t sarvo_mh_iv_move(const IVEC *in, uint64_t i0, uint64_t len, IVEC **out, uint64_t i1) {
    return move(in, i0, len, out, i1, sarvo_mh_iv_resize);
}
sarko_error_t sarvo_mh_i64v_move(const I64VEC *in, uint64_t i0, uint64_t len, I64VEC **out, uint64_t i1) {
    return move(in, i0, len, out, i1, sarvo_mh_i64v_resize);
}

sarko_error_t sarvo_mh_mv_move(const MAT *in, uint64_t i0, uint64_t j0, uint64_t bm, uint64_t bn, VEC **out,
                               uint64_t i1) {
    if (!in || !out) return fail_text(null_matrix);
    if (!is_block(*in, i0, j0, bm, bn)) return fail(SarvoMHSizesEC, bad_matrix_block);
    if (sarko_error_t e = make_room(out, sum_of_counts(i1, product_of_counts(bm, bn)), sarvo_mh_v_resize)) return e;
    for (uint64_t k = 0; k < bm; k++)
        memcpy((*out)->elems + i1 + k * bn, in->row_ptrs[i0 + k] + j0, bn * sizeof(double));
    return 0;
}

sarko_error_t sarvo_mh_vm_move(const VEC *in, uint64_t i0, MAT **out, uint64_t i1, uint64_t j1, uint64_t bm,
                               uint64_t bn) {
    if (!in || !out) return fail_text(null_vector);
    if (!is_range(i0, product_of_counts(bm, bn), in->dim)) return fail(SarvoMHSizesEC, bad_vector_block);
    if (sarko_error_t e = make_room(out, i1, j1, bm, bn)) return e;
    for (uint64_t k = 0; k < bm; k++)
        memcpy((*out)->row_ptrs[i1 + k] + j1, in->elems + i0 + k * bn, bn * sizeof(double));
    return 0;
}

} // extern "C"
