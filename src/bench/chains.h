// Chains of random reads whose addresses depend on the bytes read before: what the latency run times.
#pragma once

#include <stdint.h>

namespace sarvo::bench {

// Reads (respectively steps of two reads) in the first 2^bits bytes of the buffer, in whole groups of 16. The formulas
// are those of sarvo/membench.h. Return the last state of the generator, 0 when there is no whole group; it is also kept
// in a variable of the library, so that no read can be left out.
uint32_t single_chain(const int8_t *buffer, int32_t reads, uint32_t bits);
uint32_t dual_chain(const int8_t *buffer, int32_t steps, uint32_t bits);

inline uint32_t congruential(uint32_t x) { return x * 1103515245 + 12345; }

} // namespace sarvo::bench
