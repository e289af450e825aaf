// Rows and columns of a matrix: one lane per row where rows are summed, many rows at once where they are added.
#include "levels.h"
#include "vec.h"

namespace sarvo::simd::SARVO_SIMD_LEVEL {
namespace {

// f(column, elements of `lanes` rows in it) for `lanes` columns.
template <class Use> inline void columns_of_block(const double *a, uint64_t lda, Use use) {
    Vec column[lanes];
    load_transposed(a, lda, column);
    for (uint64_t t = 0; t < lanes; t++) use(t, column[t]);
}

// Sums over all columns of `blocks` * lanes rows. term(column, elements) gives what is added.
template <uint64_t blocks, class Term>
inline void sum_rows(uint64_t n, const double *a, uint64_t lda, Vec (&sum)[blocks], Term term) {
    for (Vec &s : sum) s = Vec{};
    uint64_t j = 0;
    for (; j + lanes <= n; j += lanes)
        for (uint64_t b = 0; b < blocks; b++)
            columns_of_block(a + b * lanes * lda + j, lda,
                             [&](uint64_t t, Vec elements) { sum[b] += term(j + t, elements); });
    for (; j < n; j++)
        for (uint64_t b = 0; b < blocks; b++) {
            Vec elements = {};
            for (uint64_t i = 0; i < lanes; i++) elements[i] = a[(b * lanes + i) * lda + j];
            sum[b] += term(j, elements);
        }
}

// y(j) = y(j) + s(i) rows_i(j) for `width` <= lanes columns from j on.
template <uint64_t count>
inline void add_part(uint64_t j, uint64_t width, const double *const *rows, const double *s, double *y) {
    Vec yj = load_part(y + j, width);
    for (uint64_t i = 0; i < count; i++) yj += s[i] * load_part(rows[i] + j, width);
    store_part(y + j, yj, width);
}

// `count` rows and their factors, where stores to y cannot make the compiler load them anew.
template <uint64_t count> struct Rows {
    const double *row[count];
    Vec factor[count];

    Rows(const double *const *rows, const double *s) {
        for (uint64_t i = 0; i < count; i++) {
            row[i] = rows[i];
            factor[i] = broadcast(s[i]);
        }
    }
};

// The rows at columns j .. of `vectors` vectors.
template <uint64_t vectors, uint64_t count> inline void add_columns(uint64_t j, const Rows<count> &rows, double *y) {
    Vec sum[vectors];
    for (uint64_t v = 0; v < vectors; v++) sum[v] = load(y + j + v * lanes);
    for (uint64_t i = 0; i < count; i++)
        for (uint64_t v = 0; v < vectors; v++) sum[v] += rows.factor[i] * load(rows.row[i] + j + v * lanes);
    for (uint64_t v = 0; v < vectors; v++) store(y + j + v * lanes, sum[v]);
}

// `count` rows added in one pass: y is read and written once. Rows are read along, which is what caches fetch ahead.
template <uint64_t count> void add_block(uint64_t n, const double *const *rows, const double *s, double *y) {
    uint64_t j = 0;
    if (n >= 8 * lanes) { // from where the first row meets a cache line, as others do at a distance of whole lines
        j = to_alignment(rows[0]);
        if (j != 0) add_part<count>(0, j, rows, s, y);
    }
    const Rows<count> together(rows, s);
    for (; j + 4 * lanes <= n; j += 4 * lanes) add_columns<4>(j, together, y);
    for (; j + lanes <= n; j += lanes) add_columns<1>(j, together, y);
    if (j < n) add_part<count>(j, n - j, rows, s, y);
}

// Largest sum of magnitudes of the columns of one strip.
template <uint64_t vectors> double max_in_strip(uint64_t rows, const double *a, uint64_t lda) {
    Vec sum[vectors] = {};
    for (uint64_t i = 0; i < rows; i++)
        for (uint64_t v = 0; v < vectors; v++) sum[v] += magnitude(load(a + i * lda + v * lanes));
    double all[vectors * lanes], largest = 0.0;
    for (uint64_t v = 0; v < vectors; v++) store(all + v * lanes, sum[v]);
    for (const double x : all)
        if (x > largest) largest = x;
    return largest;
}

} // namespace

void dot_rows(uint64_t rows, uint64_t n, const double *a, uint64_t lda, const double *x, double *out) {
    const auto term = [x](uint64_t j, Vec elements) { return elements * x[j]; };
    uint64_t i = 0;
    for (; i + 2 * lanes <= rows; i += 2 * lanes) {
        Vec sum[2];
        sum_rows(n, a + i * lda, lda, sum, term);
        for (uint64_t b = 0; b < 2; b++) store(out + i + b * lanes, sum[b]);
    }
    for (; i + lanes <= rows; i += lanes) {
        Vec sum[1];
        sum_rows(n, a + i * lda, lda, sum, term);
        store(out + i, sum[0]);
    }
    for (; i < rows; i++) {
        double sum = 0.0;
        for (uint64_t j = 0; j < n; j++) sum += a[i * lda + j] * x[j];
        out[i] = sum;
    }
}

void max_abs_rows(uint64_t rows, uint64_t n, const double *a, uint64_t lda, double *out) {
    uint64_t i = 0;
    for (; i + lanes <= rows && n >= lanes; i += lanes) { // columns may be met twice: a maximum does not mind
        Vec most = {};
        for (uint64_t j = 0; j < n; j += lanes)
            columns_of_block(a + i * lda + smaller(j, n - lanes), lda, [&most](uint64_t, Vec elements) {
                const Vec x = magnitude(elements);
                most = x > most ? x : most;
            });
        store(out + i, most);
    }
    for (; i < rows; i++) out[i] = max_abs(n, a + i * lda);
}

void add_rows(uint64_t count, uint64_t n, const double *const *rows, const double *s, double *y) {
    uint64_t i = 0;
    for (; i + 8 <= count; i += 8) add_block<8>(n, rows + i, s + i, y);
    if (i + 4 <= count) {
        add_block<4>(n, rows + i, s + i, y);
        i += 4;
    }
    if (i + 2 <= count) {
        add_block<2>(n, rows + i, s + i, y);
        i += 2;
    }
    if (i < count) add_block<1>(n, rows + i, s + i, y);
}

double max_row_sum(uint64_t rows, uint64_t n, const double *a, uint64_t lda) {
    double largest = 0.0;
    uint64_t i = 0;
    for (; i + lanes <= rows; i += lanes) {
        Vec sum[1];
        sum_rows(n, a + i * lda, lda, sum, [](uint64_t, Vec elements) { return magnitude(elements); });
        for (uint64_t l = 0; l < lanes; l++)
            if (sum[0][l] > largest) largest = sum[0][l];
    }
    for (; i < rows; i++) {
        double sum = 0.0;
        for (uint64_t j = 0; j < n; j++) sum += __builtin_fabs(a[i * lda + j]);
        if (sum > largest) largest = sum;
    }
    return largest;
}

double max_column_sum(uint64_t rows, uint64_t n, const double *a, uint64_t lda) {
    double largest = 0.0;
    const auto keep = [&largest](double x) {
        if (x > largest) largest = x;
    };
    uint64_t j = 0;
    for (; j + 8 * lanes <= n; j += 8 * lanes) keep(max_in_strip<8>(rows, a + j, lda));
    for (; j + lanes <= n; j += lanes) keep(max_in_strip<1>(rows, a + j, lda));
    for (; j < n; j++) {
        double sum = 0.0;
        for (uint64_t i = 0; i < rows; i++) sum += __builtin_fabs(a[i * lda + j]);
        keep(sum);
    }
    return largest;
}

void transpose(uint64_t rows, uint64_t n, const double *a, uint64_t lda, double *out, uint64_t ldout) {
    uint64_t i = 0;
    for (; i + lanes <= rows; i += lanes) {
        uint64_t j = 0;
        for (; j + lanes <= n; j += lanes)
            columns_of_block(a + i * lda + j, lda,
                             [&](uint64_t t, Vec elements) { store(out + (j + t) * ldout + i, elements); });
        for (; j < n; j++)
            for (uint64_t r = i; r < i + lanes; r++) out[j * ldout + r] = a[r * lda + j];
    }
    for (; i < rows; i++)
        for (uint64_t j = 0; j < n; j++) out[j * ldout + i] = a[i * lda + j];
}

} // namespace sarvo::simd::SARVO_SIMD_LEVEL
