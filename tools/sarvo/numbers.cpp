// Numbers as text, by the functions that ignore the locale.
#include "numbers.h"

#include <charconv>
#include <cmath>

namespace command {

std::optional<double> parse_number(std::string_view text) {
    if (!text.empty() && text.front() == '+') {
        text.remove_prefix(1);
        if (!text.empty() && (text.front() == '+' || text.front() == '-')) return std::nullopt; // one sign
    }
    double x = 0.0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), x);
    if (error != std::errc{} || end != text.data() + text.size() || text.empty()) return std::nullopt;
    return x;
}

std::string shortest(double x) {
    if (std::isnan(x)) return "nan"; // of either sign
    char text[40];
    return {text, std::to_chars(text, text + sizeof text, x).ptr};
}

std::string hexadecimal(double x) {
    if (std::isnan(x)) return "nan";
    char text[40];
    const std::string digits(text, std::to_chars(text, text + sizeof text, std::fabs(x), std::chars_format::hex).ptr);
    return (std::signbit(x) ? "-" : "") + std::string(std::isfinite(x) ? "0x" : "") + digits;
}

std::string general(double x, int digits) {
    if (std::isnan(x)) return "nan";
    char text[64];
    return {text, std::to_chars(text, text + sizeof text, x, std::chars_format::general, digits).ptr};
}

} // namespace command
