// Literal loops of rotation sweeps, each over rows of its own, and of the sweep that makes rotations.
#include "../levels.h"

#include <math.h>

namespace sarvo::simd::ref {

void rotate_ranges(uint64_t sweeps, const uint64_t *first, const uint64_t *last, uint64_t n, const double *cs,
                   uint64_t ldcs, double *a, uint64_t lda, Chase *, uint64_t) {
    for (uint64_t q = 0; q < sweeps; q++)
        for (uint64_t j = first[q]; j < last[q]; j++)
            rotate(n, cs[q * ldcs + 2 * j], cs[q * ldcs + 2 * j + 1], a + j * lda, a + (j + 1) * lda);
}

void chase(Chase *sweep) {
    double *a = sweep->a, *b = sweep->b;
    for (uint64_t i = sweep->next; i < sweep->hi; i++) {
        const double r = sqrt(sweep->x * sweep->x + sweep->z * sweep->z);
        const double c = r == 0.0 ? 1.0 : sweep->x / r, s = r == 0.0 ? -0.0 : -(sweep->z / r);
        if (i > sweep->lo) b[i - 1] = c * b[i - 1] - s * sweep->z;
        double c2 = c * c, s2 = 1.0 - c2;
        if (!(fabs(c) < 1.414213562373095)) {
            s2 = s * s;
            c2 = 1.0 - s2;
        }
        const double cs = c * s, a0 = a[i], a1 = a[i + 1], b0 = b[i];
        a[i] = c2 * a0 + s2 * a1 - 2.0 * cs * b0;
        a[i + 1] = s2 * a0 + c2 * a1 + 2.0 * cs * b0;
        b[i] = cs * (a0 - a1) + (c2 - s2) * b0;
        sweep->z = i + 1 < sweep->hi ? -s * b[i + 1] : 0.0;
        if (i + 1 < sweep->hi) b[i + 1] = c * b[i + 1];
        if (sweep->cs) {
            sweep->cs[2 * i] = c;
            sweep->cs[2 * i + 1] = -s;
        }
        sweep->x = b[i];
    }
    sweep->next = sweep->hi;
}

} // namespace sarvo::simd::ref
