// Elementary functions of the command: the one place where it calls the platform's.
#pragma once

#include <cmath>

namespace command::elementary {

inline double exp(double x) { return std::exp(x); }
inline double expm1(double x) { return std::expm1(x); }
inline double log(double x) { return std::log(x); }
inline double log2(double x) { return std::log2(x); }
inline double log10(double x) { return std::log10(x); }
inline double log1p(double x) { return std::log1p(x); }
inline double pow(double x, double y) { return std::pow(x, y); }
inline double sqrt(double x) { return std::sqrt(x); }
inline double cbrt(double x) { return std::cbrt(x); }
inline double sin(double x) { return std::sin(x); }
inline double cos(double x) { return std::cos(x); }
inline double tan(double x) { return std::tan(x); }
inline double asin(double x) { return std::asin(x); }
inline double acos(double x) { return std::acos(x); }
inline double atan(double x) { return std::atan(x); }
inline double atan2(double y, double x) { return std::atan2(y, x); }
inline double sinh(double x) { return std::sinh(x); }
inline double cosh(double x) { return std::cosh(x); }
inline double tanh(double x) { return std::tanh(x); }
inline double erf(double x) { return std::erf(x); }
inline double erfc(double x) { return std::erfc(x); }

} // namespace command::elementary
