// What the command says of itself: help, manual pages, completion; all from the same options.
#include <CLI/CLI.hpp>

#include "command_support.h"
#include "line/describe.h"
#include "line/options.h"

namespace {

using namespace test::cli;

std::vector<std::string> names_of_all() {
    std::vector<std::string> names;
    std::istringstream words(sarvo("manual").out);
    for (std::string line; std::getline(words, line);)
        if (line.compare(0, 10, ".BR sarvo\\") == 0) names.push_back(line.substr(11, line.find(' ', 11) - 11));
    for (const char *nested : {"bench memory", "bench latency", "bench scimark", "bench compare"})
        names.emplace_back(nested);
    return names;
}

size_t count(const std::string &text, const std::string &part) {
    size_t times = 0;
    for (size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) times++;
    return times;
}

TEST(Help, HasThreeExamplesOfEachSubcommandAndTheManualKnowsTheSameOptions) {
    const auto names = names_of_all();
    ASSERT_GE(names.size(), 10u);
    for (const std::string &name : names) {
        const Answer help = sarvo(name + " --help"), page = sarvo("manual " + name);
        ASSERT_EQ(help.exit_code + page.exit_code, 0) << name;
        const size_t examples = help.out.find("\nExamples:\n");
        ASSERT_NE(examples, std::string::npos) << name;
        EXPECT_GE(count(help.out.substr(examples), "sarvo " + name), 3u) << name;
        EXPECT_EQ(page.out.compare(0, 10, ".TH SARVO-"), 0) << name;
        for (const char *part : {".SH NAME", ".SH SYNOPSIS", ".SH OPTIONS", ".SH EXAMPLES", ".SH EXIT STATUS"})
            EXPECT_NE(page.out.find(part), std::string::npos) << name << part;
        EXPECT_EQ(count(help.out.substr(0, examples), "\n  --") + 1, // and -h,--help
                  count(page.out, "\n.B \"\\-\\-") + count(page.out, "\n.BI \"\\-\\-"))
            << name;
    }
}

// What bash offers for `line`, the last word of which is being typed.
std::string offered(const std::string &line) {
    const std::string script = testing::TempDir() + "sarvo_completion.bash";
    std::ofstream(script) << sarvo("completion bash").out << "COMP_WORDS=(" << line
                          << "); COMP_CWORD=$((${#COMP_WORDS[@]} - 1)); _sarvo\n"
                          << "echo \"${COMPREPLY[@]}\"\n";
    const std::string out = script + ".out";
    EXPECT_EQ(std::system(("bash " + script + " >" + out).c_str()), 0);
    std::string text = slurp(out);
    text.erase(text.find_last_not_of('\n') + 1);
    return text;
}

TEST(Completion, OffersSubcommandsOptionsAndChoices) {
    if (std::system("command -v bash >/dev/null") != 0) GTEST_SKIP() << "no bash";
    const struct {
        const char *line, *words;
    } rows[] = {
        {"sarvo so", "solve"},
        {"sarvo fit --ver", "--verbose"},
        {"sarvo fit 'y ~ a' d --format m", "md"},
        {"sarvo solve --order ''", "auto natural rcm amd"},
        {"sarvo dist student q", "quantile"},
        {"sarvo fit --tolx ''", ""},
    };
    for (const auto &row : rows) EXPECT_EQ(offered(row.line), row.words) << row.line;
    for (const char *shell : {"zsh", "fish"}) {
        const Answer script = sarvo(std::string("completion ") + shell);
        EXPECT_EQ(script.exit_code, 0);
        EXPECT_NE(script.out.find("natural rcm amd"), std::string::npos) << shell;
    }
}

TEST(Describe, TellsFlagsFilesChoicesAndArgumentsApart) {
    CLI::App app("What it does", "sarvo");
    std::string a, b, c, d;
    bool flag = false;
    command::argument(app, "FROM", a, "Where from")->required();
    command::option(app, "--to", b, "FILE", "Where to");
    command::choice(app, "--how", c, "fast|slow", "How");
    app.add_flag("--quiet", flag, "No words");
    command::explain(app, "Long text.\n", {"sarvo x", "cat y | sarvo -"});
    const auto all = command::describe(app);
    ASSERT_EQ(all.size(), 1u);
    EXPECT_EQ(all[0].prose, "Long text.");
    EXPECT_EQ(all[0].examples, (std::vector<std::string>{"sarvo x", "cat y | sarvo -"}));
    std::string told;
    for (const auto &o : all[0].options)
        told += o.name + (o.argument ? "@" : "") + (o.required ? "!" : "") + (o.flag ? "-" : "") + (o.file ? "/" : "") +
                std::to_string(o.choices.size()) + " ";
    EXPECT_EQ(told, "--help-0 FROM@!0 --to/0 --how2 --quiet-0 ");
}

} // namespace
