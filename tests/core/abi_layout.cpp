// Sizes and field offsets of every public record, asserted by the C++ compiler.
#include "abi_layout.h"
