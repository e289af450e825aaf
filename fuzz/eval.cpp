// The subcommand eval: calls of special functions are taken apart and evaluated, or refused.
#include <memory>

#include <CLI/CLI.hpp>
#include <sarvo/sarvo.h>

#include "line/subcommands.h"
#include "support.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    // An application remembers the order of all that it ever parsed: a new one now and then.
    static std::unique_ptr<CLI::App> app;
    static command::Run run;
    static unsigned calls = 0;
    if (calls++ % 65536 == 0) {
        app = std::make_unique<CLI::App>();
        run = command::add_eval(*app);
    }
    static const bool ready = !sarvo_initialize();
    fuzz::require(ready, "the library starts");
    std::vector<std::string> reversed = {fuzz::text_of(data, size), "--"};
    try {
        app->parse(reversed);
        fuzz::require(run() == command::exit_done, "what is not refused is done");
    } catch (const CLI::ParseError &) {
        // an expression that the command line does not let through
    } catch (const command::Failure &e) {
        fuzz::require(e.code() == command::exit_usage || e.code() == command::exit_numerical,
                      "an expression is refused, or the mathematics refuses");
    }
    return 0;
}
