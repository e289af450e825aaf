// What the record's routines share with the solvers and the tests: the default stopping test, the report of a move.
#pragma once

#include <sarvo/mh/iterative.h>

#include <string.h>

#include "../dense.h"

namespace sarvo::mh {

// The default stopping test: relative to the residual norm at the start.
int32_t stop_relative(const sarvo_mh_iter_t *ip, double res);

// Reports a shared vector whose record moved. sarvo_mh_v_resize keeps records where they are: a guard for others.
void warn_when_moved(int32_t shared, const VEC *before, const VEC *after);

} // namespace sarvo::mh
