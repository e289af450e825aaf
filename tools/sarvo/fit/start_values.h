// Parameters with values as they stand on a command line.
#pragma once

#include <string>
#include <utility>
#include <vector>

namespace command {

// "b1=500,b2=1e-4" to names and values; throws usage_error that shows the place.
std::vector<std::pair<std::string, double>> parse_start(const std::string &text);

} // namespace command
