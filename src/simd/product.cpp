// Matrix products: register tiles whose running sums are kept from the first term to the last.
//
//          n                      A tile of c is tile_rows x tile_columns running sums. Large operands are packed: b in
//        +---+---+---+            panels of tile_columns columns, element (l, j) of a panel at l * tile_columns + j;
//      k | b | b | b |            a in panels of tile_rows rows, element (i, l) at l * tile_rows + i. Both are padded
//        +---+---+---+            with zeros, so that every tile is whole; only its valid part reaches c.
//   +--+ +---+---+---+
//   | a| | c |   |   |            Blocks of k come in ascending order and a tile takes up c where the block before left
// m +--+ +---+---+---+            it: each element of c sees its terms l = 0, 1, 2, ... one after the other, as the
//   | a| |   |   |   |            plain loops add them.
//   +--+ +---+---+---+
//
// Small products read a, and b when it stands by rows, where they are.
//
// Terms with a zero in a are added here although the plain product leaves them out: they are +0 or -0 and a running sum
// that began with +0 is never -0, so they change nothing unless b has an infinity or NaN opposite: then the sum is a
// NaN. A product that leaves zeros out therefore looks for NaNs in its result and does those columns again by the plain
// loops.
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
constexpr uint64_t small_b = 4096;     // elements of a b that stays in the first-level cache: not packed

constexpr uint64_t round_up(uint64_t x, uint64_t unit) { return (x + unit - 1) / unit * unit; }

enum class Kind {
    leave_out, // c = a b without the terms that have a zero in a
    fresh,     // c = a b
    add,       // c = c + a b
    subtract   // c = c - a b
};
constexpr bool starts_fresh(Kind kind) { return kind == Kind::leave_out || kind == Kind::fresh; }

struct Operand {
    const double *p;
    uint64_t row, col; // strides
};

struct Product {
    Kind kind;
    uint64_t m, n, k;
    Operand a, b;
    double *c;
    uint64_t ldc;
    double *work;
};

// ---- Tiles ----

// c tile = (fresh ? 0 : c tile) -+ a rows * b panel, both where they stand, b by rows. `partial`: of the last vector
// only `count` columns exist. True when a NaN came out.
template <uint64_t rows, uint64_t vectors, bool partial, bool subtract>
bool direct_tile(uint64_t k, const Operand &a, const double *b, uint64_t ldb, bool fresh, double *c, uint64_t ldc,
                 uint64_t count) {
    const auto load_last = [count](const double *p, uint64_t v) {
        return partial && v == vectors - 1 ? load_part(p + v * lanes, count) : load(p + v * lanes);
    };
    Vec sum[rows][vectors];
    for (uint64_t r = 0; r < rows; r++)
        for (uint64_t v = 0; v < vectors; v++) sum[r][v] = fresh ? Vec{} : load_last(c + r * ldc, v);
    const double *al = a.p;
    for (uint64_t l = 0; l < k; l++, al += a.col, b += ldb) {
        Vec bl[vectors];
        for (uint64_t v = 0; v < vectors; v++) bl[v] = load_last(b, v);
        for (uint64_t r = 0; r < rows; r++)
            for (uint64_t v = 0; v < vectors; v++) {
                const Vec term = al[r * a.row] * bl[v];
                if (subtract) sum[r][v] -= term;
                else sum[r][v] += term;
            }
    }
    Vec total = {}; // a NaN when there is one (or infinities of both signs)
    for (uint64_t r = 0; r < rows; r++)
        for (uint64_t v = 0; v < vectors; v++) {
            if (partial && v == vectors - 1) store_part(c + r * ldc + v * lanes, sum[r][v], count);
            else store(c + r * ldc + v * lanes, sum[r][v]);
            total += sum[r][v];
        }
    return any_nan(total);
}

using DirectTile = bool (*)(uint64_t, const Operand &, const double *, uint64_t, bool, double *, uint64_t, uint64_t);

// By rows - 1 and by width: 1 .. tile_vectors whole vectors, or one that is partial (entry 0).
template <uint64_t rows, bool subtract> struct Widths {
    static constexpr DirectTile tile[4] = {direct_tile<rows, 1, true, subtract>, direct_tile<rows, 1, false, subtract>,
                                           direct_tile<rows, 2, false, subtract>,
                                           direct_tile<rows, tile_vectors, false, subtract>};
};
template <bool subtract> const DirectTile *direct_tiles(uint64_t rows) {
    static constexpr const DirectTile *table[8] = {
        Widths<1, subtract>::tile, Widths<2, subtract>::tile, Widths<3, subtract>::tile, Widths<4, subtract>::tile,
        Widths<5, subtract>::tile, Widths<6, subtract>::tile, Widths<7, subtract>::tile, Widths<8, subtract>::tile};
    return table[rows - 1];
}

