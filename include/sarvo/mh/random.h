/* mh, random fills: vectors and matrices of uniform draws from either generator. See sarvo/mh.h. */
#ifndef SARVO_MH_RANDOM_H
#define SARVO_MH_RANDOM_H

#include <sarvo/mh/objects.h>

#ifdef __cplusplus
extern "C" {
#endif

/* Fill all elements, in ascending order and row by row, with successive uniform doubles of the caller's generator:
 *   selector  1: rng is a sarvo_rng_t *, each element one sarvo_rng_uniform (sarvo/rng.h)
 *             2: rng is a sarvo_nr_rng_t *, each element one sarvo_nr_rng_double (sarvo/nr.h)
 *             any other: nothing happens
 *   rng       not null when there is something to fill; left as that many single draws leave it
 * Null objects and objects without elements are left alone. Large fills are made block by block, several times as fast
 * as single draws, with the same values. */
SARVO_API void sarvo_mh_v_rand(VEC *v, int32_t selector, void *rng);
SARVO_API void sarvo_mh_m_rand(MAT *A, int32_t selector, void *rng);
SARVO_API void mrandlist(int32_t selector, void *rng, double *x, uint64_t count);

#ifdef __cplusplus
}
#endif

#endif
