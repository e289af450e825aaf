// Runs the built command and tells what it answered.
#pragma once

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
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

// Runs `sarvo ARGUMENTS` by the shell, with `input` as standard input; redirections among the arguments come later.
inline Answer sarvo(const std::string &arguments, const std::string &input = "") {
    const std::string folder = testing::TempDir() + "sarvo_cli_" + std::to_string(getpid());
    const std::string in = folder + ".in", out = folder + ".out", err = folder + ".err";
    std::ofstream(in) << input;
    const int status =
        std::system(("<" + in + " >" + out + " 2>" + err + " " + SARVO_COMMAND_PATH + " " + arguments).c_str());
    Answer answer{WIFEXITED(status) ? WEXITSTATUS(status) : -1, slurp(out), slurp(err)};
    for (const std::string &path : {in, out, err}) std::remove(path.c_str());
    return answer;
}

// Runs the examples that `sarvo SUBCOMMAND --help` shows, in a folder with the files that they read; how many there
// were.
inline int run_examples(const std::string &subcommand, const std::string &folder) {
    std::istringstream help(sarvo(subcommand + " --help").out);
    int count = 0;
    bool below = false;
    for (std::string line; std::getline(help, line);) {
        if (line.find("xamples") != std::string::npos) below = true;
        const size_t at = line.find("sarvo ");
        if (!below || at == std::string::npos || line.find_first_not_of(' ') != at) continue;
        const std::string shell = "cd " + folder + " && sarvo() { " SARVO_COMMAND_PATH " \"$@\"; }; (" +
                                  line.substr(at) + ") >output 2>errors </dev/null";
        EXPECT_EQ(std::system(shell.c_str()), 0) << line << "\n" << slurp(folder + "/errors");
        EXPECT_FALSE(slurp(folder + "/output").empty()) << line;
        count++;
    }
    return count;
}

// Runs `sarvo ARGUMENTS` by the shell with a connection as standard input that brings `input` and is then reset.
inline Answer sarvo_on_broken_connection(const std::string &arguments, const std::string &input) {
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof address;
    auto *const generic = reinterpret_cast<sockaddr *>(&address);
    const int listener = socket(AF_INET, SOCK_STREAM, 0), reader = socket(AF_INET, SOCK_STREAM, 0);
    EXPECT_EQ(bind(listener, generic, size), 0);
    EXPECT_EQ(listen(listener, 1), 0);
    EXPECT_EQ(getsockname(listener, generic, &size), 0);
    EXPECT_EQ(connect(reader, generic, size), 0);
    const int writer = accept(listener, nullptr, nullptr);
    EXPECT_EQ(write(writer, input.data(), input.size()), static_cast<ssize_t>(input.size()));
    const linger at_once = {1, 0};
    EXPECT_EQ(setsockopt(writer, SOL_SOCKET, SO_LINGER, &at_once, sizeof at_once), 0);
    close(writer);               // no end of the data but a reset
    constexpr int one_digit = 9; // as much as every shell understands
    EXPECT_EQ(dup2(reader, one_digit), one_digit);
    close(reader);
    close(listener);
    const std::string file = testing::TempDir() + "sarvo_cli_" + std::to_string(getpid());
    const int status = std::system((std::string(SARVO_COMMAND_PATH) + " " + arguments + " <&" +
                                    std::to_string(one_digit) + " >" + file + ".out 2>" + file + ".err")
                                       .c_str());
    close(one_digit);
    Answer answer{WIFEXITED(status) ? WEXITSTATUS(status) : -1, slurp(file + ".out"), slurp(file + ".err")};
    for (const char *end : {".out", ".err"}) std::remove((file + end).c_str());
    return answer;
}

} // namespace test::cli
