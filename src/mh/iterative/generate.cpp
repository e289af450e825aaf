// Random sparse matrices: symmetric and diagonally dominant, and general with a shuffled diagonal.
#include <sarvo/mh/iterative.h>
#include <sarvo/mh/permutation.h>
#include <sarvo/nr.h>
#include <sarvo/rng.h>

#include <math.h>

#include "../dense.h"

using sarvo::fail;
using sarvo::mh::TemporaryPermutation;

namespace {

using TemporarySparse = sarvo::mh::Temporary<SPMAT, sarvo_mh_sp_free>;

// The caller's generator.
struct Source {
    int32_t selector;
    void *rng;

    uint32_t integer() const {
        if (selector == 1) return sarvo_rng_uint32(static_cast<sarvo_rng_t *>(rng));
        if (selector == 2) return sarvo_nr_rng_uint32(static_cast<sarvo_nr_rng_t *>(rng));
        return 0;
    }
    int32_t position(int32_t count) const {
        return static_cast<int32_t>((integer() >> 8) % static_cast<uint32_t>(count));
    }
    double value() const {
        if (selector == 1) return sarvo_rng_uniform(static_cast<sarvo_rng_t *>(rng));
        if (selector == 2) return sarvo_nr_rng_double(static_cast<sarvo_nr_rng_t *>(rng));
        return 0.0;
    }
};

int32_t at_least_two(int32_t n) { return n > 2 ? n : 2; }

sarko_error_t deliver(TemporarySparse &A, SPMAT **out) {
    *out = A.p;
    A.p = nullptr;
    return 0;
}

} // namespace

extern "C" {

sarko_error_t sarvo_mh_iter_gen_sym(int32_t n, int32_t nrow, int32_t source, void *rng, SPMAT **out) {
    if (!out) return fail(SarvoMHNullEC);
    const Source draw = {source, rng};
    const int32_t width = at_least_two(nrow) / 2 * 2;
    TemporarySparse A;
    if (sarko_error_t e = sarvo_mh_sp_get(n, n, width, &A.p)) return e;
    sarvo::Buffer<double> sums;
    if (sarko_error_t e = sums.allocate(static_cast<uint64_t>(n))) return e;
    for (int32_t i = 0; i < n; i++)
        for (int32_t left = draw.position(width / 2) + 1; left > 0; left--) {
            const int32_t j = draw.position(n);
            const double v = draw.value();
            if (sarko_error_t e = sarvo_mh_sp_set_val(A.p, i, j, v)) return e;
            if (sarko_error_t e = sarvo_mh_sp_set_val(A.p, j, i, v)) return e;
            sums.get()[i] += fabs(v);
            sums.get()[j] += fabs(v);
        }
    for (int32_t i = 0; i < n; i++)
        if (sarko_error_t e = sarvo_mh_sp_set_val(A.p, i, i, sums.get()[i] + 1.0)) return e;
    return deliver(A, out);
}

sarko_error_t sarvo_mh_iter_gen_nonsym(double diag, int32_t m, int32_t n, int32_t nrow, int32_t source, void *rng,
                                       SPMAT **out) {
    if (!out) return fail(SarvoMHNullEC);
    const Source draw = {source, rng};
    const int32_t width = at_least_two(nrow);
    TemporarySparse A;
    TemporaryPermutation P;
    if (sarko_error_t e = sarvo_mh_sp_get(m, n, width, &A.p)) return e;
    if (sarko_error_t e = sarvo_mh_px_get(n, &P.p)) return e;
    for (int32_t i = 0; n > 0 && i < m; i++)
        for (int32_t left = draw.position(width - 1) + 1; left > 0; left--) {
            const int32_t j = draw.position(n);
            if (sarko_error_t e = sarvo_mh_sp_set_val(A.p, i, j, -draw.value())) return e;
        }
    uint32_t *const p = P.p->elems;
    for (uint64_t k = 0; k < 2 * static_cast<uint64_t>(n); k++) {
        const int32_t i = draw.position(n), j = draw.position(n);
        const uint32_t old = p[i];
        p[i] = p[j];
        p[j] = old;
    }
    for (int32_t i = 0; i < m && i < n; i++)
        if (sarko_error_t e = sarvo_mh_sp_set_val(A.p, i, static_cast<int32_t>(p[i]), diag)) return e;
    return deliver(A, out);
}

} // extern "C"
