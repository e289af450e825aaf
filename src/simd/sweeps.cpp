// Sweeps of row rotations, each over rows of its own: a pipe of sweeps runs through one strip of columns after another.
//
// As in rotation.cpp, sweep q makes its rotation j = t - q at time t: it carries row j, meets row j + 1, hands on the
// new row j and carries the new row j + 1. Outside its own rows a sweep only hands on what it carries. Where all sweeps
// of the pipe rotate, which is nearly everywhere, there is nothing to decide.
//
// The rotations of later sweeps can be made meanwhile: each waits for the square root and the division of the one before,
// some fifty cycles in which the vector pipes would have little to do.
#include "levels.h"
#include "vec.h"

namespace sarvo::simd::SARVO_SIMD_LEVEL {
namespace {

constexpr uint64_t depth = 4;
constexpr uint64_t width = lanes == 8 ? 4 : 2; // vectors of a strip: depth * width rows carried, width passing

template <uint64_t vectors> struct Row { Vec v[vectors]; };

template <uint64_t vectors> inline Row<vectors> load_row(const double *p) {
    Row<vectors> r;
    for (uint64_t i = 0; i < vectors; i++) r.v[i] = load(p + i * lanes);
    return r;
}

template <uint64_t vectors> inline void store_row(double *p, const Row<vectors> &r) {
    for (uint64_t i = 0; i < vectors; i++) store(p + i * lanes, r.v[i]);
}

template <uint64_t vectors> inline void turn(const double *cs, Row<vectors> &carried, Row<vectors> &passing) {
    const Vec c = broadcast(cs[0]);
    const Vec s = broadcast(cs[1]);
    for (uint64_t i = 0; i < vectors; i++) {
        const Vec x = carried.v[i];
        const Vec y = passing.v[i];
        passing.v[i] = c * x + s * y;
        carried.v[i] = c * y - s * x;
    }
}

// ---- Making rotations ----

inline void make_rotation(Chase &k) {
    const uint64_t i = k.next++;
    double *a = k.a + i, *b = k.b + i;
    const double r = __builtin_sqrt(k.x * k.x + k.z * k.z);
    const bool none = r == 0.0;
    const double c = none ? 1.0 : k.x / r, s = none ? -0.0 : -(k.z / r);
    if (i > k.lo) b[-1] = c * b[-1] - s * k.z;
    double c2 = c * c, s2 = 1.0 - c2;
    if (!(__builtin_fabs(c) < 1.414213562373095)) { // a NaN
        s2 = s * s;
        c2 = 1.0 - s2;
    }
    const double cs = c * s, a0 = a[0], a1 = a[1], b0 = b[0], cross = 2.0 * cs * b0;
    a[0] = c2 * a0 + s2 * a1 - cross;
    a[1] = s2 * a0 + c2 * a1 + cross;
    k.x = b[0] = cs * (a0 - a1) + (c2 - s2) * b0;
    k.z = 0.0;
    if (i + 1 < k.hi) {
        k.z = -s * b[1];
        b[1] = c * b[1];
    }
    if (k.cs) {
        k.cs[2 * i] = c;
        k.cs[2 * i + 1] = -s;
    }
}

// The sweep under way beside the others: a rotation of it after every few steps.
struct Beside {
    Chase sweep;
    uint64_t every;
};

// ---- Applying them ----

// What one group of `sweeps` sweeps covers: rows low .. high; all rotate at times full .. last_full - 1.
struct Group4 {
    uint64_t low, high, full, last_full;
};

template <uint64_t sweeps> Group4 cover(const uint64_t *first, const uint64_t *last) {
    Group4 g = {first[0], last[0], first[0], last[0]};
    for (uint64_t q = 1; q < sweeps; q++) {
        if (first[q] < g.low) g.low = first[q];
        if (last[q] > g.high) g.high = last[q];
        if (first[q] > g.full) g.full = first[q];
        if (last[q] < g.last_full) g.last_full = last[q];
    }
    g.full += sweeps - 1;
    return g;
}

// The steps t .. end-1 at which all sweeps rotate.
template <uint64_t sweeps, uint64_t vectors>
inline void rotate_all(uint64_t t, uint64_t end, uint64_t high, const double *cs, uint64_t ldcs, double *a,
                       uint64_t lda, Row<vectors> (&carried)[sweeps], Beside &beside) {
    while (t < end) {
        const uint64_t pause = end - t > beside.every ? t + beside.every : end;
        for (; t < pause; t++) {
            const uint64_t ahead = t + 5 < high ? t + 5 : high; // rows lie too far apart for the processor to guess
            for (uint64_t i = 0; i < vectors; i++) __builtin_prefetch(a + ahead * lda + i * lanes);
            Row<vectors> passing = load_row<vectors>(a + (t + 1) * lda);
            for (uint64_t q = 0; q < sweeps; q++) turn<vectors>(cs + q * ldcs + 2 * (t - q), carried[q], passing);
            store_row<vectors>(a + (t + 1 - sweeps) * lda, passing);
        }
        if (beside.sweep.next < beside.sweep.hi) make_rotation(beside.sweep);
    }
}

// Step t where some sweeps do not rotate.
template <uint64_t sweeps, uint64_t vectors>
void rotate_some(uint64_t t, const Group4 &g, const uint64_t *first, const uint64_t *last, const double *cs,
                 uint64_t ldcs, double *a, uint64_t lda, Row<vectors> (&carried)[sweeps]) {
    Row<vectors> passing;
    if (t < g.high) passing = load_row<vectors>(a + (t + 1) * lda);
    for (uint64_t q = 0; q < sweeps; q++) {
        if (t < g.low + q) { // no row has reached sweep q before
            carried[q] = passing;
            break;
        }
        const uint64_t j = t - q;
        if (j >= g.high) { // no more rows: what sweep q carries goes on to the next
            passing = carried[q];
        } else if (j >= first[q] && j < last[q]) {
            turn<vectors>(cs + q * ldcs + 2 * j, carried[q], passing);
        } else {
            const Row<vectors> held = carried[q];
            carried[q] = passing;
            passing = held;
        }
        if (q + 1 == sweeps && j < g.high) store_row<vectors>(a + j * lda, passing);
    }
}

template <uint64_t sweeps, uint64_t vectors>
void strip(const Group4 &g, const uint64_t *first, const uint64_t *last, const double *cs, uint64_t ldcs, double *a,
           uint64_t lda, Beside &beside) {
    const uint64_t end = g.high + sweeps - 1;
    const uint64_t full = smaller(g.full, end), last_full = g.last_full > full ? smaller(g.last_full, end) : full;
    Row<vectors> carried[sweeps];
    carried[0] = load_row<vectors>(a + g.low * lda);
    for (uint64_t t = g.low; t < full; t++) rotate_some(t, g, first, last, cs, ldcs, a, lda, carried);
    rotate_all(full, last_full, g.high, cs, ldcs, a, lda, carried, beside);
    for (uint64_t t = last_full; t < end; t++) rotate_some(t, g, first, last, cs, ldcs, a, lda, carried);
    store_row<vectors>(a + g.high * lda, carried[sweeps - 1]);
}

// All sweeps through one strip: in pipes of four where their rows overlap enough.
template <uint64_t vectors>
void all_sweeps(uint64_t sweeps, const uint64_t *first, const uint64_t *last, const double *cs, uint64_t ldcs,
                double *a, uint64_t lda, Beside &beside) {
    for (uint64_t q = 0; q < sweeps;) {
        if (q + depth <= sweeps) {
            const Group4 g = cover<depth>(first + q, last + q);
            if (g.full < g.last_full && 2 * (g.last_full - g.full) >= g.high - g.low) {
                strip<depth, vectors>(g, first + q, last + q, cs + q * ldcs, ldcs, a, lda, beside);
                q += depth;
                continue;
            }
        }
        if (first[q] < last[q])
            strip<1, vectors>(cover<1>(first + q, last + q), first + q, last + q, cs + q * ldcs, ldcs, a, lda, beside);
        q++;
    }
}

} // namespace

void rotate_ranges(uint64_t sweeps, const uint64_t *first, const uint64_t *last, uint64_t n, const double *cs,
                   uint64_t ldcs, double *a, uint64_t lda, Chase *beside, uint64_t every) {
    Beside making = {beside ? *beside : Chase{}, every};
    uint64_t j = 0;
    for (; j + width * lanes <= n; j += width * lanes)
        all_sweeps<width>(sweeps, first, last, cs, ldcs, a + j, lda, making);
    for (; j < n; j += lanes) all_sweeps<1>(sweeps, first, last, cs, ldcs, a + j, lda, making);
    if (beside) *beside = making.sweep;
}

void chase(Chase *sweep) {
    Chase local = *sweep;
    while (local.next < local.hi) make_rotation(local);
    *sweep = local;
}

} // namespace sarvo::simd::SARVO_SIMD_LEVEL
