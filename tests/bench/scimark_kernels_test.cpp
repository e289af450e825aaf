// Generator, stopwatch, counts of operations and the five kernels against the plain loops of their definitions.
#include <sarvo/scimark.h>

#include <algorithm>
#include <cmath>
#include <limits>

#include "bench_support.h"
#include "literal_kernels.h"

namespace {

using Doubles = std::vector<double>;

Doubles random_values(size_t n, uint64_t seed) {
    test::Random random(seed);
    Doubles x(n);
    for (double &v : x) v = random.symmetric();
    return x;
}

std::vector<double *> rows_of(Doubles &a, int M, int N) {
    std::vector<double *> rows;
    for (int i = 0; i < M; i++) rows.push_back(a.data() + i * N);
    return rows;
}

// ---- Generator ----

TEST(Generator, HasTheStatedStream) {
    for (const int32_t seed : {0, 1, 2, -2, 113, 101010, 101009, 65536, INT32_MAX, INT32_MIN}) {
        const test::bench::SystemFree blocks;
        Random *R;
        test::expect_success(new_Random_seed(seed, &R));
        literal::Generator stated(seed);
        for (int k = 0; k < 17; k++) EXPECT_EQ(R->m[k], stated.m[k]) << seed;
        EXPECT_TRUE(R->seed == seed && R->i == 4 && R->j == 16 && R->haveRange == 0);
        EXPECT_TRUE(R->left == 0.0 && R->right == 1.0 && R->width == 1.0);
        for (int k = 0; k < 1000; k++) ASSERT_EQ(Random_nextDouble(R), stated.next()) << "seed " << seed << ", " << k;
        EXPECT_TRUE(R->i == stated.i && R->j == stated.j);
        R->haveRange = 1;
        R->left = -3.0;
        R->width = 5.0;
        EXPECT_EQ(Random_nextDouble(R), -3.0 + stated.next() * 5.0);
        Random_delete(R);
        EXPECT_EQ(blocks.releases(), 1);
    }
    Random_delete(nullptr);
}

TEST(Generator, TakesAnEvenSeedForTheOddOneBelow) {
    Doubles streams[2];
    const test::bench::SystemFree blocks;
    for (const int32_t seed : {101010, 101009}) {
        Random *R;
        test::expect_success(new_Random_seed(seed, &R));
        for (int k = 0; k < 100; k++) streams[seed % 2].push_back(Random_nextDouble(R));
        Random_delete(R);
    }
    EXPECT_EQ(streams[0], streams[1]);
}

TEST(Generator, FillsVectorsAndMatricesRowByRow) {
    const test::bench::SystemFree blocks;
    Random *R;
    test::expect_success(new_Random_seed(5, &R));
    literal::Generator stated(5);
    double *x, **A;
    test::expect_success(RandomVector(7, R, &x));
    for (int i = 0; i < 7; i++) EXPECT_EQ(x[i], stated.next());
    test::expect_success(RandomMatrix(3, 4, R, &A));
    for (int i = 0; i < 3; i++)
        for (int j = 0; j < 4; j++) EXPECT_EQ(A[i][j], stated.next());
    free(x); // compatible with the system's
    sarko_mem_free(A);
    for (const auto &[M, N] : {std::pair{0, 4}, {4, 0}, {-1, 4}, {4, -1}}) {
        test::expect_success(RandomMatrix(M, N, R, &A));
        EXPECT_EQ(A, nullptr);
        test::expect_success(RandomVector(std::min(M, N), R, &x));
        EXPECT_EQ(x, nullptr);
    }
    EXPECT_EQ(Random_nextDouble(R), stated.next()) << "nothing was drawn for no elements";
    Random_delete(R);
}

// ---- Stopwatch ----

TEST(Stopwatch, SumsTheIntervalsThatItRuns) {
    const test::bench::SystemFree blocks;
    test::bench::Clock clock(0.0);
    ::Stopwatch *w;
    test::expect_success(new_Stopwatch(&w));
    const auto at = [&](double t) { clock.now = t; };
    const auto expect = [&](int32_t running, double last, double total) {
        EXPECT_TRUE(w->running == running && w->last_time == last && w->total == total)
            << w->running << " " << w->last_time << " " << w->total;
    };
    const auto read = [&](double total) { EXPECT_EQ(Stopwatch_read(w), total); };
    expect(0, 0.0, 0.0);
    at(10.0), Stopwatch_start(w), expect(1, 10.0, 0.0);
    at(11.0), Stopwatch_start(w), expect(1, 10.0, 0.0); // runs already
    at(13.0), read(3.0), expect(1, 13.0, 3.0);
    at(14.0), Stopwatch_stop(w), expect(0, 13.0, 4.0);
    at(20.0), Stopwatch_stop(w), read(4.0), expect(0, 13.0, 4.0);
    at(30.0), Stopwatch_resume(w), expect(1, 30.0, 4.0);
    at(31.0), Stopwatch_resume(w), expect(1, 31.0, 4.0); // what ran is dropped
    at(33.0), Stopwatch_stop(w), expect(0, 31.0, 6.0);
    at(40.0), Stopwatch_start(w), expect(1, 40.0, 0.0);
    Stopwatch_reset(w), expect(0, 0.0, 0.0);
    Stopwatch_delete(w);
    Stopwatch_delete(nullptr);
    EXPECT_EQ(blocks.releases(), 1);
}

// ---- Counts ----

TEST(Counts, FollowTheirFormulas) {
    EXPECT_EQ(FFT_num_flops(1024), 5118.0 * 10 + 2050);
    EXPECT_EQ(FFT_num_flops(1), 4.0);
    EXPECT_EQ(FFT_num_flops(0), 2.0);
    EXPECT_EQ(FFT_num_flops(5), 23.0 * 3 + 12); // three doublings pass 5
    EXPECT_EQ(FFT_num_flops(1 << 30), (5.0 * (1 << 30) - 2) * 30 + 2.0 * (1 << 30) + 2);
    EXPECT_EQ(SOR_num_flops(100, 50, 7), 99.0 * 49 * 7 * 6);
    EXPECT_EQ(SOR_num_flops(100000, 100000, 1 << 30), 99999.0 * 99999.0 * (1 << 30) * 6);
    EXPECT_EQ(MonteCarlo_num_flops(INT32_MAX), 4.0 * INT32_MAX);
    EXPECT_EQ(SparseCompRow_num_flops(1000, 5999, 3), 2.0 * 5000 * 3);
    EXPECT_EQ(SparseCompRow_num_flops(1000, 999, 3), 0.0);
    EXPECT_EQ(SparseCompRow_num_flops(0, 999, 3), 0.0);
    EXPECT_EQ(LU_num_flops(100), 2e6 / 3);
    for (uint32_t i = 0; i < 32; i++) {
        EXPECT_EQ(isPowerOfTwo(1u << i), 1);
        EXPECT_EQ(isPowerOfTwo((1u << i) - 1), i == 1) << i;
        EXPECT_EQ(isPowerOfTwo((1u << i) + 1), i == 0) << i;
    }
    EXPECT_EQ(isPowerOfTwo(0), 0);
}

// ---- Fourier transform ----

TEST(Fourier, HasTheBitsOfTheStatedStagesAndIsTheTransform) {
    for (int N = 1; N <= 4096; N *= 2) {
        const Doubles x = random_values(2 * static_cast<size_t>(N), 3);
        Doubles ours = x, stated = x;
        FFT_bitreverse(N, ours.data());
        literal::reverse_bits(N, stated.data());
        EXPECT_EQ(ours, stated);
        ours = stated = x;
        FFT_transform(N, ours.data());
        literal::fft(N, -1.0, stated.data());
        test::expect_equal_bits(ours.data(), stated.data(), ours.size(), "transform of " + std::to_string(N));
        if (N <= 256) // the defining sums
            for (int k = 0; k < N; k++) {
                std::complex<long double> sum = 0;
                for (int j = 0; j < N; j++)
                    sum += std::complex<long double>(x[2 * static_cast<size_t>(j)], x[2 * static_cast<size_t>(j) + 1]) *
                           std::polar(1.0L, -2 * M_PIl * (j * k % N) / N);
                EXPECT_NEAR(ours[2 * static_cast<size_t>(k)], static_cast<double>(sum.real()), 1e-13 * std::sqrt(N));
                EXPECT_NEAR(ours[2 * static_cast<size_t>(k) + 1], static_cast<double>(sum.imag()),
                            1e-13 * std::sqrt(N));
            }
        FFT_inverse(N, ours.data());
        literal::fft(N, 1.0, stated.data());
        for (double &v : stated) v *= 1.0 / N;
        test::expect_equal_bits(ours.data(), stated.data(), ours.size(), "inverse of " + std::to_string(N));
        for (size_t i = 0; i < x.size(); i++) EXPECT_NEAR(ours[i], x[i], 1e-14);
    }
}

TEST(Fourier, LeavesOtherSizesAlone) {
    const Doubles x = random_values(24, 4);
    for (const int N : {0, 3, 12, -4, INT32_MIN}) {
        Doubles data = x;
        FFT_transform(N, data.data());
        FFT_inverse(N, data.data());
        FFT_bitreverse(N, data.data());
        EXPECT_EQ(data, x) << N;
    }
}

// ---- The other kernels ----

TEST(Relaxation, HasTheBitsOfTheSweeps) {
    for (int M = 0; M <= 13; M++)
        for (const int N : {0, 1, 2, 3, 4, 5, 6, 7, 8, 20})
            for (const int iterations : {-1, 0, 1, 3}) {
                Doubles ours = random_values(static_cast<size_t>(M * N), 5), stated = ours;
                SOR_execute(M, N, 1.25, rows_of(ours, M, N).data(), iterations);
                literal::sor(M, N, 1.25, rows_of(stated, M, N).data(), iterations);
                test::expect_equal_bits(ours.data(), stated.data(), ours.size(),
                                        std::to_string(M) + " x " + std::to_string(N));
            }
}

TEST(MonteCarlo, CountsThePairsInTheDisc) {
    const test::bench::SystemFree blocks;
    for (const int32_t samples : {-5, 0, 1, 2, 16, 17, 18, 33, 34, 35, 1000, 100003}) {
        double estimate = -1.0;
        test::expect_success(MonteCarlo_integrate(samples, &estimate));
        EXPECT_EQ(estimate, literal::monte_carlo(samples)) << samples;
        EXPECT_NEAR(estimate, M_PI, samples > 1000 ? 0.02 : 4.0);
    }
}

TEST(Sparse, HasTheBitsOfTheRowSums) {
    test::Random random(6);
    for (const int N : {0, 1, 2, 3, 8, 33})
        for (const uint64_t longest : {0u, 1u, 5u, 40u}) {
            std::vector<int32_t> row = {0}, col;
            for (int r = 0; r < N; r++) {
                for (uint64_t k = random.below(longest + 1); k > 0; k--)
                    col.push_back(static_cast<int32_t>(random.below(static_cast<uint64_t>(N))));
                row.push_back(static_cast<int32_t>(col.size()));
            }
            Doubles val(col.size()), x(static_cast<size_t>(N)), ours(x.size(), 7.0), stated = ours;
            for (double &v : val) v = random.special();
            for (double &v : x) v = random.special();
            SparseCompRow_matmult(N, ours.data(), val.data(), row.data(), col.data(), x.data(), 0);
            EXPECT_EQ(ours, stated) << "no iterations, nothing written";
            SparseCompRow_matmult(N, ours.data(), val.data(), row.data(), col.data(), x.data(), 2);
            literal::matmult(N, stated.data(), val.data(), row.data(), col.data(), x.data(), 2);
            test::expect_equal_bits(ours.data(), stated.data(), ours.size(), "sparse " + std::to_string(N));
        }
}

TEST(Factorisation, HasTheBitsAndPivotsOfThePlainLoops) {
    test::Random random(7);
    for (const auto &[M, N] : {std::pair{0, 0},
                               {1, 1},
                               {2, 2},
                               {3, 5},
                               {5, 3},
                               {15, 15},
                               {16, 16},
                               {17, 17},
                               {31, 40},
                               {40, 31},
                               {64, 64},
                               {100, 100}})
        for (int kind = 0; kind < 5; kind++) {
            Doubles ours = random_values(static_cast<size_t>(M * N), 8);
            for (size_t i = 0; i < ours.size(); i++) {
                if (kind == 1) ours[i] = static_cast<double>(random.below(3)) - 1.0; // ties and zeros
                if (kind == 2 && i % static_cast<size_t>(N) == random.below(20) + 1) ours[i] = 0.0;
                if (kind == 3) ours[i] = 1.0 / static_cast<double>(1 + i % static_cast<size_t>(N)); // rank 1
                if (kind == 4) ours[i] = random.special();
            }
            Doubles stated = ours;
            std::vector<int32_t> pivot(static_cast<size_t>(std::min(M, N)), -1), expected = pivot;
            const std::string what = std::to_string(M) + " x " + std::to_string(N) + ", kind " + std::to_string(kind);
            EXPECT_EQ(LU_factor(M, N, rows_of(ours, M, N).data(), pivot.data()),
                      literal::lu(M, N, rows_of(stated, M, N).data(), expected.data()))
                << what;
            EXPECT_EQ(pivot, expected) << what;
            test::expect_equal_bits(ours.data(), stated.data(), ours.size(), what);
        }
}

} // namespace
