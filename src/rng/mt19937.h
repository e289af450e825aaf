// The state of the MT19937 generator (Matsumoto and Nishimura 1998) and its draws, inline for the library's own loops.
#pragma once

#include <stdint.h>

#include "simd/simd.h"

namespace sarvo {

struct Mt19937 {
    static constexpr int64_t size = 624;
    uint64_t word[size]; // 32-bit values, the upper halves are zero
    int64_t index;       // of the next word to hand out; size: all are regenerated first
};
static_assert(sizeof(Mt19937) == 5000);

inline void mt_regenerate_when_used_up(Mt19937 &s) {
    if (s.index < Mt19937::size) return;
    simd::kernels().mt_regenerate(s.word);
    s.index = 0;
}

inline uint64_t mt_temper(uint64_t y) {
    y ^= y >> 11;
    y ^= (y << 7) & 0x9D2C5680;
    y ^= (y << 15) & 0xEFC60000;
    return y ^ (y >> 18);
}

inline uint64_t mt_draw(Mt19937 &s) {
    mt_regenerate_when_used_up(s);
    return mt_temper(s.word[s.index++]);
}

inline double mt_to_double(uint64_t draw) { return static_cast<double>(draw) * 0x1p-32; }

// The functions that a record carries for this generator.
void mt_set(void *state, uint64_t seed);
uint64_t mt_get(void *state);
double mt_get_double(void *state);

} // namespace sarvo
