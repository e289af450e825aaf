// From data to pixels, and the round numbers at which axes are marked.
#pragma once

#include <vector>

#include "curve/plot.h"

namespace command {

struct Scale {
    double low, high;   // data
    double first, last; // pixels of low and high; first > last for y, which grows upward
    double operator()(double v) const { return first + (v - low) / (high - low) * (last - first); }
};

// The range of the finite values, widened where it is empty.
Scale scale_of(const std::vector<double> &values, double first, double last);

// Multiples of 1, 2 or 5 times a power of ten inside the scale, about `count` of them.
std::vector<double> ticks(const Scale &scale, int count);
std::string tick_label(double value, const std::vector<double> &all);

// The runs of points with finite values.
struct Run {
    size_t begin, end;
};
std::vector<Run> runs(const Plot &plot);

} // namespace command
