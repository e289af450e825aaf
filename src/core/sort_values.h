// Sort of doubles by their values alone, for every routine whose stated sort must leave what any sort would.
#pragma once

#include <sarko/sarko.h>

namespace sarvo {

// Sorts the n elements of x into ascending order when the sorted sequence is unique; *sorted is false, and x untouched,
// when it may not be (NaNs, zeros of both signs; of few elements any zero). Errors: the allocator's, from 4000 elements
// on; x is untouched then.
[[nodiscard]] sarko_error_t sort_values(double *x, uint64_t n, bool *sorted);

} // namespace sarvo
