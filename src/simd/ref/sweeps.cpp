// Literal loops of rotation sweeps, each over rows of its own.
#include "../levels.h"

namespace sarvo::simd::ref {

void rotate_ranges(uint64_t sweeps, const uint64_t *first, const uint64_t *last, uint64_t n, const double *cs,
                   uint64_t ldcs, double *a, uint64_t lda) {
    for (uint64_t q = 0; q < sweeps; q++)
        for (uint64_t j = first[q]; j < last[q]; j++)
            rotate(n, cs[q * ldcs + 2 * j], cs[q * ldcs + 2 * j + 1], a + j * lda, a + (j + 1) * lda);
}

} // namespace sarvo::simd::ref
