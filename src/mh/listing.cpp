// Listings of dense matrices, vectors and permutations.
#include <sarvo/mh/objects.h>

#include "dense.h"

#pragma GCC diagnostic ignored "-Wformat-nonliteral" // the element format is the caller's

namespace {

constexpr uint64_t per_line = 5;
constexpr uint32_t pairs_per_line = 8;

size_t as_size(uint64_t count) { return static_cast<size_t>(count); }

// The label counts as the first of five places of the first line.
void list_row(FILE *stream, const char *format, const double *row, uint64_t cols) {
    uint64_t place = 2;
    for (uint64_t j = 0; j < cols; j++, place++) {
        fprintf(stream, format, row[j]);
        if (place % per_line == 0) fputc('\n', stream);
    }
    if (place % per_line != 1) fputc('\n', stream);
}

template <class V> void list_vector(FILE *stream, const char *format, const V &v, const char *header) {
    fprintf(stream, header, as_size(v.dim));
    if (!v.elems) {
        fputs("NULL\n", stream);
        return;
    }
    for (uint64_t i = 0; i < v.dim; i++) {
        fprintf(stream, format, v.elems[i]);
        if ((i + 1) % per_line == 0) fputc('\n', stream);
    }
    if (v.dim % per_line != 0) fputc('\n', stream);
}

} // namespace

extern "C" {

int32_t sarvo_mh_m_foutput(FILE *stream, const char *format, const MAT *A) {
    if (!A) return fputs("Matrix: NULL\n", stream);
    fprintf(stream, "Matrix: [%zu-by-%zu]\n", as_size(A->rows), as_size(A->cols));
    if (!A->row_ptrs) return fputs("NULL\n", stream);
    for (uint64_t i = 0; i < A->rows; i++) {
        fprintf(stream, "row %zu: ", as_size(i));
        list_row(stream, format, A->row_ptrs[i], A->cols);
    }
    return 0;
}

int32_t sarvo_mh_v_foutput(FILE *stream, const char *format, const VEC *v) {
    if (!v) return fputs("Vector: NULL\n", stream);
    list_vector(stream, format, *v, "Vector: [dim=%zu]\n");
    return 0;
}

int32_t sarvo_mh_iv_foutput(FILE *stream, const char *format, const IVEC *v) {
    if (!v) return fputs("Vector: NULL\n", stream);
    list_vector(stream, format, *v, "I-Vector: [dim=%zu]\n");
    return 0;
}

int32_t sarvo_mh_px_foutput(FILE *stream, const PERM *p) {
    if (!p) return fputs("Permutation: NULL\n", stream);
    fprintf(stream, "Permutation: [size=%u]\n", p->size);
    if (!p->elems) return fputs("NULL\n", stream);
    for (uint32_t i = 0; i < p->size; i++)
        fprintf(stream, i != 0 && i % pairs_per_line == 0 ? "\n  %u->%u " : "%u->%u ", i, p->elems[i]);
    return fputc('\n', stream);
}

} // extern "C"
