// Matrix products: packed panels, register tiles whose running sums are kept from the first term to the last.
//
//          n                      b is packed in panels of tile_columns columns, element (l, j) of a panel at l *
//          tile_columns + j;
//        +---+---+---+            a in panels of tile_rows rows, element (i, l) of a panel at l * tile_rows + i. Both
//        are padded with
//      k | b | b | b |            zeros, so that every tile is whole; only its valid part reaches c.
//        +---+---+---+
//   +--+ +---+---+---+            Blocks of k come in ascending order and a tile takes up c where the block before left
//   it: each
// m |a | | c |   |   |            element of c sees its terms l = 0, 1, 2, ... one after the other, as the plain loops
// add them.
//   +--+ +---+---+---+
//
// Terms with a zero in a are added here although the plain product leaves them out: they are +0 or -0 and a running sum
// that began with +0 is never -0, so they change nothing as long as b is finite. Panels of b with an infinity or NaN
// take the plain loops.
#include "levels.h"
#include "vec.h"

namespace sarvo::simd::SARVO_SIMD_LEVEL {
namespace {

// Tile: rows * vectors running sums, `vectors` of b, one of a, one product. 32 registers at v4, 16 below.
constexpr uint64_t tile_rows = lanes == 8 ? 8 : 4;
constexpr uint64_t tile_vectors = lanes == 8 ? 3 : 2;
constexpr uint64_t tile_columns = tile_vectors * lanes;

// Block sizes in elements: the a block stays in the second-level cache, a b panel in the first (measured best near k =
// 384).
constexpr uint64_t block_k = 384;
constexpr uint64_t block_m = 64;
constexpr uint64_t block_n = 480;
constexpr uint64_t few_panels = 2;
constexpr uint64_t b_in_cache = 16384; // elements: 128 KiB

constexpr uint64_t smaller(uint64_t x, uint64_t y) { return x < y ? x : y; }
constexpr uint64_t round_up(uint64_t x, uint64_t unit) { return (x + unit - 1) / unit * unit; }

struct Operand {
    const double *p;
    uint64_t row, col; // strides
};

// Packs an mc x kc block of a.
void pack_a(uint64_t mc, uint64_t kc, const Operand &a, double *packed) {
    for (uint64_t i = 0; i < mc; i += tile_rows) {
        const uint64_t valid = smaller(tile_rows, mc - i);
        for (uint64_t l = 0; l < kc; l++, packed += tile_rows) {
            const double *p = a.p + i * a.row + l * a.col;
            for (uint64_t r = 0; r < valid; r++) packed[r] = p[r * a.row];
            for (uint64_t r = valid; r < tile_rows; r++) packed[r] = 0.0;
        }
    }
}

// Packs one panel of b, kc x valid columns; true when all of it is finite.
bool pack_b(uint64_t kc, uint64_t valid, const double *b, uint64_t ldb, double *packed) {
    Vec spoiled = {}; // x - x is 0 for finite x, else NaN
    for (uint64_t l = 0; l < kc; l++, packed += tile_columns, b += ldb) {
        if (valid == tile_columns) {
            for (uint64_t v = 0; v < tile_vectors; v++) store(packed + v * lanes, load(b + v * lanes));
        } else {
            for (uint64_t j = 0; j < valid; j++) packed[j] = b[j];
            for (uint64_t j = valid; j < tile_columns; j++) packed[j] = 0.0;
        }
        for (uint64_t v = 0; v < tile_vectors; v++) {
            const Vec x = load(packed + v * lanes);
            spoiled += x - x;
        }
    }
    double sum = 0.0;
    for (uint64_t i = 0; i < lanes; i++) sum += spoiled[i];
    return sum == 0.0;
}

// c tile = (fresh ? 0 : c tile) + a panel * b panel. Whole tile, row stride ldc. The a panel is packed (row stride 1,
// column stride tile_rows, both known to the compiler), or stands where it is with contiguous rows.
template <bool packed>
void tile(uint64_t kc, const double *a, uint64_t a_row, const double *b, bool fresh, double *c, uint64_t ldc) {
    constexpr uint64_t a_step = packed ? tile_rows : 1;
    if (packed) a_row = 1;
    Vec sum[tile_rows][tile_vectors];
    for (uint64_t r = 0; r < tile_rows; r++)
        for (uint64_t v = 0; v < tile_vectors; v++) sum[r][v] = fresh ? Vec{} : load(c + r * ldc + v * lanes);
    for (uint64_t l = 0; l < kc; l++, a += a_step, b += tile_columns) {
        Vec bl[tile_vectors];
        for (uint64_t v = 0; v < tile_vectors; v++) bl[v] = load(b + v * lanes);
        for (uint64_t r = 0; r < tile_rows; r++)
            for (uint64_t v = 0; v < tile_vectors; v++) sum[r][v] += a[r * a_row] * bl[v];
    }
    for (uint64_t r = 0; r < tile_rows; r++)
        for (uint64_t v = 0; v < tile_vectors; v++) store(c + r * ldc + v * lanes, sum[r][v]);
}

// A tile of which only rows x columns lie in c.
void edge_tile(uint64_t kc, const double *a, const double *b, bool fresh, double *c, uint64_t ldc, uint64_t rows,
               uint64_t columns) {
    double whole[tile_rows * tile_columns] = {};
    for (uint64_t r = 0; !fresh && r < rows; r++)
        for (uint64_t j = 0; j < columns; j++) whole[r * tile_columns + j] = c[r * ldc + j];
    tile<true>(kc, a, 1, b, fresh, whole, tile_columns);
    for (uint64_t r = 0; r < rows; r++)
        for (uint64_t j = 0; j < columns; j++) c[r * ldc + j] = whole[r * tile_columns + j];
}

// The plain loops for one panel of b that is not finite: zeros in a are left out.
void plain_panel(uint64_t m, uint64_t columns, uint64_t kc, const Operand &a, const double *b, uint64_t ldb, bool fresh,
                 double *c, uint64_t ldc) {
    for (uint64_t i = 0; i < m; i++) {
        double *ci = c + i * ldc;
        for (uint64_t j = 0; fresh && j < columns; j++) ci[j] = 0.0;
        for (uint64_t l = 0; l < kc; l++) {
            const double ail = a.p[i * a.row + l * a.col];
            if (ail == 0.0) continue;
            for (uint64_t j = 0; j < columns; j++) ci[j] += ail * b[l * ldb + j];
        }
    }
}

// One block of k and of columns, with b packed, and what its tiles need.
struct Block {
    uint64_t m, nc, kc;
    Operand a;
    bool fresh;
    double *c;
    uint64_t ldc;
    double *packed_a, *packed_b;
    bool plain[block_n / tile_columns + 1]; // panels that the plain loops have done
};

// The tile of rows i0 + i .. and columns j .., mc rows from i0 on being at hand: the first `unpacked` in a, the others
// packed.
inline void one_tile(const Block &block, uint64_t i0, uint64_t mc, uint64_t unpacked, uint64_t i, uint64_t j) {
    const uint64_t rows = smaller(tile_rows, mc - i);
    const uint64_t columns = smaller(tile_columns, block.nc - j);
    const double *a = block.packed_a + (i - unpacked) * block.kc;
    const double *b = block.packed_b + j * block.kc;
    double *c = block.c + (i0 + i) * block.ldc + j;
    if (rows < tile_rows || columns < tile_columns) edge_tile(block.kc, a, b, block.fresh, c, block.ldc, rows, columns);
    else if (i < unpacked)
        tile<false>(block.kc, block.a.p + (i0 + i) * block.a.row, block.a.row, b, block.fresh, c, block.ldc);
    else tile<true>(block.kc, a, 1, b, block.fresh, c, block.ldc);
}

// All rows of c for one block of k and of columns.
void column_block(Block &block, const double *b, uint64_t ldb, bool skip_zeros) {
    const uint64_t kc = block.kc;
    for (uint64_t j = 0; j < block.nc; j += tile_columns) {
        const uint64_t columns = smaller(tile_columns, block.nc - j);
        const bool finite = pack_b(kc, columns, b + j, ldb, block.packed_b + j * kc);
        block.plain[j / tile_columns] = skip_zeros && !finite;
        if (block.plain[j / tile_columns])
            plain_panel(block.m, columns, kc, block.a, b + j, ldb, block.fresh, block.c + j, block.ldc);
    }
    // Rows that lie together and meet few panels are not worth packing, but for those of the last, partial tile.
    const bool in_place = block.a.col == 1 && block.nc <= few_panels * tile_columns && block.nc % tile_columns == 0;
    const bool small_b = kc * block.nc <= b_in_cache;
    for (uint64_t i0 = 0; i0 < block.m; i0 += block_m) {
        const uint64_t mc = smaller(block_m, block.m - i0);
        const uint64_t unpacked = in_place ? mc / tile_rows * tile_rows : 0;
        pack_a(mc - unpacked, kc, {block.a.p + (i0 + unpacked) * block.a.row, block.a.row, block.a.col},
               block.packed_a);
        if (small_b) { // along the rows of c
            for (uint64_t i = 0; i < mc; i += tile_rows)
                for (uint64_t j = 0; j < block.nc; j += tile_columns)
                    if (!block.plain[j / tile_columns]) one_tile(block, i0, mc, unpacked, i, j);
        } else { // down a panel of b, which stays in the first-level cache
            for (uint64_t j = 0; j < block.nc; j += tile_columns)
                for (uint64_t i = 0; i < mc && !block.plain[j / tile_columns]; i += tile_rows)
                    one_tile(block, i0, mc, unpacked, i, j);
        }
    }
}

void blocked(uint64_t m, uint64_t n, uint64_t k, const Operand &a, const double *b, uint64_t ldb, bool accumulate,
             double *c, uint64_t ldc, double *work) {
    for (uint64_t j0 = 0; j0 < n; j0 += block_n)
        for (uint64_t l0 = 0; l0 < k; l0 += block_k) {
            Block block;
            block.m = m;
            block.nc = smaller(block_n, n - j0);
            block.kc = smaller(block_k, k - l0);
            block.a = {a.p + l0 * a.col, a.row, a.col};
            block.fresh = !accumulate && l0 == 0;
            block.c = c + j0;
            block.ldc = ldc;
            block.packed_a = work;
            block.packed_b = work + round_up(smaller(m, block_m), tile_rows) * block.kc;
            column_block(block, b + l0 * ldb + j0, ldb, !accumulate);
        }
}

} // namespace

void product(uint64_t m, uint64_t n, uint64_t k, const double *a, uint64_t a_row, uint64_t a_col, const double *b,
             uint64_t ldb, double *c, uint64_t ldc, double *work) {
    if (k == 0)
        for (uint64_t i = 0; i < m; i++)
            for (uint64_t j = 0; j < n; j++) c[i * ldc + j] = 0.0;
    blocked(m, n, k, {a, a_row, a_col}, b, ldb, false, c, ldc, work);
}

void product_add(uint64_t m, uint64_t n, uint64_t k, const double *a, uint64_t a_row, uint64_t a_col, const double *b,
                 uint64_t ldb, double *c, uint64_t ldc, double *work) {
    blocked(m, n, k, {a, a_row, a_col}, b, ldb, true, c, ldc, work);
}

uint64_t product_work(uint64_t m, uint64_t n, uint64_t k) {
    const uint64_t kc = smaller(k, block_k);
    return kc * (round_up(smaller(m, block_m), tile_rows) + round_up(smaller(n, block_n), tile_columns));
}

} // namespace sarvo::simd::SARVO_SIMD_LEVEL
