// The result of a fit as text.
#pragma once

#include <string>

#include "fit/fit.h"

namespace command {

std::string fit_table(const FitResult &result, const FitOptions &options, int digits); // for people
std::string fit_csv(const FitResult &result);  // item,value,standard_error,t,p; full precision
std::string fit_json(const FitResult &result); // one object; full precision, null for what there is not

} // namespace command
