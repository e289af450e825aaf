// Every level of the vector kernels gives the bits of the literal loops, on awkward sizes and special values; the
// literal loops give what their formulas say.
#include <cmath>
#include <set>
#include <string>
#include <vector>

#include "level_support.h"

namespace {

using sarvo::simd::Kernels;
using namespace test::simd;

TEST(Levels, AreDistinctAndTheFirstIsTheLiteralLoops) {
    std::set<std::string> names;
    for (const Kernels *table : levels()) names.insert(table->level);
    EXPECT_EQ(names.size(), levels().size());
    EXPECT_STREQ(levels()[0]->level, "ref");
    EXPECT_EQ(&sarvo::simd::kernels(), levels().back()) << "the fastest level of the machine is chosen";
    std::string list;
    for (const std::string &name : names) list += name + " ";
    testing::Test::RecordProperty("levels", list);
    std::printf("levels run: %s\n", list.c_str());
}

TEST(Levels, ForcingOneChangesTheChoiceUntilItIsRestored) {
    for (const Kernels *table : levels()) {
        sarvo::simd::force_level(table);
        EXPECT_EQ(&sarvo::simd::kernels(), table);
    }
    sarvo::simd::force_level(nullptr);
    EXPECT_EQ(&sarvo::simd::kernels(), levels().back());
}

TEST(Elementwise, EveryLevelHasTheBitsOfTheLoops) {
    test::Random random(1);
    for (const uint64_t n : lengths)
        for (const bool special : {false, true}) {
            const std::vector<double> x = values(n, random, special);
            const double s = special ? random.special() : random.symmetric();
            const std::string size = " of " + std::to_string(n);
            const auto storage = values(n, random, special);
            expect_same_bits(storage, "add" + size, [&](const Kernels &k, double *p) { k.add(n, x.data(), p, p); });
            expect_same_bits(storage, "scale" + size, [&](const Kernels &k, double *p) { k.scale(n, s, p, p); });
            expect_same_bits(storage, "shift" + size, [&](const Kernels &k, double *p) { k.shift(n, s, x.data(), p); });
            expect_same_bits(storage, "axpy" + size, [&](const Kernels &k, double *p) { k.axpy(n, s, x.data(), p); });
            expect_same_bits(storage, "subtract" + size,
                             [&](const Kernels &k, double *p) { k.subtract(n, x.data(), p, p); });
            expect_same_bits(storage, "multiply" + size,
                             [&](const Kernels &k, double *p) { k.multiply(n, x.data(), p, p); });
            expect_same_bits(storage, "divide" + size,
                             [&](const Kernels &k, double *p) { k.divide(n, x.data(), p, p); });
            expect_same_bits(storage, "divide_by" + size,
                             [&](const Kernels &k, double *p) { k.divide_by(n, s, p, p); });
            expect_same_bits(storage, "scale_add" + size,
                             [&](const Kernels &k, double *p) { k.scale_add(n, s, p, x.data(), p); });
        }
}

TEST(Searches, EveryLevelFindsWhatTheLoopsFind) {
    test::Random random(7);
    for (const uint64_t n : lengths)
        for (int round = 0; round < 40; round++) {
            std::vector<double> x = values(n, random, round % 2 == 1);
            if (round % 4 >= 2) // many equal values, both zeros among them
                for (double &v : x) v = static_cast<double>(random.below(3)) * (random.below(2) ? 1.0 : -1.0);
            std::vector<double> scales =
                values(n, random, round % 2 == 1); // largest magnitudes: 0 and infinity, no NaN
            for (double &v : scales) v = std::isnan(v) ? 0.0 : std::fabs(v);
            if (round % 8 >= 6) std::fill(scales.begin(), scales.end(), 0.5); // ties
            for (const Kernels *k : levels()) {
                const Kernels &loops = *levels()[0];
                const std::string what = std::string(k->level) + ", n = " + std::to_string(n);
                EXPECT_EQ(k->first_zero(n, x.data()), loops.first_zero(n, x.data())) << what;
                EXPECT_EQ(test::bits(k->max_abs(n, x.data())), test::bits(loops.max_abs(n, x.data()))) << what;
                EXPECT_EQ(k->scaled_pivot(n, x.data(), scales.data()), loops.scaled_pivot(n, x.data(), scales.data()))
                    << what;
                if (n == 0) continue;
                EXPECT_EQ(k->min_index(n, x.data()), loops.min_index(n, x.data())) << what;
                EXPECT_EQ(k->max_index(n, x.data()), loops.max_index(n, x.data())) << what;
            }
        }
}

TEST(Rows, EveryLevelHasTheBitsOfTheLoops) {
    test::Random random(8);
    for (const uint64_t rows : {0u, 1u, 3u, 7u, 8u, 9u, 16u, 17u, 25u, 40u})
        for (const uint64_t n : lengths)
            for (const bool special : {false, true}) {
                const uint64_t lda = n + 3;
                const auto a = values(rows * lda, random, special), x = values(n, random, special);
                const auto s = values(rows, random, special);
                std::vector<const double *> pointers(rows);
                for (uint64_t i = 0; i < rows; i++) pointers[i] = a.data() + i * lda;
                const std::string shape = " " + std::to_string(rows) + " x " + std::to_string(n);
                expect_same_bits(values(rows, random, special), "dot_rows" + shape,
                                 [&](const Kernels &k, double *p) { k.dot_rows(rows, n, a.data(), lda, x.data(), p); });
                expect_same_bits(values(rows, random, special), "max_abs_rows" + shape,
                                 [&](const Kernels &k, double *p) { k.max_abs_rows(rows, n, a.data(), lda, p); });
                expect_same_bits(values(n, random, special), "add_rows" + shape, [&](const Kernels &k, double *p) {
                    k.add_rows(rows, n, pointers.data(), s.data(), p);
                });
                expect_same_bits(
                    values(n * (rows + 2), random, special), "transpose" + shape,
                    [&](const Kernels &k, double *p) { k.transpose(rows, n, a.data(), lda, p, rows + 2); });
                expect_same_bits({1.0, 2.0}, "largest sums" + shape, [&](const Kernels &k, double *p) {
                    p[0] = k.max_row_sum(rows, n, a.data(), lda);
                    p[1] = k.max_column_sum(rows, n, a.data(), lda);
                });
            }
}

struct Shape {
    uint64_t m, n, k;
};

std::vector<Shape> product_shapes() {
    std::vector<Shape> shapes;
    for (const uint64_t size : lengths) shapes.push_back({size, size, size});
    for (const uint64_t size : {1u, 7u, 9u, 25u}) {
        shapes.push_back({size, 24, 65});
        shapes.push_back({24, size, 66});
        shapes.push_back({24, 25, size});
        shapes.push_back({0, size, 3});
        shapes.push_back({3, size, 0});
    }
    shapes.push_back({65, 24, 385}); // beyond a block of k, rows in place
    shapes.push_back({66, 481, 9});  // beyond a block of columns
    shapes.push_back({130, 50, 770});
    return shapes;
}

TEST(Product, EveryLevelHasTheBitsOfTheLoops) {
    test::Random random(2);
    for (const Shape &s : product_shapes())
        for (const bool special : {false, true})
            for (const bool transposed : {false, true}) {
                const uint64_t a_row = transposed ? 1 : s.k + 3;
                const uint64_t a_col = transposed ? s.m + 1 : 1;
                const std::vector<double> a = values((s.m + 3) * (s.k + 3), random, special);
                const std::vector<double> b = values(s.k * (s.n + 1), random, special);
                const std::vector<double> c = values(s.m * (s.n + 2), random, special);
                const std::string shape = " " + std::to_string(s.m) + " x " + std::to_string(s.n) + " x " +
                                          std::to_string(s.k) + (special ? ", special values" : "") +
                                          (transposed ? ", transposed" : "");
                const std::vector<double> bt = values(s.n * (s.k + 1), random, special);
                using Slot = decltype(Kernels::product);
                const struct {
                    const char *name;
                    Slot Kernels::*slot;
                    const std::vector<double> &b;
                    uint64_t ldb;
                } forms[] = {{"product", &Kernels::product, b, s.n + 1},
                             {"product_add", &Kernels::product_add, b, s.n + 1},
                             {"product_subtract", &Kernels::product_subtract, b, s.n + 1},
                             {"product_transposed", &Kernels::product_transposed, bt, s.k + 1}};
                for (const auto &form : forms)
                    expect_same_bits(c, form.name + shape, [&](const Kernels &k, double *p) {
                        std::vector<double> work(k.product_work(s.m, s.n, s.k) + 1);
                        (k.*form.slot)(s.m, s.n, s.k, a.data(), a_row, a_col, form.b.data(), form.ldb, p, s.n + 2,
                                       work.data());
                    });
            }
}

TEST(Product, LeavesOutZerosOfTheLeftOperandBesideInfinities) {
    const double inf = HUGE_VAL;
    const std::vector<double> a = {0.0, 2.0, -0.0, std::nan("")};
    const std::vector<double> b = {inf, 1.0, 3.0, inf};
    for (const Kernels *k : levels()) {
        std::vector<double> c(4, 99.0), work(k->product_work(2, 2, 2) + 1);
        k->product(2, 2, 2, a.data(), 2, 1, b.data(), 2, c.data(), 2, work.data());
        EXPECT_EQ(c[0], 6.0) << k->level; // 0 * inf is left out
        EXPECT_EQ(c[1], inf) << k->level;
        EXPECT_TRUE(std::isnan(c[2]) && std::isnan(c[3])) << k->level; // a NaN is not
    }
}

TEST(Product, AgreesWithExtendedPrecision) {
    test::Random random(3);
    const uint64_t m = 13, n = 29, k = 57;
    const auto a = values(m * k, random, false), b = values(k * n, random, false);
    const Kernels &kernel = sarvo::simd::kernels();
    std::vector<double> c(m * n), work(kernel.product_work(m, n, k));
    kernel.product(m, n, k, a.data(), k, 1, b.data(), n, c.data(), n, work.data());
    for (uint64_t i = 0; i < m; i++)
        for (uint64_t j = 0; j < n; j++) {
            long double sum = 0, size = 0;
            for (uint64_t l = 0; l < k; l++) {
                sum += static_cast<long double>(a[i * k + l]) * b[l * n + j];
                size += std::fabs(static_cast<long double>(a[i * k + l]) * b[l * n + j]);
            }
            // Each of the k products and k sums is off by at most half an ulp of the sum of magnitudes.
            EXPECT_LE(std::fabs(c[i * n + j] - sum), static_cast<long double>(k + 1) * 0x1p-53L * size);
        }
}

TEST(Sums, EveryLevelHasTheBitsOfTheLoops) {
    test::Random random(4);
    for (const uint64_t n : lengths)
        for (const bool special : {false, true})
            for (const uint64_t rows : {0u, 1u, 3u, 4u, 5u, 9u}) {
                const uint64_t lda = n + 3;
                const auto x = values(n, random, special), a = values((rows + 1) * lda, random, special);
                const std::string size = "dot8_rows of " + std::to_string(rows) + " x " + std::to_string(n);
                expect_same_bits(std::vector<double>(rows + 1), size, [&](const Kernels &k, double *p) {
                    k.dot8_rows(rows, n, a.data(), lda, x.data(), p);
                    p[rows] = k.dot8(n, a.data(), x.data());
                });
            }
}

TEST(Sums, FusedHouseholderPassHasTheBitsOfTheLoops) {
    test::Random random(5);
    for (const uint64_t n : {0u, 8u, 16u, 24u, 64u, 136u})
        for (const uint64_t rows : {0u, 1u, 3u, 4u, 5u, 6u, 7u, 12u, 13u})
            for (const bool special : {false, true}) {
                const uint64_t lda = n + 1;
                const auto u = values(rows, random, special), x = values(rows, random, special),
                           t = values(rows, random, special);
                const auto y = values(n, random, special), v = values(n, random, special);
                expect_same_bits(values(rows * lda + n, random, special),
                                 "update2_accumulate " + std::to_string(rows) + " x " + std::to_string(n),
                                 [&](const Kernels &k, double *p) {
                                     k.update2_accumulate(rows, n, p, lda, u.data(), y.data(), x.data(), v.data(),
                                                          t.data(), p + rows * lda);
                                 });
            }
}

TEST(TriangularSystems, EveryLevelHasTheBitsOfTheLoops) {
    test::Random random(9);
    constexpr uint64_t strip = sarvo::simd::solve_strip;
    for (const uint64_t n : {0u, 1u, 2u, 3u, 7u, 20u, 65u})
        for (const uint64_t columns : {1u, 4u, 8u, 9u, 16u, 17u, 24u, 25u, 31u, 32u})
            for (const bool special : {false, true}) {
                const auto u = values(n * (n + 2), random, special);
                const auto b = values(n * strip, random, special);
                std::vector<double> expected = b;
                levels()[0]->upper_solve_strip(n, u.data(), n + 2, columns, expected.data());
                for (const Kernels *k : levels()) {
                    Guarded x(b);
                    k->upper_solve_strip(n, u.data(), n + 2, columns, x.data());
                    EXPECT_TRUE(x.intact());
                    for (uint64_t i = 0; i < n; i++)
                        test::expect_equal_bits(x.data() + i * strip, expected.data() + i * strip, columns,
                                                std::to_string(columns) + " systems, level " + k->level);
                }
            }
}

TEST(Rotations, EveryLevelHasTheBitsOfTheLoops) {
    test::Random random(6);
    for (const uint64_t n : lengths)
        for (const bool special : {false, true}) {
            const double c = random.symmetric(), s = random.symmetric();
            expect_same_bits(values(2 * n, random, special), "rotate " + std::to_string(n),
                             [&](const Kernels &k, double *p) { k.rotate(n, c, s, p, p + n); });
        }
    const uint64_t rows = 12;
    const std::vector<std::pair<uint64_t, uint64_t>> ranges = {{0, 0}, {0, 1},  {3, 5}, {0, 3},
                                                               {2, 6}, {1, 11}, {0, 11}};
    for (const uint64_t n : {0u, 1u, 8u, 15u, 31u, 33u, 70u})
        for (const uint64_t sweeps : {0u, 1u, 2u, 3u, 4u, 5u, 8u, 11u})
            for (const auto &range : ranges)
                for (const bool special : {false, true}) {
                    const uint64_t first = range.first, last = range.second;
                    const uint64_t lda = n + 1, ldcs = 2 * rows;
                    const auto cs = values(sweeps * ldcs, random, false);
                    expect_same_bits(values(rows * lda, random, special),
                                     "rotate_sweeps " + std::to_string(sweeps) + " on rows " + std::to_string(first) +
                                         ".." + std::to_string(last) + " x " + std::to_string(n),
                                     [&](const Kernels &k, double *p) {
                                         k.rotate_sweeps(sweeps, first, last, n, cs.data(), ldcs, p, lda);
                                         k.rotate_scaled_sweeps(sweeps, first, last, n, cs.data(), ldcs, p, lda);
                                     });
                }
}

} // namespace
