// The subcommand info.
#include <cstdio>
#include <string>

#include <CLI/CLI.hpp>
#include <sarvo/sarvo.h>

#include "errors.h"
#include "numbers.h"
#include "simd/simd.h"
#include "subcommands.h"

namespace command {
namespace {

void line(const char *name, const std::string &value) { std::printf("  %-16s %s\n", name, value.c_str()); }

std::string available() {
    const sarvo::simd::Kernels *tables[8];
    const uint32_t count = sarvo::simd::available_levels(tables, 8);
    std::string text;
    for (uint32_t i = 0; i < count; i++) text += (i ? " " : "") + std::string(tables[i]->level);
    return text;
}

void constants(const char *name, const std::string &dbl, const std::string &flt) {
    std::printf("  %-16s %-24s %s\n", name, dbl.c_str(), flt.c_str());
}

int print_info() {
    if (sarvo_initialize() != 0) throw Failure(exit_numerical, "the library cannot start");
    std::printf("sarvo %s\n\n", sarvo_version_string());
    line("kernels", std::string(sarvo::simd::kernels().level) + " (of " + available() + ")");
    line("compiler", SARVO_BUILD_COMPILER);
    line("build", SARVO_BUILD_TYPE);
    line("flags", SARVO_BUILD_FLAGS);
    std::printf("\n  %-16s %-24s %s\n", "arithmetic", "double", "float");
    const auto i = [](int32_t x) { return std::to_string(x); };
    constants("radix", i(SarvoDblIbeta), i(SarvoFltIbeta));
    constants("digits", i(SarvoDblIt), i(SarvoFltIt));
    constants("rounding", i(SarvoDblIrnd), i(SarvoFltIrnd));
    constants("guard digits", i(SarvoDblNgrd), i(SarvoFltNgrd));
    constants("exponent bits", i(SarvoDblIexp), i(SarvoFltIexp));
    constants("least exponent", i(SarvoDblMinexp), i(SarvoFltMinexp));
    constants("exponent limit", i(SarvoDblMaxexp), i(SarvoFltMaxexp));
    constants("eps", shortest(SarvoDblEps), general(SarvoFltEps, 9));
    constants("epsneg", shortest(SarvoDblEpsneg), general(SarvoFltEpsneg, 9));
    constants("smallest normal", shortest(SarvoDblXmin), general(SarvoFltXmin, 9));
    constants("largest", shortest(SarvoDblXmax), general(SarvoFltXmax, 9));
    sarvo_terminate();
    return exit_done;
}

} // namespace

Run add_info(CLI::App &app) {
    app.footer("Examples:\n  sarvo info\n  sarvo info | grep kernels\n  sarvo info | grep eps");
    return print_info;
}

} // namespace command
