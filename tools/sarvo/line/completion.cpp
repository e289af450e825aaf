// Completion scripts for bash, zsh and fish.
#include "line/describe.h"

namespace command {
namespace {

std::string joined(const std::vector<std::string> &words, const char *joint) {
    std::string text;
    for (const std::string &word : words) text += (text.empty() ? "" : joint) + word;
    return text;
}

// In single quotes of a shell.
std::string quoted(const std::string &text) {
    std::string out = "'";
    for (const char c : text) out += c == '\'' ? std::string("'\\''") : std::string(1, c);
    return out + "'";
}

std::string without(std::string text, const char *letters) { // _arguments gives some letters a meaning
    for (char &c : text)
        if (std::string(letters).find(c) != std::string::npos) c = ' ';
    return text;
}

// ---- bash ----

std::string bash_case(const CommandText &command) {
    std::string options, files, silent, choices, words = joined(command.subcommands, " ");
    for (const OptionText &o : command.options) {
        for (const std::string &choice : o.choices)
            if (o.argument) words += " " + choice;
        if (o.argument) continue;
        options += " " + o.name;
        if (o.flag) continue;
        if (!o.choices.empty())
            choices += "    " + o.name + ") COMPREPLY=($(compgen -W '" + joined(o.choices, " ") +
                       "' -- \"$current\")); return ;;\n";
        else if (o.type != "FILE") silent += (silent.empty() ? "" : "|") + o.name;
    }
    std::string text = "  '" + joined(command.path, " ") + "')\n    case $previous in\n" + choices;
    if (!silent.empty()) text += "    " + silent + ") return ;;\n";
    return text + "    esac\n    options='" + options + "' words='" + words + "'\n    ;;\n";
}

// ---- zsh ----

std::string zsh_value(const OptionText &o) {
    const std::string message = without(o.type.empty() ? o.name : o.type, "|:'[]") + ":";
    if (!o.choices.empty()) return message + "(" + joined(o.choices, " ") + ")";
    return message + (o.file ? "_files" : "");
}

std::string zsh_function(const CommandText &command, const std::string &name) {
    std::string text = name + "() {\n  _arguments -S";
    int place = 0;
    for (const OptionText &o : command.options) {
        text += " \\\n    ";
        if (o.argument)
            text += quoted((o.many ? std::string("*") : std::to_string(++place)) + (o.required ? ":" : "::") +
                           zsh_value(o));
        else
            text += quoted((o.type == "FILE" ? "*" : "") + o.name + (o.flag ? "" : "=") + "[" + without(o.what, "[]:") +
                           "]" + (o.flag ? "" : ":" + zsh_value(o)));
    }
    return text + "\n}\n\n";
}

// A function that completes the name of a subcommand and hands over to its function.
std::string zsh_dispatch(const CommandText &command, const std::vector<CommandText> &all, const std::string &name) {
    std::string list, cases;
    for (const CommandText &other : all)
        if (other.path.size() == command.path.size() + 1 &&
            (command.path.empty() || other.path[0] == command.path[0])) {
            list += "    " + quoted(other.path.back() + ":" + without(other.what, ":")) + "\n";
            cases += "      " + other.path.back() + ") _" + other.name('_') + " ;;\n";
        }
    return name +
           "() {\n  local state line\n  _arguments -C '--help[Print the help]' '1: :->name' '*:: :->rest'\n"
           "  case $state in\n  name)\n    local -a names=(\n" +
           list + "    )\n    _describe subcommand names ;;\n  rest)\n    case $words[1] in\n" + cases +
           "    esac ;;\n  esac\n}\n\n";
}

// ---- fish ----

std::string fish_condition(const CommandText &command) {
    if (command.path.empty()) return "__fish_use_subcommand";
    std::string text;
    for (const std::string &word : command.path)
        text += (text.empty() ? "" : "; and ") + std::string("__fish_seen_subcommand_from ") + word;
    return text;
}

} // namespace

std::string bash_completion(const std::vector<CommandText> &all) {
    std::string paths, cases;
    for (const CommandText &command : all) {
        if (!command.path.empty()) paths += (paths.empty() ? "'" : "|'") + joined(command.path, " ") + "'";
        cases += bash_case(command);
    }
    return "# bash completion for sarvo\n"
           "_sarvo() {\n"
           "  local current=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD-1]} path='' word longer options "
           "words\n"
           "  for word in \"${COMP_WORDS[@]:1:COMP_CWORD-1}\"; do\n"
           "    longer=${path:+$path }$word\n"
           "    case $longer in " +
           paths +
           ") path=$longer ;; esac\n"
           "  done\n"
           "  case $path in\n" +
           cases +
           "  esac\n"
           "  if [[ $current == -* ]]; then\n"
           "    COMPREPLY=($(compgen -W \"$options\" -- \"$current\"))\n"
           "  else\n"
           "    COMPREPLY=($(compgen -W \"$words\" -- \"$current\"))\n"
           "    [[ -z $path ]] || COMPREPLY+=($(compgen -f -- \"$current\"))\n"
           "  fi\n"
           "}\n"
           "complete -o filenames -F _sarvo sarvo\n";
}

std::string zsh_completion(const std::vector<CommandText> &all) {
    std::string text = "#compdef sarvo\n\n";
    for (const CommandText &command : all) {
        const std::string name = "_" + command.name('_');
        text += command.subcommands.empty() ? zsh_function(command, name) : zsh_dispatch(command, all, name);
    }
    return text + "_sarvo \"$@\"\n";
}

std::string fish_completion(const std::vector<CommandText> &all) {
    std::string text = "# fish completion for sarvo\n";
    for (const CommandText &command : all) {
        const std::string when = "complete -c sarvo -n " + quoted(fish_condition(command));
        for (const CommandText &other : all)
            if (other.path.size() == command.path.size() + 1 &&
                (command.path.empty() || other.path[0] == command.path[0]))
                text += when + " -f -a " + other.path.back() + " -d " + quoted(other.what) + "\n";
        for (const OptionText &o : command.options) {
            const std::string choices = o.choices.empty() ? "" : " -a " + quoted(joined(o.choices, " "));
            if (o.argument && choices.empty()) continue;
            text += when + (o.argument ? "" : " -l " + o.name.substr(2)) +
                    (o.argument || o.flag ? ""
                     : o.type == "FILE"   ? " -r"
                                          : " -x") +
                    choices + " -d " + quoted(o.what) + "\n";
        }
    }
    return text;
}

} // namespace command
