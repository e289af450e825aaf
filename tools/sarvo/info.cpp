// The subcommand info.
#include <memory>
#include <string>

#include <sarvo/sarvo.h>

#include "errors.h"
#include "library.h"
#include "line/options.h"
#include "line/subcommands.h"
#include "simd/simd.h"
#include "verify/verify.h"

namespace command {
namespace {

std::string available() {
    const sarvo::simd::Kernels *tables[8];
    const uint32_t count = sarvo::simd::available_levels(tables, 8);
    std::string text;
    for (uint32_t i = 0; i < count; i++) text += (i ? " " : "") + std::string(tables[i]->level);
    return text;
}

void machine_constants(Answer &answer) {
    Grid &grid =
        answer.grid("constants", "arithmetic", {{"name", ""}, {"double", "double", 0, true}, {"float", "float", 9}});
    const auto row = [&grid](const char *name, Value dbl, Value flt) { grid.rows.push_back({name, dbl, flt}); };
    const auto i = [](int32_t x) { return Value(int64_t{x}); };
    row("radix", i(SarvoDblIbeta), i(SarvoFltIbeta));
    row("digits", i(SarvoDblIt), i(SarvoFltIt));
    row("rounding", i(SarvoDblIrnd), i(SarvoFltIrnd));
    row("guard digits", i(SarvoDblNgrd), i(SarvoFltNgrd));
    row("exponent bits", i(SarvoDblIexp), i(SarvoFltIexp));
    row("least exponent", i(SarvoDblMinexp), i(SarvoFltMinexp));
    row("exponent limit", i(SarvoDblMaxexp), i(SarvoFltMaxexp));
    row("eps", SarvoDblEps, double{SarvoFltEps});
    row("epsneg", SarvoDblEpsneg, double{SarvoFltEpsneg});
    row("smallest normal", SarvoDblXmin, double{SarvoFltXmin});
    row("largest", SarvoDblXmax, double{SarvoFltXmax});
}

int print_info(const OutputOptions &form, bool verify) {
    Answer answer;
    if (verify) {
        const bool right = verify_kernels(answer);
        print(answer, form);
        return right ? exit_done : exit_numerical;
    }
    const auto fact = [&answer](const char *key, const std::string &text) { answer.fact(key, key, text); };
    fact("version", sarvo_version_string());
    answer.fact("kernels", "kernels", std::string(sarvo::simd::kernels().level), 0, "(of " + available() + ")");
    fact("compiler", SARVO_BUILD_COMPILER);
    fact("build", SARVO_BUILD_TYPE);
    fact("flags", SARVO_BUILD_FLAGS);
    machine_constants(answer);
    sarvo_terminate();
    print(answer, form);
    return exit_done;
}

} // namespace

Run add_info(CLI::App &app) {
    const auto form = std::make_shared<OutputOptions>();
    const auto verify = std::make_shared<bool>(false);
    explain(app, "", {"sarvo info", "sarvo info --verify", "sarvo info --format json | grep kernels"});
    app.add_flag("--verify", *verify, "Compare every vector kernel at every level with its literal loop, bit by bit");
    add_output_options(app, *form);
    return [form, verify] { return print_info(*form, *verify); };
}

} // namespace command
