// The result of a linear system as text.
#pragma once

#include <string>

#include "solve/linear_system.h"

namespace command {

// For people: what was done and how good it is; of more than 20 unknowns the first and the last.
std::string solve_table(const SolveResult &result, int digits);
std::string solve_csv(const SolveResult &result);       // item,value, then x1,...; full precision
std::string solve_json(const SolveResult &result);      // one object; full precision, null for what there is not
std::string solution_market(const SolveResult &result); // x as a Matrix Market array

} // namespace command
