// Reading and writing of .npy files.
#include "npy.h"

#include <algorithm>
#include <array>
#include <bit>
#include <charconv>
#include <cmath>
#include <cstring>
#include <limits>
#include <stdexcept>

#include "source.h"

namespace command {
namespace {

constexpr std::string_view magic = "\x93NUMPY";

// ---- Numbers from bytes ----

template <class T> T load(const char *bytes, bool swapped) {
    std::array<char, sizeof(T)> copy;
    std::memcpy(copy.data(), bytes, sizeof(T));
    if (swapped) std::reverse(copy.begin(), copy.end());
    T value;
    std::memcpy(&value, copy.data(), sizeof(T));
    return value;
}

template <class T, bool swapped> double decode(const char *bytes) {
    return static_cast<double>(load<T>(bytes, swapped));
}

// Half precision: sign, five bits of exponent, ten of fraction; exact in a double.
template <bool swapped> double decode_half(const char *bytes) {
    const auto bits = load<uint16_t>(bytes, swapped);
    const int exponent = bits >> 10 & 31, fraction = bits & 1023;
    const double size = exponent == 31  ? fraction ? std::numeric_limits<double>::quiet_NaN() : HUGE_VAL
                        : exponent == 0 ? std::ldexp(fraction, -24)
                                        : std::ldexp(fraction + 1024, exponent - 25);
    return bits >> 15 ? -size : size;
}

using Decoder = double (*)(const char *);

struct Type {
    std::string_view name;
    size_t size; // of a number, of a complex one half
    bool complex;
    Decoder decode[2]; // in the order of this machine, swapped
};
constexpr Type types[] = {
    {"f8", 8, false, {decode<double, false>, decode<double, true>}},
    {"f4", 4, false, {decode<float, false>, decode<float, true>}},
    {"f2", 2, false, {decode_half<false>, decode_half<true>}},
    {"i8", 8, false, {decode<int64_t, false>, decode<int64_t, true>}},
    {"i4", 4, false, {decode<int32_t, false>, decode<int32_t, true>}},
    {"i2", 2, false, {decode<int16_t, false>, decode<int16_t, true>}},
    {"i1", 1, false, {decode<int8_t, false>, decode<int8_t, true>}},
    {"u8", 8, false, {decode<uint64_t, false>, decode<uint64_t, true>}},
    {"u4", 4, false, {decode<uint32_t, false>, decode<uint32_t, true>}},
    {"u2", 2, false, {decode<uint16_t, false>, decode<uint16_t, true>}},
    {"u1", 1, false, {decode<uint8_t, false>, decode<uint8_t, true>}},
    {"b1", 1, false, {decode<uint8_t, false>, decode<uint8_t, true>}},
    {"c16", 8, true, {decode<double, false>, decode<double, true>}},
    {"c8", 4, true, {decode<float, false>, decode<float, true>}},
};

Failure byte_fault(const std::string &source, size_t byte, const std::string &what) {
    return input_error(source + ": byte " + std::to_string(byte) + ": " + what);
}

// ---- The header ----

struct Header {
    std::string type;
    size_t type_at = 0; // byte of the file
    bool fortran_order = false;
    std::vector<uint64_t> shape;
    size_t shape_at = 0;
    size_t end = 0; // where the numbers begin
};

// The dictionary: the keys descr, fortran_order and shape in any order, each once, with values of their kinds.
class Dictionary {
public:
    Dictionary(std::string_view bytes, size_t begin, size_t end, const std::string &source)
        : bytes_(bytes), at_(begin), end_(end), source_(source) {}

    Header parse() {
        Header header;
        header.end = end_;
        expect('{', "the header is a dictionary, '{' is wanted here");
        bool seen[3] = {};
        while (!take('}')) {
            entry(header, seen);
            if (take(',')) continue;
            expect('}', "',' or '}' is wanted here");
            break;
        }
        skip_blanks();
        if (at_ < end_) throw fault("the dictionary has ended, only blanks may follow");
        for (size_t k = 0; k < 3; k++)
            if (!seen[k]) throw fault("the header has no key '" + std::string(keys[k]) + "'");
        return header;
    }

private:
    static constexpr std::string_view keys[3] = {"descr", "fortran_order", "shape"};

    Failure fault(const std::string &what) const { return byte_fault(source_, at_, what); }
    void skip_blanks() {
        while (at_ < end_ && (bytes_[at_] == ' ' || bytes_[at_] == '\t' || bytes_[at_] == '\n' || bytes_[at_] == '\r'))
            at_++;
    }
    bool take(char c) {
        skip_blanks();
        if (at_ == end_ || bytes_[at_] != c) return false;
        at_++;
        return true;
    }
    void expect(char c, const char *what) {
        if (!take(c)) throw fault(what);
    }
    bool take_word(std::string_view word) {
        skip_blanks();
        if (bytes_.substr(at_, std::min(word.size(), end_ - at_)) != word) return false;
        at_ += word.size();
        return true;
    }

