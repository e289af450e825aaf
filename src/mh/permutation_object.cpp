// Storage of permutations: allocation, resizing, the identity, copying.
#include <sarvo/mh/objects.h>

#include <string.h>

#include "dense.h"

using sarvo::fail;
using sarvo::failf;
using sarvo::mh::entries_of;

namespace {

void set_identity(PERM &p, uint32_t from, uint32_t to) {
    for (uint32_t i = from; i < to; i++) p.elems[i] = i;
}

} // namespace

extern "C" {

sarko_error_t sarvo_mh_px_get(int32_t size, PERM **out) {
    if (!out) return fail(SarvoMHNullEC);
    sarvo::Buffer<PERM> record;
    sarvo::Buffer<uint32_t> entries;
    if (sarko_error_t e = record.allocate(1)) return e;
    if (sarko_error_t e = entries.allocate(size > 0 ? static_cast<uint64_t>(size) : 0)) return e;
    record[0].size = record[0].max_size = static_cast<uint32_t>(size);
    record[0].elems = entries.release();
    sarvo_mh_px_ident(record.get());
    *out = record.release();
    return 0;
}

void sarvo_mh_px_free(PERM *p) {
    if (!p || static_cast<int32_t>(p->size) < 0) return;
    sarko_mem_free(p->elems);
    sarko_mem_free(p);
}

sarko_error_t sarvo_mh_px_resize(PERM **out, int32_t size) {
    if (!out) return fail(SarvoMHNullEC);
    if (size < 0) return failf(0, "Incorrect dimension: %d", size);
    if (!*out) return sarvo_mh_px_get(size, out);
    PERM &p = **out;
    const auto entries = static_cast<uint32_t>(size);
    if (p.size == entries) return 0;
    if (!p.elems || p.max_size < entries) {
        void *elements = p.elems;
        if (sarko_error_t e = sarko_mem_realloc(uint64_t{entries} * sizeof *p.elems, &elements)) return e;
        p.elems = static_cast<uint32_t *>(elements);
        p.max_size = entries;
    }
    const uint32_t old = entries_of(p);
    set_identity(p, old > entries ? 0 : old, entries);
    p.size = entries;
    return 0;
}

void sarvo_mh_px_ident(PERM *p) {
    if (p) set_identity(*p, 0, entries_of(*p));
}

sarko_error_t sarvo_mh_px_copy(const PERM *in, PERM **out) {
    if (!in || !out) return sarvo::mh::fail_text(sarvo::mh::null_permutation);
    if (in == *out) return 0;
    if (!*out || (*out)->size != in->size)
        if (sarko_error_t e = sarvo_mh_px_resize(out, static_cast<int32_t>(in->size))) return e;
    const uint32_t entries = entries_of(*in);
    if (entries != 0) memcpy((*out)->elems, in->elems, entries * sizeof *in->elems);
    return 0;
}

} // extern "C"
