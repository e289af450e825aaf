// Manual pages in the man macros.
#include <algorithm>
#include <sstream>

#include <sarvo/sarvo.h>

#include "line/describe.h"

namespace command {
namespace {

// Text as roff prints it: no escapes, no requests, hyphens that can be copied.
std::string plain(const std::string &text) {
    std::string out = !text.empty() && (text[0] == '.' || text[0] == '\'') ? "\\&" : "";
    for (const char c : text) {
        if (c == '\\') out += "\\e";
        else if (c == '-') out += "\\-";
        else if (c == '^') out += "\\(ha";
        else if (c == '~') out += "\\(ti";
        else if (c == '\'') out += "\\(aq";
        else out += c;
    }
    return out;
}

std::string capitals(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(),
                   [](char c) { return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c; });
    return text;
}

// Lines as they stand.
std::string verbatim(const std::string &text) {
    std::string out = ".nf\n";
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) out += plain(line) + "\n";
    return out + ".fi\n";
}

std::string synopsis(const CommandText &command) {
    std::string text = ".B " + plain(command.name(' ')) + "\n";
    if (!command.subcommands.empty()) text += ".I SUBCOMMAND\n";
    for (const OptionText &o : command.options) {
        if (!o.argument) continue;
        const std::string name = plain(o.name + (o.many ? " ..." : ""));
        text += o.required ? ".I " + name + "\n" : ".RI [ \"" + name + "\" ]\n";
    }
    return text + ".RI [ option \" ...]\"\n";
}

std::string item(const std::string &head, const std::string &text) {
    return ".TP\n" + head + "\n" + plain(text) + "\n";
}

std::string options(const CommandText &command) {
    std::string text;
    for (const OptionText &o : command.options) {
        const std::string head = o.argument       ? ".I \"" + plain(o.name) + "\""
                                 : o.type.empty() ? ".B \"" + plain(o.name) + "\""
                                                  : ".BI \"" + plain(o.name) + " \" \"" + plain(o.type) + "\"";
        text += item(head, o.what);
    }
    return text.empty() ? "" : ".SH OPTIONS\n" + text;
}

std::string exit_status() {
    return ".SH EXIT STATUS\n" + item(".B 0", "Done.") +
           item(".B 1", "A numerical failure: not converged, singular, outside the domain.") +
           item(".B 2", "The command line is wrong.") + item(".B 3", "What was read makes no sense.") +
           item(".B 4", "A file cannot be opened, read or written.") + item(".B 130", "Interrupted.");
}

std::string see_also(const CommandText &command, const std::vector<CommandText> &all) {
    std::string text;
    for (const CommandText &other : all) {
        const bool parent = other.path.size() + 1 == command.path.size() &&
                            std::equal(other.path.begin(), other.path.end(), command.path.begin());
        const bool child = other.path.size() == command.path.size() + 1 &&
                           std::equal(command.path.begin(), command.path.end(), other.path.begin());
        if (parent || child) text += std::string(text.empty() ? "" : ",\n") + ".BR " + plain(other.name('-')) + " (1)";
    }
    return text.empty() ? "" : ".SH SEE ALSO\n" + text + "\n";
}

} // namespace

std::string manual_page(const CommandText &command, const std::vector<CommandText> &all) {
    const std::string name = command.name('-');
    std::string text = ".TH " + capitals(name) + " 1 \"\" \"sarvo " + sarvo_version_string() + "\"\n";
    text += ".SH NAME\n" + plain(name) + " \\- " + plain(command.what) + "\n";
    text += ".SH SYNOPSIS\n" + synopsis(command);
    if (!command.prose.empty()) text += ".SH DESCRIPTION\n" + verbatim(command.prose);
    if (!command.subcommands.empty()) {
        text += ".SH SUBCOMMANDS\n";
        for (const CommandText &other : all)
            if (other.path.size() == command.path.size() + 1 &&
                std::equal(command.path.begin(), command.path.end(), other.path.begin()))
                text += item(".B " + plain(other.path.back()), other.what + ".");
    }
    text += options(command) + exit_status();
    if (!command.examples.empty()) {
        std::string lines;
        for (const std::string &example : command.examples) lines += example + "\n";
        text += ".SH EXAMPLES\n" + verbatim(lines);
    }
    return text + see_also(command, all);
}

} // namespace command
