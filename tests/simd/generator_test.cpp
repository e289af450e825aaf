// Every level of the random generators' kernels gives the bits of the literal loops.
#include "rng/ziggurat_tables.h"
#include "simd/simd.h"

#include <vector>

#include "test_support.h"

namespace {

using sarvo::simd::GammaTrials;
using sarvo::simd::Kernels;
namespace ziggurat = sarvo::ziggurat;

std::vector<const Kernels *> levels() {
    const Kernels *tables[sarvo::simd::most_levels];
    const uint32_t count = sarvo::simd::available_levels(tables, sarvo::simd::most_levels);
    return {tables, tables + count};
}

// 32-bit values, now and then 0, 1 or all ones.
std::vector<uint64_t> words(uint64_t count, test::Random &random) {
    const uint64_t special[] = {0, 1, 0xFFFFFFFF, 0x80000000};
    std::vector<uint64_t> w(count);
    for (uint64_t &x : w) x = random.below(8) ? random.next() >> 32 : special[random.below(4)];
    return w;
}

TEST(GeneratorKernels, RegenerateLikeTheLiteralLoop) {
    test::Random random(1);
    for (const Kernels *table : levels())
        for (int round = 0; round < 2000; round++) {
            std::vector<uint64_t> expected = words(625, random), actual = expected;
            levels()[0]->mt_regenerate(expected.data());
            table->mt_regenerate(actual.data());
            ASSERT_EQ(actual, expected) << table->level << " round " << round;
        }
}

TEST(GeneratorKernels, ConvertLikeTheLiteralLoops) {
    test::Random random(2);
    for (const Kernels *table : levels())
        for (uint64_t n = 0; n <= 65; n++)
            for (int round = 0; round < 250; round++) {
                const std::vector<uint64_t> w = words(n + 1, random);
                std::vector<uint64_t> wide(n + 1);
                for (uint64_t &x : wide) { // all lengths, and neighbours of powers of 2: every way of rounding
                    x = random.next() >> random.below(64);
                    if (random.below(2)) x = (uint64_t{1} << random.below(64)) - 1 + (x & 2049);
                    if (random.below(9) == 0) x = ~(x & 2047);
                }
                std::vector<double> expected(2 * n + 2, -7.25), actual = expected;
                const auto run = [&](const Kernels &k, std::vector<double> &out) {
                    k.mt_uniforms(n, w.data() + 1, out.data() + 1, 0);
                    k.fractions(n, wide.data() + 1, out.data() + 1 + n);
                };
                run(*levels()[0], expected);
                run(*table, actual);
                test::expect_equal_bits(actual.data(), expected.data(), expected.size(), table->level);
                ASSERT_FALSE(HasFailure()) << n;
            }
}

TEST(GeneratorKernels, FindTheCandidatesOfTheZiggurat) {
    test::Random random(3);
    for (const Kernels *table : levels())
        for (uint64_t n = 0; n <= 65; n++)
            for (const double sigma : {1.0, -2.5, 0.0, 1e308}) {
                const std::vector<uint64_t> w = words(n + 1, random);
                std::vector<double> expected(n + 1, -7.25), actual = expected;
                std::vector<uint32_t> expected_list(n + 1, 77), list = expected_list;
                const auto run = [&](const Kernels &k, std::vector<double> &out, std::vector<uint32_t> &outside) {
                    return k.mt_ziggurat(n, w.data() + 1, sigma, ziggurat::width, ziggurat::inside, out.data(),
                                         outside.data());
                };
                EXPECT_EQ(run(*table, actual, list), run(*levels()[0], expected, expected_list)) << table->level;
                EXPECT_EQ(list, expected_list) << table->level << " " << n;
                test::expect_equal_bits(actual.data(), expected.data(), n + 1, table->level);
                ASSERT_FALSE(HasFailure()) << n;
            }
}

TEST(GeneratorKernels, TryGammaDeviates) {
    test::Random random(4);
    uint64_t odd_runs = 0;
    for (const Kernels *table : levels())
        for (uint64_t n = 0; n <= 64; n++)
            for (const uint64_t stride : {2u, 3u})
                for (int round = 0; round < 100; round++) {
                    // The last word read is the last of the block: reading behind it is caught by the sanitizer.
                    std::vector<uint64_t> w(n ? (n - 1) * stride + 2 : 0);
                    for (uint64_t &x : w) x = random.next() >> 32;
                    if (n && random.below(4) == 0) w[random.below(w.size())] = 0;
                    const double c = random.below(3) ? 0.4 : 2.0 * random.uniform();
                    GammaTrials expected, actual;
                    levels()[0]->gamma_trials(n, stride, w.data(), c, ziggurat::width, ziggurat::inside, &expected);
                    table->gamma_trials(n, stride, w.data(), c, ziggurat::width, ziggurat::inside, &actual);
                    const uint64_t regular = expected.odd ? static_cast<uint64_t>(__builtin_ctzll(expected.odd)) : n;
                    const uint64_t mask = regular < 64 ? (uint64_t{1} << regular) - 1 : ~uint64_t{0};
                    odd_runs += expected.odd != 0;
                    ASSERT_EQ(actual.odd ? static_cast<uint64_t>(__builtin_ctzll(actual.odd)) : n, regular)
                        << table->level << " " << n;
                    ASSERT_EQ(actual.sure & mask, expected.sure & mask) << table->level << " " << n;
                    test::expect_equal_bits(actual.x, expected.x, regular, table->level);
                    test::expect_equal_bits(actual.u, expected.u, regular, table->level);
                    test::expect_equal_bits(actual.V, expected.V, regular, table->level);
                }
    EXPECT_GT(odd_runs, 1000u);
}

} // namespace
