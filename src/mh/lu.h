// The LU factorisation on a plain view, for the routines that factorise copies of their own.
#pragma once

#include "dense.h"

namespace sarvo::mh {

// Doubles of work space that lu_factor needs.
uint64_t lu_work(uint64_t rows, uint64_t cols);

// Factorises a in place as sarvo_mh_LUfactor does; px has a.rows entries.
void lu_factor(const View &a, uint32_t *px, double *work);

} // namespace sarvo::mh
