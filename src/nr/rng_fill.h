// Many uniform doubles of a classic generator at once: the values, and the state left, of as many single calls of
// sarvo_nr_rng_double.
#pragma once

#include <sarvo/nr.h>

namespace sarvo {

void nr_rng_fill(sarvo_nr_rng_t *rng, uint64_t n, double *out);

} // namespace sarvo
