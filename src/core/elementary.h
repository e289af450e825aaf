// Elementary functions: the one place where the library calls the platform's. Their bits depend on the platform until
// our own correctly rounded ones stand here.
#pragma once

#include <math.h>

namespace sarvo::elementary {

inline double exp(double x) { return ::exp(x); }
inline double log(double x) { return ::log(x); }
inline double pow(double x, double y) { return ::pow(x, y); }
inline double sin(double x) { return ::sin(x); }
inline double cos(double x) { return ::cos(x); }

} // namespace sarvo::elementary
