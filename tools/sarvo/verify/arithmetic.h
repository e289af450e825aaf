// The floating-point arithmetic that is set, found by calculating.
#pragma once

#include <string>

namespace command {

// What differs from rounding to nearest with subnormal numbers kept, on which the library's results rest; empty when
// nothing does.
std::string unusual_arithmetic();

} // namespace command
