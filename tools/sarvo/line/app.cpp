// The command line over CLI11.
#include "line/app.h"

#include <cstdio>
#include <exception>
#include <sstream>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>

#include "answer/output.h"
#include "errors.h"
#include "library.h"
#include "line/subcommands.h"
#include "line/suggest.h"
#include "numbers.h"

namespace command {
namespace {

struct Subcommand {
    const char *name;
    const char *description;
    Run (*add)(CLI::App &);
};

constexpr Subcommand subcommands[] = {
    {"fit", "Fit a formula to data by non-linear least squares", add_fit},
    {"solve", "Solve a sparse linear system or least-squares problem from Matrix Market files", add_solve},
    {"svd", "Singular values, rank and condition of a matrix", add_svd},
    {"eig", "Eigenvalues of a symmetric matrix", add_eig},
    {"exp", "Exponential of a square matrix", add_exp},
    {"inv", "Inverse or pseudo-inverse of a matrix", add_inv},
    {"cond", "Condition numbers of a matrix", add_cond},
    {"fft", "Fourier transform of a list of numbers", add_fft},
    {"conv", "Convolution of two lists of numbers", add_conv},
    {"stats", "Sum up the columns of a table: moments, extremes, quantiles", add_stats},
    {"random", "Random numbers of a distribution, by seed", add_random},
    {"sample", "Sample a function where it bends; print the points or draw them", add_sample},
    {"interp", "Interpolate a table by a cubic spline or linearly", add_interp},
    {"dist", "Probabilities, densities and quantiles of distributions", add_dist},
    {"eval", "Evaluate arithmetic and special functions with their error estimates", add_eval},
    {"bench", "Measure the machine: memory, latency, small numerical programs", add_bench},
    {"completion", "Print the completion script of a shell", add_completion},
    {"manual", "Print the manual page of a subcommand", add_manual},
    {"info", "Show the version, the processor level chosen, machine constants and build flags", add_info},
};

const char *const footer =
    "Answers come as a table on a terminal, as tab-separated values in a pipe, or as --format says. Exit codes: 0 "
    "done,\n"
    "1 numerical failure, 2 usage, 3 bad input, 4 file not readable or writable, 130 interrupted.\n"
    "More of a subcommand: sarvo help SUBCOMMAND, or sarvo SUBCOMMAND --help.\n"
    "\n"
    "Examples:\n"
    "  sarvo fit 'y ~ a + b*x' data.csv --start a=1,b=1\n"
    "  sarvo solve A.mtx b.mtx --method cg --history\n"
    "  sarvo eval 'lngamma(0.5)' 'psi(1)' --format json";

std::vector<CLI::App *> subcommands_of(CLI::App &app) {
    return app.get_subcommands([](CLI::App *) { return true; });
}

std::vector<std::string> option_names(const CLI::App &app) {
    std::vector<std::string> names;
    for (const CLI::Option *option : app.get_options())
        for (const std::string &name : option->get_lnames()) names.push_back("--" + name);
    return names;
}

// The word of the command line that nothing takes, with the name that was probably meant; empty when there is none.
std::string unknown_word(CLI::App &app, const std::vector<std::string> &words) {
    CLI::App *current = &app;
    for (const std::string &word : words) {
        if (word == "--") break;
        const bool option = word.size() > 1 && word[0] == '-' && !parse_number(word);
        if (option) {
            const std::string name = word.substr(0, word.find('='));
            if (name.rfind("--", 0) == 0 ? !current->get_option_no_throw(name)
                                         : !current->get_option_no_throw(name.substr(0, 2)))
                return "there is no option '" + name + "'." + suggestion(name, option_names(*current));
            continue;
        }
        std::vector<std::string> names;
        CLI::App *next = nullptr;
        for (CLI::App *subcommand : subcommands_of(*current)) {
            names.push_back(subcommand->get_name());
            if (word == subcommand->get_name()) next = subcommand;
        }
        if (next) current = next;
        else if (!names.empty()) return "there is no subcommand '" + word + "'." + suggestion(word, names);
    }
    return "";
}

int complain(const std::string &message, ExitCode code) {
    std::fprintf(stderr, "sarvo: %s\n", message.c_str());
    return code;
}

// What CLI11 prints, and its exit code; like a result it must arrive.
int print_text(const std::string &text, ExitCode code) {
    try {
        write_out(text);
    } catch (const Failure &e) {
        return complain(e.what(), e.code());
    }
    return code;
}

} // namespace

int run(int argc, char **argv) {
    CLI::App app("Numerical work from the command line, on libsarvo.", "sarvo");
    app.set_version_flag("--version", std::string("sarvo ") + sarvo_version_string());
    app.footer(footer);
    app.require_subcommand(1);
    std::vector<std::pair<CLI::App *, Run>> runs;
    for (const Subcommand &s : subcommands) {
        CLI::App *added = app.add_subcommand(s.name, s.description);
        runs.emplace_back(added, s.add(*added));
    }
    std::vector<std::string> words(argv + 1, argv + argc);
    if (words.empty()) {
        std::fputs(app.help().c_str(), stderr);
        return exit_usage;
    }
    if (words[0] == "help") { // help bench memory is bench memory --help
        words.erase(words.begin());
        const std::string unknown = unknown_word(app, words);
        if (!unknown.empty()) return complain(unknown + "\nsarvo --help shows what there is.", exit_usage);
        words.emplace_back("--help");
    }
    try {
        app.parse(std::vector<std::string>(words.rbegin(), words.rend())); // it takes them from the end
        start_library();
        for (const auto &[subcommand, run_it] : runs)
            if (subcommand->parsed()) return run_it();
    } catch (const CLI::Success &e) { // help, version
        std::ostringstream text;
        const int code = app.exit(e, text, text);
        return print_text(text.str(), static_cast<ExitCode>(code));
    } catch (const CLI::ParseError &e) {
        const std::string unknown = unknown_word(app, words);
        return complain((unknown.empty() ? std::string(e.what()) : unknown) + "\nsarvo --help shows what there is.",
                        exit_usage);
    } catch (const Failure &e) {
        return complain(e.what(), e.code());
    } catch (const std::exception &e) {
        return complain(e.what(), exit_numerical);
    }
    return exit_usage;
}

} // namespace command
