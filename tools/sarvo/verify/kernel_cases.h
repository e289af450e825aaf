// Random cases of each vector kernel, for any level: what the tests and `sarvo info --verify` compare with the literal loops.
#pragma once

#include <functional>
#include <span>
#include <vector>

#include "simd/simd.h"

namespace command {

// xorshift64* (S. Vigna, 2016).
class CaseRandom {
public:
    explicit CaseRandom(uint64_t seed) : state_(seed * 2685821657736338717u + 88172645463325252u) {}
    uint64_t next();
    uint64_t below(uint64_t bound) { return next() % bound; }
    double uniform() { return static_cast<double>(next() >> 11) * 0x1p-53; }
    double symmetric() { return 2.0 * uniform() - 1.0; }
    // Now and then a zero of either sign, an infinity, NaN, subnormal, huge or tiny value, else symmetric.
    double special();

private:
    uint64_t state_;
};

// The inputs of one case, the same at every level; those of odd seeds with special values among them.
struct CaseSource {
    CaseRandom random;
    bool special;
    explicit CaseSource(uint64_t seed) : random(seed), special(seed % 2 == 1) {}

    uint64_t size(uint64_t most = 65) { return random.below(4) ? random.below(most / 4 + 1) : random.below(most + 1); }
    double value() { return special ? random.special() : random.symmetric(); }
    std::vector<double> values(uint64_t n) {
        std::vector<double> v(n + 1); // never without storage
        for (double &x : v) x = value();
        return v;
    }
};

struct KernelCase {
    const char *name;
    // Leaves its results in the last argument.
    std::function<void(const sarvo::simd::Kernels &, CaseSource &, std::vector<double> &)> run;
};
std::span<const KernelCase> kernel_cases();

struct Disagreement {
    uint64_t seed, element;
    const char *level;
};

// Runs the cases of seeds 0 .. count-1 at every level of the machine and compares them bit by bit (any NaN for any NaN)
// with the literal loops. `each` gets the results of the latter. Returns the first disagreement, if there is one.
bool find_disagreement(const KernelCase &kernel, uint64_t count, Disagreement *found,
                       const std::function<void(std::span<const double>)> &each = {});

} // namespace command
