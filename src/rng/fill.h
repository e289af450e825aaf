// Many draws of a generator record at once: the values, and the state left, of as many single calls.
//
// Blocks of MT19937's words are turned into values by the vector kernels. A record whose functions are not the
// library's own is called once per value.
#pragma once

#include <sarvo/rng.h>

namespace sarvo {

void rng_fill_uniform(sarvo_rng_t *rng, uint64_t n, double *out);                   // sarvo_rng_uniform
void rng_fill_gauss(sarvo_rng_t *rng, double sigma, uint64_t n, double *out);       // sarvo_rng_gauss
void rng_fill_gamma(sarvo_rng_t *rng, double a, double b, uint64_t n, double *out); // sarvo_rng_gamma

} // namespace sarvo
