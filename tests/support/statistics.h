// Goodness of fit for the tests of random numbers: Kolmogorov-Smirnov, chi-square, and the gamma distribution they need.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <vector>

namespace test {

// Lower regularised incomplete gamma function: series below a + 1, Legendre's continued fraction above.
inline double gamma_p(double a, double x) {
    if (x <= 0.0) return 0.0;
    const double front = std::exp(a * std::log(x) - x - std::lgamma(a));
    if (x < a + 1.0) {
        double term = 1.0 / a, sum = term;
        for (double k = a + 1.0; term > 1e-17 * sum; k += 1.0) sum += term *= x / k;
        return front * sum;
    }
    double b = x + 1.0 - a, c = 1e300, d = 1.0 / b, h = d;
    for (int i = 1; i < 10000; i++) {
        const double an = -i * (i - a);
        b += 2.0;
        d = 1.0 / (an * d + b);
        c = b + an / c;
        h *= d * c;
        if (std::fabs(d * c - 1.0) < 1e-16) break;
    }
    return 1.0 - front * h;
}

inline double chi_square_p(double chi_square, double freedom) { return 1.0 - gamma_p(0.5 * freedom, 0.5 * chi_square); }

// The probability of a distance as large from cdf by chance; sorts the sample.
template <class Cdf> double kolmogorov_smirnov_p(std::vector<double> &sample, Cdf cdf) {
    std::sort(sample.begin(), sample.end());
    const double n = static_cast<double>(sample.size());
    double distance = 0.0;
    for (size_t i = 0; i < sample.size(); i++) {
        const double F = cdf(sample[i]);
        const double below = static_cast<double>(i) / n;
        distance = std::max({distance, F - below, below + 1.0 / n - F});
    }
    const double lambda = std::sqrt(n) * distance;
    double p = 0.0;
    for (int k = 1; k <= 100; k++) p += (k % 2 ? 2.0 : -2.0) * std::exp(-2.0 * k * k * lambda * lambda);
    return lambda < 0.2 ? 1.0 : p; // the series does not converge below; p is 1 to 12 digits there
}

// Draws of a goodness-of-fit test: 10^6, or what SARVO_TEST_DRAWS says (10^7 before a release).
inline size_t draws() {
    const char *text = std::getenv("SARVO_TEST_DRAWS");
    return text ? static_cast<size_t>(std::strtoull(text, nullptr, 10)) : 1000000;
}

} // namespace test
