// Storage of the three kinds of dense vectors: allocation, resizing, filling.
#include <sarvo/mh/objects.h>

#include <string.h>

#include <type_traits>

#include "dense.h"

using sarvo::fail;

namespace {

template <class V> using Element = std::remove_pointer_t<decltype(V::elems)>;

template <class V> sarko_error_t get(uint64_t dim, V **out) {
    if (!out) return fail(SarvoMHNullEC);
    sarvo::Buffer<V> record;
    sarvo::Buffer<Element<V>> elements;
    if (sarko_error_t e = record.allocate(1)) return e;
    if (sarko_error_t e = elements.allocate(dim)) return e;
    record[0].dim = record[0].max_dim = dim;
    record[0].elems = elements.release();
    *out = record.release();
    return 0;
}

template <class V> void release(V *v) {
    if (!v) return;
    sarko_mem_free(v->elems);
    sarko_mem_free(v);
}

template <class V> sarko_error_t resize(V **v, uint64_t dim) {
    if (!v) return fail(SarvoMHNullEC);
    if (!*v) return get(dim, v);
    V &x = **v;
    if (x.dim == dim) return 0;
    if (x.max_dim < dim) {
        void *elements = x.elems;
        if (sarko_error_t e = sarko_mem_realloc(sarvo::mh::product_of_counts(dim, sizeof *x.elems), &elements))
            return e;
        x.elems = static_cast<Element<V> *>(elements);
        x.max_dim = dim;
    }
    if (dim > x.dim) memset(x.elems + x.dim, 0, (dim - x.dim) * sizeof *x.elems);
    x.dim = dim;
    return 0;
}

template <class V> void zero(V *v) {
    if (v && v->dim != 0) memset(v->elems, 0, v->dim * sizeof *v->elems);
}

template <class V> void ones(V *v) {
    for (uint64_t i = 0; v && i < v->dim; i++) v->elems[i] = 1;
}

} // namespace

extern "C" {

sarko_error_t sarvo_mh_v_get(uint64_t dim, VEC **out) { return get(dim, out); }
sarko_error_t sarvo_mh_iv_get(uint64_t dim, IVEC **out) { return get(dim, out); }
sarko_error_t sarvo_mh_i64v_get(uint64_t dim, I64VEC **out) { return get(dim, out); }

void sarvo_mh_v_free(VEC *v) { release(v); }
void sarvo_mh_iv_free(IVEC *v) { release(v); }
void sarvo_mh_i64v_free(I64VEC *v) { release(v); }

sarko_error_t sarvo_mh_v_resize(VEC **v, uint64_t dim) { return resize(v, dim); }
sarko_error_t sarvo_mh_iv_resize(IVEC **v, uint64_t dim) { return resize(v, dim); }
sarko_error_t sarvo_mh_i64v_resize(I64VEC **v, uint64_t dim) { return resize(v, dim); }

void sarvo_mh_v_zero(VEC *v) { zero(v); }
void sarvo_mh_iv_zero(IVEC *v) { zero(v); }
void sarvo_mh_i64v_zero(I64VEC *v) { zero(v); }

void sarvo_mh_v_ones(VEC *v) { ones(v); }
void sarvo_mh_iv_ones(IVEC *v) { ones(v); }
void sarvo_mh_i64v_ones(I64VEC *v) { ones(v); }

void sarvo_mh_v_count(VEC *v) {
    for (uint64_t i = 0; v && i < v->dim; i++) v->elems[i] = static_cast<double>(i);
}

} // extern "C"
