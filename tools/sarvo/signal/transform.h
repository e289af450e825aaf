// The discrete Fourier transform of a list of any length.
#pragma once

#include <vector>

namespace command {

struct ComplexList {
    std::vector<double> re, im;
};

// X(j) = sum_k x(k) exp(+2 pi i j k / n), or with the opposite sign and divided by n for the inverse. A length that is a
// power of two is transformed as it is, every other by a convolution of such a length (Bluestein 1970). Throws Failure.
void transform(ComplexList &x, bool inverse);

} // namespace command
