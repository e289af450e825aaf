// The subcommands manual and completion.
#include <memory>

#include "answer/output.h"
#include "errors.h"
#include "line/describe.h"
#include "line/options.h"
#include "line/subcommands.h"
#include "line/suggest.h"

namespace command {
namespace {

struct Arguments {
    std::vector<std::string> names;
    std::string shell, folder;
};

int print_manual(const CLI::App &app, const Arguments &a) {
    const std::vector<CommandText> all = describe(app);
    if (!a.folder.empty()) {
        for (const CommandText &command : all)
            write_file(manual_page(command, all), a.folder + "/" + command.name('-') + ".1");
        return exit_done;
    }
    std::vector<std::string> names;
    for (const CommandText &command : all) {
        if (command.path == a.names) {
            write_out(manual_page(command, all));
            return exit_done;
        }
        names.push_back(command.path.empty() ? "" : command.name(' ').substr(6));
    }
    std::string wanted;
    for (const std::string &name : a.names) wanted += (wanted.empty() ? "" : " ") + name;
    throw usage_error("there is no subcommand '" + wanted + "'." + suggestion(wanted, names));
}

int print_completion(const CLI::App &app, const Arguments &a) {
    const auto script = a.shell == "zsh" ? zsh_completion : a.shell == "fish" ? fish_completion : bash_completion;
    write_out(script(describe(app)));
    return exit_done;
}

} // namespace

Run add_manual(CLI::App &app) {
    const auto a = std::make_shared<Arguments>();
    explain(app, "",
            {"sarvo manual | man -l -", "sarvo manual fit > sarvo-fit.1", "sarvo manual bench memory | man -l -"});
    argument(app, "NAME", a->names, "Subcommand (default: the whole command)");
    option(app, "--folder", a->folder, "FILE", "Write the pages of the command and all subcommands into this folder");
    return [a, &app] { return print_manual(*app.get_parent(), *a); };
}

Run add_completion(CLI::App &app) {
    const auto a = std::make_shared<Arguments>();
    explain(app, "",
            {"sarvo completion bash > ~/.local/share/bash-completion/completions/sarvo",
             "sarvo completion zsh > ~/.zfunc/_sarvo",
             "sarvo completion fish > ~/.config/fish/completions/sarvo.fish"});
    choice_argument(app, "SHELL", a->shell, "bash|zsh|fish", "For which shell")->required();
    return [a, &app] { return print_completion(*app.get_parent(), *a); };
}

} // namespace command
