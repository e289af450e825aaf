// Successive over-relaxation on a grid: four rows at a time, each one column behind the row above it.
#include <sarvo/scimark.h>

#include "measure.h"

namespace sarvo::bench {
namespace {

constexpr int32_t strip = 4; // rows whose chains of dependent elements run side by side

struct Relaxation {
    double quarter, rest; // omega / 4, 1 - omega

    double operator()(double up, double down, double right, double left, double centre) const {
        return quarter * (((up + down) + right) + left) + rest * centre;
    }
};

void sweep_row(const Relaxation &relax, int32_t N, const double *up, double *row, const double *down) {
    double left = row[0];
    for (int32_t j = 1; j < N - 1; j++) row[j] = left = relax(up[j], down[j], row[j + 1], left, row[j]);
}

// Rows G(0) .. G(3), between G(-1) and G(4). In step t row r takes column t - r: the new element above it is a step
// old, those below and at the right are as before.
void sweep_strip(const Relaxation &relax, int32_t N, double **G) {
    double *const g[strip + 2] = {G[-1], G[0], G[1], G[2], G[3], G[4]};
    const auto step = [&](int32_t t, int32_t r) {
        double *row = g[r + 1];
        const int32_t j = t - r;
        if (j >= 1 && j < N - 1) row[j] = relax(g[r][j], g[r + 2][j], row[j + 1], row[j - 1], row[j]);
    };
    int32_t t = 1;
    for (; t < strip; t++)
        for (int32_t r = 0; r < strip; r++) step(t, r);
    if (t < N - 1) {
        double x0 = g[1][t - 1], x1 = g[2][t - 2], x2 = g[3][t - 3], x3 = g[4][t - 4];
        for (; t < N - 1; t++) {
            const double y3 = relax(x2, g[5][t - 3], g[4][t - 2], x3, g[4][t - 3]);
            const double y2 = relax(x1, g[4][t - 2], g[3][t - 1], x2, g[3][t - 2]);
            const double y1 = relax(x0, g[3][t - 1], g[2][t], x1, g[2][t - 1]);
            const double y0 = relax(g[0][t], g[2][t], g[1][t + 1], x0, g[1][t]);
            g[4][t - 3] = x3 = y3;
            g[3][t - 2] = x2 = y2;
            g[2][t - 1] = x1 = y1;
            g[1][t] = x0 = y0;
        }
    }
    for (; t < N - 2 + strip; t++)
        for (int32_t r = 0; r < strip; r++) step(t, r);
}

double mean(int32_t N, double *const *G) {
    double sum = 0.0;
    for (int32_t i = 0; i < N; i++)
        for (int32_t j = 0; j < N; j++) sum += G[i][j];
    return N > 0 ? sum / (static_cast<double>(N) * N) : 0.0;
}

double num_flops(double M, double N, double cycles) { return (M - 1.0) * (N - 1.0) * cycles * 6.0; }

} // namespace
} // namespace sarvo::bench

using namespace sarvo;
using namespace sarvo::bench;

extern "C" {

void SOR_execute(int32_t M, int32_t N, double omega, double **G, int32_t iterations) {
    if (M < 3 || N < 3) return; // nothing inside
    const Relaxation relax = {omega * 0.25, 1.0 - omega};
    for (int32_t p = 0; p < iterations; p++) {
        int32_t i = 1;
        for (; i + strip <= M - 1; i += strip) sweep_strip(relax, N, G + i);
        for (; i < M - 1; i++) sweep_row(relax, N, G[i - 1], G[i], G[i + 1]);
    }
}

double SOR_num_flops(int32_t M, int32_t N, int32_t cycles) { return num_flops(M, N, cycles); }

sarko_error_t kernel_measureSOR(int32_t N, double min_time, Random *R, double *mflops, double *result,
                                int64_t *cycles) {
    if (sarko_error_t e = refuse_negative(N)) return e;
    double **G;
    if (sarko_error_t e = RandomMatrix(N, N, R, &G)) return e;
    const sarko_error_t e = measure(
        min_time,
        [&](int64_t sweeps) -> sarko_error_t {
            in_parts(sweeps, [&](int32_t part) { SOR_execute(N, N, 1.25, G, part); });
            return 0;
        },
        [&] { return mean(N, G); }, [&](int64_t sweeps) { return num_flops(N, N, static_cast<double>(sweeps)); },
        {mflops, result, cycles});
    sarko_mem_free(G);
    return e;
}

} // extern "C"
