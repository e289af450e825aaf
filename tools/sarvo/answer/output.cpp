// Writing of results.
#include "answer/output.h"

#include <cerrno>
#include <cstdio>
#include <cstring>

#include "errors.h"

namespace command {

void write_out(const std::string &text) {
    if (std::fwrite(text.data(), 1, text.size(), stdout) != text.size() || std::fflush(stdout) != 0)
        throw file_error("the result could not be written");
}

void write_file(const std::string &text, const std::string &path) {
    FILE *file = std::fopen(path.c_str(), "wb");
    if (!file) throw file_error(path + ": cannot be written: " + std::strerror(errno));
    const bool whole = std::fwrite(text.data(), 1, text.size(), file) == text.size();
    if (std::fclose(file) != 0 || !whole) throw file_error(path + ": cannot be written: " + std::strerror(errno));
}

} // namespace command
