// What the files of the kernel library share: raw allocation through the hooks, and the registry's lifecycle.
#pragma once

#include <stdint.h>

namespace sarko {

void *allocate(uint64_t bytes, bool zeroed); // null on failure
void release(void *p);                       // null is allowed
void forget_codes();                         // empties the registry of error codes

} // namespace sarko
