// Factors of the Fourier transform: w(m, k) = e^(i pi k / m) of stage m, k < m/2; the others are i w(m, k - m/2).
//
// The bits are the same everywhere, since only sums and products make them:
//   m <= 2048   correctly rounded (a table made when the library is compiled);
//   m >= 4096   coarse * fine: with s = m/256, k = a s + r, r < s, coarse = w(256, a) and fine = e^(i pi r / m) by a
//               short polynomial. Both parts are within an ulp or so, the product within two.
#pragma once

#include <stdint.h>

namespace sarvo::mh {

// Real parts of stage m = 2, 4, .. 2048 at roots[m + k], imaginary parts at roots[m + m/2 + k].
extern const double *const fourier_roots;

// Fine parts of the stages m = 4096 .. n/2: with s = m/256, real parts at fine[2 s + r], imaginary at fine[3 s + r].
inline uint64_t fine_count(uint64_t n) { return n <= 4096 ? 0 : n / 128; }
void fill_fine(uint64_t n, double *fine);

} // namespace sarvo::mh
