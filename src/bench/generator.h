// The subtractive generator of the suite: seeding, one step, seventeen steps.
#pragma once

#include <sarvo/scimark.h>

namespace sarvo::bench {

constexpr int32_t modulus = INT32_MAX; // 2^31 - 1
constexpr int32_t lag = 17;            // numbers in the state

extern double scale; // dm1, written by every seeding

void seed_generator(Random &R, int32_t seed);

inline int32_t difference(int32_t a, int32_t b) {
    const int32_t k = a - b;
    return k < 0 ? k + modulus : k;
}

inline int32_t next_number(Random &R) {
    const int32_t k = difference(R.m[R.i], R.m[R.j]);
    R.m[R.j] = k;
    R.i = R.i == 0 ? lag - 1 : R.i - 1;
    R.j = R.j == 0 ? lag - 1 : R.j - 1;
    return k;
}

// Numbers 0 .. 16 from a state as seeded, which it is in again afterwards: number n in m(16 - n).
inline void next_round(int32_t (&m)[lag]) {
    for (int32_t j = lag - 1; j >= 0; j--) m[j] = difference(m[(j + 5) % lag], m[j]);
}

} // namespace sarvo::bench
