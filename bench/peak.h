// What multiply and add, each rounded by itself, reach from registers on this processor. Include in one source only:
// it is compiled for the widest vectors of the machine.
#pragma once

#include <algorithm>
#include <chrono>

namespace bench {

// GFLOP/s: the best of some runs of 12 independent chains of a multiplication and an addition.
inline double multiply_add_peak() {
#if defined(__AVX512F__)
    constexpr int lanes = 8;
#elif defined(__AVX__)
    constexpr int lanes = 4;
#else
    constexpr int lanes = 2;
#endif
    typedef double V __attribute__((vector_size(lanes * sizeof(double))));
    constexpr int chains = 12, steps = 2000000;
    double best = 0;
    for (int run = 0; run < 5; run++) {
        V sum[chains] = {};
        V x = V{} + 1e-3, y = V{} + 1e-3;
        const auto start = std::chrono::steady_clock::now();
        for (int i = 0; i < steps; i++)
            for (int c = 0; c < chains; c++) {
                V p = x * y;
                asm volatile("" : "+v"(p), "+v"(x)); // neither fused nor taken out of the loop
                sum[c] += p;
            }
        const double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
        for (V &s : sum) asm volatile("" ::"v"(s));
        best = std::max(best, 2.0 * chains * steps * lanes / seconds * 1e-9);
    }
    return best;
}

} // namespace bench
