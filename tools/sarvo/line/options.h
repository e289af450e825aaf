// Options in the words that help, manual and completion understand: a type written A|B|C lists the choices, FILE is a file.
#pragma once

#include <string>

#include <CLI/CLI.hpp>

#include "answer/answer.h"

namespace command {

// An argument by its place.
template <typename T> CLI::Option *argument(CLI::App &app, const char *name, T &to, const char *what) {
    return app.add_option(name, to, what)->type_name("");
}

template <typename T>
CLI::Option *option(CLI::App &app, const char *name, T &to, const char *type, const std::string &what) {
    return app.add_option(name, to, what)->type_name(type);
}

// A number between two others, both allowed.
template <typename T>
CLI::Option *option(CLI::App &app, const char *name, T &to, T low, T high, const char *type, const std::string &what) {
    return option(app, name, to, type, what)->check(CLI::Validator(CLI::Range(low, high)).description(""));
}

// One of "A|B|C".
CLI::Option *choice(CLI::App &app, const char *name, std::string &to, const char *choices, const std::string &what);
// The same as an argument by its place.
CLI::Option *choice_argument(CLI::App &app, const char *name, std::string &to, const char *choices, const char *what);

// --format, --digits, --hex, --fingerprint.
void add_output_options(CLI::App &app, OutputOptions &options);

// Text behind the options: prose, then one example a line, from "sarvo" on.
void explain(CLI::App &app, const std::string &prose, std::initializer_list<const char *> examples);

} // namespace command
