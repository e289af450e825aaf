// The result of a fit as an answer.
#pragma once

#include "answer/answer.h"
#include "fit/fit.h"

namespace command {

Answer fit_answer(const FitResult &result, const FitOptions &options);

} // namespace command
