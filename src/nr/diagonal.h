// Diagonalisation of a bidiagonal matrix by implicitly shifted QR sweeps, singular vectors along.
#pragma once

#include "bidiagonal.h"

namespace sarvo::nr {

// The bidiagonal matrix with diagonal d (n) and superdiagonal e (n - 1, room for n) becomes diagonal: d receives the
// singular values, none negative, unsorted; e is used up. Rows of Qt (the first n) and Pt, as many columns as they
// have, are rotated along.
//   eps       elements of at most eps * max(|d_i| + |e_i|) count as zero, and those of e of at most 4 * 2^-52 times the
//             smaller diagonal element beside them: so much rounding leaves between equal values
//   max_sweeps  for every 8 values, begun ones counted: sweeps allowed for one value
//   work      diagonal_work(n) doubles, aligned to 64 bytes
// A block of b rows that 10 + b sweeps do not break is swept without shift every second time, and the first bound
// doubles with each of these sweeps until it breaks.
// Returns false when a value needs more sweeps, or d or e hold a NaN or infinity.
bool diagonalise(uint64_t n, double *d, double *e, const Panel &Qt, const Panel &Pt, double eps, uint32_t max_sweeps,
                 double *work);
uint64_t diagonal_work(uint64_t n);

} // namespace sarvo::nr
