// Interpolation: places found by bisection and hunting, the spline's bits and smoothness, refusals; and Shell sort.
#include <sarvo/nr.h>

#include <algorithm>
#include <cmath>

#include "test_support.h"
#include "utility_loops.h"

namespace {

using Doubles = std::vector<double>;
using test::expect_error;
using test::expect_success;

Doubles table(size_t n, bool ascending, test::Random &random) {
    Doubles x(n);
    double at = -3.0;
    for (double &v : x) v = at += 0.01 + random.uniform();
    if (!ascending) std::reverse(x.begin(), x.end());
    return x;
}

TEST(Table, HuntingFindsWhatBisectionFinds) {
    test::Random random(530);
    for (const bool ascending : {true, false})
        for (const int32_t n : {2, 3, 4, 17, 1000, 10000})
            for (const int32_t m : {2, 3, 4, 7}) {
                sarvo_nr_itpl s, h;
                const Doubles x = table(static_cast<size_t>(n), ascending, random);
                if (m > n) continue;
                expect_success(sarvo_nr_itpl_init(&s, x.data(), x.data(), n, m));
                expect_success(sarvo_nr_itpl_init(&h, x.data(), x.data(), n, m));
                EXPECT_EQ(s.hunt_distance, n == 10000 ? 10 : n == 1000 ? 5 : n == 17 ? 2 : 1);
                int32_t before = 0;
                for (int q = 0; q < 400; q++) {
                    const double at = q % 5 == 0 ? x[random.below(x.size())] // an abscissa itself
                                                 : random.symmetric() * static_cast<double>(n);
                    if (q % 50 == 7) h.last = q % 100 == 7 ? -4 : n; // not a place: bisection
                    const int32_t lo = test::literal::bisect(s, at);
                    const int32_t first = std::max(0, std::min(n - m, lo - ((m - 2) >> 1)));
                    ASSERT_EQ(sarvo_nr_itpl_locate(&s, at), static_cast<uint32_t>(first)) << at;
                    ASSERT_EQ(sarvo_nr_itpl_hunt(&h, at), static_cast<uint32_t>(first)) << at;
                    ASSERT_EQ(s.last, lo);
                    ASSERT_EQ(s.correlated, std::abs(lo - before) <= s.hunt_distance);
                    before = lo;
                }
            }
}

TEST(Spline, HasTheBitsOfTheLoopAndRunsThroughThePoints) {
    test::Random random(531);
    for (const int32_t n : {2, 3, 10, 1000})
        for (const bool ascending : {true, false})
            for (const double end : {1e99, 0.25}) {
                const Doubles x = table(static_cast<size_t>(n), ascending, random);
                Doubles y(x.size()), storage(x.size(), -1.0);
                for (double &v : y) v = random.symmetric();
                sarvo_nr_itpl s, given;
                expect_success(sarvo_nr_itpl_init_cspline(&s, x.data(), y.data(), nullptr, n, end, end));
                expect_success(sarvo_nr_itpl_init_cspline(&given, x.data(), y.data(), storage.data(), n, end, end));
                EXPECT_TRUE(s.y2_owned == 1 && given.y2_owned == 0 && given.y2 == storage.data());
                test::expect_equal_bits(s.y2, storage.data(), x.size(), "second derivatives");
                for (int q = 0; q < 600; q++) {
                    const bool sorted = q < 400; // near each other: hunted; then anywhere
                    const double t = sorted ? q / 400.0 : random.uniform() * 1.2 - 0.1;
                    const double at = x.front() + t * (x.back() - x.front());
                    double value;
                    expect_success(sarvo_nr_itpl_cspline(&s, &value, at));
                    ASSERT_EQ(test::bits(value), test::bits(test::literal::spline(s, at))) << at;
                }
                const auto slope = [&](size_t i, double a,
                                       double b) { // of interval i at its ends, (a, b) = (1, 0), (0, 1)
                    const double h = x[i + 1] - x[i];
                    return (y[i + 1] - y[i]) / h -
                           ((3 * a * a - 1) * s.y2[i] - (3 * b * b - 1) * s.y2[i + 1]) * h / 6.0;
                };
                for (size_t i = 0; i < x.size(); i++) {
                    double value;
                    expect_success(sarvo_nr_itpl_cspline(&s, &value, x[i]));
                    EXPECT_NEAR(value, y[i], 1e-14);
                    if (i == 0 || i + 1 == x.size()) continue;
                    EXPECT_NEAR(slope(i - 1, 0, 1), slope(i, 1, 0), 1e-9);
                }
                EXPECT_NEAR(end < 1 ? slope(0, 1, 0) - end : s.y2[0], 0.0, 1e-9);
                EXPECT_NEAR(end < 1 ? slope(x.size() - 2, 0, 1) - end : s.y2[n - 1], 0.0, 1e-9);
                sarvo_nr_itpl_free_cspline(&s);
                sarvo_nr_itpl_free_cspline(&s);
                sarvo_nr_itpl_free_cspline(&given);
                EXPECT_EQ(given.y2, storage.data());
            }
}

TEST(Spline, HuntsWhenQueriesStayNear) {
    Doubles x(10001), y(10001, 0.0);
    for (size_t i = 0; i < x.size(); i++) x[i] = static_cast<double>(i);
    sarvo_nr_itpl s;
    double value;
    expect_success(sarvo_nr_itpl_init_cspline(&s, x.data(), y.data(), nullptr, 10001, 1e99, 1e99));
    const int32_t correlated[] = {0, 1, 1, 0, 1};
    const double at[] = {500.5, 503.5, 513.5, 524.5, 524.6};
    for (int q = 0; q < 5; q++) {
        expect_success(sarvo_nr_itpl_cspline(&s, &value, at[q]));
        EXPECT_EQ(s.correlated, correlated[q]) << at[q];
    }
    sarvo_nr_itpl_free_cspline(&s);
}

TEST(Interpolation, RefusesInOrder) {
    const double x[] = {0, 1, 1, 2}, y[] = {0, 1, 0, 0};
    const std::string w = "Cannot init interpolation.", null = "Input structure is not initialized";
    sarvo_nr_itpl s;
    s.y2_owned = 1; // what was there before
    expect_error(sarvo_nr_itpl_init(nullptr, x, y, 1, 1), SarvoNullEC, {w, null});
    for (const auto &[n, m] : {std::pair(3, 4), {1, 1}, {3, 1}, {-5, 2}})
        expect_error(sarvo_nr_itpl_init(&s, nullptr, y, n, m), SarvoNrSizeEC,
                     {w, "n=" + std::to_string(n) + ", m=" + std::to_string(m)});
    expect_error(sarvo_nr_itpl_init(&s, x, nullptr, 3, 2), SarvoNullEC, {w, null});
    expect_error(sarvo_nr_itpl_init_cspline(&s, x, y, nullptr, 1, 0, 0), SarvoNrSizeEC, {w, "n=1, m=2"});
    sarvo_nr_itpl_free_cspline(&s); // nothing to release
    expect_error(sarvo_nr_itpl_init_cspline(nullptr, x, y, nullptr, 4, 0, 0), SarvoNullEC, {w, null});
    expect_success(sarvo_nr_itpl_init(&s, x, y, 2, 2));
    expect_success(sarvo_nr_itpl_init(&s, x, y, 4, 2));
    double value = -9.0;
    s.last = 1; // hunting upward from the first of the equal abscissae ends between them
    s.correlated = 1;
    const double tied[] = {0, 1, 1, 1};
    s.x = tied;
    expect_error(sarvo_nr_itpl_cspline(&s, &value, 3.0), SarvoNrStepEC, {"Invalid step size"});
    EXPECT_EQ(value, -9.0);
    sarvo_nr_itpl_free_cspline(nullptr);
    const double tent[] = {0, 1, 2}, up[] = {0, 1, 0};
    expect_success(sarvo_nr_itpl_init_cspline(&s, tent, up, nullptr, 3, 1e99, 1e99));
    expect_success(sarvo_nr_itpl_cspline(&s, &value, 0.5));
    EXPECT_EQ(value, 0.6875);
    sarvo_nr_itpl_free_cspline(&s);
}

TEST(Sort, LeavesWhatTheStatedPassesLeave) {
    test::Random random(521);
    for (const size_t n : {1u, 2u, 3u, 13u, 14u, 40u, 41u, 200u, 3999u, 4000u, 9000u})
        for (int kind = 0; kind < 5; kind++) {
            Doubles x(n + 3);
            for (double &v : x)
                v = kind == 0   ? random.symmetric()
                    : kind == 1 ? static_cast<double>(random.below(5)) - 2.0
                    : kind == 2 ? (random.below(3)   ? random.symmetric()
                                   : random.below(2) ? 0.0
                                                     : -0.0)
                    : kind == 3 ? random.special()
                                : -1e300 * random.uniform();
            Doubles expected = x;
            test::literal::shell_sort(expected, n);
            sarvo_vector *v = test::vector_of(x), *w = test::vector_of(x);
            const std::string what = "n = " + std::to_string(n) + ", kind " + std::to_string(kind);
            expect_success(sarvo_nr_sort_shell(v, n));
            test::expect_equal_bits(static_cast<double *>(v->data), expected.data(), x.size(), what);
            test::memory::arm(1, true); // no memory at all
            const sarko_error_t e = sarvo_nr_sort_shell(w, n);
            test::memory::disarm();
            expect_success(e);
            test::expect_equal_bits(static_cast<double *>(w->data), expected.data(), x.size(), what + ", no memory");
            sarvo_vector_free(w);
            if (kind != 3) {
                for (const uint64_t whole : {uint64_t{0}, n + 4, UINT64_MAX}) {
                    expect_success(sarvo_nr_sort_shell(v, whole));
                    EXPECT_TRUE(std::is_sorted(&test::at(v, 0), &test::at(v, 0) + x.size()));
                }
            }
            sarvo_vector_free(v);
        }
    sarvo_vector *five = test::vector_of({5, 4, 3, 2, 1}), *none = test::vector_of({});
    expect_success(sarvo_nr_sort_shell(five, 3));
    EXPECT_EQ(Doubles(&test::at(five, 0), &test::at(five, 0) + 5), (Doubles{3, 4, 5, 2, 1}));
    expect_error(sarvo_nr_sort_shell(nullptr, 0), SarvoNullEC, {"Input structure is not initialized"});
    expect_error(sarvo_nr_sort_shell(none, 0), SarvoNrSizeEC, {"Incorrect size"});
    sarvo_vector_free(five);
    sarvo_vector_free(none);
}

} // namespace
