// The subcommand eval: calls of special functions are taken apart and evaluated, or refused.
#include <CLI/CLI.hpp>
#include <sarvo/sarvo.h>

#include "line/subcommands.h"
#include "support.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    static CLI::App app;
    static const command::Run run = command::add_eval(app);
    static const bool ready = !sarvo_initialize();
    fuzz::require(ready, "the library starts");
    std::vector<std::string> reversed = {fuzz::text_of(data, size), "--"};
    try {
        app.parse(reversed);
        fuzz::require(run() == command::exit_done, "what is not refused is done");
    } catch (const CLI::ParseError &) {
        // an expression that the command line does not let through
    } catch (const command::Failure &e) {
        fuzz::require(e.code() == command::exit_usage || e.code() == command::exit_numerical,
                      "an expression is refused, or the mathematics refuses");
    }
    return 0;
}
