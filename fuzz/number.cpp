// Numbers as text: what parses is what the C library finds, prints, and reads back to the same bits.
#include "numbers.h"

#include <cmath>

#include "support.h"

namespace {

void require_reads_back(double x) {
    const auto shortest = command::parse_number(command::shortest(x));
    fuzz::require(shortest && fuzz::same(*shortest, x), "the shortest digits read back to the same bits");
    const auto all = command::parse_number(command::general(x, 17));
    fuzz::require(all && fuzz::same(*all, x), "17 digits read back to the same bits");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    const std::string text = fuzz::text_of(data, size);
    char *end = nullptr;
    const double by_library = std::strtod(text.c_str(), &end); // in the C locale, which no target leaves
    const bool whole = !text.empty() && end == text.c_str() + text.size();
    if (const auto x = command::parse_number(text)) {
        fuzz::require(whole && fuzz::same(*x, by_library), "the number is that of the C library");
        require_reads_back(*x);
    } else if (text.find_first_not_of("0123456789+-.eE") == std::string::npos && whole) {
        fuzz::require(std::isinf(by_library) || std::fabs(by_library) < 1e-300,
                      "decimal numbers in range are accepted");
    }
    if (size < sizeof(double)) return 0;
    double x = 0.0;
    std::memcpy(&x, data, sizeof x);
    require_reads_back(x);
    return 0;
}
