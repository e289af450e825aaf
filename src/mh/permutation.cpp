// Permutations: inverse, product, sign, and their application to vectors, rows and columns.
#include <sarvo/mh/permutation.h>

#include <string.h>

#include "dense.h"

using sarvo::fail;
using sarvo::mh::entries_of;
using sarvo::mh::has_size;
using sarvo::mh::size_at_least;
using sarvo::mh::size_exactly;

namespace {

// Inverts by following each cycle from its highest position down. Entries that have been placed are kept as -1 - value
// until their position comes.
bool invert_in_place(uint32_t *entries, uint32_t count) {
    static_assert(sizeof(int32_t) == sizeof *entries);
    auto *px = reinterpret_cast<int32_t *>(entries);
    const auto n = static_cast<int32_t>(count);
    for (int32_t k = n - 1; k >= 0; k--) {
        int32_t i = px[k];
        if (i < 0) {
            px[k] = -1 - i;
            continue;
        }
        if (i == k) continue;
        int32_t trailing = k;
        while (i != k) {
            if (i < 0 || i >= n) return false;
            const int32_t next = px[i];
            px[i] = -1 - trailing;
            trailing = i;
            i = next;
        }
        px[k] = trailing;
    }
    return true;
}

// True when the entries, all below n, are a permutation; *odd is then its parity. Marks visited entries with n.
bool find_parity(uint32_t *px, uint32_t n, bool *odd) {
    *odd = false;
    for (uint32_t i = 0; i < n; i++) {
        if (px[i] == n) continue;
        uint32_t length = 0;
        uint32_t at = i;
        do {
            const uint32_t next = px[at];
            if (next == n) return false;
            px[at] = n;
            at = next;
            length++;
        } while (at != i);
        *odd ^= length % 2 == 0;
    }
    return true;
}

void exchange(uint32_t &x, uint32_t &y) {
    const uint32_t t = x;
    x = y;
    y = t;
}

// Sorts ascending by quicksort on the first element; returns whether the number of exchanges is odd. The order of the
// parts does not matter to it: the shorter recurses.
bool sort_parity(uint32_t *x, uint64_t n) {
    bool odd = false;
    while (n >= 2) {
        const uint32_t pivot = x[0]; // stays there during the scans, and ends that of j
        uint64_t i = 0, j = n;
        for (;;) {
            do i++;
            while (i < n && x[i] < pivot);
            do j--;
            while (x[j] > pivot);
            if (i >= j) break;
            exchange(x[i], x[j]);
            odd = !odd;
        }
        exchange(x[0], x[j]);
        if (j != 0) odd = !odd;
        const uint64_t after = n - j - 1;
        if (j < after) {
            odd ^= sort_parity(x, j);
            x += j + 1;
            n = after;
        } else {
            odd ^= sort_parity(x + j + 1, after);
            n = j;
        }
    }
    return odd;
}

// x(i) = x(px(i)) along the cycles, for entries all below n; visited ones get n added. Where an entry is met twice the
// cycle ends.
void apply_in_place(uint32_t *px, uint32_t n, double *x) {
    for (uint32_t i = 0; i < n; i++) {
        if (px[i] >= n) continue;
        const double start = x[i];
        uint32_t at = i, next = px[i];
        for (;;) {
            x[at] = x[next];
            px[at] += n;
            if (px[next] >= n) break;
            if (px[next] == i) {
                x[next] = start;
                px[next] += n;
                break;
            }
            at = next;
            next = px[next];
        }
    }
}

bool all_in_range(const PERM &px) {
    for (uint32_t i = 0; i < entries_of(px); i++)
        if (px.elems[i] >= px.size) return false;
    return true;
}

// A copy of the entries to mark or invert: the permutation itself belongs to the caller, who may share it.
using Copy = sarvo::mh::Scratch<uint32_t, 256>;

sarko_error_t copy_entries(const PERM &px, Copy &copy) {
    const uint32_t n = entries_of(px);
    if (sarko_error_t e = copy.allocate(n)) return e;
    if (n != 0) memcpy(copy.get(), px.elems, n * sizeof *px.elems);
    return 0;
}

// The checks and the sizing of the two applications to a vector; *done when there is nothing to permute.
sarko_error_t prepare(const PERM *px, const VEC *x, VEC **out, bool *done) {
    if (!px || !x || !out) return fail(SarvoMHNullEC);
    if (x->dim < entries_of(*px)) return fail(SarvoMHSizesEC);
    *done = entries_of(*px) == 0;
    if (*done) return sarvo_mh_v_copy_(x, out, 0);
    return size_at_least(out, x->dim);
}

sarko_error_t check_application(const PERM *px, const MAT *A, MAT *const *out, bool rows) {
    if (!px || !A || !out) return fail(SarvoMHNullEC);
    if (!has_size(*px, rows ? A->rows : A->cols)) return fail(SarvoMHSizesEC);
    if (*out == A) return fail(SarvoMHInsituEC);
    return 0;
}

} // namespace

