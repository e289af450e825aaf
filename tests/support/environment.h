// Floating-point environments other than the one that results are promised for.
#pragma once

#include <cfenv>
#include <string>

#if defined(__x86_64__)
#include <xmmintrin.h>
#endif

namespace test {

// Calls f(name) under every direction of rounding, with subnormal numbers kept and, where this machine can, flushed to
// zero in operands and results.
template <class F> void in_every_environment(const F &f) {
    const struct {
        int direction;
        const char *name;
    } roundings[] = {
        {FE_TONEAREST, "to nearest"}, {FE_UPWARD, "upward"}, {FE_DOWNWARD, "downward"}, {FE_TOWARDZERO, "toward zero"}};
    std::fenv_t before;
    std::fegetenv(&before);
    for (const bool flush : {false, true})
        for (const auto &rounding : roundings) {
            std::fesetround(rounding.direction);
#if defined(__x86_64__)
            constexpr unsigned flush_results = 0x8000, flush_operands = 0x0040;
            if (flush) _mm_setcsr(_mm_getcsr() | flush_results | flush_operands);
#else
            if (flush) continue;
#endif
            f(std::string("rounding ") + rounding.name + (flush ? ", flushing to zero" : ""));
            std::fesetenv(&before);
        }
}

} // namespace test
