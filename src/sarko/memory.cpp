// Memory: hooks over the system allocator, overflow-checked allocation, offset vectors and matrices.
#include <sarko/sarko.h>

#include <stdlib.h>
#include <string.h>

#include "internal.h"

namespace {

// Blocks that hold more than a few vectors of doubles begin on a cache line, where 512-bit accesses meet one line, not
// two. Not zeroed ones that the system hands out as untouched pages: clearing these would touch them all.
constexpr uint64_t cache_line = 64, smallest_aligned = 1024, largest_cleared = uint64_t{4} << 20;

void *system_alloc(uint64_t bytes, int32_t zeroed, void *) {
    if (bytes < smallest_aligned || (zeroed && bytes > largest_cleared))
        return zeroed ? calloc(1, bytes) : malloc(bytes);
    void *p;
    if (posix_memalign(&p, cache_line, bytes) != 0) return nullptr;
    return zeroed ? memset(p, 0, bytes) : p;
}
void *system_resize(void *p, uint64_t bytes, void *) { return realloc(p, bytes); }
void system_release(void *p, void *) { free(p); }

constexpr sarko_mem_hooks system_hooks = {system_alloc, system_resize, system_release, nullptr};
sarko_mem_hooks hooks = system_hooks;

constexpr uint64_t largest_block = INT64_MAX; // no allocator can serve more; some abort when asked
constexpr uint64_t block_alignment = 16;      // what malloc promises on every supported platform

sarko_error_t out_of_memory(uint64_t bytes) {
    return sarko_error_createf_i(SARKO_KIND_MEMORY, 0, 0, 0, 0, 0, "Cannot allocate %zu bytes.",
                                 static_cast<size_t>(bytes));
}

sarko_error_t overflow() {
    return sarko_error_create_i(SARKO_KIND_MEMORY, 0, 0, 0, 0, 0, "Size of allocation overflows.");
}

sarko_error_t null_pointer() { return sarko_error_create_i(SARKO_KIND_ERROR, 0, 0, 0, 0, 0, "Null pointer."); }

sarko_error_t empty_range() { return sarko_error_create_i(SARKO_KIND_ERROR, 0, 0, 0, 0, 0, "Index range is empty."); }

sarko_error_t allocate(uint64_t bytes, bool zeroed, void **p) {
    *p = nullptr;
    if (bytes == 0) return 0;
    *p = sarko::allocate(bytes, zeroed);
    return *p ? 0 : out_of_memory(bytes);
}

// Number of indices lowest..highest modulo 2^64; false when the range runs backwards.
bool range_length(uint64_t lowest, uint64_t highest, uint64_t *length) {
    *length = highest - lowest + 1;
    return *length <= largest_block;
}

// Addresses below the block are formed as integers: they are never dereferenced.
void *shift_down(void *block, uint64_t elements, uint64_t size) {
    return reinterpret_cast<void *>(reinterpret_cast<uintptr_t>(block) - static_cast<uintptr_t>(elements * size));
}

void *shift_up(void *p, uint64_t elements, uint64_t size) {
    return reinterpret_cast<void *>(reinterpret_cast<uintptr_t>(p) + static_cast<uintptr_t>(elements * size));
}

} // namespace

namespace sarko {

void *allocate(uint64_t bytes, bool zeroed) {
    return bytes > largest_block ? nullptr : hooks.alloc(bytes, zeroed ? 1 : 0, hooks.ctx);
}

void release(void *p) {
    if (p) hooks.release(p, hooks.ctx);
}

} // namespace sarko

extern "C" {

void sarko_mem_set_hooks(const sarko_mem_hooks *new_hooks) { hooks = new_hooks ? *new_hooks : system_hooks; }

sarko_error_t sarko_mem_malloc(uint64_t bytes, void **p) {
    if (!p) return null_pointer();
    return allocate(bytes, false, p);
}

sarko_error_t sarko_mem_calloc(uint64_t count, uint64_t size, void **p) {
    if (!p) return null_pointer();
    *p = nullptr;
    uint64_t bytes;
    if (__builtin_mul_overflow(count, size, &bytes)) return overflow();
    return allocate(bytes, true, p);
}

sarko_error_t sarko_mem_realloc(uint64_t bytes, void **p) {
    if (!p) return null_pointer();
    if (!*p) return allocate(bytes, false, p);
    if (bytes == 0) {
        sarko::release(*p);
        *p = nullptr;
        return 0;
    }
    void *resized = bytes > largest_block ? nullptr : hooks.resize(*p, bytes, hooks.ctx);
    if (!resized) return out_of_memory(bytes);
    *p = resized;
    return 0;
}

void sarko_mem_free(void *p) { sarko::release(p); }

sarko_error_t sarko_mem_move(void *destination, const void *source, uint64_t bytes) {
    if (bytes == 0) return 0;
    if (!destination || !source) return null_pointer();
    memmove(destination, source, bytes);
    return 0;
}

sarko_error_t sarko_mem_vector_alloc(void **p, uint64_t size, uint64_t lowest, uint64_t highest) {
    if (!p) return null_pointer();
    *p = nullptr;
    uint64_t length, bytes;
    if (!range_length(lowest, highest, &length)) return empty_range();
    if (__builtin_mul_overflow(length, size, &bytes)) return overflow();
    void *block = nullptr;
    if (sarko_error_t e = allocate(bytes ? bytes : 1, true, &block)) return e;
    *p = shift_down(block, lowest, size);
    return 0;
}

sarko_error_t sarko_mem_vector_free(void *p, uint64_t size, uint64_t lowest, uint64_t) {
    if (p) sarko::release(shift_up(p, lowest, size));
    return 0;
}

sarko_error_t sarko_mem_matrix_alloc(void **p, uint64_t size, uint64_t lowest_row, uint64_t highest_row,
                                     uint64_t lowest_col, uint64_t highest_col) {
    if (!p) return null_pointer();
    *p = nullptr;
    uint64_t rows, cols;
    if (!range_length(lowest_row, highest_row, &rows) || !range_length(lowest_col, highest_col, &cols))
        return empty_range();
    // One block: the row pointers, then the elements at the next aligned place.
    uint64_t pointer_bytes, row_bytes, element_bytes, bytes;
    if (__builtin_mul_overflow(rows, sizeof(void *), &pointer_bytes) ||
        __builtin_add_overflow(pointer_bytes, block_alignment - 1, &pointer_bytes) ||
        __builtin_mul_overflow(cols, size, &row_bytes) || __builtin_mul_overflow(rows, row_bytes, &element_bytes))
        return overflow();
    pointer_bytes -= pointer_bytes % block_alignment;
    if (__builtin_add_overflow(pointer_bytes, element_bytes, &bytes)) return overflow();
    void *block = nullptr;
    if (sarko_error_t e = allocate(bytes ? bytes : 1, true, &block)) return e;
    void **row_pointers = static_cast<void **>(block);
    char *elements = static_cast<char *>(block) + pointer_bytes;
    for (uint64_t i = 0; i < rows; i++) row_pointers[i] = shift_down(elements + i * row_bytes, lowest_col, size);
    *p = shift_down(row_pointers, lowest_row, sizeof(void *));
    return 0;
}

sarko_error_t sarko_mem_matrix_free(void *p, uint64_t, uint64_t lowest_row, uint64_t, uint64_t, uint64_t) {
    if (p) sarko::release(shift_up(p, lowest_row, sizeof(void *)));
    return 0;
}

} // extern "C"
