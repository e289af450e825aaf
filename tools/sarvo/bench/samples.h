// Repeated measurements: median, spread, outliers, and whether two sets of them differ.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace command {

struct Measured {
    std::string name, level; // what was measured, and where, if that matters
    uint64_t size = 0;       // bytes; 0 when that does not matter
    std::string unit;
    bool more_is_better = true;
    std::vector<double> samples;
    double resolution = 0.0; // what is not larger than this is as good as 0
};

struct Spread {
    double median = 0.0, best = 0.0;
    double low = 0.0, high = 0.0; // quartiles
    size_t outliers = 0;          // beyond one and a half times the distance of the quartiles from them (Tukey, 1977)
};
Spread spread_of(const Measured &m);       // of at least one sample
double relative_spread(const Measured &m); // distance of the quartiles as a share of the median

// The two-sided probability of the rank-sum test (Mann and Whitney, 1947) that samples as far apart come from one
// distribution: counted exactly where no two values are equal and there are at most 50 in all, else by the normal
// approximation with correction for ties.
double rank_sum_probability(const std::vector<double> &a, const std::vector<double> &b);

// Holm's (1979) adjustment of probabilities for the number of comparisons, in their order.
std::vector<double> holm_adjusted(const std::vector<double> &p);

} // namespace command
