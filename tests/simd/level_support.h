// What the tests of vector kernels share: sizes, fills, and the comparison of every level with the literal loops.
#pragma once

#include "simd/simd.h"

#include <algorithm>
#include <string>
#include <vector>

#include "test_support.h"

namespace test::simd {

using sarvo::simd::Kernels;

// Sizes around the lengths of vectors, tiles and blocks (tile 8 x 24, block of k 384, of rows 64, of columns 480).
inline const std::vector<uint64_t> lengths = {0,  1,  2,  3,  4,  5,  7,  8,  9,  15, 16,
                                              17, 23, 24, 25, 31, 33, 63, 65, 66, 130};

inline std::vector<const Kernels *> levels() {
    const Kernels *tables[sarvo::simd::most_levels];
    const uint32_t count = sarvo::simd::available_levels(tables, sarvo::simd::most_levels);
    return {tables, tables + count};
}

inline std::vector<double> values(uint64_t count, Random &random, bool special) {
    std::vector<double> v(count);
    for (double &x : v) x = special ? random.special() : random.symmetric();
    return v;
}

// Storage with one element in front (so that nothing is aligned) and guards behind.
struct Guarded {
    std::vector<double> all;
    uint64_t size;
    static constexpr double guard = -7.25;

    explicit Guarded(const std::vector<double> &contents) : all(contents.size() + 9, guard), size(contents.size()) {
        std::copy(contents.begin(), contents.end(), all.begin() + 1);
    }
    double *data() { return all.data() + 1; }
    bool intact() const {
        return all[0] == guard && std::all_of(all.begin() + 1 + static_cast<std::ptrdiff_t>(size), all.end(),
                                              [](double x) { return x == guard; });
    }
};

// Runs `operation(table, storage)` with the literal loops and with each level on copies of `storage`; demands equal
// bits.
template <class Operation>
void expect_same_bits(const std::vector<double> &storage, const std::string &what, Operation operation) {
    Guarded expected(storage);
    operation(*levels()[0], expected.data());
    for (const Kernels *table : levels()) {
        Guarded actual(storage);
        operation(*table, actual.data());
        EXPECT_TRUE(actual.intact()) << what << " at level " << table->level << " wrote outside";
        expect_equal_bits(actual.data(), expected.data(), storage.size(), what + " at level " + table->level);
    }
}

} // namespace test::simd
