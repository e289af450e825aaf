// Sums in eight parts, and the fused pass of the Householder reduction.
#include "levels.h"
#include "vec.h"

namespace sarvo::simd::SARVO_SIMD_LEVEL {
namespace {

// Dot products of `count` rows with x; the rows share the loads of x.
template <uint64_t count> void dot_block(uint64_t n, const double *a, uint64_t lda, const double *x, double *out) {
    Group sum[count] = {};
    uint64_t j = 0;
    for (; j + group <= n; j += group)
        for (uint64_t p = 0; p < parts; p++) {
            const Vec xj = load(x + j + p * lanes);
            for (uint64_t r = 0; r < count; r++) sum[r].part[p] += load(a + r * lda + j + p * lanes) * xj;
        }
    for (uint64_t r = 0; r < count; r++) {
        double s[group];
        for (uint64_t p = 0; p < parts; p++) store(s + p * lanes, sum[r].part[p]);
        for (uint64_t l = j; l < n; l++) s[l - j] += a[r * lda + l] * x[l];
        out[r] = ((s[0] + s[4]) + (s[2] + s[6])) + ((s[1] + s[5]) + (s[3] + s[7]));
    }
}

// One block of rows of update2_accumulate: y, v and z are read once for all of them.
template <uint64_t count>
void update_block(uint64_t n, double *a, uint64_t lda, const double *u, const double *y, const double *x,
                  const double *v, const double *t, double *z) {
    Vec ur[count], xr[count], tr[count];
    for (uint64_t r = 0; r < count; r++) {
        ur[r] = broadcast(u[r]);
        xr[r] = broadcast(x[r]);
        tr[r] = broadcast(t[r]);
    }
    uint64_t j = 0;
    for (; j + lanes <= n; j += lanes) {
        const Vec yj = load(y + j);
        const Vec vj = load(v + j);
        Vec zj = load(z + j);
        for (uint64_t r = 0; r < count; r++) {
            const Vec aj = (load(a + r * lda + j) - ur[r] * yj) - xr[r] * vj;
            store(a + r * lda + j, aj);
            zj += tr[r] * aj;
        }
        store(z + j, zj);
    }
    if (j == n) return;
    const uint64_t rest = n - j;
    const Vec yj = load_part(y + j, rest);
    const Vec vj = load_part(v + j, rest);
    Vec zj = load_part(z + j, rest);
    for (uint64_t r = 0; r < count; r++) {
        const Vec aj = (load_part(a + r * lda + j, rest) - ur[r] * yj) - xr[r] * vj;
        store_part(a + r * lda + j, aj, rest);
        zj += tr[r] * aj;
    }
    store_part(z + j, zj, rest);
}

} // namespace

double dot8(uint64_t n, const double *x, const double *y) {
    double out;
    dot_block<1>(n, x, 0, y, &out);
    return out;
}

void dot8_rows(uint64_t rows, uint64_t n, const double *a, uint64_t lda, const double *x, double *out) {
    uint64_t i = 0;
    for (; i + 4 <= rows; i += 4) dot_block<4>(n, a + i * lda, lda, x, out + i);
    for (; i < rows; i++) dot_block<1>(n, a + i * lda, lda, x, out + i);
}

void update2_accumulate(uint64_t rows, uint64_t n, double *a, uint64_t lda, const double *u, const double *y,
                        const double *x, const double *v, const double *t, double *z) {
    constexpr uint64_t block = lanes == 8 ? 6 : 4; // three vectors of coefficients a row must stay in registers
    uint64_t i = 0;
    for (; i + block <= rows; i += block) update_block<block>(n, a + i * lda, lda, u + i, y, x + i, v, t + i, z);
    for (; i < rows; i++) update_block<1>(n, a + i * lda, lda, u + i, y, x + i, v, t + i, z);
}

} // namespace sarvo::simd::SARVO_SIMD_LEVEL
