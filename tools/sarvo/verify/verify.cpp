// Verification of the machine.
#include "verify/verify.h"

#include "progress.h"
#include "stopwatch.h"
#include "verify/arithmetic.h"
#include "verify/kernel_cases.h"

namespace command {

bool verify_kernels(Answer &answer) {
    constexpr uint64_t count = 400; // seeds; the digest depends on it
    const sarvo::simd::Kernels *levels[sarvo::simd::most_levels];
    const uint32_t level_count = sarvo::simd::available_levels(levels, sarvo::simd::most_levels);
    std::string names;
    for (uint32_t l = 1; l < level_count; l++) names += (l > 1 ? " " : "") + std::string(levels[l]->level);
    const Stopwatch watch;
    Progress progress;
    Fingerprint digest;
    std::vector<std::vector<Value>> wrong;
    for (const KernelCase &kernel : kernel_cases()) {
        progress.show(std::string("verifying ") + kernel.name);
        Disagreement d;
        if (find_disagreement(kernel, count, &d, [&](std::span<const double> results) {
                for (const double x : results) digest.add(x);
            }))
            wrong.push_back({kernel.name, d.level, whole(d.seed), whole(d.element)});
    }
    progress.clear();
    const std::string unusual = unusual_arithmetic();
    answer.headline = !wrong.empty()    ? "WRONG: kernels differ from their literal loops."
                      : unusual.empty() ? "Every kernel has the bits of its literal loop at every level."
                                        : "NOT THE PROMISED ARITHMETIC: " + unusual + ".";
    answer.fact("levels", "levels compared", names, 0, "with the literal loops");
    answer.fact("verified", "kernels", whole(kernel_cases().size()), 0,
                "with " + std::to_string(count) + " cases each");
    answer.fact("differing", "kernels that differ", whole(wrong.size()));
    answer.fact("digest", "digest", digest.text(), 0, "(equal on every machine)");
    answer.fact("arithmetic", "arithmetic",
                unusual.empty() ? "rounding is to nearest; subnormal numbers are kept" : unusual);
    answer.time(watch.seconds());
    if (!wrong.empty())
        answer
            .grid("wrong", "first case that differs",
                  {{"kernel", "kernel"}, {"level", "level"}, {"seed", "seed"}, {"element", "element"}})
            .rows = wrong;
    return wrong.empty() && unusual.empty();
}

} // namespace command
