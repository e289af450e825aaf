// The name that somebody who mistyped one probably meant.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace command {

// The candidate with the fewest letters to change, add, drop or swap: one in words of up to 5 letters, two up to 9,
// three in longer ones; else empty.
std::string nearest(std::string_view word, const std::vector<std::string> &candidates);

// " Did you mean 'candidate'?" or nothing.
std::string suggestion(std::string_view word, const std::vector<std::string> &candidates);

} // namespace command
