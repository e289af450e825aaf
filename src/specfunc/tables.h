// Tables of the special functions at integers.
#pragma once

#include <stdint.h>

namespace sarvo::special {

struct Factorial {
    int32_t n;
    double value;   // n! rounded
    uint64_t exact; // n! for n <= 12, else 0
};

constexpr uint32_t largest_factorial = 170;
constexpr int32_t largest_psi = 100;

extern const Factorial factorials[171];
extern const double psi_at_integer[101]; // entry 0 is not a value
extern const double psi1_at_integer[101];

} // namespace sarvo::special
