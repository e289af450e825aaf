// Solving with the factors of sparse matrices.
#include <sarvo/mh/sparse_factor.h>

#include "compact.h"

using sarvo::Buffer;
using sarvo::mh::fail_in;

namespace {

uint64_t at(int64_t i) { return static_cast<uint64_t>(i); }

// Right-hand side and diagonal positions of a square factor.
struct System {
    const SPMAT *F;
    Buffer<double> x;
    Buffer<int32_t> diagonal;

    const row_elt *begin(int32_t i) const { return F->row[i].elt; }
    const row_elt *pivot(int32_t i) const { return begin(i) + diagonal[at(i)]; }
    const row_elt *end(int32_t i) const { return begin(i) + F->row[i].len; }

    // SarvoMHSingEC when a diagonal entry is absent or 0.
    sarko_error_t prepare(const char *name) {
        if (sarko_error_t e = x.allocate_unset(at(F->n))) return e;
        if (sarko_error_t e = diagonal.allocate_unset(at(F->n))) return e;
        for (int32_t i = 0; i < F->n; i++) {
            const int32_t k = sarvo_mh_sprow_idx(&F->row[i], i); // a flag may be out of date
            if (k < 0 || F->row[i].elt[k].val == 0.0) return fail_in(SarvoMHSingEC, name);
            diagonal[at(i)] = k;
        }
        return 0;
    }
    // x(i) - sum of F(i,j) x(j) over entries, j ascending, one running difference.
    double subtract(int32_t i, const row_elt *entry, const row_elt *last) const {
        double difference = x[at(i)];
        for (; entry != last; entry++) difference -= entry->val * x[at(entry->col)];
        return difference;
    }
    // x(j) -= F(i,j) x(i) over entries of row i.
    void spread(int32_t i, const row_elt *entry, const row_elt *last) const {
        const double xi = x[at(i)];
        for (; entry != last; entry++) x[at(entry->col)] -= entry->val * xi;
    }
    sarko_error_t deliver(VEC **out) {
        if (sarko_error_t e = sarvo::mh::size_exactly(out, at(F->n))) return e;
        if (F->n != 0) memcpy((*out)->elems, x.get(), at(F->n) * sizeof(double));
        return 0;
    }
};

// L U x = P b; without exchanges where px is null.
sarko_error_t solve_lu(const SPMAT &LU, const uint32_t *px, const VEC &b, VEC **x) {
    System s{&LU, {}, {}};
    if (sarko_error_t e = s.prepare("spLUsolve")) return e;
    for (int32_t i = 0; i < LU.n; i++) s.x[at(i)] = b.elems[px ? px[at(i)] : at(i)];
    for (int32_t i = 0; i < LU.n; i++) s.x[at(i)] = s.subtract(i, s.begin(i), s.pivot(i)); // L y = P b
    for (int32_t i = LU.n - 1; i >= 0; i--)                                                // U x = y
        s.x[at(i)] = s.subtract(i, s.pivot(i) + 1, s.end(i)) / s.pivot(i)->val;
    return s.deliver(x);
}

sarko_error_t check(const SPMAT *F, const PERM *px, const VEC *b, VEC *const *x, const char *name) {
    if (!F || !px || !b || !x) return fail_in(SarvoMHNullEC, name);
    if (F->m != F->n || b->dim != at(F->n) || !sarvo::mh::has_size(*px, b->dim)) return fail_in(SarvoMHSizesEC, name);
    for (uint64_t i = 0; i < b->dim; i++)
        if (px->elems[i] >= b->dim) return fail_in(SarvoMHBoundsEC, name);
    return 0;
}

} // namespace

sarko_error_t sarvo::mh::solve_without_exchanges(const SPMAT &LU, const VEC &b, VEC **x) {
    if (LU.m != LU.n || b.dim != at(LU.n)) return fail_in(SarvoMHSizesEC, "spLUsolve");
    return solve_lu(LU, nullptr, b, x);
}

extern "C" {

sarko_error_t sarvo_mh_spCHsolve(const SPMAT *L, const VEC *b, VEC **x) {
    if (!L || !b || !x) return fail_in(SarvoMHNullEC, "spCHsolve");
    if (L->m != L->n || b->dim != at(L->n)) return fail_in(SarvoMHSizesEC, "spCHsolve");
    System s{L, {}, {}};
    if (sarko_error_t e = s.prepare("spCHsolve")) return e;
    for (int32_t i = 0; i < L->n; i++) s.x[at(i)] = b->elems[i];
    for (int32_t i = 0; i < L->n; i++) s.x[at(i)] = s.subtract(i, s.begin(i), s.pivot(i)) / s.pivot(i)->val; // L y = b
    for (int32_t i = L->n - 1; i >= 0; i--) {                                                                // L' x = y
        s.x[at(i)] /= s.pivot(i)->val;
        s.spread(i, s.begin(i), s.pivot(i));
    }
    return s.deliver(x);
}

sarko_error_t sarvo_mh_spLUsolve(const SPMAT *LU, const PERM *px, const VEC *b, VEC **x) {
    if (sarko_error_t e = check(LU, px, b, x, "spLUsolve")) return e;
    return solve_lu(*LU, px->elems, *b, x);
}

sarko_error_t sarvo_mh_spLUTsolve(const SPMAT *LU, const PERM *px, const VEC *b, VEC **x) {
    if (sarko_error_t e = check(LU, px, b, x, "spLUTsolve")) return e;
    System s{LU, {}, {}};
    Buffer<double> exchanged;
    if (sarko_error_t e = s.prepare("spLUTsolve")) return e;
    if (sarko_error_t e = exchanged.allocate(at(LU->n))) return e;
    for (int32_t i = 0; i < LU->n; i++) s.x[at(i)] = b->elems[i];
    for (int32_t i = 0; i < LU->n; i++) { // U' y = b
        s.x[at(i)] /= s.pivot(i)->val;
        s.spread(i, s.pivot(i) + 1, s.end(i));
    }
    for (int32_t i = LU->n - 1; i >= 0; i--) s.spread(i, s.begin(i), s.pivot(i)); // L' z = y
    for (int32_t i = 0; i < LU->n; i++) exchanged[px->elems[i]] = s.x[at(i)];     // x = P' z
    if (LU->n != 0) memcpy(s.x.get(), exchanged.get(), at(LU->n) * sizeof(double));
    return s.deliver(x);
}

} // extern "C"
