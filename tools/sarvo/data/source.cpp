// Reading of whole files.
#include "source.h"

#include <cerrno>
#include <cstdio>
#include <cstring>

namespace command {

std::string read_text(const std::string &path) {
    const bool standard_input = path == "-";
    FILE *file = standard_input ? stdin : std::fopen(path.c_str(), "rb");
    if (!file) throw file_error(path + ": cannot be opened: " + std::strerror(errno));
    std::string text;
    char block[1 << 16];
    for (size_t count; (count = std::fread(block, 1, sizeof block, file)) > 0;) text.append(block, count);
    const bool failed = std::ferror(file) != 0;
    const int reason = errno;
    if (!standard_input) std::fclose(file);
    if (failed) throw file_error(path + ": cannot be read: " + std::strerror(reason));
    return text;
}

} // namespace command
