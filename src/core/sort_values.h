// Sort of doubles by their values alone, for every routine whose stated sort must leave what any sort would.
#pragma once

#include <stdint.h>

namespace sarvo {

// Sorts the n elements of x into ascending order when the sorted sequence is unique. False, and x untouched, when it may
// not be: NaNs, zeros of both signs; any zero of few elements, or where the scratch for many is refused.
[[nodiscard]] bool sort_values(double *x, uint64_t n);

} // namespace sarvo
