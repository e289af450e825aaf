// The values of the public enumerators, which compiled callers carry. Record layouts are asserted at
// compile time in abi_layout.h.
#include <sarvo/lsq.h>

#include "test_support.h"

namespace {

TEST(Abi, EnumeratorsKeepTheirValues) {
    const std::vector<int> values = {SARKO_KIND_ERROR,      SARKO_KIND_MEMORY,  SARKO_KIND_MALFUNCTION,
                                     SARVO_INT32,           SARVO_DOUBLE,       SARVO_DTYPES,
                                     SARVO_REALLOC_DTYPE,   SARVO_LSQ_DEFAULTS, SARVO_LSQ_ALLOCATED,
                                     SARVO_LSQ_INITIALISED, SARVO_LSQ_STEP_MET, SARVO_LSQ_GRAD_MET};
    EXPECT_EQ(values, (std::vector<int>{0, 1, 2, 5, 20, 25, 1, 1, 2, 4, 8, 16}));
}

} // namespace