    void entry(Header &header, bool (&seen)[3]) {
        skip_blanks();
        const size_t place = at_;
        const std::string key = text("a key in quotes is wanted here");
        const size_t k = static_cast<size_t>(std::find(keys, keys + 3, key) - keys);
        if (k == 3 || seen[k]) {
            at_ = place;
            throw fault(k == 3 ? quoted(key) + " is not a key of the header: descr, fortran_order, shape"
                               : "the key '" + key + "' occurs twice");
        }
        seen[k] = true;
        expect(':', "':' is wanted here");
        skip_blanks();
        if (k == 0) {
            header.type_at = at_;
            if (at_ < end_ && bytes_[at_] == '[') throw fault("records of several fields are not read");
            header.type = text("the type is wanted here, in quotes");
        } else if (k == 1) {
            header.fortran_order = take_word("True");
            if (!header.fortran_order && !take_word("False")) throw fault("True or False is wanted here");
        } else {
            header.shape_at = at_;
            header.shape = shape();
        }
    }

    // Text in quotes of either kind, without escapes.
    std::string text(const char *what) {
        skip_blanks();
        if (at_ == end_ || (bytes_[at_] != '\'' && bytes_[at_] != '"')) throw fault(what);
        const size_t close = bytes_.find(bytes_[at_], at_ + 1);
        if (close >= end_) throw fault("this quote is not closed");
        const std::string inner(bytes_.substr(at_ + 1, close - at_ - 1));
        at_ = close + 1;
        return inner;
    }

    // (), (n,) or (n, m); a comma may follow the last.
    std::vector<uint64_t> shape() {
        std::vector<uint64_t> sizes;
        expect('(', "the shape is wanted here, '('");
        bool comma = false;
        while (!take(')')) {
            if (!sizes.empty() && !comma) throw fault("',' or ')' is wanted here");
            if (sizes.size() == 2) throw fault("the array has more than two dimensions");
            sizes.push_back(size());
            comma = take(',');
        }
        if (sizes.size() == 1 && !comma) throw fault("a list has the shape (n,), with a comma");
        return sizes;
    }
    uint64_t size() {
        uint64_t value = 0;
        const auto [rest, error] = std::from_chars(bytes_.data() + at_, bytes_.data() + end_, value);
        if (error == std::errc::result_out_of_range) throw fault("the size is too large");
        if (error != std::errc{}) throw fault("a size is wanted here, a number without sign");
        at_ = static_cast<size_t>(rest - bytes_.data());
        if (at_ < end_ && bytes_[at_] == 'L') at_++; // as Python 2 wrote it
        return value;
    }

