// Options shared by the subcommands.
#include "line/options.h"

#include "answer/text.h"

namespace command {
namespace {

CLI::Validator one_of(const char *choices) {
    return CLI::Validator(CLI::IsMember(split(choices, '|'))).description("");
}

} // namespace

CLI::Option *choice(CLI::App &app, const char *name, std::string &to, const char *choices, const std::string &what) {
    return option(app, name, to, choices, what)->check(one_of(choices));
}

CLI::Option *choice_argument(CLI::App &app, const char *name, std::string &to, const char *choices, const char *what) {
    return option(app, name, to, choices, what)->check(one_of(choices));
}

void add_output_options(CLI::App &app, OutputOptions &options) {
    choice(app, "--format", options.format, "table|csv|tsv|json|md",
           "Form of the answer (default table on a terminal, else tsv)");
    option(app, "--digits", options.digits, 1, 17, "N",
           "Digits in table and md (default " + std::to_string(options.digits) + ")");
    app.add_flag("--hex", options.hex, "Numbers in hexadecimal, exactly");
    app.add_flag("--fingerprint", options.fingerprint, "Add a 64-bit hash of the bits of the result");
}

void explain(CLI::App &app, const std::string &prose, std::initializer_list<const char *> examples) {
    std::string text = prose + (prose.empty() ? "" : "\n") + "Examples:\n";
    for (const char *example : examples) text += "  " + std::string(example) + "\n";
    text.pop_back();
    app.footer(text);
}

} // namespace command
