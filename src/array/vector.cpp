// Storage of typed vectors: allocation, resizing, copying, zeroing.
#include <sarvo/array.h>

#include <string.h>

#include "dtype.h"

using sarvo::fail;
using sarvo::failf;

namespace {

char *element(const sarvo_vector &v, uint64_t i) { return static_cast<char *>(v.data) + i * SarvoDtype[v.dtype]; }

// Makes *destination hold `needed` elements of the source's dtype; one that is long enough and of that dtype is kept.
sarko_error_t prepare_destination(const sarvo_vector &source, uint64_t needed, sarvo_vector **destination) {
    const sarvo_vector *present = *destination;
    if (present && present->dtype == source.dtype && present->length >= needed) return 0;
    return sarvo_vector_realloc(destination, source.dtype, SARVO_REALLOC_DTYPE, needed);
}

} // namespace

extern "C" {

sarko_error_t sarvo_vector_alloc(sarvo_vector **v, uint32_t dtype, uint64_t, uint64_t length) {
    if (!v) return fail(SarvoNullEC);
    if (!sarvo::is_valid_dtype(dtype)) return sarvo::fail_invalid_dtype(dtype);
    sarvo::Buffer<sarvo_vector> record;
    if (sarko_error_t e = record.allocate(1)) return e;
    if (sarko_error_t e = sarko_mem_calloc(length, SarvoDtype[dtype], &record[0].data)) return e;
    record[0].dtype = dtype;
    record[0].length = length;
    record[0].capacity = length;
    *v = record.release();
    return 0;
}

sarko_error_t sarvo_vector_realloc(sarvo_vector **v, uint32_t dtype, uint32_t flags, uint64_t length) {
    if (!v) return fail(SarvoNullEC);
    sarvo_vector *present = *v;
    if (!present) return sarvo_vector_alloc(v, dtype, 0, length);
    if (!sarvo::is_valid_dtype(present->dtype) || ((flags & SARVO_REALLOC_DTYPE) && present->dtype != dtype)) {
        sarvo_vector_free(present);
        *v = nullptr;
        return sarvo_vector_alloc(v, dtype, 0, length);
    }
    if (present->length == length) return 0;
    const uint64_t size = SarvoDtype[present->dtype];
    if (present->capacity < length) {
        uint64_t bytes;
        if (__builtin_mul_overflow(length, size, &bytes))
            return failf(SarvoOverflowEC, "Too large size %zu", static_cast<size_t>(length));
        if (sarko_error_t e = sarko_mem_realloc(bytes, &present->data)) return e;
        present->capacity = length;
    }
    if (present->length < length) memset(element(*present, present->length), 0, (length - present->length) * size);
    present->length = length;
    return 0;
}

void sarvo_vector_free(sarvo_vector *v) {
    if (!v) return;
    sarko_mem_free(v->data);
    sarko_mem_free(v);
}

sarko_error_t sarvo_vector_copy(const sarvo_vector *source, uint64_t source_offset, uint64_t count,
                                sarvo_vector **destination, uint64_t destination_offset) {
    if (!source || !destination) return fail(SarvoNullEC);
    if (!sarvo::is_valid_dtype(source->dtype)) return sarvo::fail_invalid_dtype(source->dtype);
    if (source_offset > source->length) return fail(SarvoSizeEC);
    if (count == 0) count = source->length - source_offset;
    if (count > source->length - source_offset) return fail(SarvoSizeEC);
    uint64_t needed;
    if (__builtin_add_overflow(count, destination_offset, &needed)) return fail(SarvoOverflowEC);

    if (sarko_error_t e = prepare_destination(*source, needed, destination)) return e;
    if (!sarvo::is_implemented_dtype(source->dtype)) return sarvo::fail_unimplemented_dtype(source->dtype);
    if (count == 0) return 0; // there may be no block
    return sarko_mem_move(element(**destination, destination_offset), element(*source, source_offset),
                          count * SarvoDtype[source->dtype]);
}

sarko_error_t sarvo_vector_zero(sarvo_vector *v) {
    if (!v) return fail(SarvoNullEC);
    if (!sarvo::is_valid_dtype(v->dtype)) return sarvo::fail_invalid_dtype(v->dtype);
    if (v->data) memset(v->data, 0, v->length * SarvoDtype[v->dtype]);
    return 0;
}

} // extern "C"
