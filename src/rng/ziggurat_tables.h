// The layers of the ziggurat under f(x) = exp(-x^2/2): 128 of equal area v, the lowest with the tail beyond R.
//
//   height  f at the layers' upper edges, from height[0] = f(0) = 1 down to height[127] = f(R)
//   width   for i < 127 the right edge x(height[i + 1]) of layer i, for the base v / f(R), all over 2^24
//   inside  a 24-bit j below inside[i] puts the point j width[i] of layer i under the curve for certain
// Each is rounded to 12 significant digits; tools/tables/ziggurat.py has the definition.
#pragma once

#include <stdint.h>

namespace sarvo::ziggurat {

constexpr uint64_t layers = 128;
constexpr double R = 3.44428647676;
constexpr double half_R = 1.72214323838;

extern const double height[layers];
extern const double width[layers];
extern const uint64_t inside[layers];

} // namespace sarvo::ziggurat
