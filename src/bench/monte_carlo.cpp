// Pi by the share of random points of the unit square that lie in the unit disc.
#include <sarvo/scimark.h>

#include "generator.h"
#include "measure.h"

namespace sarvo::bench {
namespace {

constexpr int32_t seed = 113;

bool inside(int32_t kx, int32_t ky) {
    const double x = kx * scale, y = ky * scale;
    return x * x + y * y <= 1.0;
}

// Two rounds of the generator are 17 points, and leave it as seeding does: every place in it is then known beforehand.
int64_t count_of_17(Random &R) {
    int32_t k[2 * lag];
    for (int32_t round = 0; round < 2; round++) {
        next_round(R.m);
        for (int32_t n = 0; n < lag; n++) k[lag * round + n] = R.m[lag - 1 - n];
    }
    int64_t count = 0;
    for (int32_t p = 0; p < lag; p++) count += inside(k[2 * p], k[2 * p + 1]);
    return count;
}

sarko_error_t integrate(int64_t samples, double *out) {
    Random *R;
    if (sarko_error_t e = new_Random_seed(seed, &R)) return e;
    int64_t count = 0, left = samples;
    for (; left >= lag; left -= lag) count += count_of_17(*R);
    for (; left > 0; left--) {
        const int32_t x = next_number(*R);
        count += inside(x, next_number(*R));
    }
    Random_delete(R);
    *out = samples > 0 ? 4.0 * static_cast<double>(count) / static_cast<double>(samples) : 0.0;
    return 0;
}

} // namespace
} // namespace sarvo::bench

using namespace sarvo::bench;

extern "C" {

sarko_error_t MonteCarlo_integrate(int32_t samples, double *out) { return integrate(samples, out); }

double MonteCarlo_num_flops(int32_t samples) { return samples * 4.0; }

sarko_error_t kernel_measureMonteCarlo(double min_time, Random *, double *mflops, double *result, int64_t *cycles) {
    double estimate = 0.0;
    return measure(
        min_time, [&](int64_t samples) { return integrate(samples, &estimate); }, [&] { return estimate; },
        [](int64_t samples) { return static_cast<double>(samples) * 4.0; }, {mflops, result, cycles});
}

} // extern "C"
