// Owners and fills for the tests of dense algebra.
#pragma once

#include <sarvo/mh.h>

#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include <functional>
#include <initializer_list>
#include <string>
#include <vector>

#include "simd/simd.h"
#include "test_support.h"

namespace test::mh {

using Doubles = std::vector<double>;

// Owners of dense objects; `&object.p` is the address that operations take.
struct Vec {
    VEC *p = nullptr;
    Vec() = default;
    Vec(const Doubles &values) {
        expect_success(sarvo_mh_v_get(values.size(), &p));
        for (uint64_t i = 0; i < values.size(); i++) p->elems[i] = values[i];
    }
    Vec(Vec &&other) noexcept : p(other.p) { other.p = nullptr; }
    ~Vec() { sarvo_mh_v_free(p); }
    Doubles get() const { return p && p->dim ? Doubles(p->elems, p->elems + p->dim) : Doubles(); }
};

struct Mat {
    MAT *p = nullptr;
    Mat() = default;
    Mat(uint64_t rows, uint64_t cols, const Doubles &values = {}) {
        expect_success(sarvo_mh_m_get(rows, cols, &p));
        for (uint64_t i = 0; i < values.size(); i++) p->base[i] = values[i];
    }
    Mat(Mat &&other) noexcept : p(other.p) { other.p = nullptr; }
    ~Mat() { sarvo_mh_m_free(p); }
    Doubles get() const {
        Doubles all;
        for (uint64_t i = 0; p && i < p->rows; i++) all.insert(all.end(), p->row_ptrs[i], p->row_ptrs[i] + p->cols);
        return all;
    }
    double operator()(uint64_t i, uint64_t j) const { return p->row_ptrs[i][j]; }
};

struct Perm {
    PERM *p = nullptr;
    Perm() = default;
    Perm(const std::vector<uint32_t> &entries) {
        expect_success(sarvo_mh_px_get(static_cast<int32_t>(entries.size()), &p));
        for (uint64_t i = 0; i < entries.size(); i++) p->elems[i] = entries[i];
    }
    Perm(Perm &&other) noexcept : p(other.p) { other.p = nullptr; }
    ~Perm() {
        if (p && static_cast<int32_t>(p->size) < 0) p->size = 0; // else it would not be freed
        sarvo_mh_px_free(p);
    }
    std::vector<uint32_t> get() const {
        return p && p->elems ? std::vector<uint32_t>(p->elems, p->elems + p->size) : std::vector<uint32_t>();
    }
};

// Bytes that describe an object wholly; "null" for null.
inline std::string bytes(const VEC *v) {
    return v ? "V" + std::to_string(v->dim) + test::bytes(v->elems, v->dim * sizeof(double)) : "null";
}
inline std::string bytes(const PERM *p) {
    return p ? "P" + std::to_string(p->size) + (p->elems ? test::bytes(p->elems, p->size * sizeof(uint32_t)) : "")
             : "null";
}
inline std::string bytes(const MAT *A) {
    if (!A) return "null";
    std::string all = "M" + std::to_string(A->rows) + "x" + std::to_string(A->cols);
    for (uint64_t i = 0; i < A->rows; i++) all += test::bytes(A->row_ptrs[i], A->cols * sizeof(double));
    return all;
}

// 0 .. 40, 63 .. 66, 100, 127 .. 130: around the lengths of vectors, tiles and blocks.
inline std::vector<uint64_t> awkward_sizes() {
    std::vector<uint64_t> sizes;
    for (uint64_t n = 0; n <= 130; n++)
        if (n <= 40 || (n >= 63 && n <= 66) || n == 100 || n >= 127) sizes.push_back(n);
    return sizes;
}

enum class Fill { plain, zeros, special };
inline constexpr Fill fills[] = {Fill::plain, Fill::zeros, Fill::special};

// Values in (-1, 1); every third or so a zero of either sign; now and then an infinity, NaN, huge or tiny value.
inline Doubles values(uint64_t count, Random &random, Fill fill = Fill::plain) {
    Doubles all(count);
    for (double &x : all) {
        x = random.symmetric();
        if (fill == Fill::zeros && random.below(3) == 0) x = random.below(2) ? 0.0 : -0.0;
        if (fill == Fill::special && random.below(20) == 0) x = random.special();
    }
    return all;
}

inline void expect_bits(const Doubles &actual, const Doubles &expected, const std::string &what) {
    ASSERT_EQ(actual.size(), expected.size()) << what;
    expect_equal_bits(actual.data(), expected.data(), actual.size(), what);
}

// What `print` writes to a stream.
inline std::string listing(const std::function<void(FILE *)> &print) {
    char *text = nullptr;
    size_t size = 0;
    FILE *stream = open_memstream(&text, &size);
    print(stream);
    fclose(stream);
    const std::string all(text, size);
    free(text);
    return all;
}

// Runs `check(level name)` at every level of kernels that this machine has.
inline void at_every_level(const std::function<void(const std::string &)> &check) {
    const sarvo::simd::Kernels *levels[sarvo::simd::most_levels];
    const uint32_t count = sarvo::simd::available_levels(levels, sarvo::simd::most_levels);
    for (uint32_t i = 0; i < count; i++) {
        sarvo::simd::force_level(levels[i]);
        check(levels[i]->level);
    }
    sarvo::simd::force_level(nullptr);
}

} // namespace test::mh
