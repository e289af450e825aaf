// The copies and fills that the bandwidth tests time.
#include <sarvo/membench.h>

#include <string.h>

namespace {

// Volatile: the accesses are the stated ones, of the stated size and in the stated order, whatever the compiler thinks
// of vectors or of memcpy. Callers' buffers have any type and alignment.
typedef volatile uint64_t __attribute__((may_alias, aligned(1))) Word;

constexpr int32_t group_bytes = 64, group_words = 8;

// A permutation of the words of a group.
struct Order {
    uint32_t at[group_words];
};

constexpr Order upwards = {{0, 1, 2, 3, 4, 5, 6, 7}}, downwards = {{7, 6, 5, 4, 3, 2, 1, 0}},
                halves_downwards = {{4, 5, 6, 7, 0, 1, 2, 3}}, within16 = {{0, 1, 3, 2, 5, 4, 6, 7}},
                within32 = {{3, 0, 2, 1, 6, 5, 7, 4}}, within64 = {{5, 0, 2, 7, 1, 6, 3, 4}};

// Eight statements: no compiler may leave a loop here.
template <Order order> inline void copy_group(Word *to, const Word *from) {
    to[order.at[0]] = from[order.at[0]];
    to[order.at[1]] = from[order.at[1]];
    to[order.at[2]] = from[order.at[2]];
    to[order.at[3]] = from[order.at[3]];
    to[order.at[4]] = from[order.at[4]];
    to[order.at[5]] = from[order.at[5]];
    to[order.at[6]] = from[order.at[6]];
    to[order.at[7]] = from[order.at[7]];
}

template <Order order> inline void fill_group(Word *to, uint64_t value) {
    to[order.at[0]] = value;
    to[order.at[1]] = value;
    to[order.at[2]] = value;
    to[order.at[3]] = value;
    to[order.at[4]] = value;
    to[order.at[5]] = value;
    to[order.at[6]] = value;
    to[order.at[7]] = value;
}

inline void no_prefetch(const Word *) {}

inline void prefetch(const Word *p) { __builtin_prefetch(const_cast<const uint64_t *>(p), 0, 0); }
inline void prefetch_group(const Word *from) { prefetch(from + 32); }
inline void prefetch_halves(const Word *from) {
    prefetch(from + 32);
    prefetch(from + 36);
}

template <Order order, void (*ahead)(const Word *) = no_prefetch>
inline void copy_up(void *destination, const void *source, int32_t size) {
    Word *to = static_cast<Word *>(destination);
    const Word *from = static_cast<const Word *>(source);
    for (int32_t left = size; left >= group_bytes; left -= group_bytes) {
        ahead(from);
        copy_group<order>(to, from);
        to += group_words;
        from += group_words;
    }
}

template <Order order> inline void copy_down(void *destination, const void *source, int32_t size) {
    if (size < group_bytes) return;
    const int32_t words = size / group_bytes * group_words;
    Word *to = static_cast<Word *>(destination) + words;
    const Word *from = static_cast<const Word *>(source) + words;
    for (int32_t left = size; left >= group_bytes; left -= group_bytes) {
        to -= group_words;
        from -= group_words;
        copy_group<order>(to, from);
    }
}

template <Order order> inline void fill(void *destination, const void *source, int32_t size) {
    if (size < group_bytes) return;
    const uint64_t value = *static_cast<const Word *>(source);
    Word *to = static_cast<Word *>(destination);
    for (int32_t left = size; left >= group_bytes; left -= group_bytes) {
        fill_group<order>(to, value);
        to += group_words;
    }
}

} // namespace

extern "C" {

void aligned_block_copy(void *destination, const void *source, int32_t size) {
    copy_up<upwards>(destination, source, size);
}

void aligned_block_copy_backwards(void *destination, const void *source, int32_t size) {
    copy_down<downwards>(destination, source, size);
}

void aligned_block_copy_backwards_bs32(void *destination, const void *source, int32_t size) {
    copy_down<halves_downwards>(destination, source, size);
}

void aligned_block_copy_backwards_bs64(void *destination, const void *source, int32_t size) {
    copy_down<upwards>(destination, source, size);
}

void aligned_block_copy_pf32(void *destination, const void *source, int32_t size) {
    copy_up<upwards, prefetch_halves>(destination, source, size);
}

void aligned_block_copy_pf64(void *destination, const void *source, int32_t size) {
    copy_up<upwards, prefetch_group>(destination, source, size);
}

void aligned_block_fill(void *destination, const void *source, int32_t size) {
    fill<upwards>(destination, source, size);
}

void aligned_block_fill_shuffle16(void *destination, const void *source, int32_t size) {
    fill<within16>(destination, source, size);
}

void aligned_block_fill_shuffle32(void *destination, const void *source, int32_t size) {
    fill<within32>(destination, source, size);
}

void aligned_block_fill_shuffle64(void *destination, const void *source, int32_t size) {
    fill<within64>(destination, source, size);
}

void memcpy_wrapper(void *destination, const void *source, int32_t size) {
    if (size > 0) memcpy(destination, source, static_cast<size_t>(size));
}

void memset_wrapper(void *destination, const void *source, int32_t size) {
    if (size <= 0) return;
    uint32_t word;
    memcpy(&word, source, sizeof word);
    memset(destination, static_cast<int>(word & 0xFF), static_cast<size_t>(size));
}

} // extern "C"
