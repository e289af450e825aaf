// From data to pixels, and the round numbers at which axes are marked.
#pragma once

#include <vector>

#include "picture/plot.h"

namespace command {

struct Scale {
    double low, high;   // data
    double first, last; // pixels of low and high; first > last for y, which grows upward
    double operator()(double v) const { return first + (v - low) / (high - low) * (last - first); }
};

// The range of the finite values of all series, widened where it is empty.
Scale x_scale(const Plot &plot, double first, double last);
Scale y_scale(const Plot &plot, double first, double last);

// Multiples of 1, 2 or 5 times a power of ten inside the scale, about `count` of them.
std::vector<double> ticks(const Scale &scale, int count);

// A place on an axis and what stands there.
using Mark = std::pair<double, std::string>;
std::vector<Mark> x_marks(const Plot &plot, const Scale &scale, int count);
std::vector<Mark> y_marks(const Scale &scale, int count);

// The runs of points with finite values.
struct Run {
    size_t begin, end;
};
std::vector<Run> runs(const Series &series);

} // namespace command
