// Shared by the fuzz targets. Each defines LLVMFuzzerTestOneInput, to which the fuzzer, or replay.cpp where there is none,
// gives inputs; a claim that does not hold ends the process, so that the input is kept.
#pragma once

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "errors.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size);

namespace fuzz {

inline void require(bool holds, const char *claim) {
    if (holds) return;
    std::fprintf(stderr, "does not hold: %s\n", claim);
    std::abort();
}

inline std::string text_of(const uint8_t *data, size_t size) { return {reinterpret_cast<const char *>(data), size}; }

// Equal bits; one NaN is as good as another.
inline bool same(double x, double y) {
    uint64_t a = 0, b = 0;
    std::memcpy(&a, &x, sizeof a);
    std::memcpy(&b, &y, sizeof b);
    return a == b || (x != x && y != y);
}

inline bool same(const std::vector<double> &x, const std::vector<double> &y) {
    bool all = x.size() == y.size();
    for (size_t i = 0; all && i < x.size(); i++) all = same(x[i], y[i]);
    return all;
}

// Runs a reader. A refusal must be of this kind; its message is returned, empty when the input was accepted.
template <class Reader> std::string refusal(command::ExitCode code, Reader read) {
    try {
        read();
    } catch (const command::Failure &e) {
        require(e.code() == code, "the refusal has the exit code of its kind");
        require(*e.what() != '\0', "a refusal has a message");
        return e.what();
    }
    return "";
}

// What reaches the terminal when a file is refused: short, and without control characters.
inline void require_fit_for_terminal(const std::string &message) {
    require(message.size() < 2000, "a message is short");
    for (const char c : message)
        require(static_cast<unsigned char>(c) >= 0x20 || c == '\n' || c == '\t', "a message has no control characters");
}

template <class Reader> std::string file_refusal(Reader read) {
    const std::string message = refusal(command::exit_input, read);
    require_fit_for_terminal(message);
    return message;
}

} // namespace fuzz
