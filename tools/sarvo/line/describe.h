// The command line described: what help, manual and completion are made of, read off the application's options.
#pragma once

#include <string>
#include <vector>

namespace CLI {
class App;
}

namespace command {

struct OptionText {
    std::string name; // "--format", or that of an argument by its place
    std::string type; // as in the help; empty for flags and most arguments
    std::string what;
    std::vector<std::string> choices; // of a type A|B|C
    bool argument = false, required = false, flag = false, file = false, many = false;
};

struct CommandText {
    std::vector<std::string> path; // {} for the whole, {"fit"}, {"bench", "memory"}
    std::string what, prose;
    std::vector<std::string> examples;
    std::vector<OptionText> options;
    std::vector<std::string> subcommands;

    std::string name(char joint) const; // sarvo-bench-memory for '-'
};

// The application first, then its subcommands with theirs, in the order of the help.
std::vector<CommandText> describe(const CLI::App &app);

std::string manual_page(const CommandText &command, const std::vector<CommandText> &all); // for man(1)
std::string bash_completion(const std::vector<CommandText> &all);
std::string zsh_completion(const std::vector<CommandText> &all);
std::string fish_completion(const std::vector<CommandText> &all);

} // namespace command
