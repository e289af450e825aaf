// Many random cases of each kernel against its literal loop, at every level: random sizes up to 65, values with zeros of
// both signs, infinities, NaNs, subnormal, huge and tiny ones among them. SARVO_RANDOM_CASES sets how many (3000 each).
#include <cstdlib>

#include <gtest/gtest.h>

#include "verify/kernel_cases.h"

namespace {

using sarvo::simd::Kernels;

TEST(RandomCases, HaveTheBitsOfTheLiteralLoops) {
    const char *setting = std::getenv("SARVO_RANDOM_CASES");
    const uint64_t count = setting ? std::strtoull(setting, nullptr, 10) : 3000;
    const Kernels *levels[sarvo::simd::most_levels];
    ASSERT_GE(sarvo::simd::available_levels(levels, sarvo::simd::most_levels), 2u);
    for (const auto &kernel : command::kernel_cases()) {
        command::Disagreement d;
        EXPECT_FALSE(command::find_disagreement(kernel, count, &d))
            << kernel.name << ", seed " << d.seed << ", element " << d.element << ", level " << d.level;
    }
    std::printf("%zu kernels, %llu cases each\n", command::kernel_cases().size(),
                static_cast<unsigned long long>(count));
}

TEST(RandomCases, NoticeASingleBit) {
    const command::KernelCase wrong = {
        "wrong at the best level", [](const Kernels &k, command::CaseSource &s, std::vector<double> &out) {
            out = {s.random.uniform(), &k == &sarvo::simd::kernels() ? 0x1.0000000000001p0 : 1.0};
        }};
    command::Disagreement d;
    ASSERT_TRUE(command::find_disagreement(wrong, 1, &d));
    EXPECT_EQ(d.element, 1u);
    EXPECT_STREQ(d.level, sarvo::simd::kernels().level);
}

} // namespace
