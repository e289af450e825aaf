// Sorting of a dense vector: the stated quicksort, and a sort by bits where the result must be the same.
#include <sarvo/mh/arithmetic.h>

#include <string.h>

#include <algorithm>

#include "dense.h"

using sarvo::fail;

namespace {

// ---- The stated quicksort ----

// The elements with the permutation that mirrors their exchanges, if any.
template <bool ordered> struct Sequence {
    double *x;
    uint32_t *order;

    void exchange(uint64_t i, uint64_t j) const {
        const double t = x[i];
        x[i] = x[j];
        x[j] = t;
        if (ordered) {
            const uint32_t k = order[i];
            order[i] = order[j];
            order[j] = k;
        }
    }
};

constexpr uint64_t block = 64; // elements whose places are collected at once: offsets fit in a byte

// Where both scans stand.
struct Scans {
    uint64_t i, j; // all before i and all from j on are done
};

// Makes the exchanges of both scans while 2 blocks lie between them, without a branch per element: the places where the
// left scan would stop and those where the right one would are collected a block at a time and exchanged in pairs, which
// are the pairs of the plain scans as long as they have not met.
template <bool ordered> Scans exchange_blocks(const Sequence<ordered> &s, Scans at, double pivot) {
    uint8_t left[block], right[block];
    uint64_t left_count = 0, right_count = 0, left_done = 0, right_done = 0;
    uint64_t left_base = at.i, right_base = at.j; // of the blocks collected
    while (at.j - at.i >= 2 * block) {
        if (left_done == left_count) {
            left_base = at.i;
            left_count = left_done = 0;
            for (uint64_t k = 0; k < block; k++) {
                left[left_count] = static_cast<uint8_t>(k);
                left_count += !(s.x[left_base + k] < pivot);
            }
            at.i += block;
        }
        if (right_done == right_count) {
            right_base = at.j;
            right_count = right_done = 0;
            for (uint64_t k = 0; k < block; k++) {
                right[right_count] = static_cast<uint8_t>(k);
                right_count += !(s.x[right_base - 1 - k] > pivot);
            }
            at.j -= block;
        }
        while (left_done < left_count && right_done < right_count)
            s.exchange(left_base + left[left_done++], right_base - 1 - right[right_done++]);
    }
    // The plain scans go on before the first place that has found no partner.
    if (left_done < left_count) at.i = left_base + left[left_done];
    if (right_done < right_count) at.j = right_base - right[right_done];
    return at;
}

// Partitions l .. r around x(r); returns where the pivot ends. The indices of the plain scans before their next steps
// are i - 1 and j.
template <bool ordered> uint64_t partition(const Sequence<ordered> &s, uint64_t l, uint64_t r) {
    const double pivot = s.x[r];
    Scans at = exchange_blocks(s, {l, r}, pivot);
    for (;;) {
        while (s.x[at.i] < pivot) at.i++;
        do at.j--;
        while (s.x[at.j] > pivot && at.j != 0);
        if (at.i >= at.j) break;
        s.exchange(at.i, at.j);
        at.i++;
    }
    s.exchange(at.i, r);
    return at.i;
}

template <bool ordered> void quicksort(const Sequence<ordered> &s, uint64_t n) {
    struct Range {
        uint64_t l, r; // inclusive
    } stack[64];       // the larger part is pushed: at most log2(n) wait
    uint64_t depth = 0, l = 0, r = n - 1;
    for (;;) {
        while (l < r) {
            const uint64_t i = partition(s, l, r);
            if (i - l > r - i) {
                if (i > l + 1) stack[depth++] = {l, i - 1};
                l = i + 1;
            } else {
                if (r > i + 1) stack[depth++] = {i + 1, r};
                if (i == l) break;
                r = i - 1;
            }
        }
        if (depth == 0) return;
        l = stack[--depth].l;
        r = stack[depth].r;
    }
}

// ---- Any sort of values in total order has the same result. Of many: by the leading bits of keys (radix sort from the
// least of three digits), then each run of equal leading bits by the others ----

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

// *sorted is false, and x untouched, when only the stated quicksort gives its result.
sarko_error_t radix_sort(double *x, uint64_t n, bool *sorted) {
    sarvo::Buffer<uint64_t> work;
    if (sarko_error_t e = work.allocate_unset(n + digits * buckets)) return e;
    const Buckets leading = {work.get() + n, leading_shift}, trailing = {work.get() + n, 0};
    leading.clear();
    *sorted = copy_as_keys(x, n, work.get(), leading);
    if (!*sorted) return 0;
    Bits *keys = reinterpret_cast<Bits *>(x);
    leading.sort(work.get(), keys, n);
    for (uint64_t first = 0, end; first < n; first = end) {
        end = first + 1;
        while (end < n && keys[end] >> leading_shift == keys[first] >> leading_shift) end++;
        if (end - first >= worth_radix) {
            trailing.clear();
            for (uint64_t i = first; i < end; i++) trailing.add(work[i] = keys[i]);
            trailing.sort(work.get() + first, keys + first, end - first);
        } else if (end - first > 1) std::sort(keys + first, keys + end);
        for (uint64_t i = first; i < end; i++) keys[i] = to_bits(keys[i]);
    }
    return 0;
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

extern "C" {

sarko_error_t sarvo_mh_v_sort(VEC *x, PERM **order) {
    if (!x) return fail(SarvoMHNullEC);
    if (order) {
        if (x->dim > INT32_MAX) return fail(SarvoMHSizesEC);
        const auto size = static_cast<int32_t>(x->dim);
        if (sarko_error_t e = sarvo_mh_px_resize(order, size)) return e;
        sarvo_mh_px_ident(*order);
        if (x->dim >= 2) quicksort(Sequence<true>{x->elems, (*order)->elems}, x->dim);
        return 0;
    }
    if (x->dim < 2) return 0;
    bool sorted = false;
    if (x->dim >= worth_radix) {
        if (sarko_error_t e = radix_sort(x->elems, x->dim, &sorted)) return e;
    } else if (has_total_order(x->elems, x->dim)) {
        std::sort(x->elems, x->elems + x->dim);
        sorted = true;
    }
    if (!sorted) quicksort(Sequence<false>{x->elems, nullptr}, x->dim);
    return 0;
}

} // extern "C"
