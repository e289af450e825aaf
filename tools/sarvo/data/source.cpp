// Reading of whole files, and pieces of them in messages.
#include "source.h"

#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <new>

namespace command {
namespace {

bool continues_character(char c) { return (c & 0xC0) == 0x80; } // a byte of UTF-8 behind the first

// The nearest beginning of a character at or before `at`; broken UTF-8 is cut where it is.
size_t character_begin(std::string_view text, size_t at) {
    for (size_t i = at; at < text.size() && i + 4 > at; i--) {
        if (!continues_character(text[i])) return i;
        if (i == 0) break;
    }
    return at;
}

} // namespace

Source::Source(const std::string &path)
    : name_(source_name(path)), file_(path == "-" ? stdin : std::fopen(path.c_str(), "rb")) {
    if (!file_) throw file_error(name_ + ": cannot be opened: " + std::strerror(errno));
}

size_t Source::read(char *block, size_t size) {
    const size_t count = std::fread(block, 1, size, file_.get());
    if (std::ferror(file_.get())) throw file_error(name_ + ": cannot be read: " + std::strerror(errno));
    return count;
}

size_t Source::size_of_file() const {
    struct stat status;
    return fstat(fileno(file_.get()), &status) == 0 && S_ISREG(status.st_mode) ? static_cast<size_t>(status.st_size)
                                                                               : 0;
}

SourceStream::SourceStream(const std::string &path) : std::istream(this), source_(path), block_(1 << 16) {
    exceptions(std::ios::badbit); // lets pass what underflow throws
}

std::streambuf::int_type SourceStream::underflow() {
    const size_t count = source_.read(block_.data(), block_.size());
    setg(block_.data(), block_.data(), block_.data() + count);
    return count == 0 ? std::char_traits<char>::eof() : std::char_traits<char>::to_int_type(block_[0]);
}

std::string read_text(const std::string &path) try {
    Source source(path);
    std::string text;
    text.reserve(source.size_of_file());
    char block[1 << 16];
    while (const size_t count = source.read(block, sizeof block)) text.append(block, count);
    return text;
} catch (const std::bad_alloc &) {
    throw file_error(source_name(path) + ": does not fit into memory");
}

std::string printable(std::string_view text) {
    std::string all(text);
    for (size_t i = 0; i < all.size(); i++) {
        const auto c = static_cast<unsigned char>(all[i]);
        if ((c < 0x20 && c != '\t') || c == 0x7F) all[i] = '?';
        if (c == 0xC2 && i + 1 < all.size() && (all[i + 1] & 0xE0) == 0x80) all[i] = all[i + 1] = '?'; // U+0080..9F
    }
    return all;
}

std::string quoted(std::string_view piece) {
    constexpr size_t longest = 60;
    if (piece.size() <= longest) return "'" + printable(piece) + "'";
    return "'" + printable(piece.substr(0, character_begin(piece, longest - 3))) + "...'";
}

Failure fault_at(const std::string &source, size_t number, const std::string &line, size_t position,
                 const std::string &what) {
    constexpr size_t around = 80;
    const size_t begin = position > 2 * around ? character_begin(line, position - around) : 0;
    const size_t end = character_begin(line, std::min(line.size(), std::max(position, begin) + 2 * around));
    const std::string before = begin > 0 ? "..." : "", after = end < line.size() ? "..." : "";
    const std::string shown = before + printable(std::string_view(line).substr(begin, end - begin)) + after;
    return input_error(source + ":" + std::to_string(number) + ":" + std::to_string(position + 1) + ": " + what + "\n" +
                       with_caret(shown, before.size() + position - begin));
}

} // namespace command
