// The result of a linear system as an answer.
#pragma once

#include "answer/answer.h"
#include "solve/linear_system.h"

namespace command {

Answer solve_answer(const SolveResult &result);
std::string solution_market(const SolveResult &result); // x as a Matrix Market array

} // namespace command
