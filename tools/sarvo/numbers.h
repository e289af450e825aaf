// Numbers as text, independent of the locale.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace command {

// The whole text as a decimal number, with an optional sign; infinities and NaN are numbers here.
std::optional<double> parse_number(std::string_view text);

std::string shortest(double x);            // fewest digits that read back to the same bits
std::string hexadecimal(double x);         // as 0x1.8p+1, exactly
std::string general(double x, int digits); // like %.*g

} // namespace command
