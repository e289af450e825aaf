/* Sizes and field offsets of every public record, asserted by the C compiler. */
#include <assert.h>

#include "abi_layout.h"
