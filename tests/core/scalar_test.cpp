// Scalar utilities: integer powers, overflow tests, classification, comparison, the four-value sort, the block printer.
#include <sarvo/sarvo.h>

#include <float.h>
#include <stdio.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>

#include "test_support.h"

namespace {

constexpr double inf = std::numeric_limits<double>::infinity();
constexpr double nan = std::numeric_limits<double>::quiet_NaN();

__extension__ typedef __int128 int128;

// ---- Integer powers ----

TEST(IntegerPower, NamedValues) {
    struct Case {
        int32_t base, exponent, power;
    };
    const Case cases[] = {
        {0, 0, -1},
        {5, 0, 1},
        {-5, 0, 1},
        {0, 1, 0},
        {0, -3, 0},
        {1, -3, 1},
        {2, 30, 1073741824},
        {2, 31, -2},
        {65536, 2, -3},
        {-2, 3, -2},
        {-7, 1, -7},
        {-2, 2, -3},
        {46340, 2, 2147395600},
        {46341, 2, -3},
        {3, 19, 1162261467},
        {3, 20, -2},
        {10, 9, 1000000000},
        {10, 10, -2},
        {2, -1, -2},
        {2, -2, -3},
    };
    for (const Case &c : cases) EXPECT_EQ(sarvo_ipow(c.base, c.exponent), c.power) << c.base << '^' << c.exponent;
    EXPECT_EQ(sarvo_i64pow(2, 62), 4611686018427387904);
    EXPECT_EQ(sarvo_i64pow(2, 63), -2);
    EXPECT_EQ(sarvo_i64pow(3037000499, 2), 9223372030926249001);
    EXPECT_EQ(sarvo_i64pow(3037000500, 2), -3);
}

// The steps as they are described, in a wider type, wrapped where they are stored. A base that wrapped to 0, or to 1
// under a negative exponent (which would square for ever), gives -3.
template <class Int, class Wide> Int literal_power(Int base, Int exponent) {
    const Wide max = std::numeric_limits<Int>::max();
    const auto wrapped = [](Wide x) { return static_cast<Int>(x); };
    if (exponent == 1) return base;
    if (exponent == 0) return base != 0 ? 1 : -1;
    if (base == 0) return 0;
    if (base == 1) return 1;
    Int r = 1;
    if (exponent % 2 != 0) {
        if (max / base < 1) return -2;
        r = base;
    }
    for (;;) {
        exponent = static_cast<Int>(exponent / 2 - (exponent < 0 && exponent % 2 != 0 ? 1 : 0)); // floor
        if (exponent == 0) return r;
        if (base == 0 || base > max / base) return -3;
        if (base == 1 && exponent < 0) return -3;
        base = wrapped(static_cast<Wide>(base) * base);
        if (exponent % 2 != 0) {
            if (base == 0) return -3;
            if (r > max / base) return -2;
            r = wrapped(static_cast<Wide>(r) * base);
        }
    }
}

template <class Int> std::vector<Int> boundary_values() {
    std::vector<Int> values;
    using Limits = std::numeric_limits<Int>;
    for (int i = -40; i <= 40; i++) values.push_back(static_cast<Int>(i));
    for (int shift = 3; shift < Limits::digits; shift++) {
        for (int i = -2; i <= 2; i++) {
            values.push_back(static_cast<Int>((Int{1} << shift) + i));
            values.push_back(static_cast<Int>(-(Int{1} << shift) + i));
        }
    }
    for (int i = 0; i < 4; i++) {
        values.push_back(static_cast<Int>(Limits::max() - i));
        values.push_back(static_cast<Int>(Limits::min() + i));
    }
    const double root = std::sqrt(static_cast<double>(Limits::max()));
    for (int i = -2; i <= 2; i++) values.push_back(static_cast<Int>(root) + static_cast<Int>(i));
    return values;
}

TEST(IntegerPower, EndsWhenASquareWrapsToOneUnderANegativeExponent) {
    EXPECT_EQ(sarvo_ipow(-INT32_MAX, -2), -3);
    EXPECT_EQ(sarvo_ipow(-INT32_MAX, INT32_MIN), -3);
    EXPECT_EQ(sarvo_i64pow(-INT64_MAX, -2), -3);
}

TEST(IntegerPower, EqualsTheLiteralStepsOnBoundaryGrids) {
    for (const int32_t base : boundary_values<int32_t>())
        for (const int32_t exponent : boundary_values<int32_t>())
            ASSERT_EQ(sarvo_ipow(base, exponent), (literal_power<int32_t, int64_t>(base, exponent)))
                << base << '^' << exponent;
    for (const int64_t base : boundary_values<int64_t>())
        for (const int64_t exponent : boundary_values<int64_t>())
            ASSERT_EQ(sarvo_i64pow(base, exponent), (literal_power<int64_t, int128>(base, exponent)))
                << base << '^' << exponent;
}

TEST(IntegerPower, IsExactWhereverThePowerFits) {
    for (int32_t base = 2; base < 50000; base += base < 100 ? 1 : 977) {
        int64_t power = base;
        for (int32_t exponent = 1; power <= INT32_MAX; exponent++, power *= base)
            ASSERT_EQ(sarvo_ipow(base, exponent), power) << base << '^' << exponent;
    }
}

// ---- Overflow tests ----

TEST(OverflowTests, AgreeWithExactArithmeticOnTheBoundaryGrid) {
    const std::vector<int64_t> values = boundary_values<int64_t>();
    int64_t ignored;
    for (const int64_t a : values) {
        ASSERT_EQ(sarvo_test_int64umin(a), a != INT64_MIN) << a;
        for (const int64_t b : values) {
            ASSERT_EQ(sarvo_test_int64add(a, b), !__builtin_add_overflow(a, b, &ignored)) << a << ' ' << b;
            ASSERT_EQ(sarvo_test_int64sub(a, b), !__builtin_sub_overflow(a, b, &ignored)) << a << ' ' << b;
            ASSERT_EQ(sarvo_test_int64mult(a, b), !__builtin_mul_overflow(a, b, &ignored)) << a << ' ' << b;
            const int32_t divides = b != 0 && !(a == INT64_MIN && b == -1);
            ASSERT_EQ(sarvo_test_int64rem(a, b), divides) << a << ' ' << b;
            ASSERT_EQ(sarvo_test_int64div(a, b), divides) << a << ' ' << b;
        }
    }
}

// ---- Classification and comparison ----

TEST(Classification, NumbersAndFiniteNumbers) {
    struct Case {
        double x;
        int32_t number, finite;
    };
    const Case cases[] = {{0.0, 1, 1}, {-0.0, 1, 1}, {DBL_MAX, 1, 1}, {-DBL_MAX, 1, 1}, {0x1p-1074, 1, 1},
                          {inf, 1, 0}, {-inf, 1, 0}, {nan, 0, 0},     {-nan, 0, 0}};
    for (const Case &c : cases) {
        EXPECT_EQ(sarvo_is_number(c.x), c.number) << c.x;
        EXPECT_EQ(sarvo_is_finite_number(c.x), c.finite) << c.x;
    }
}

TEST(TolerantComparison, NamedValues) {
    struct Case {
        double a, b, tol;
        int32_t result;
    };
    const Case cases[] = {
        {1.0, 1.0 + 1e-12, 1e-10, 0},
        {0.0, 1e-12, 1e-13, -1}, // absolute, since one is zero
        {1e-12, 0.0, 1e-13, 1},
        {1e-12, 0.0, 1e-12, 0},
        {-1e-12, -0.0, 0.0, -1},
        {2.0, 1.0, 0.4, 1}, // relative difference 0.5
        {2.0, 1.0, 0.5, 0},
        {1.0, 2.0, 0.4, -1},
        {-2.0, -1.0, 0.4, -1},
        {-1.0, 1.0, 1.9, -1}, // relative difference 2
        {-1.0, 1.0, 2.0, 0},
        {0x1p-1022, 0x1.8p-1022, 0.1, 0}, // difference below the smallest normal number: absolute
        {0x1p-1022, 0x1p-1021, 0.1, -1},  // difference equal to it: relative
        {0x1p-1074, 0x1p-1073, 0.0, -1},
        {1.0, 1.0, -1.0, 0},
        {inf, inf, 0.0, 0},
        {inf, 1.0, 1e300, 1},
        {-inf, inf, 1.0, -1},
        {nan, 1.0, inf, -1},
        {1.0, nan, inf, -1},
        {nan, nan, inf, -1},
        {2.0, 1.0, nan, 1},
        {DBL_MAX, -DBL_MAX, 1.0, 1}, // the difference overflows
        {0.0, -0.0, 0.0, 0},
    };
    for (const Case &c : cases)
        EXPECT_EQ(sarvo_cmp_double(c.a, c.b, c.tol), c.result) << c.a << ' ' << c.b << ' ' << c.tol;
}

TEST(TolerantComparison, FloatUsesItsOwnPrecisionAndSmallestNumber) {
    EXPECT_EQ(sarvo_cmp_float(1.0f, 1.0f + 1e-6f, 1e-5f), 0);
    EXPECT_EQ(sarvo_cmp_float(1.0f, 1.0f + 1e-6f, 1e-7f), -1);
    EXPECT_EQ(sarvo_cmp_float(2.0f, 1.0f, 0.4f), 1);
    EXPECT_EQ(sarvo_cmp_float(2.0f, 1.0f, 0.5f), 0);
    EXPECT_EQ(sarvo_cmp_float(0.0f, 1e-12f, 1e-13f), -1);
    EXPECT_EQ(sarvo_cmp_float(0x1p-126f, 0x1.8p-126f, 0.1f), 0);
    EXPECT_EQ(sarvo_cmp_float(0x1p-126f, 0x1p-125f, 0.1f), -1);
    EXPECT_EQ(sarvo_cmp_float(std::numeric_limits<float>::quiet_NaN(), 1.0f, 1.0f), -1);
}

// ---- Four-value sort ----

TEST(SortFour, SortsEveryArrangementOfFourValues) {
    const double sets[][4] = {{1, 2, 3, 4}, {1, 1, 2, 2}, {-inf, -0.5, 0.5, inf}, {7, 7, 7, 8}};
    for (const auto &set : sets) {
        std::array<int, 4> order = {0, 1, 2, 3};
        do {
            std::array<double, 4> v;
            for (size_t i = 0; i < 4; i++) v[i] = set[order[i]];
            sarvo_sort_four(&v[0], &v[1], &v[2], &v[3]);
            EXPECT_TRUE(std::equal(v.begin(), v.end(), set));
        } while (std::next_permutation(order.begin(), order.end()));
    }
}

// ---- Block printer: writes to standard output ----

std::string captured_print(double **rows, int32_t r0, int32_t r1, int32_t c0, int32_t c1) {
    testing::internal::CaptureStdout();
    print_arr(rows, r0, r1, c0, c1);
    fflush(stdout);
    return testing::internal::GetCapturedStdout();
}

TEST(PrintArr, PrintsTheBlockAndEndsEveryRow) {
    double row0[] = {1.0, -2.5, 1e300}, row1[] = {0.1, -0.0, inf};
    double *rows[] = {row0, row1};
    EXPECT_EQ(captured_print(rows, 0, 1, 0, 1),
              "  1.00000000000000e+00 -2.50000000000000e+00 \n  1.00000000000000e-01 -0.00000000000000e+00 \n");
    EXPECT_EQ(captured_print(rows, 1, 1, 2, 2), "  inf \n");
    EXPECT_EQ(captured_print(rows, 0, 1, 1, 0), " \n \n") << "an empty column range still ends its rows";
    EXPECT_EQ(captured_print(rows, 1, 0, 0, 1), "");
    double *top[] = {row0};
    EXPECT_EQ(captured_print(top, 0, 0, INT32_MAX, INT32_MIN), " \n");
    EXPECT_EQ(captured_print(top, INT32_MAX, INT32_MIN, 0, 0), "");
}

} // namespace
