// Sort of doubles by their values alone, where the sorted sequence is unique.
#include "sort_values.h"

#include <string.h>

#include <algorithm>

#include "fail.h"

namespace sarvo {
namespace {

// Many values: by the leading bits of keys (radix sort from the least of three digits), then each run of equal leading
// bits by the others.

constexpr uint64_t worth_radix = 4000; // below, comparisons are faster
constexpr uint64_t digit_bits = 11;
constexpr uint64_t digits = 3;
constexpr uint64_t buckets = uint64_t{1} << digit_bits;
constexpr uint64_t leading_shift = 64 - digits * digit_bits; // of the lowest of the leading digits

typedef uint64_t Bits __attribute__((may_alias)); // the doubles themselves hold the keys meanwhile

// Unsigned keys in the order of the doubles, NaNs aside.
uint64_t to_key(uint64_t bits) { return bits ^ (bits >> 63 ? ~uint64_t{0} : uint64_t{1} << 63); }
uint64_t to_bits(uint64_t key) { return key ^ (key >> 63 ? uint64_t{1} << 63 : ~uint64_t{0}); }

uint64_t digit(uint64_t key, uint64_t shift, uint64_t d) { return (key >> (shift + d * digit_bits)) % buckets; }

// Counters of the digits, then where each bucket begins.
struct Buckets {
    uint64_t *count;
    uint64_t shift;

    void clear() const { memset(count, 0, digits * buckets * sizeof *count); }
    void add(uint64_t key) const {
        for (uint64_t d = 0; d < digits; d++) count[d * buckets + digit(key, shift, d)]++;
    }
    // Distributes by digit d, keys keeping their order within a bucket. A single bucket is a copy.
    void distribute(const Bits *from, Bits *to, uint64_t n, uint64_t d) const {
        uint64_t *start = count + d * buckets;
        for (uint64_t b = 0, sum = 0; b < buckets; b++) {
            const uint64_t size = start[b];
            start[b] = sum;
            sum += size;
        }
        for (uint64_t i = 0; i < n; i++) to[start[digit(from[i], shift, d)]++] = from[i];
    }
    // All digits, from `from` to `to`: their number is odd. Both are overwritten.
    void sort(Bits *from, Bits *to, uint64_t n) const {
        distribute(from, to, n, 0);
        distribute(to, from, n, 1);
        distribute(from, to, n, 2);
    }
};
static_assert(digits == 3);

// Copies x as keys and counts their leading digits. False when equal values may differ in bits, or there are NaNs:
// otherwise the sorted sequence is unique.
bool copy_as_keys(const double *x, uint64_t n, uint64_t *keys, const Buckets &leading) {
    bool nan = false, plus_zero = false, minus_zero = false;
    for (uint64_t i = 0; i < n; i++) {
        uint64_t bits;
        memcpy(&bits, x + i, sizeof bits);
        nan |= x[i] != x[i];
        plus_zero |= bits == 0;
        minus_zero |= bits == uint64_t{1} << 63;
        keys[i] = to_key(bits);
        leading.add(keys[i]);
    }
    return !nan && !(plus_zero && minus_zero);
}

// False, and x untouched, when the sorted sequence is not unique. Scratch of n + digits * buckets.
bool radix_sort(double *x, uint64_t n, uint64_t *work) {
    const Buckets leading = {work + n, leading_shift}, trailing = {work + n, 0};
    leading.clear();
    if (!copy_as_keys(x, n, work, leading)) return false;
    Bits *keys = reinterpret_cast<Bits *>(x);
    leading.sort(work, keys, n);
    for (uint64_t first = 0, end; first < n; first = end) {
        end = first + 1;
        while (end < n && keys[end] >> leading_shift == keys[first] >> leading_shift) end++;
        if (end - first >= worth_radix) {
            trailing.clear();
            for (uint64_t i = first; i < end; i++) trailing.add(work[i] = keys[i]);
            trailing.sort(work + first, keys + first, end - first);
        } else if (end - first > 1) std::sort(keys + first, keys + end);
        for (uint64_t i = first; i < end; i++) keys[i] = to_bits(keys[i]);
    }
    return true;
}

bool has_total_order(const double *x, uint64_t n) {
    bool nan = false, zero = false;
    for (uint64_t i = 0; i < n; i++) {
        nan |= x[i] != x[i];
        zero |= x[i] == 0.0;
    }
    return !nan && !zero;
}

} // namespace

bool sort_values(double *x, uint64_t n) {
    if (n < 2) return true;
    if (n >= worth_radix) {
        Buffer<uint64_t> work;
        const sarko_error_t e = work.allocate_unset(n + digits * buckets);
        if (!e) return radix_sort(x, n, work.get());
        sarko_error_clear(e); // sorted in place as few would be
    }
    if (!has_total_order(x, n)) return false;
    std::sort(x, x + n);
    return true;
}

} // namespace sarvo
