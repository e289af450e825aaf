// The kernels of reflections and of sweeps with rows of their own give the bits of their literal loops at every level.
#include "level_support.h"

namespace {

using sarvo::simd::Kernels;
using namespace test::simd;

TEST(Reflections, EveryLevelHasTheBitsOfTheLoops) {
    test::Random random(1);
    for (const uint64_t n : lengths)
        for (const bool special : {false, true})
            for (const uint64_t rows : {0u, 1u, 3u, 7u, 8u, 15u, 16u, 17u, 33u}) {
                const auto a = values(rows * (n + 1), random, special), u = values(rows, random, special),
                           y = values(n, random, special), x = values(n, random, special);
                const std::string size = std::to_string(rows) + " x " + std::to_string(n);
                expect_same_bits(std::vector<double>(rows), "dot_rows_updated " + size,
                                 [&](const Kernels &k, double *p) {
                                     k.dot_rows_updated(rows, n, a.data(), n + 1, u.data(), y.data(), x.data(), p);
                                 });
                // The pass that applies two updates and sums for the next, with any number of columns.
                const auto t = values(rows, random, special), v = values(rows, random, special);
                expect_same_bits(values(rows * n + n, random, special), "update2_accumulate " + size,
                                 [&](const Kernels &k, double *p) {
                                     k.update2_accumulate(rows, n, p, n, u.data(), y.data(), v.data(), x.data(),
                                                          t.data(), p + rows * n);
                                 });
            }
    for (const uint64_t n : {1u, 2u, 3u, 9u, 30u})
        for (const uint64_t columns : {0u, 8u, 16u, 24u, 32u, 40u, 72u})
            for (const bool special : {false, true})
                for (const uint64_t count : {uint64_t{0}, n / 2, n - 1}) {
                    const auto h = values(n * (n + 2), random, special), beta = values(n, random, special);
                    expect_same_bits(values(n * (columns + 1), random, special),
                                     "reflect_columns " + std::to_string(n) + " x " + std::to_string(columns),
                                     [&](const Kernels &k, double *p) {
                                         k.reflect_columns(count, n, columns, h.data(), n + 2, beta.data(), p,
                                                           columns + 1);
                                     });
                }
}

TEST(Sweeps, WithRowsOfTheirOwnHaveTheBitsOfTheLoops) {
    test::Random random(2);
    const uint64_t rows = 24, ldcs = 2 * rows;
    for (int draw = 0; draw < 300; draw++) {
        const uint64_t sweeps = random.below(14), n = 8 * random.below(10), lda = n + 1;
        std::vector<uint64_t> first(sweeps), last(sweeps);
        for (uint64_t q = 0; q < sweeps; q++) {
            const bool wide = random.below(3) != 0; // mostly as in the QR iteration, now and then anywhere
            first[q] = random.below(wide ? 3 : rows);
            last[q] = wide ? rows - 1 - random.below(3) : first[q] + random.below(rows - first[q]);
        }
        const auto cs = values(sweeps * ldcs, random, false);
        // A sweep of the QR iteration on a matrix of its own, made beside as far as it goes and then to its end.
        const uint64_t order = 2 + random.below(30), lo = random.below(order - 1), every = 1 + random.below(3);
        const uint64_t hi = lo + 1 + random.below(order - lo - 1);
        expect_same_bits(values(rows * lda + 4 * order + 2, random, draw % 2 == 1),
                         "rotate_ranges, draw " + std::to_string(draw), [&](const Kernels &k, double *p) {
                             double *a = p + rows * lda, *b = a + order, *made = b + order, *xz = made + 2 * order;
                             sarvo::simd::Chase chase = {a,           b,    draw % 3 ? made : nullptr, lo, hi, lo,
                                                         a[lo] - 0.5, b[lo]};
                             k.rotate_ranges(sweeps, first.data(), last.data(), n, cs.data(), ldcs, p, lda,
                                             draw % 4 ? &chase : nullptr, every);
                             k.chase(&chase);
                             EXPECT_EQ(chase.next, hi);
                             xz[0] = chase.x;
                             xz[1] = chase.z;
                         });
    }
}

} // namespace
