// Whether every vector kernel has the bits of its literal loop on this machine, and one digest to compare with others.
#pragma once

#include "answer/answer.h"

namespace command {

// False when a kernel differs, or when rounding is not to nearest or subnormal numbers are not kept; the answer says
// which.
bool verify_kernels(Answer &answer);

} // namespace command
