// The distributions of both generators by name, drawn in blocks.
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace command {

struct Parameter {
    std::string_view name;
    std::optional<double> standard; // its value when left out
    bool positive = false;
};

struct Deviate {
    std::string_view name, meaning;
    std::vector<Parameter> parameters;
    bool twister, classic; // which generators have it
    std::optional<double> (*mean)(std::span<const double> p);
    std::optional<double> (*deviation)(std::span<const double> p);
};
std::span<const Deviate> deviates();

struct SourceOptions {
    std::string generator = "mt";    // mt: MT19937; kiss, xorshift, mwc: methods 0, 1, 2 of the classic generator
    std::string method = "ziggurat"; // of normal deviates by mt: ziggurat or polar
    uint64_t seed = 1;
};

// Fills a block with the next deviates of the stream. Throws a usage_error when the generator has no such distribution.
using Source = std::function<void(std::span<double> block)>;
Source open_source(const Deviate &deviate, const std::vector<double> &parameters, const SourceOptions &options);

} // namespace command
