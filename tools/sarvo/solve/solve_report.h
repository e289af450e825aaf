// The result of a linear system as an answer.
#pragma once

#include "answer/answer.h"
#include "solve/linear_system.h"

namespace command {

// One result, or those of several right-hand sides.
Answer solve_answer(const std::vector<SolveResult> &results);

// The solutions in columns: .npy, .tsv or .csv as the name ends, else a Matrix Market array.
void write_solution(const std::vector<SolveResult> &results, const std::string &path);

} // namespace command
