// Which rounding and which treatment of subnormal numbers are set.
#include "verify/arithmetic.h"

#include <cfloat>

namespace command {

std::string unusual_arithmetic() {
    // Volatile, so that each operation is done when it is reached, in the arithmetic of then.
    volatile double one = 1.0, little = 0x1p-60, smallest = DBL_MIN, subnormal = 0x1p-1074;

    const bool up = one + little != 1.0, down = -one - little != -1.0, to_zero = one - little != 1.0;
    std::string unusual;
    if (up || down || to_zero)
        unusual = std::string("rounding is ") +
                  (up     ? "upward"
                   : down ? "downward"
                          : "toward zero") +
                  ", not to nearest";

    const bool flushes_results = smallest * 0.5 == 0.0, flushes_operands = subnormal == 0.0;
    if (flushes_results || flushes_operands)
        unusual += (unusual.empty() ? "" : "; ") + std::string("subnormal numbers are flushed to zero");
    return unusual;
}

} // namespace command
