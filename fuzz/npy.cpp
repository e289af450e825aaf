// .npy files: every element of an accepted one can be read, and the same numbers as plain doubles read back.
#include "data/npy.h"
#include "support.h"

namespace {

std::vector<double> numbers(const command::NpyView &view) {
    std::vector<double> all;
    if (view.rows() == 0 || view.cols() == 0) return all;
    for (size_t i = 0; i < view.rows(); i++)
        for (size_t j = 0; j < view.cols(); j++) {
            all.push_back(view.real(i, j));
            if (view.complex()) all.push_back(view.imaginary(i, j));
        }
    return all;
}

std::string encoded(const command::NpyView &view, const std::vector<double> &all) {
    const std::string header = std::string("{'descr': '") + (view.complex() ? "<c16" : "<f8") +
                               "', 'fortran_order': False, 'shape': (" + std::to_string(view.rows()) + ", " +
                               std::to_string(view.cols()) + "), }\n";
    std::string bytes = "\x93NUMPY\1";
    bytes += {'\0', static_cast<char>(header.size()), '\0'};
    bytes += header;
    for (const double x : all) bytes.append(reinterpret_cast<const char *>(&x), sizeof x);
    return bytes;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    const std::string_view bytes(reinterpret_cast<const char *>(data), size); // not a copy with a zero behind it
    std::vector<double> all;
    std::string again;
    const std::string refused = fuzz::file_refusal([&] {
        const command::NpyView view(bytes, "data");
        all = numbers(view);
        fuzz::require(all.size() <= 2 * size, "no more numbers than bytes");
        again = encoded(view, all);
    });
    if (refused.empty())
        fuzz::require(fuzz::same(numbers(command::NpyView(again, "again")), all), "the numbers read back");
    return 0;
}