// c tile = (fresh ? 0 : c tile) + a panel * b panel, both packed; the sign is in the packed a. Whole tile, row stride
// ldc. The a panel may also stand where it is with contiguous rows (packed_a false).
template <bool packed_a, uint64_t vectors>
bool tile(uint64_t kc, const double *a, uint64_t a_row, const double *b, bool fresh, double *c, uint64_t ldc) {
    constexpr uint64_t a_step = packed_a ? tile_rows : 1;
    if (packed_a) a_row = 1;
    Vec sum[tile_rows][vectors];
    for (uint64_t r = 0; r < tile_rows; r++)
        for (uint64_t v = 0; v < vectors; v++) sum[r][v] = fresh ? Vec{} : load(c + r * ldc + v * lanes);
    for (uint64_t l = 0; l < kc; l++, a += a_step, b += tile_columns) {
        Vec bl[vectors];
        for (uint64_t v = 0; v < vectors; v++) bl[v] = load(b + v * lanes);
        for (uint64_t r = 0; r < tile_rows; r++)
            for (uint64_t v = 0; v < vectors; v++) sum[r][v] += a[r * a_row] * bl[v];
    }
    Vec total = {}; // a NaN when there is one (or infinities of both signs)
    for (uint64_t r = 0; r < tile_rows; r++)
        for (uint64_t v = 0; v < vectors; v++) {
            store(c + r * ldc + v * lanes, sum[r][v]);
            total += sum[r][v];
        }
    return any_nan(total);
}

// A tile of which only rows x columns lie in c.
template <uint64_t vectors>
bool edge_tile(uint64_t kc, const double *a, const double *b, bool fresh, double *c, uint64_t ldc, uint64_t rows,
               uint64_t columns) {
    double whole[tile_rows * vectors * lanes] = {};
    for (uint64_t r = 0; !fresh && r < rows; r++)
        for (uint64_t j = 0; j < columns; j++) whole[r * vectors * lanes + j] = c[r * ldc + j];
    tile<true, vectors>(kc, a, 1, b, fresh, whole, vectors * lanes);
    bool nan = false;
    for (uint64_t r = 0; r < rows; r++)
        for (uint64_t j = 0; j < columns; j++) {
            const double x = whole[r * vectors * lanes + j];
            c[r * ldc + j] = x;
            nan |= x != x;
        }
    return nan;
}

// ---- Packing ----

// Packs an mc x kc block of a, with the sign turned when `negate`.
template <bool negate> void pack_a(uint64_t mc, uint64_t kc, const Operand &a, double *packed) {
    for (uint64_t i = 0; i < mc; i += tile_rows, packed += tile_rows * kc) {
        const uint64_t valid = smaller(tile_rows, mc - i);
        const double *rows = a.p + i * a.row;
        uint64_t l = 0;
        if (valid == tile_rows && a.row == 1) // columns of a lie together
            for (; l < kc; l++)
                for (uint64_t r = 0; r < tile_rows; r += lanes) {
                    const Vec x = load(rows + l * a.col + r);
                    store(packed + l * tile_rows + r, negate ? -x : x);
                }
        else if (valid == tile_rows && a.col == 1) // rows do
            for (; l + lanes <= kc; l += lanes)
                for (uint64_t r = 0; r < tile_rows; r += lanes) {
                    Vec x[lanes];
                    for (uint64_t i1 = 0; i1 < lanes; i1++) x[i1] = load(rows + (r + i1) * a.row + l);
                    transpose_lanes(x);
                    for (uint64_t l1 = 0; l1 < lanes; l1++)
                        store(packed + (l + l1) * tile_rows + r, negate ? -x[l1] : x[l1]);
                }
        for (; l < kc; l++)
            for (uint64_t r = 0; r < tile_rows; r++) {
                const double x = r < valid ? rows[r * a.row + l * a.col] : 0.0;
                packed[l * tile_rows + r] = negate ? -x : x;
            }
    }
}

// Packs one panel of b, kc x valid columns.
void pack_b(uint64_t kc, uint64_t valid, const double *b, const Operand &strides, double *packed) {
    uint64_t l = 0;
    if (valid == tile_columns && strides.col == 1) {
        for (; l < kc; l++)
            for (uint64_t v = 0; v < tile_vectors; v++)
                store(packed + l * tile_columns + v * lanes, load(b + l * strides.row + v * lanes));
    } else if (valid == tile_columns && strides.row == 1) {
        for (; l + lanes <= kc; l += lanes)
            for (uint64_t v = 0; v < tile_vectors; v++) {
                Vec x[lanes];
                for (uint64_t j = 0; j < lanes; j++) x[j] = load(b + (v * lanes + j) * strides.col + l);
                transpose_lanes(x);
                for (uint64_t l1 = 0; l1 < lanes; l1++) store(packed + (l + l1) * tile_columns + v * lanes, x[l1]);
            }
    }
    for (; l < kc; l++)
        for (uint64_t j = 0; j < tile_columns; j++)
            packed[l * tile_columns + j] = j < valid ? b[l * strides.row + j * strides.col] : 0.0;
}

