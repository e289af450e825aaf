/* nr, sorting: the elements of a vector into ascending order. See nr.h. */
#ifndef SARVO_NR_SORT_H
#define SARVO_NR_SORT_H

#include <sarvo/array.h>

#ifdef __cplusplus
extern "C" {
#endif

/* Sorts the first `count` elements of v into ascending order; all of them when count is 0 or larger than the length.
 * The elements are taken for doubles: the data-type id is not looked at.
 * The result is that of Shell's passes of gapped insertion with the increments ..., 40, 13, 4, 1 up to the count, which
 * move an element past predecessors strictly greater: where that decides (NaNs, zeros of both signs) they are made.
 * Otherwise the sorted sequence is unique and, from 4000 elements on, found by the bits of the values with scratch of
 * about count doubles; where that is refused, in place, with the same result.
 * Errors, in order: v null: SarvoNullEC; v of length 0: SarvoNrSizeEC. Never for want of memory. */
SARVO_API sarko_error_t sarvo_nr_sort_shell(sarvo_vector *v, uint64_t count);

#ifdef __cplusplus
}
#endif

#endif
