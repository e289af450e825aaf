// Shell sort with increments 1, 4, 13, 40, ... (D. L. Shell 1959; increments of D. E. Knuth).
#pragma once

#include <stdint.h>

namespace sarvo::nr {

// Sorts the n keys into descending order; order(k) receives the old place of the key that comes k-th.
void shell_sort_descending(uint64_t n, double *keys, uint64_t *order);

// Sorts x into ascending order by the stated passes.
void shell_sort_ascending(uint64_t n, double *x);

} // namespace sarvo::nr
