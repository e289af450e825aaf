// Literal loops of the triangular systems.
#include "../levels.h"

namespace sarvo::simd::ref {

void upper_solve_strip(uint64_t n, const double *u, uint64_t ldu, uint64_t columns, double *x) {
    for (uint64_t i = n; i-- > 0;)
        for (uint64_t c = 0; c < columns; c++) {
            double sum = 0.0;
            for (uint64_t j = i + 1; j < n; j++) sum += u[i * ldu + j] * x[j * solve_strip + c];
            x[i * solve_strip + c] = (x[i * solve_strip + c] - sum) / u[i * ldu + i];
        }
}

} // namespace sarvo::simd::ref
