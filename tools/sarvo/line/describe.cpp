// Reads the application's options.
#include "line/describe.h"

#include <CLI/CLI.hpp>

#include "answer/text.h"

namespace command {
namespace {

OptionText describe_option(const CLI::Option &option) {
    OptionText text;
    text.argument = option.get_positional();
    text.name = text.argument ? option.get_name(true) : "--" + option.get_lnames().at(0);
    text.flag = option.get_expected_max() == 0;
    text.type = text.flag ? "" : option.get_type_name();
    text.what = option.get_description();
    text.required = option.get_required();
    text.many = option.get_expected_max() > 1;
    text.file = text.type == "FILE" || text.what.find("ile") != std::string::npos;
    if (text.type.find('|') != std::string::npos) text.choices = split(text.type, '|');
    return text;
}

// The footer is prose, then "Examples:" and an example a line.
void take_footer(const std::string &footer, CommandText &text) {
    const std::string heading = "Examples:\n";
    const size_t place = footer.find(heading);
    text.prose = footer.substr(0, place);
    while (!text.prose.empty() && text.prose.back() == '\n') text.prose.pop_back();
    if (place == std::string::npos) return;
    for (const std::string &line : split(footer.substr(place + heading.size()), '\n'))
        if (line.compare(0, 8, "  sarvo ") == 0 || line.find("| sarvo ") != std::string::npos)
            text.examples.push_back(line.substr(line.find_first_not_of(' ')));
}

void add(const CLI::App &app, const std::vector<std::string> &path, std::vector<CommandText> *all) {
    CommandText text;
    text.path = path;
    text.what = app.get_description();
    take_footer(app.get_footer(), text);
    for (const CLI::Option *option : app.get_options())
        if (option->get_positional() || !option->get_lnames().empty()) text.options.push_back(describe_option(*option));
    const auto subcommands = app.get_subcommands([](const CLI::App *) { return true; });
    for (const CLI::App *subcommand : subcommands) text.subcommands.push_back(subcommand->get_name());
    all->push_back(text);
    for (const CLI::App *subcommand : subcommands) {
        std::vector<std::string> deeper = path;
        deeper.push_back(subcommand->get_name());
        add(*subcommand, deeper, all);
    }
}

} // namespace

std::string CommandText::name(char joint) const {
    std::string text = "sarvo";
    for (const std::string &word : path) text += joint + word;
    return text;
}

std::vector<CommandText> describe(const CLI::App &app) {
    std::vector<CommandText> all;
    add(app, {}, &all);
    return all;
}

} // namespace command