// The plain loops for some columns of c, zeros in a left out.
void plain_columns(const Product &p, uint64_t first, uint64_t columns) {
    for (uint64_t i = 0; i < p.m; i++) {
        double *ci = p.c + i * p.ldc + first;
        for (uint64_t j = 0; j < columns; j++) ci[j] = 0.0;
        for (uint64_t l = 0; l < p.k; l++) {
            const double ail = p.a.p[i * p.a.row + l * p.a.col];
            if (ail == 0.0) continue;
            const double *bl = p.b.p + l * p.b.row + first * p.b.col;
            for (uint64_t j = 0; j < columns; j++) ci[j] += ail * bl[j * p.b.col];
        }
    }
}

// ---- Small products: nothing is packed ----

bool is_small(uint64_t n, uint64_t k) { return n <= small_b && k <= small_b && n * k <= small_b; }

// All rows of c for one panel of b by rows: `vectors` whole vectors, or `count` columns when that is 0.
void small_panel(const Product &p, const double *b, uint64_t ldb, uint64_t first, uint64_t vectors, uint64_t count) {
    bool nan = false;
    const bool fresh = starts_fresh(p.kind);
    for (uint64_t i = 0; i < p.m; i += tile_rows) {
        const uint64_t rows = smaller(tile_rows, p.m - i);
        const DirectTile *tiles = p.kind == Kind::subtract ? direct_tiles<true>(rows) : direct_tiles<false>(rows);
        const Operand a = {p.a.p + i * p.a.row, p.a.row, p.a.col};
        const DirectTile one = tiles[vectors == tile_vectors ? 3 : vectors];
        nan |= one(p.k, a, b + first, ldb, fresh, p.c + i * p.ldc + first, p.ldc, count);
    }
    if (nan && p.kind == Kind::leave_out) plain_columns(p, first, vectors ? vectors * lanes : count);
}

void small_by_rows(const Product &p, const double *b, uint64_t ldb) {
    uint64_t j = 0;
    for (uint64_t vectors = tile_vectors; vectors > 0; vectors--)
        for (; j + vectors * lanes <= p.n; j += vectors * lanes) small_panel(p, b, ldb, j, vectors, lanes);
    if (j < p.n) small_panel(p, b, ldb, j, 0, p.n - j);
}

void small(const Product &p) {
    if (p.b.col == 1) return small_by_rows(p, p.b.p, p.b.row);
    double b[small_b]; // the transposed copy
    for (uint64_t j = 0; j < p.n; j++)
        for (uint64_t l = 0; l < p.k; l++) b[l * p.n + j] = p.b.p[l * p.b.row + j * p.b.col];
    small_by_rows(p, b, p.n);
}

// ---- Large products ----

// One block of k and of columns, with b packed, and what its tiles need.
struct Block {
    uint64_t nc, kc;
    Operand a;
    bool fresh;
    double *c;
    double *packed_a, *packed_b;
    bool nan[block_n / tile_columns + 1]; // panels in which a NaN came out
};

// The tile of rows i0 + i .. and columns j .., mc rows from i0 on being at hand: the first `unpacked` in a, the others
// packed.
inline bool one_tile(const Product &p, const Block &block, uint64_t i0, uint64_t mc, uint64_t unpacked, uint64_t i,
                     uint64_t j) {
    const uint64_t rows = smaller(tile_rows, mc - i);
    const uint64_t columns = smaller(tile_columns, block.nc - j);
    const double *a = block.packed_a + (i - unpacked) * block.kc;
    const double *b = block.packed_b + j * block.kc;
    double *c = block.c + (i0 + i) * p.ldc + j;
    if (columns <= lanes) return edge_tile<1>(block.kc, a, b, block.fresh, c, p.ldc, rows, columns);
    if (columns <= 2 * lanes && 2 < tile_vectors)
        return edge_tile<2>(block.kc, a, b, block.fresh, c, p.ldc, rows, columns);
    if (rows < tile_rows || columns < tile_columns)
        return edge_tile<tile_vectors>(block.kc, a, b, block.fresh, c, p.ldc, rows, columns);
    if (i < unpacked)
        return tile<false, tile_vectors>(block.kc, block.a.p + (i0 + i) * block.a.row, block.a.row, b, block.fresh, c,
                                         p.ldc);
    return tile<true, tile_vectors>(block.kc, a, 1, b, block.fresh, c, p.ldc);
}

