// Results to standard output and to files; what cannot be written is a failure, and leaves no file.
#pragma once

#include <cstddef>
#include <cstdio>
#include <string>

namespace command {

// A file that gets its name only when all of it is there. Until then the bytes go to a file beside it, which an exception
// or a signal that ends the program removes; what had the name before stays. "-" is standard output; devices and pipes
// are written at once. All throw file_error.
class OutputFile {
public:
    explicit OutputFile(const std::string &path);
    ~OutputFile();
    OutputFile(const OutputFile &) = delete;
    OutputFile &operator=(const OutputFile &) = delete;

    void write(const void *data, size_t size);
    void finish(); // flushes, closes and names it

private:
    [[noreturn]] void fail() const;

    std::string path_, temporary_; // temporary_ empty: written at once
    FILE *file_ = nullptr;
};

void write_out(const std::string &text);
void write_file(const std::string &text, const std::string &path);

} // namespace command
