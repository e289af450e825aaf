// Results to standard output and to files; what cannot be written is a failure.
#pragma once

#include <string>

namespace command {

void write_out(const std::string &text);
void write_file(const std::string &text, const std::string &path);

} // namespace command
