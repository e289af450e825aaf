// Reading of name=value,name=value.
#include "fit/start_values.h"

#include "errors.h"
#include "numbers.h"

namespace command {
namespace {

std::string trimmed(const std::string &text) {
    const size_t first = text.find_first_not_of(" \t");
    if (first == std::string::npos) return "";
    return text.substr(first, text.find_last_not_of(" \t") - first + 1);
}

bool is_name(const std::string &text) {
    if (text.empty() || (text[0] >= '0' && text[0] <= '9')) return false;
    for (const char c : text)
        if (!((c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_' || c == '.' ||
              (c & 0x80)))
            return false;
    return true;
}

} // namespace

std::vector<std::pair<std::string, double>> parse_start(const std::string &text) {
    std::vector<std::pair<std::string, double>> start;
    for (size_t begin = 0; begin <= text.size();) {
        const size_t end = std::min(text.find(',', begin), text.size());
        const std::string item = text.substr(begin, end - begin);
        const size_t equals = item.find('=');
        const auto fault = [&](const std::string &what, size_t position) {
            return usage_error("--start: " + what + "\n" + with_caret(text, begin + position));
        };
        if (equals == std::string::npos) throw fault("name=value is wanted here", 0);
        const std::string name = trimmed(item.substr(0, equals));
        if (!is_name(name)) throw fault("'" + name + "' cannot be the name of a parameter", 0);
        const auto value = parse_number(trimmed(item.substr(equals + 1)));
        if (!value) throw fault("this is not a number", equals + 1);
        start.emplace_back(name, *value);
        begin = end + 1;
    }
    return start;
}

} // namespace command
