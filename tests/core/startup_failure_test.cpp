// A kernel library that does not start: result 1, the counter rules, and the one routine that exits. Stands alone with
// its own sarko_initialize and sarko_terminate in place of the kernel library's.
#include <sarvo/lsq.h>

#include <gtest/gtest.h>

namespace {
int32_t start_result = 1;
int starts = 0;
int stops = 0;
} // namespace

extern "C" {
int32_t sarko_initialize(void) {
    starts++;
    return start_result;
}
sarko_error_t sarko_terminate(void) {
    stops++;
    return 0;
}
}

namespace {

TEST(StartupFailureDeathTest, LsqDefaultsPrintTheResultAndExit) {
    sarvo_lsq lsq;
    ASSERT_EQ(SarvoInitialized, 0u);
    EXPECT_EXIT(sarvo_lsq_init_default(&lsq), testing::ExitedWithCode(1), "^SARVO failed to initialize. rc=1\n$");
}

TEST(StartupFailure, GivesOneRaisesTheCounterAndIsNotRetried) {
    EXPECT_EQ(SarvoNullEC, 0u) << "codes are 0 before start-up";
    EXPECT_EQ(sarvo_initialize(), 1);
    EXPECT_EQ(SarvoInitialized, 1u);
    EXPECT_EQ(starts, 1);
    EXPECT_EQ(SarvoNullEC, 0u);
    EXPECT_EQ(SarvoDblEps, 0.0) << "constants come after the kernel library";

    start_result = 0;
    EXPECT_EQ(sarvo_initialize(), 0) << "success without any work";
    EXPECT_EQ(SarvoInitialized, 2u);
    EXPECT_EQ(starts, 1);
    EXPECT_EQ(SarvoNullEC, 0u);
    const sarko_error_t e = sarvo_vector_zero(nullptr);
    EXPECT_NE(e, 0u);
    EXPECT_EQ(sarko_error_code(e), 0u) << "errors made then carry code 0";
    sarko_error_clear(e);

    sarvo_terminate();
    EXPECT_EQ(stops, 0);
    sarvo_terminate();
    EXPECT_EQ(stops, 1) << "the kernel library is stopped even though it never started";
    EXPECT_EQ(sarvo_initialize(), 0);
    EXPECT_EQ(starts, 2) << "from 0 it starts anew";
    EXPECT_EQ(SarvoNullEC, 6u);
    sarvo_terminate();
    EXPECT_EQ(stops, 2);
}

} // namespace
