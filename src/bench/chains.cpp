// The two chains of random reads: one read waiting for the other, and two at a time.
#include "chains.h"

namespace sarvo::bench {
namespace {

volatile uint32_t last_state; // what the chains came to

constexpr int32_t group = 16;

uint32_t mask_of(uint32_t bits) { return static_cast<uint32_t>((uint64_t{1} << bits) - 1); }

// Sign-extended: a negative byte sets the upper bits too.
uint32_t byte(const int8_t *buffer, uint32_t index) { return static_cast<uint32_t>(int32_t{buffer[index]}); }

inline uint32_t single_step(const int8_t *buffer, uint32_t x, uint32_t mask) {
    const uint32_t x1 = congruential(x);
    const uint32_t x2 = congruential(x1);
    const uint32_t x3 = congruential(x2);
    const uint32_t index = ((x3 & 0x7FFF0000) | ((x2 >> 8) & 0xFF00) | ((x1 >> 16) & 0xFF)) & mask;
    return byte(buffer, index) | x3;
}

inline uint32_t dual_step(const int8_t *buffer, uint32_t x, uint32_t mask) {
    const uint32_t x1 = congruential(x);
    const uint32_t x2 = congruential(x1);
    const uint32_t x3 = congruential(x2);
    const uint32_t x4 = congruential(x3);
    const uint32_t x5 = congruential(x4);
    const uint32_t i1 = ((x5 >> 24) | (x4 & 0x7FFF0000) | ((x2 >> 8) & 0xFF00)) & mask;
    const uint32_t i2 = (i1 ^ (((x5 >> 16) & 0xFF) | (x3 & 0x7FFF0000) | ((x1 >> 8) & 0xFF00))) & mask;
    return byte(buffer, i2) + (byte(buffer, i1) | x5);
}

template <class Step> uint32_t run(int32_t steps, Step step) {
    uint32_t x = 0;
    for (; steps >= group; steps -= group)
        for (int32_t i = 0; i < group; i++) x = step(x);
    last_state = x;
    return x;
}

} // namespace

uint32_t single_chain(const int8_t *buffer, int32_t reads, uint32_t bits) {
    const uint32_t mask = mask_of(bits);
    return run(reads, [=](uint32_t x) { return single_step(buffer, x, mask); });
}

uint32_t dual_chain(const int8_t *buffer, int32_t steps, uint32_t bits) {
    const uint32_t mask = mask_of(bits);
    return run(steps, [=](uint32_t x) { return dual_step(buffer, x, mask); });
}

} // namespace sarvo::bench