    std::string_view bytes_;
    size_t at_, end_;
    const std::string &source_;
};

Header read_header(std::string_view bytes, const std::string &source) {
    if (!is_npy(bytes)) throw byte_fault(source, 0, "this is not a .npy file");
    if (bytes.size() < 8) throw byte_fault(source, bytes.size(), "the file ends in the header");
    const int major = static_cast<unsigned char>(bytes[6]), minor = static_cast<unsigned char>(bytes[7]);
    if (major < 1 || major > 3 || minor != 0)
        throw byte_fault(source, 6,
                         "version " + std::to_string(major) + "." + std::to_string(minor) +
                             " is not known: 1.0, 2.0 and 3.0 are");
    const size_t begin = major == 1 ? 10 : 12;
    if (bytes.size() < begin) throw byte_fault(source, bytes.size(), "the file ends in the header");
    size_t length = 0;
    for (size_t i = begin; i > 8; i--) length = length << 8 | static_cast<unsigned char>(bytes[i - 1]);
    if (length > bytes.size() - begin)
        throw byte_fault(source, 8,
                         "a header of " + std::to_string(length) + " bytes is announced, " +
                             std::to_string(bytes.size() - begin) + " follow");
    return Dictionary(bytes, begin, begin + length, source).parse();
}

// The type and whether its bytes are in another order than this machine's.
std::pair<const Type *, bool> find_type(const Header &header, const std::string &source) {
    const char order = header.type.empty() ? '\0' : header.type[0];
    const bool ordered = order == '<' || order == '>' || order == '|';
    for (const Type &type : types) {
        if (!ordered || header.type.compare(1, std::string::npos, type.name) != 0) continue;
        if (order == '|' && type.size > 1) break;
        return {&type, (order == '<') != (std::endian::native == std::endian::little)};
    }
    throw byte_fault(source, header.type_at,
                     quoted(header.type) + " is not a type that is read: < or > (of one byte also |) and f2, f4, f8, "
                                           "i1, i2, i4, i8, u1, u2, u4, u8, b1, c8 or c16");
}

// Refuses a shape that does not have exactly the bytes that are there.
void check_size(const Header &header, size_t item, size_t there, const std::string &source) {
    uint64_t count = 1;
    std::string shape;
    for (const uint64_t size : header.shape) shape += (shape.empty() ? "" : " x ") + std::to_string(size);
    const bool empty = std::find(header.shape.begin(), header.shape.end(), 0u) != header.shape.end();
    for (const uint64_t size : header.shape) {
        if (empty) count = 0;
        else if (size > there / item / count)
            throw byte_fault(source, header.shape_at,
                             "an array of " + shape + " does not fit into the file: " + std::to_string(there) +
                                 " bytes follow the header");
        else count *= size;
    }
    if (count * item > there) throw byte_fault(source, header.end, "the file ends before the number is complete");
    if (count * item < there)
        throw byte_fault(source, header.end + static_cast<size_t>(count) * item,
                         std::to_string(there - static_cast<size_t>(count) * item) + " bytes follow the last number");
}

} // namespace

bool is_npy(std::string_view bytes) { return bytes.substr(0, magic.size()) == magic; }

NpyView::NpyView(std::string_view bytes, const std::string &source) : bytes_(bytes), source_(source) {
    const Header header = read_header(bytes, source);
    const auto [type, swapped] = find_type(header, source);
    type_ = header.type;
    shape_ = header.shape;
    fortran_order_ = header.fortran_order;
    complex_ = type->complex;
    part_size_ = type->size;
    decode_ = type->decode[swapped];
    numbers_ = bytes.data() + header.end;
    check_size(header, part_size_ << complex_, bytes.size() - header.end, source);
    const size_t neither =
        type->name == "b1" ? bytes.find_first_not_of(std::string_view("\0\1", 2), header.end) : std::string_view::npos;
    if (neither != std::string_view::npos) throw byte_fault(source, neither, "a truth value is 0 or 1");
}

std::string NpyView::form() const { return "NumPy array, " + type_; }

Failure NpyView::fault(size_t i, size_t j, const std::string &what) const {
    return byte_fault(source_, static_cast<size_t>(element(i, j) - bytes_.data()), what);
}

// ---- Writing ----

namespace {

uint64_t product(std::span<const uint64_t> shape) {
    uint64_t count = 1;
    for (const uint64_t size : shape)
        if (__builtin_mul_overflow(count, size, &count)) throw file_error("the array is too large for a .npy file");
    return count;
}

// Everything up to the first number: a multiple of 64 bytes, so that the numbers can be mapped into memory.
std::string header_text(std::span<const uint64_t> shape, bool complex) {
    std::string sizes;
    for (const uint64_t size : shape) sizes += (sizes.empty() ? "" : ", ") + std::to_string(size);
    if (shape.size() == 1) sizes += ",";
    std::string dictionary = std::string("{'descr': '") + (complex ? "<c16" : "<f8") +
                             "', 'fortran_order': False, 'shape': (" + sizes + "), }";
    dictionary += std::string(63 - (10 + dictionary.size()) % 64, ' ') + '\n';
    std::string text(magic);
    text += {'\1', '\0', static_cast<char>(dictionary.size() & 255), static_cast<char>(dictionary.size() >> 8)};
    return text + dictionary;
}

} // namespace

NpyWriter::NpyWriter(const std::string &path, std::span<const uint64_t> shape, bool complex)
    : file_(path), missing_(product(shape)) {
    if (__builtin_mul_overflow(missing_, complex ? 2u : 1u, &missing_))
        throw file_error("the array is too large for a .npy file");
    const std::string header = header_text(shape, complex);
    file_.write(header.data(), header.size());
}

void NpyWriter::write(std::span<const double> block) {
    if (block.size() > missing_) throw std::logic_error("more numbers than announced");
    missing_ -= block.size();
    if constexpr (std::endian::native == std::endian::little) {
        file_.write(block.data(), block.size_bytes());
    } else {
        std::vector<double> swapped;
        for (const double &x : block) swapped.push_back(load<double>(reinterpret_cast<const char *>(&x), true));
        file_.write(swapped.data(), block.size_bytes());
    }
}

void NpyWriter::finish() {
    if (missing_ > 0) throw std::logic_error("fewer numbers than announced");
    file_.finish();
}

void write_npy(const std::string &path, std::span<const uint64_t> shape, std::span<const double> numbers,
               bool complex) {
    NpyWriter writer(path, shape, complex);
    writer.write(numbers);
    writer.finish();
}

} // namespace command
