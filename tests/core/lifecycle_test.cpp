// Start-up and shut-down of the library: the counter, the error codes, the constants, a registry that is full.
#include <sarvo/array.h>
#include <sarvo/sarvo.h>

#include <float.h>
#include <math.h>
#include <string.h>

#include "environment.h"
#include "test_support.h"

namespace {

struct Code {
    uint32_t *global;
    const char *message;
};

const Code codes[] = {
    {&SarvoDtypeEC, "Data type error"},
    {&SarvoDomainEC, "Domain error"},
    {&SarvoRoundEC, "Roundoff error"},
    {&SarvoUnderflowEC, "Underflow error"},
    {&SarvoOverflowEC, "Overflow error"},
    {&SarvoNullEC, "Input structure is not initialized"},
    {&SarvoSizeEC, "Incorrect size"},
    {&SarvoBoundsEC, "Index out of bounds"},
    {&SarvoInsituEC, "In situ error"},
    {&SarvoMHSingEC, "Singular matrix"},
    {&SarvoMHNullEC, "Input structure(s) is(are) not initialized"},
    {&SarvoMHRangeEC, "Object out of range"},
    {&SarvoMHBoundsEC, "Index out of bounds"},
    {&SarvoMHSizesEC, "Wrong size(s) of object(s)"},
    {&SarvoMHInsituEC, "Can't do operation in situ"},
    {&SarvoMHSquareEC, "Matrix is not square"},
    {&SarvoMHPosdefEC, "Matrix not positive definite"},
    {&SarvoMHNegEC, "Negative argument"},
    {&SarvoMHMemEC, "Cannot allocate memory"},
    {&SarvoMHIdxEC, "Error in index/matrix"},
    {&SarvoNrInitEC, "Object is not initialized"},
    {&SarvoNrIterEC, "Too many iterations"},
    {&SarvoNrSizeEC, "Incorrect size"},
    {&SarvoNrEmptyEC, "Empty space"},
    {&SarvoNrSvdNotReadyEC, "SVD has not yet been done"},
    {&SarvoNrStepEC, "Invalid step size"},
    {&SarvoLsqInitEC, "Initialization error in LS"},
    {&SarvoLsqInvalidSetupEC, "Invalid setup of LS"},
    {&SarvoSMInvalidNumEC, "Invalid number"},
    {&SarvoRngInvalidMethodEC, "Invalid method"},
};

TEST(Lifecycle, CodesAreRegisteredInOrderWithTheirMessages) {
    ASSERT_EQ(std::size(codes), 30u);
    for (uint32_t k = 0; k < std::size(codes); k++) {
        EXPECT_EQ(*codes[k].global, k + 1) << codes[k].message;
        EXPECT_STREQ(sarko_error_code_message(k + 1), codes[k].message);
        const sarko_error_t e = sarko_error_create_i(0, *codes[k].global, 0, 0, 0, 0, nullptr);
        test::expect_error(e, k + 1, {codes[k].message});
    }
    EXPECT_EQ(sarko_error_code_message(31), nullptr);
}

TEST(Lifecycle, OnlyTheFirstInitialiseWorksAndOnlyTheLastTerminateStops) {
    EXPECT_EQ(SarvoInitialized, 1u);
    SarvoDtypeEC = 99;
    SarvoDblEps = -1.0;
    SarvoDtype[5] = 77;
    EXPECT_EQ(sarvo_initialize(), 0);
    EXPECT_EQ(SarvoInitialized, 2u);
    EXPECT_EQ(SarvoDtypeEC, 99u) << "a later call touches nothing";
    EXPECT_EQ(SarvoDblEps, -1.0);
    EXPECT_EQ(SarvoDtype[5], 77u);
    sarvo_terminate();
    EXPECT_EQ(SarvoInitialized, 1u);
    EXPECT_STREQ(sarko_error_code_message(1), "Data type error") << "the kernel library still runs";
    sarvo_terminate();
    EXPECT_EQ(SarvoInitialized, 0u);
    EXPECT_EQ(sarko_error_code_message(1), nullptr) << "the kernel library has stopped";
    EXPECT_EQ(SarvoDtypeEC, 99u) << "values stay after the last terminate";
    EXPECT_EQ(SarvoDblEps, -1.0);
    EXPECT_EQ(SarvoDtype[5], 77u);
    EXPECT_EQ(sarvo_initialize(), 0);
    EXPECT_EQ(SarvoDtypeEC, 1u) << "a first call fills them again";
    EXPECT_EQ(SarvoDblEps, DBL_EPSILON);
    EXPECT_EQ(SarvoDtype[5], 4u);
}

TEST(Lifecycle, TerminateWithoutInitialiseWrapsTheCounter) {
    sarvo_terminate();
    sarvo_terminate();
    EXPECT_EQ(SarvoInitialized, UINT32_MAX);
    EXPECT_EQ(sarvo_initialize(), 0) << "counts up to 0 and does no work";
    EXPECT_EQ(SarvoInitialized, 0u);
    EXPECT_EQ(sarko_error_code_message(1), nullptr);
    EXPECT_EQ(sarvo_initialize(), 0);
    EXPECT_EQ(SarvoInitialized, 1u);
    EXPECT_NE(sarko_error_code_message(30), nullptr);
}

TEST(Lifecycle, FullRegistryGivesTwoAndIsNotRetried) {
    for (const uint32_t room : {0u, 1u, 29u}) {
        sarvo_terminate();
        for (const Code &c : codes) *c.global = 0;
        SarvoDtype[24] = 0;
        ASSERT_EQ(sarko_initialize(), 0);
        uint32_t other = 0;
        for (uint32_t k = 0; k < 4096 - room; k++, other = 0) ASSERT_EQ(sarko_error_register(&other, "other"), 0u);
        const int64_t live = test::memory::live_blocks();
        EXPECT_EQ(sarvo_initialize(), 2);
        EXPECT_EQ(test::memory::live_blocks(), live) << "the error is cleared";
        EXPECT_EQ(SarvoInitialized, 1u);
        for (uint32_t k = 0; k < 30; k++) EXPECT_EQ(*codes[k].global, k < room ? 4096 - room + k + 1 : 0u);
        EXPECT_EQ(SarvoDtype[24], 0u) << "comes after the codes";
        EXPECT_EQ(sarvo_initialize(), 0) << "no retry";
        EXPECT_EQ(SarvoInitialized, 2u);
        EXPECT_EQ(*codes[29].global, 0u);
        sarvo_terminate();
        sarvo_terminate(); // one of the two starts of the kernel library
        sarko_terminate(); // the other
        EXPECT_EQ(sarko_error_code_message(1), nullptr);
        ASSERT_EQ(sarvo_initialize(), 0);
        EXPECT_EQ(SarvoRngInvalidMethodEC, 30u);
    }
}

// The application keeps the kernel library started and has codes of its own, one with a text of the library's.
TEST(Lifecycle, StartsWithinAnApplicationAnyNumberOfTimesWithTheSameCodes) {
    sarvo_terminate();
    ASSERT_EQ(sarko_initialize(), 0);
    uint32_t own[16] = {};
    for (uint32_t &code : own) ASSERT_EQ(sarko_error_register(&code, "Incorrect size"), 0u);
    // What an earlier start left behind: the number of a code that is now somebody else's, with the same text.
    SarvoSizeEC = SarvoNrSizeEC = 7;
    for (int round = 0; round < 5000; round++) {
        ASSERT_EQ(sarvo_initialize(), 0) << round;
        for (uint32_t k = 0; k < 30; k++) {
            ASSERT_EQ(*codes[k].global, 16 + k + 1) << round << codes[k].message;
            ASSERT_STREQ(sarko_error_code_message(16 + k + 1), codes[k].message);
        }
        ASSERT_EQ(sarko_error_code_message(16 + 31), nullptr) << round;
        sarvo_terminate();
    }
    for (uint32_t k = 0; k < 16; k++) EXPECT_EQ(own[k], k + 1);
    uint32_t next = 0; // another text is another code
    EXPECT_EQ(sarko_error_register(&next, "one"), 0u);
    EXPECT_EQ(sarko_error_register(&next, "two"), 0u);
    EXPECT_EQ(next, 16u + 32u);
    sarko_terminate();
    EXPECT_EQ(sarko_error_code_message(1), nullptr);
    ASSERT_EQ(sarvo_initialize(), 0);
    EXPECT_EQ(SarvoRngInvalidMethodEC, 30u) << "after the last stop they begin anew";
}

TEST(Lifecycle, VersionIsOneZeroZero) {
    EXPECT_EQ(sarvo_version_major(), 1u);
    EXPECT_EQ(sarvo_version_minor(), 0u);
    EXPECT_EQ(sarvo_version_patch(), 0u);
    EXPECT_STREQ(sarvo_version_string(), "1.0.0");
}

TEST(Lifecycle, DtypeTableHoldsTheElementSizes) {
    const uint64_t sizes[] = {0, 1, 1, 2, 2, 4, 4, 8, 8, 8, 8, 1, 1, 2, 2, 4, 4, 8, 8, 4, 8, 16, 8, 16, 32};
    static_assert(std::size(sizes) == SARVO_DTYPES);
    for (uint32_t id = 0; id < SARVO_DTYPES; id++) EXPECT_EQ(SarvoDtype[id], sizes[id]) << "id " << id;
}

TEST(Constants, AreThoseOfIeeeArithmetic) {
    const int32_t doubles[] = {SarvoDblIbeta, SarvoDblIt,   SarvoDblIrnd,   SarvoDblNgrd,  SarvoDblMachep,
                               SarvoDblNegep, SarvoDblIexp, SarvoDblMinexp, SarvoDblMaxexp};
    const int32_t floats[] = {SarvoFltIbeta, SarvoFltIt,   SarvoFltIrnd,   SarvoFltNgrd,  SarvoFltMachep,
                              SarvoFltNegep, SarvoFltIexp, SarvoFltMinexp, SarvoFltMaxexp};
    const int32_t expected_doubles[] = {2, 53, 5, 0, -52, -53, 11, -1022, 1024};
    const int32_t expected_floats[] = {2, 24, 5, 0, -23, -24, 8, -126, 128};
    for (int i = 0; i < 9; i++) {
        EXPECT_EQ(doubles[i], expected_doubles[i]) << i;
        EXPECT_EQ(floats[i], expected_floats[i]) << i;
    }
    EXPECT_EQ(SarvoDblEps, 0x1p-52);
    EXPECT_EQ(SarvoDblEpsneg, 0x1p-53);
    EXPECT_EQ(SarvoDblXmin, DBL_MIN);
    EXPECT_EQ(SarvoDblXmax, DBL_MAX);
    EXPECT_EQ(SarvoDblLnXmin, log(DBL_MIN));
    EXPECT_EQ(SarvoDblLnXmax, log(DBL_MAX));
    EXPECT_NEAR(SarvoDblLnXmin, -708.396, 1e-3);
    EXPECT_NEAR(SarvoDblLnXmax, 709.783, 1e-3);
    EXPECT_EQ(SarvoDblSqrtXmin, 0x1p-511);
    EXPECT_EQ(SarvoDblSqrtXmax, sqrt(DBL_MAX));
    EXPECT_EQ(SarvoFltEps, 0x1p-23f);
    EXPECT_EQ(SarvoFltEpsneg, 0x1p-24f);
    EXPECT_EQ(SarvoFltXmin, FLT_MIN);
    EXPECT_EQ(SarvoFltXmax, FLT_MAX);
    EXPECT_EQ(SarvoFltLnXmin, static_cast<float>(log(static_cast<double>(FLT_MIN))));
    EXPECT_NEAR(static_cast<double>(SarvoFltLnXmax), 88.7228, 1e-4);
    EXPECT_EQ(SarvoFltSqrtXmin, 0x1p-63f);
    EXPECT_EQ(SarvoFltSqrtXmax, sqrtf(FLT_MAX));
}

TEST(Constants, AreTheSameWhateverTheCallersArithmeticIsAndItIsPutBack) {
    const double before[] = {SarvoDblEps,    SarvoDblEpsneg,   SarvoDblXmin,     SarvoDblXmax, SarvoDblLnXmin,
                             SarvoDblLnXmax, SarvoDblSqrtXmin, SarvoDblSqrtXmax, SarvoFltEps,  SarvoFltXmin,
                             SarvoFltXmax,   SarvoFltLnXmin,   SarvoFltSqrtXmax};
    test::in_every_environment([&](const std::string &name) {
        sarvo_terminate();
        SarvoDblEps = SarvoDblXmin = SarvoDblLnXmax = 0.0;
        const int direction = std::fegetround();
        volatile double smallest = DBL_MIN;
        const bool flushes = smallest * 0.5 == 0.0;
        const int started = sarvo_initialize();

        const double now[] = {SarvoDblEps,    SarvoDblEpsneg,   SarvoDblXmin,     SarvoDblXmax, SarvoDblLnXmin,
                              SarvoDblLnXmax, SarvoDblSqrtXmin, SarvoDblSqrtXmax, SarvoFltEps,  SarvoFltXmin,
                              SarvoFltXmax,   SarvoFltLnXmin,   SarvoFltSqrtXmax};
        const bool same = memcmp(before, now, sizeof now) == 0;
        const bool kept = std::fegetround() == direction && (smallest * 0.5 == 0.0) == flushes;
        EXPECT_EQ(started, 0) << name;
        EXPECT_TRUE(same) << name;
        EXPECT_TRUE(kept) << name;
    });
}

TEST(Constants, AreMeasuredByLoopsThatEndInEveryArithmetic) {
    test::in_every_environment([](const std::string &name) {
        int32_t n[9];
        double d[4];
        float f[4];
        sarvo_nr_machar_double(n, n + 1, n + 2, n + 3, n + 4, n + 5, n + 6, n + 7, n + 8, d, d + 1, d + 2, d + 3);
        EXPECT_EQ(n[0], 2) << name; // the radix shows in each of them
        sarvo_nr_machar_float(n, n + 1, n + 2, n + 3, n + 4, n + 5, n + 6, n + 7, n + 8, f, f + 1, f + 2, f + 3);
        EXPECT_EQ(n[0], 2) << name;
    });
}

} // namespace
