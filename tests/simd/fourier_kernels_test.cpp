// The kernels of transforms and convolutions give the bits of their literal loops at every level.
#include "level_support.h"

#include "mh/fourier_factors.h"

namespace {

using sarvo::simd::Kernels;
using namespace test::simd;

// All orders up to the first that is split into parts of parts; from 2^13 on factors are products.
TEST(Fourier, EveryLevelHasTheBitsOfTheLoops) {
    test::Random random(1);
    for (uint64_t n = 2; n <= uint64_t{1} << 17; n *= 2) {
        std::vector<double> fine(sarvo::mh::fine_count(n));
        sarvo::mh::fill_fine(n, fine.data());
        for (uint64_t draw = 0; draw < (n <= 256 ? 40 : n <= 4096 ? 4 : 2); draw++)
            expect_same_bits(
                values(2 * n, random, draw % 2 == 1), "transform of " + std::to_string(n),
                [&](const Kernels &k, double *p) { k.fourier(n, p, p + n, sarvo::mh::fourier_roots, fine.data()); });
    }
}

TEST(Convolution, EveryLevelHasTheBitsOfTheLoops) {
    test::Random random(2);
    std::vector<uint64_t> outputs = lengths;
    for (const uint64_t more : {95u, 96u, 97u, 203u}) outputs.push_back(more);
    for (const uint64_t count : outputs)
        for (const uint64_t terms : {0u, 1u, 2u, 3u, 8u, 17u, 40u})
            for (const bool special : {false, true})
                for (const int64_t step : {-1, 1}) {
                    const auto s = values(terms, random, special), x = values(count + terms, random, special);
                    expect_same_bits(values(count, random, special),
                                     "convolve " + std::to_string(count) + " x " + std::to_string(terms),
                                     [&](const Kernels &k, double *p) {
                                         k.convolve(count, terms, s.data(), x.data() + (step < 0 ? terms : 0), step, p);
                                     });
                }
}

} // namespace