extern "C" {

sarko_error_t sarvo_mh_px_inv(const PERM *px, PERM **out) {
    if (!px || !out) return sarvo::mh::fail_text(sarvo::mh::null_permutation);
    if (sarko_error_t e = sarvo_mh_px_copy(px, out)) return e;
    return invert_in_place((*out)->elems, entries_of(**out)) ? 0 : fail(SarvoMHBoundsEC);
}

sarko_error_t sarvo_mh_px_mlt(const PERM *px1, const PERM *px2, PERM **out) {
    if (!px1 || !px2 || !out) return fail(SarvoMHNullEC);
    if (px1->size != px2->size) return fail(SarvoMHSizesEC);
    if (*out == px1 || *out == px2) return fail(SarvoMHInsituEC);
    const auto size = static_cast<int32_t>(px1->size);
    if (!*out || static_cast<int32_t>((*out)->size) < size)
        if (sarko_error_t e = sarvo_mh_px_resize(out, size)) return e;
    for (uint32_t i = 0; i < entries_of(*px1); i++) {
        const uint32_t image = px2->elems[i];
        if (image >= px1->size) return fail(SarvoMHBoundsEC);
        (*out)->elems[i] = px1->elems[image];
    }
    return 0;
}

sarko_error_t sarvo_mh_px_sign(const PERM *px, int32_t *sign) {
    if (!px || !sign) return fail(SarvoMHNullEC);
    Copy copy;
    if (sarko_error_t e = copy_entries(*px, copy)) return e;
    const uint32_t n = entries_of(*px);
    bool odd = false;
    if (!all_in_range(*px) || !find_parity(copy.get(), n, &odd)) {
        if (n != 0) memcpy(copy.get(), px->elems, n * sizeof *px->elems);
        odd = sort_parity(copy.get(), n);
    }
    *sign = odd ? -1 : 1;
    return 0;
}

sarko_error_t sarvo_mh_px_transp(PERM *px, uint32_t i, uint32_t j) {
    if (!px) return fail(SarvoMHNullEC);
    if (i < entries_of(*px) && j < entries_of(*px)) exchange(px->elems[i], px->elems[j]);
    return 0;
}

sarko_error_t sarvo_mh_px_vec(const PERM *px, const VEC *x, VEC **out) {
    bool done;
    if (sarko_error_t e = prepare(px, x, out, &done)) return e;
    if (done) return 0;
    if (*out == x) {
        if (!all_in_range(*px)) return fail(SarvoMHBoundsEC);
        Copy marked;
        if (sarko_error_t e = copy_entries(*px, marked)) return e;
        apply_in_place(marked.get(), px->size, (*out)->elems);
        return 0;
    }
    for (uint32_t i = 0; i < px->size; i++) {
        if (px->elems[i] >= px->size) return fail(SarvoMHBoundsEC);
        (*out)->elems[i] = x->elems[px->elems[i]];
    }
    return 0;
}

sarko_error_t sarvo_mh_pxinv_vec(const PERM *px, const VEC *x, VEC **out) {
    bool done;
    if (sarko_error_t e = prepare(px, x, out, &done)) return e;
    if (done) return 0;
    if (*out == x) {
        Copy inverse;
        if (!all_in_range(*px)) return fail(SarvoMHBoundsEC);
        if (sarko_error_t e = copy_entries(*px, inverse)) return e;
        if (!invert_in_place(inverse.get(), px->size)) return fail(SarvoMHBoundsEC);
        apply_in_place(inverse.get(), px->size, (*out)->elems);
        return 0;
    }
    for (uint32_t i = 0; i < px->size; i++) {
        if (px->elems[i] >= px->size) return fail(SarvoMHBoundsEC);
        (*out)->elems[px->elems[i]] = x->elems[i];
    }
    return 0;
}

sarko_error_t sarvo_mh_px_rows(const PERM *px, const MAT *A, MAT **out) {
    if (sarko_error_t e = check_application(px, A, out, true)) return e;
    if (sarko_error_t e = size_exactly(out, A->rows, A->cols)) return e;
    if (A->cols == 0) return all_in_range(*px) ? 0 : fail(SarvoMHBoundsEC);
    for (uint32_t i = 0; i < px->size; i++) {
        if (px->elems[i] >= px->size) return fail(SarvoMHBoundsEC);
        memcpy((*out)->row_ptrs[i], A->row_ptrs[px->elems[i]], A->cols * sizeof(double));
    }
    return 0;
}

sarko_error_t sarvo_mh_px_cols(const PERM *px, const MAT *A, MAT **out) {
    if (sarko_error_t e = check_application(px, A, out, false)) return e;
    if (sarko_error_t e = size_exactly(out, A->rows, A->cols)) return e;
    if (A->rows == 0) return all_in_range(*px) ? 0 : fail(SarvoMHBoundsEC);
    for (uint64_t r = 0; r < A->rows; r++)
        for (uint32_t j = 0; j < px->size; j++) {
            if (px->elems[j] >= px->size) return fail(SarvoMHBoundsEC);
            (*out)->row_ptrs[r][px->elems[j]] = A->row_ptrs[r][j];
        }
    return 0;
}

} // extern "C"