// All rows of c for one block of k and of columns.
void column_block(const Product &p, Block &block, const double *b) {
    const uint64_t kc = block.kc;
    for (uint64_t j = 0; j < block.nc; j += tile_columns) {
        pack_b(kc, smaller(tile_columns, block.nc - j), b + j * p.b.col, p.b, block.packed_b + j * kc);
        block.nan[j / tile_columns] = false;
    }
    // Rows that lie together and meet few panels are not worth packing, but for those of the last, partial tile.
    const bool in_place = block.a.col == 1 && p.kind != Kind::subtract && block.nc <= few_panels * tile_columns &&
                          block.nc % tile_columns == 0;
    const bool along_rows = kc * block.nc <= b_in_cache;
    for (uint64_t i0 = 0; i0 < p.m; i0 += block_m) {
        const uint64_t mc = smaller(block_m, p.m - i0);
        const uint64_t unpacked = in_place ? mc / tile_rows * tile_rows : 0;
        const Operand a = {block.a.p + (i0 + unpacked) * block.a.row, block.a.row, block.a.col};
        if (p.kind == Kind::subtract) pack_a<true>(mc, kc, a, block.packed_a);
        else pack_a<false>(mc - unpacked, kc, a, block.packed_a);
        if (along_rows) {
            for (uint64_t i = 0; i < mc; i += tile_rows)
                for (uint64_t j = 0; j < block.nc; j += tile_columns)
                    block.nan[j / tile_columns] |= one_tile(p, block, i0, mc, unpacked, i, j);
        } else { // down a panel of b, which stays in the first-level cache
            for (uint64_t j = 0; j < block.nc; j += tile_columns)
                for (uint64_t i = 0; i < mc; i += tile_rows)
                    block.nan[j / tile_columns] |= one_tile(p, block, i0, mc, unpacked, i, j);
        }
    }
}

void large(const Product &p) {
    for (uint64_t j0 = 0; j0 < p.n; j0 += block_n) {
        Block block;
        block.nc = smaller(block_n, p.n - j0);
        block.c = p.c + j0;
        block.packed_a = p.work;
        for (uint64_t l0 = 0; l0 < p.k; l0 += block_k) {
            block.kc = smaller(block_k, p.k - l0);
            block.a = {p.a.p + l0 * p.a.col, p.a.row, p.a.col};
            block.fresh = starts_fresh(p.kind) && l0 == 0;
            block.packed_b = p.work + round_up(smaller(p.m, block_m), tile_rows) * block.kc;
            column_block(p, block, p.b.p + l0 * p.b.row + j0 * p.b.col);
        }
        for (uint64_t j = 0; p.kind == Kind::leave_out && j < block.nc; j += tile_columns)
            if (block.nan[j / tile_columns]) plain_columns(p, j0 + j, smaller(tile_columns, block.nc - j));
    }
}

void compute(const Product &p) {
    if (p.m == 0 || p.n == 0) return;
    if (p.k == 0) {
        for (uint64_t i = 0; starts_fresh(p.kind) && i < p.m; i++)
            for (uint64_t j = 0; j < p.n; j++) p.c[i * p.ldc + j] = 0.0;
        return;
    }
    if (is_small(p.n, p.k)) small(p);
    else large(p);
}

} // namespace

void product(uint64_t m, uint64_t n, uint64_t k, const double *a, uint64_t a_row, uint64_t a_col, const double *b,
             uint64_t ldb, double *c, uint64_t ldc, double *work) {
    compute({Kind::leave_out, m, n, k, {a, a_row, a_col}, {b, ldb, 1}, c, ldc, work});
}

void product_transposed(uint64_t m, uint64_t n, uint64_t k, const double *a, uint64_t a_row, uint64_t a_col,
                        const double *b, uint64_t ldb, double *c, uint64_t ldc, double *work) {
    compute({Kind::fresh, m, n, k, {a, a_row, a_col}, {b, 1, ldb}, c, ldc, work});
}

void product_add(uint64_t m, uint64_t n, uint64_t k, const double *a, uint64_t a_row, uint64_t a_col, const double *b,
                 uint64_t ldb, double *c, uint64_t ldc, double *work) {
    compute({Kind::add, m, n, k, {a, a_row, a_col}, {b, ldb, 1}, c, ldc, work});
}

void product_subtract(uint64_t m, uint64_t n, uint64_t k, const double *a, uint64_t a_row, uint64_t a_col,
                      const double *b, uint64_t ldb, double *c, uint64_t ldc, double *work) {
    compute({Kind::subtract, m, n, k, {a, a_row, a_col}, {b, ldb, 1}, c, ldc, work});
}

uint64_t product_work(uint64_t m, uint64_t n, uint64_t k) {
    if (is_small(n, k)) return 0;
    const uint64_t kc = smaller(k, block_k);
    return kc * (round_up(smaller(m, block_m), tile_rows) + round_up(smaller(n, block_n), tile_columns));
}

} // namespace sarvo::simd::SARVO_SIMD_LEVEL
