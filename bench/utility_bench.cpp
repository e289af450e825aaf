// Sorting, Jacobi eigenvalues, statistics, polygons, splines and the sampler beside the loops that their headers state,
// compiled for this very machine, and beside std::sort.
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <memory>
#include <random>
#include <vector>

#include <sarvo/geom.h>
#include <sarvo/nr.h>
#include <sarvo/rsamp.h>
#include <sarvo/sampler.h>

#include "../tests/support/utility_loops.h"
#include "harness.h"

namespace {

using Doubles = std::vector<double>;
bool all_right = true;

void check(bool right, const char *what) {
    if (!right) std::printf("%s: WRONG RESULT\n", what);
    all_right = all_right && right;
}

Doubles uniform(size_t n, unsigned seed, double from = -1.0, double to = 1.0) {
    std::mt19937_64 generator(seed);
    std::uniform_real_distribution<double> distribution(from, to);
    Doubles x(n);
    for (double &v : x) v = distribution(generator);
    return x;
}

void sorting() {
    for (const size_t n : {size_t{10000}, size_t{1000000}}) {
        const Doubles x = uniform(n, 1);
        Doubles stated = x, ours = x, theirs = x;
        sarvo_vector v = {SARVO_DOUBLE, n, n, ours.data()};
        test::literal::shell_sort(stated, n);
        check(sarvo_nr_sort_shell(&v, 0) == 0 && std::memcmp(ours.data(), stated.data(), n * sizeof(double)) == 0,
              "sort_shell");
        bench::compare("sort_shell", n, static_cast<double>(n),
                       {{"sarvo", [&] { ours = x; }, [&] { (void)sarvo_nr_sort_shell(&v, 0); }},
                        {"std::sort", [&] { theirs = x; }, [&] { std::sort(theirs.begin(), theirs.end()); }}},
                       n == 1000000 ? 4.0 : 0.0);
        bench::compare("  the passes", n, static_cast<double>(n),
                       {{"sarvo", [&] { ours = x; }, [&] { (void)sarvo_nr_sort_shell(&v, 0); }},
                        {"stated loop", [&] { stated = x; }, [&] { test::literal::shell_sort(stated, n); }}});
    }
}

void jacobi() {
    sarvo_nr_jtsm *record = nullptr;
    check(sarvo_nr_jtsm_init(&record) == 0, "jtsm_init");
    for (const size_t n : {16, 64, 128, 256}) {
        Doubles a = uniform(n * n, static_cast<unsigned>(n)), work = a, V, d;
        for (size_t i = 0; i < n; i++)
            for (size_t j = 0; j < i; j++) a[i * n + j] = a[j * n + i];
        sarvo_matrix *A = nullptr;
        check(sarvo_matrix_alloc(&A, SARVO_DOUBLE, 0, n, n) == 0, "matrix_alloc");
        std::copy(a.begin(), a.end(), static_cast<double *>(A->data));
        check(sarvo_nr_jtsm_compute(A, 0, 0, 0, record) == 0 && test::literal::jacobi(n, work, V, d) &&
                  std::memcmp(record->V->data, V.data(), n * n * sizeof(double)) == 0 &&
                  std::memcmp(record->d->data, d.data(), n * sizeof(double)) == 0,
              "jtsm_compute");
        bench::compare("jtsm_compute", n, static_cast<double>(n * n * n),
                       {{"sarvo", {}, [&] { (void)sarvo_nr_jtsm_compute(A, 0, 0, 0, record); }},
                        {"stated loop",
                         {},
                         [&] {
                             work = a;
                             (void)test::literal::jacobi(n, work, V, d);
                         }}},
                       n == 64 || n == 128 ? 3.0 : 0.0);
        sarvo_matrix_free(A);
    }
    sarvo_nr_jtsm_free(record);
}

volatile double sink;

// The recurrence of the mean, which every step of the four moments waits for: one subtraction, division, addition.
double mean_chain(const Doubles &x) {
    double mean = 0.0, k = 0.0;
    for (const double v : x) {
        k += 1.0;
        mean += (v - mean) / k;
    }
    return mean;
}

void statistics() {
    const Doubles x = uniform(20000, 3, 1.0, 2.0); // in the second-level cache
    const int32_t n = static_cast<int32_t>(x.size());
    const double add = bench::addition_latency(), chain = add * n;
    std::printf("an addition in a chain: %.3f ns\n", add * 1e9);
    const auto line = [n](const char *what, double ours, double floor) {
        std::printf("%-12s %8d | %11.3f us, floor %.3f us, %.3f of it, wanted 1.10%s\n", what, n, ours * 1e6,
                    floor * 1e6, ours / floor, ours > 1.1 * floor ? ": ABOVE" : "");
    };
    double mean, variance, skewness, kurtosis;
    const auto t = bench::interleave(
        {{"mean", {}, [&] { sink = sarvo_rsamp_mean(x.data(), n); }},
         {"variance", {}, [&] { sink = sarvo_rsamp_mean_variance(x.data(), n, &mean); }},
         {"moments", {}, [&] { sarvo_rsamp_statistics4(x.data(), n, &mean, &variance, &skewness, &kurtosis); }},
         {"chain", {}, [&] { sink = mean_chain(x); }}},
        201);
    check(std::fabs(mean - sarvo_rsamp_mean(x.data(), n)) < 1e-12 && mean == mean_chain(x), "statistics4");
    line("mean", t[0].median, chain);
    line("variance", t[1].median, 2 * chain);
    line("statistics4", t[2].median, t[3].median);
}

void polygons() {
    constexpr size_t n = 10000;
    const Doubles px = uniform(64, 5, -1.2, 1.2), py = uniform(64, 6, -1.2, 1.2);
    for (const bool round : {true, false}) {
        Doubles x = uniform(n, 7), y = uniform(n, 8); // every other edge passes a given height
        if (round)                                    // two do
            for (size_t i = 0; i < n; i++) {
                const double angle = 2 * M_PI * static_cast<double>(i) / n;
                x[i] = std::cos(angle) * (1 + 0.01 * x[i]);
                y[i] = std::sin(angle) * (1 + 0.01 * y[i]);
            }
        int ours = 0, stated = 0;
        for (size_t k = 0; k < px.size(); k++) {
            ours = sarvo_geom_pnpoly(n, x.data(), y.data(), px[k], py[k]);
            stated = test::literal::pnpoly(n, x.data(), y.data(), px[k], py[k]);
            check(ours == stated, "pnpoly");
        }
        bench::compare(round ? "pnpoly round" : "pnpoly wild", n, static_cast<double>(n * px.size()),
                       {{"sarvo",
                         {},
                         [&] {
                             for (size_t k = 0; k < px.size(); k++)
                                 ours += sarvo_geom_pnpoly(n, x.data(), y.data(), px[k], py[k]);
                         }},
                        {"stated loop",
                         {},
                         [&] {
                             for (size_t k = 0; k < px.size(); k++)
                                 stated += test::literal::pnpoly(n, x.data(), y.data(), px[k], py[k]);
                         }}},
                       3.0);
        sink = ours + stated;
    }
}

void splines() {
    constexpr size_t queries = 100000;
    for (const size_t n : {size_t{1000}, size_t{10000}, size_t{100000}}) {
        Doubles x = uniform(n, 9, 0.0, 1.0), q = uniform(queries, 11, 0.0, 1.0);
        const Doubles y = uniform(n, 10);
        std::sort(x.begin(), x.end());
        std::sort(q.begin(), q.end());
        sarvo_nr_itpl s;
        check(sarvo_nr_itpl_init_cspline(&s, x.data(), y.data(), nullptr, static_cast<int32_t>(n), 1e99, 1e99) == 0,
              "init_cspline");
        Doubles ours(queries), stated(queries);
        const auto evaluate = [&] {
            for (size_t k = 0; k < queries; k++) (void)sarvo_nr_itpl_cspline(&s, &ours[k], q[k]);
        };
        const auto loop = [&] {
            for (size_t k = 0; k < queries; k++) stated[k] = test::literal::spline(s, q[k]);
        };
        evaluate();
        loop();
        check(std::memcmp(ours.data(), stated.data(), queries * sizeof(double)) == 0, "cspline");
        bench::compare("cspline", n, static_cast<double>(queries), {{"sarvo", {}, evaluate}, {"bisection", {}, loop}},
                       3.0);
        sarvo_nr_itpl_free_cspline(&s);
    }
}

// 10^5 samples in random order: by bisection, and by the scan from the front that the result is stated with.
void sampler() {
    constexpr size_t n = 100000;
    const Doubles x = uniform(n, 12);
    bench::compare("sampler add", n, static_cast<double>(n),
                   {{"sarvo",
                     {},
                     [&] {
                         sarvo_fsampler_1d_t *s = sarvo_fsampler_1d_new(nullptr);
                         for (const double v : x) (void)sarvo_fsampler_1d_add(s, v, v * v, 0);
                         sarvo_fsampler_1d_destroy(s);
                     }},
                    {"scan", {}, [&] {
                         std::vector<sarvo_fsampler_1d_sample_t> all;
                         for (const double v : x) {
                             size_t p = 0;
                             while (p < all.size() && !(all[p].x > v)) p++;
                             all.insert(all.begin() + static_cast<std::ptrdiff_t>(p), {v, v * v, 0.0, 0});
                         }
                         sink = all.back().x;
                     }}});
}

} // namespace

int main() {
    if (sarvo_initialize() != 0) return 1;
    bench::print_environment("the standard library of the compiler");
    sorting();
    jacobi();
    statistics();
    polygons();
    splines();
    sampler();
    sarvo_terminate();
    return all_right ? 0 : 1;
}
