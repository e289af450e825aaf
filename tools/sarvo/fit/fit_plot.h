// A fit as a picture: the data, and the fitted formula as a curve where it depends on one column.
#pragma once

#include "data/table.h"
#include "fit/fit.h"
#include "picture/plot.h"

namespace command {

// Abscissae are the one column that the right side uses, else the numbers of the rows.
Plot fit_plot(const Table &table, const FitOptions &options, const FitResult &result);

} // namespace command
