// Sorting of a dense vector: the stated quicksort, and a faster sort where the result must be the same.
#include <sarvo/mh/arithmetic.h>

#include "core/sort_values.h"
#include "dense.h"

using sarvo::fail;

namespace {

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
    if (!sarvo::sort_values(x->elems, x->dim)) quicksort(Sequence<false>{x->elems, nullptr}, x->dim);
    return 0;
}

} // extern "C"
