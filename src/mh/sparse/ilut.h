// Incomplete LU factors with a threshold.
#pragma once

#include "storage.h"

namespace sarvo::mh {

// *out, which must be null, = L and U in one matrix as sarvo_mh_spILUfactor lays them out, rows in their order (ILUT:
// Saad, 1994). Row i of the square A is eliminated, columns ascending, by the rows above, which are final. A multiplier
// below `drop` times the Euclidean norm of row i of A is not used; at the end, of what is left of the diagonal and of
// what is right of it so many entries stay as row i of A stores there and `fill` more: those that are not below the
// same bound, the largest first, of equal ones the lower column. The diagonal always stays; a pivot that is 0 or
// smaller than the bound in magnitude becomes the bound with its sign, or 1 where the bound is 0. Errors: the
// allocator's; *out is untouched.
[[nodiscard]] sarko_error_t ilu_by_threshold(const SPMAT &A, double drop, int32_t fill, SPMAT **out);

} // namespace sarvo::mh
