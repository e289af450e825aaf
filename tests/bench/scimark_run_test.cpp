// Timed runs of the kernels and the suite, on a clock of the test: passes, rates, results, composite, errors.
#include <sarvo/scimark.h>

#include <cmath>
#include <cstring>

#include "bench_support.h"
#include "literal_kernels.h"

namespace {

using Doubles = std::vector<double>;
using test::bench::Clock;

struct Figures {
    double mflops = -1.0, result = -1.0;
    int64_t cycles = -1;
};

// A kernel timed in `passes` passes, the last of which alone is long enough: 1 second.
template <class Kernel> Figures measured(int passes, Kernel kernel) {
    const test::bench::SystemFree blocks;
    Random *R;
    test::expect_success(new_Random_seed(101010, &R));
    const Clock clock([=](int64_t k) { return k % 2 == 0 ? 5.0 : k / 2 + 1 == passes ? 1.0 : 0.25; });
    Figures run;
    test::expect_success(kernel(1.0, R, &run.mflops, &run.result, &run.cycles));
    EXPECT_EQ(run.cycles, int64_t{1} << (passes - 1));
    EXPECT_EQ(clock.readings, 2 * passes);
    Random_delete(R);
    return run;
}

std::vector<double *> rows_of(Doubles &a, int N) {
    std::vector<double *> rows;
    for (int i = 0; i < N; i++) rows.push_back(a.data() + i * N);
    return rows;
}

Doubles drawn(literal::Generator &generator, int n) {
    Doubles x;
    for (int i = 0; i < n; i++) x.push_back(generator.next());
    return x;
}

constexpr int passes = 4; // of 1, 2, 4 and 8 cycles

TEST(TimedRuns, FourierAddsUpTheErrorOfAPair) {
    constexpr int N = 64;
    const auto pair = [](Doubles x) {
        literal::fft(N, -1.0, x.data());
        literal::fft(N, 1.0, x.data());
        for (double &v : x) v *= 1.0 / N;
        return x;
    };
    literal::Generator generator(101010);
    Doubles x = drawn(generator, 2 * N);
    double total = 0.0;
    for (int pass = 0; pass < passes; pass++) {
        for (int c = 0; c < 1 << pass; c++) x = pair(x);
        const Doubles once_more = pair(x);
        double sum = 0.0;
        for (size_t i = 0; i < x.size(); i++) sum += (once_more[i] - x[i]) * (once_more[i] - x[i]);
        total += std::sqrt(sum / (2 * N));
    }
    const Figures run = measured(passes, [](auto... a) { return kernel_measureFFT(N, a...); });
    EXPECT_EQ(run.result, total);
    EXPECT_GT(run.result, 0.0);
    EXPECT_LT(run.result, 1e-14);
    EXPECT_EQ(run.mflops, FFT_num_flops(N) * 8 * 1e-6);
}

TEST(TimedRuns, RelaxationAddsUpTheMeans) {
    constexpr int N = 11;
    literal::Generator generator(101010);
    Doubles g = drawn(generator, N * N);
    double total = 0.0;
    for (int pass = 0; pass < passes; pass++) {
        literal::sor(N, N, 1.25, rows_of(g, N).data(), 1 << pass);
        double sum = 0.0;
        for (const double v : g) sum += v;
        total += sum / (N * N);
    }
    const Figures run = measured(passes, [](auto... a) { return kernel_measureSOR(N, a...); });
    EXPECT_EQ(run.result, total);
    EXPECT_EQ(run.mflops, 10.0 * 10 * 8 * 6 * 1e-6);
}

TEST(TimedRuns, MonteCarloAddsUpTheEstimates) {
    double total = 0.0;
    for (int pass = 0; pass < 12; pass++) total += literal::monte_carlo(1 << pass);
    const Figures run = measured(12, [](auto... a) { return kernel_measureMonteCarlo(a...); });
    EXPECT_EQ(run.result, total);
    EXPECT_NEAR(run.result / 12, M_PI, 0.5);
    EXPECT_EQ(run.mflops, 4.0 * 2048 * 1e-6);
}

TEST(TimedRuns, SparseAddsUpTheSumsOfTheProduct) {
    for (const auto &[N, nz] : {std::pair{10, 35}, {10, 9}, {7, 70}, {3, -3}, {0, 5}}) {
        const int n = N && nz > 0 ? nz / N : 0;
        literal::Generator generator(101010);
        const Doubles x = drawn(generator, N), val = drawn(generator, n * N);
        double total = 0.0;
        for (int pass = 0; pass < passes; pass++) {
            double sum = 0.0;
            for (int r = 0; r < N; r++) {
                double y = 0.0;
                for (int k = 0; k < n; k++)
                    y += val[static_cast<size_t>(r * n + k)] * x[static_cast<size_t>((r + k * N / n) % N)];
                sum += y;
            }
            total += sum;
        }
        const Figures run =
            measured(passes, [N = N, nz = nz](auto... a) { return kernel_measureSparseMatMult(N, nz, a...); });
        EXPECT_EQ(run.result, total) << N << " " << nz;
        EXPECT_EQ(run.mflops, 2.0 * n * N * 8 * 1e-6) << N << " " << nz;
        EXPECT_EQ(run.result == 0.0, n == 0);
    }
}

TEST(TimedRuns, FactorisationAddsUpTheResiduals) {
    constexpr int N = 20;
    literal::Generator generator(101010);
    const Doubles a = drawn(generator, N * N);
    Doubles lu = a;
    std::vector<int32_t> pivot(N);
    ASSERT_EQ(literal::lu(N, N, rows_of(lu, N).data(), pivot.data()), 0);
    Doubles pa = a;
    for (int j = 0; j < N; j++)
        if (pivot[static_cast<size_t>(j)] != j)
            std::swap_ranges(&pa[static_cast<size_t>(j * N)], &pa[static_cast<size_t>(j * N)] + N,
                             &pa[static_cast<size_t>(pivot[static_cast<size_t>(j)] * N)]);
    long double sum = 0.0;
    for (int i = 0; i < N; i++)
        for (int j = 0; j < N; j++) {
            double e = pa[static_cast<size_t>(i * N + j)];
            for (int k = 0; k <= std::min(i, j); k++)
                e -= (k == i ? 1.0 : lu[static_cast<size_t>(i * N + k)]) * lu[static_cast<size_t>(k * N + j)];
            sum += static_cast<long double>(e) * e;
        }
    const double residual = static_cast<double>(std::sqrt(sum / (N * N)));
    const Figures run = measured(passes, [](auto... a_) { return kernel_measureLU(N, a_...); });
    EXPECT_NEAR(run.result, passes * residual, 1e-3 * residual);
    EXPECT_GT(run.result, 0.0);
    EXPECT_LT(run.result, 1e-14);
    EXPECT_EQ(run.mflops, LU_num_flops(N) * 8 * 1e-6);
}

TEST(TimedRuns, OfSizesWithoutWorkEndAtOnceOnANaN) {
    const test::bench::SystemFree blocks;
    Random *R;
    test::expect_success(new_Random_seed(1, &R));
    for (const double min_time : {std::nan(""), -1.0}) {
        Figures run;
        test::expect_success(kernel_measureSOR(0, min_time, R, &run.mflops, &run.result, &run.cycles));
        EXPECT_TRUE(run.result == 0.0 && run.cycles == 1);
        test::expect_success(kernel_measureLU(0, min_time, R, &run.mflops, &run.result, &run.cycles));
        EXPECT_TRUE(run.result == 0.0 && run.cycles == 1);
        test::expect_success(kernel_measureFFT(1, min_time, R, &run.mflops, &run.result, &run.cycles));
        EXPECT_TRUE(run.result == 0.0 && run.cycles == 1);
    }
    Random_delete(R);
}

TEST(TimedRuns, RefuseSizesThatTheyCannotHave) {
    Figures run;
    const auto refused = [&](sarko_error_t e, const std::string &text) {
        test::expect_error(e, SarvoSMInvalidNumEC, {text});
        EXPECT_TRUE(run.mflops == -1.0 && run.result == -1.0 && run.cycles == -1);
    };
    for (const int32_t N : {0, 3, 1000, -4, INT32_MIN})
        refused(kernel_measureFFT(N, 1.0, nullptr, &run.mflops, &run.result, &run.cycles),
                "Requested FFT size (" + std::to_string(N) + ") is a not power of two!");
    refused(kernel_measureSOR(-1, 1.0, nullptr, &run.mflops, &run.result, &run.cycles), "Invalid number");
    refused(kernel_measureLU(-1, 1.0, nullptr, &run.mflops, &run.result, &run.cycles), "Invalid number");
    refused(kernel_measureSparseMatMult(-1, 5, 1.0, nullptr, &run.mflops, &run.result, &run.cycles), "Invalid number");
}

// ---- The suite ----

struct Results {
    double mflops[6], result[6];
    int64_t cycles[6];
    Results() { std::memset(this, 0x77, sizeof *this); }
};

TEST(Suite, OfNothingIsAllZero) {
    const test::bench::SystemFree blocks;
    Results r;
    test::expect_success(sarvo_scimark_all(0, 0, 0, 0, 0, 0, 1.0, r.mflops, r.result, r.cycles));
    EXPECT_EQ(test::bytes(&r, sizeof r), std::string(sizeof r, '\0'));
    test::expect_success(sarvo_scimark_all(0, 0, 10, 0, 0, 0, 1.0, r.mflops, r.result, r.cycles));
    test::expect_success(sarvo_scimark_all(0, 0, 0, 10, 0, 0, 1.0, r.mflops, r.result, r.cycles));
    EXPECT_EQ(test::bytes(&r, sizeof r), std::string(sizeof r, '\0'));
}

TEST(Suite, RunsWhatIsAskedForAndAveragesIt) {
    for (uint32_t wanted = 1; wanted < 32; wanted++) { // a bit for each kernel
        const test::bench::SystemFree blocks;
        const auto size = [&](uint32_t slot, int32_t n) { return wanted >> (slot - 1) & 1 ? n : 0; };
        const Clock clock([](int64_t k) { return k % 4 == 3 ? 1.0 : 0.25; }); // two passes each
        Results r;
        test::expect_success(sarvo_scimark_all(size(1, 16), size(2, 8), size(4, 10), 30, size(5, 12), size(3, 1), 0.5,
                                               r.mflops, r.result, r.cycles));
        double mflops = 0.0, result = 0.0;
        int64_t kernels = 0;
        for (uint32_t slot = 1; slot <= 5; slot++) {
            const bool ran = wanted >> (slot - 1) & 1;
            EXPECT_EQ(r.cycles[slot], ran ? 2 : 0) << slot << " of " << wanted;
            EXPECT_EQ(r.mflops[slot] > 0.0, ran) << slot;
            EXPECT_EQ(r.result[slot] != 0.0, ran) << slot;
            mflops += r.mflops[slot];
            result += r.result[slot];
            kernels += ran;
        }
        EXPECT_EQ(r.mflops[0], mflops / static_cast<double>(kernels));
        EXPECT_EQ(r.result[0], result / static_cast<double>(kernels));
        EXPECT_EQ(r.cycles[0], 2 * kernels);
        EXPECT_GT(blocks.releases(), kernels) << "the generator and the stopwatches, by the system's free";
    }
}

TEST(Suite, TakesTwoSecondsForNoTime) {
    const test::bench::SystemFree blocks;
    const Clock clock([](int64_t k) { return k % 2 ? static_cast<double>(k / 2) : 0.0; }); // passes of 0, 1, 2 s
    Results r;
    test::expect_success(sarvo_scimark_all(0, 0, 0, 0, 0, 1, 0.0, r.mflops, r.result, r.cycles));
    EXPECT_EQ(r.cycles[3], 4);
}

TEST(Suite, StopsAtTheKernelThatFails) {
    const test::bench::SystemFree blocks;
    const Clock clock(1.0);
    Results r;
    test::expect_error(sarvo_scimark_all(1000, 8, 10, 30, 6, 1, 0.5, r.mflops, r.result, r.cycles), SarvoSMInvalidNumEC,
                       {"SciMark error.", "Requested FFT size (1000) is a not power of two!"});
    EXPECT_EQ(test::bytes(&r, sizeof r), std::string(sizeof r, '\0'));
    test::expect_error(sarvo_scimark_all(16, -8, 10, 30, 6, 1, 0.5, r.mflops, r.result, r.cycles), SarvoSMInvalidNumEC,
                       {"SciMark error.", "Invalid number"});
    EXPECT_GT(r.mflops[1], 0.0);
    EXPECT_EQ(r.mflops[0], r.mflops[1]);
    EXPECT_EQ(r.cycles[0], 1);
    for (int slot = 2; slot <= 5; slot++) EXPECT_TRUE(r.mflops[slot] == 0.0 && r.cycles[slot] == 0);
}

} // namespace
