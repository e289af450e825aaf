// Geometry: the stated crossings at every level, shared edges, integers that wrap, the rectangle's cases.
#include <sarvo/geom.h>

#include <cmath>

#include "simd/simd.h"
#include "test_support.h"
#include "utility_loops.h"

namespace {

using Doubles = std::vector<double>;

TEST(Polygon, SquareIsHalfOpen) {
    const double x[] = {0, 1, 1, 0}, y[] = {0, 0, 1, 1};
    constexpr int64_t big = int64_t{1} << 40;
    const std::vector<int64_t> pts = {0, 0, big, 0, big, big, 0, big, 77};
    const auto inside = [&](double px, double py) {
        const int32_t found = sarvo_geom_pnpoly(4, x, y, px, py);
        const auto scaled = [](double v) { return static_cast<int64_t>(v * static_cast<double>(big)); };
        EXPECT_EQ(sarvo_geom_pnpoly_int64v(9, pts.data(), scaled(px), scaled(py)), found) << px << " " << py;
        return found;
    };
    EXPECT_EQ(inside(0.5, 0.5), 1);
    EXPECT_EQ(inside(1.5, 0.5), 0);
    EXPECT_EQ(inside(0.0, 0.5), 1);
    EXPECT_EQ(inside(1.0, 0.5), 0);
    EXPECT_EQ(inside(0.5, 0.0) + inside(0.5, 1.0), 1);
    EXPECT_EQ(sarvo_geom_pnpoly(0, nullptr, nullptr, 0, 0), 0);
    for (const uint32_t nvals : {0u, 1u}) EXPECT_EQ(sarvo_geom_pnpoly_int64v(nvals, nullptr, 0, 0), 0);
}

TEST(Polygon, EveryLevelHasTheParityOfTheLoop) {
    const sarvo::simd::Kernels *tables[sarvo::simd::most_levels];
    const uint32_t levels = sarvo::simd::available_levels(tables, sarvo::simd::most_levels);
    test::Random random(93);
    int inside = 0, cases = 0;
    for (int round = 0; round < 6000; round++) {
        const size_t n = 1 + random.below(90);
        Doubles x(n), y(n);
        for (size_t i = 0; i < n; i++) {
            const bool grid = round % 3 == 1; // vertices at the height of the point, vertical and horizontal edges
            x[i] = grid ? static_cast<double>(random.below(4)) : round % 3 ? random.special() : random.symmetric();
            y[i] = grid ? static_cast<double>(random.below(4)) : round % 3 ? random.special() : random.symmetric();
        }
        const double px = round % 3 == 1 ? static_cast<double>(random.below(4)) : 0.3 * random.symmetric();
        const double py = round % 3 == 1 ? static_cast<double>(random.below(4)) : 0.3 * random.symmetric();
        const int32_t expected = test::literal::pnpoly(n, x.data(), y.data(), px, py);
        inside += expected;
        cases++;
        for (uint32_t l = 0; l < levels; l++) {
            sarvo::simd::force_level(tables[l]);
            EXPECT_EQ(sarvo_geom_pnpoly(static_cast<uint32_t>(n), x.data(), y.data(), px, py), expected)
                << tables[l]->level << ", round " << round;
        }
    }
    sarvo::simd::force_level(nullptr);
    EXPECT_TRUE(inside > cases / 10 && inside < cases * 9 / 10) << inside << " of " << cases;
}

TEST(Polygon, IntegerQuotientsTruncateAndNothingTraps) {
    // The edge from (0, 0) to (-3, 2) at height 1: -3/2 truncates to -1 (the real crossing is at -1.5).
    const int64_t triangle[] = {-3, 2, 0, 0, 5, 5};
    EXPECT_EQ(sarvo_geom_pnpoly_int64v(6, triangle, -2, 1), 0);
    EXPECT_EQ(sarvo_geom_pnpoly_int64v(6, triangle, -1, 1), 1);
    const int64_t least = INT64_MIN; // numerator least, denominator -1
    const int64_t edge[] = {0, 1, least, 0, 0, 1};
    EXPECT_EQ(sarvo_geom_pnpoly_int64v(6, edge, 5, 0), sarvo_geom_pnpoly_int64v(4, edge, 5, 0));
}

TEST(Rectangle, AgainstCircles) {
    struct Row {
        double x, y, w, h, cx, cy, r;
        int32_t expected;
        double near, far;
    };
    const Row rows[] = {
        {0, 0, 1, 1, 0.5, 0.5, 1, 1, 0, std::sqrt(0.5)},  {0, 0, 6, 8, 3, 4, 5, 0, 0, 5},
        {0, 0, 1, 1, 3, 0.5, 1, -1, 2, std::sqrt(9.25)},  {0, 0, 1, 1, 2, 0.5, 1, 0, 1, std::sqrt(4.25)},
        {0, 0, 1, 1, -3, -4, 5.1, 0, 5, std::sqrt(41.0)}, {0, 0, 1, 1, 0.5, 9, 1, -1, 8, std::sqrt(81.25)}};
    for (const Row &t : rows) {
        double near = -1, far = -1;
        EXPECT_EQ(sarvo_geom_rect_circle_itest(&near, &far, t.x, t.y, t.w, t.h, t.cx, t.cy, t.r), t.expected) << t.cx;
        EXPECT_EQ(near, t.near) << t.cx;
        EXPECT_EQ(far, t.far) << t.cx;
        EXPECT_EQ(sarvo_geom_rect_circle_itest(nullptr, nullptr, t.x, t.y, t.w, t.h, t.cx, t.cy, t.r), t.expected);
    }
}

} // namespace
