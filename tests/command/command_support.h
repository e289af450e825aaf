// Runs the built command and tells what it answered.
#pragma once

#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <string>

#include <gtest/gtest.h>

namespace test::cli {

struct Answer {
    int exit_code;
    std::string out, err;
};

inline std::string slurp(const std::string &path) {
    std::ifstream file(path);
    std::ostringstream text;
    text << file.rdbuf();
    return text.str();
}

// Runs `sarvo ARGUMENTS` by the shell, with `input` as standard input.
inline Answer sarvo(const std::string &arguments, const std::string &input = "") {
    const std::string folder = testing::TempDir() + "sarvo_cli_" + std::to_string(getpid());
    const std::string in = folder + ".in", out = folder + ".out", err = folder + ".err";
    std::ofstream(in) << input;
    const int status =
        std::system((std::string(SARVO_COMMAND_PATH) + " " + arguments + " <" + in + " >" + out + " 2>" + err).c_str());
    Answer answer{WIFEXITED(status) ? WEXITSTATUS(status) : -1, slurp(out), slurp(err)};
    for (const std::string &path : {in, out, err}) std::remove(path.c_str());
    return answer;
}

} // namespace test::cli
