// The measured parameters of floating-point arithmetic against those of the language's headers.
#include <sarvo/sarvo.h>

#include <limits>

#include "test_support.h"

namespace {

template <class T> struct Measured {
    int32_t ibeta = -1, it = -1, irnd = -1, ngrd = -1, machep = -1, negep = -1, iexp = -1, minexp = -1, maxexp = -1;
    T eps = -1, epsneg = -1, xmin = -1, xmax = -1;

    template <class Routine> explicit Measured(Routine routine) {
        routine(&ibeta, &it, &irnd, &ngrd, &machep, &negep, &iexp, &minexp, &maxexp, &eps, &epsneg, &xmin, &xmax);
    }
};

template <class T> void expect_ieee(const Measured<T> &m, int exponent_bits) {
    using Limits = std::numeric_limits<T>;
    EXPECT_EQ(m.ibeta, Limits::radix);
    EXPECT_EQ(m.it, Limits::digits);
    EXPECT_EQ(m.irnd, 5);
    EXPECT_EQ(m.ngrd, 0);
    EXPECT_EQ(m.machep, 1 - Limits::digits);
    EXPECT_EQ(m.negep, -Limits::digits);
    EXPECT_EQ(m.iexp, exponent_bits);
    EXPECT_EQ(m.minexp, Limits::min_exponent - 1);
    EXPECT_EQ(m.maxexp, Limits::max_exponent);
    EXPECT_EQ(m.eps, Limits::epsilon());
    EXPECT_EQ(m.epsneg, Limits::epsilon() / 2);
    EXPECT_EQ(m.xmin, Limits::min());
    EXPECT_EQ(m.xmax, Limits::max());
}

TEST(Machar, DoubleIsMeasuredAsIeee) { expect_ieee(Measured<double>(sarvo_nr_machar_double), 11); }
TEST(Machar, FloatIsMeasuredAsIeee) { expect_ieee(Measured<float>(sarvo_nr_machar_float), 8); }

TEST(Machar, WorksWithoutTheLibraryStarted) {
    sarvo_terminate();
    expect_ieee(Measured<double>(sarvo_nr_machar_double), 11);
    ASSERT_EQ(sarvo_initialize(), 0);
}

} // namespace
