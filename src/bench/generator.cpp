// The generator of the suite and what it fills.
#include "generator.h"

#include <stdlib.h>

#include "core/fail.h"

namespace sarvo::bench {

double scale;

namespace {

uint32_t odd_magnitude(int32_t seed) {
    const uint32_t magnitude = seed < 0 ? 0u - static_cast<uint32_t>(seed) : static_cast<uint32_t>(seed);
    if (magnitude == 0) return 1;
    return magnitude % 2 == 0 ? magnitude - 1 : magnitude;
}

void fill(Random &R, uint64_t n, double *out) {
    for (uint64_t i = 0; i < n; i++) out[i] = Random_nextDouble(&R);
}

} // namespace

void seed_generator(Random &R, int32_t seed) {
    scale = 1.0 / modulus;
    const uint32_t s = odd_magnitude(seed);
    uint32_t j0 = s % 65536, j1 = s / 65536;
    for (int32_t &word : R.m) {
        const uint32_t t = j0 * 9069;
        j1 = (t / 65536 + j1 * 9069) % 32768;
        j0 = t % 65536;
        word = static_cast<int32_t>(j1 * 65536 + j0);
    }
    R.seed = seed;
    R.i = 4;
    R.j = lag - 1;
    R.haveRange = 0;
    R.left = 0.0;
    R.right = 1.0;
    R.width = 1.0;
}

} // namespace sarvo::bench

using namespace sarvo;
using namespace sarvo::bench;

extern "C" {

sarko_error_t new_Random_seed(int32_t seed, Random **out) {
    void *p = nullptr;
    const sarko_error_t e = sarko_mem_malloc(sizeof(Random), &p);
    *out = static_cast<Random *>(p);
    if (!e) seed_generator(**out, seed);
    return e;
}

double Random_nextDouble(Random *R) {
    const double number = next_number(*R) * scale;
    return R->haveRange ? R->left + number * R->width : number;
}

void Random_delete(Random *R) { free(R); }

sarko_error_t RandomVector(int32_t N, Random *R, double **out) {
    *out = nullptr;
    if (N <= 0) return 0;
    Buffer<double> x;
    if (sarko_error_t e = x.allocate_unset(static_cast<uint64_t>(N))) return e;
    fill(*R, static_cast<uint64_t>(N), x.get());
    *out = x.release();
    return 0;
}

sarko_error_t RandomMatrix(int32_t M, int32_t N, Random *R, double ***out) {
    *out = nullptr;
    if (M <= 0 || N <= 0) return 0;
    void *p = nullptr; // the offset matrix from (0, 0): row pointers, then the rows, in one block
    if (sarko_error_t e = sarko_mem_matrix_alloc(&p, sizeof(double), 0, static_cast<uint64_t>(M) - 1, 0,
                                                 static_cast<uint64_t>(N) - 1))
        return e;
    *out = static_cast<double **>(p);
    fill(*R, static_cast<uint64_t>(M) * static_cast<uint64_t>(N), (*out)[0]);
    return 0;
}

} // extern "C"
