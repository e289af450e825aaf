// Sorting: the exchanges of the stated quicksort, whatever the way that is taken.
#include <algorithm>

#include "mh_support.h"

namespace {

using namespace test::mh;
using test::expect_success;

// The stated scans, recursing where the library keeps a stack: the order of the ranges does not matter.
void literal_sort(Doubles &x, std::vector<uint32_t> &order, int64_t l, int64_t r) {
    if (l >= r) return;
    const auto at = [&x](int64_t i) -> double & { return x[static_cast<uint64_t>(i)]; };
    const auto exchange = [&](int64_t i, int64_t j) {
        std::swap(at(i), at(j));
        std::swap(order[static_cast<uint64_t>(i)], order[static_cast<uint64_t>(j)]);
    };
    const double pivot = at(r);
    int64_t i = l - 1, j = r;
    for (;;) {
        do i++;
        while (at(i) < pivot);
        do j--;
        while (at(j) > pivot && j != 0);
        if (i >= j) break;
        exchange(i, j);
    }
    exchange(i, r);
    literal_sort(x, order, l, i - 1);
    literal_sort(x, order, i + 1, r);
}

Doubles sequence(uint64_t n, int kind, test::Random &random) {
    Doubles x(n);
    for (uint64_t i = 0; i < n; i++) switch (kind) {
        case 0: x[i] = random.symmetric(); break;
        case 1: x[i] = static_cast<double>(random.below(7)); break; // many equal
        case 2: x[i] = random.below(9) ? random.symmetric() : random.below(2) ? 0.0 : -0.0; break;
        case 3: x[i] = random.below(9) ? random.symmetric() : random.special(); break;    // NaNs among them
        case 6: x[i] = 1.0 + static_cast<double>(random.below(1000000)) * 0x1p-52; break; // equal leading bits
        case 4: x[i] = static_cast<double>(i % 100); break;
        default: x[i] = random.below(50) ? -1e300 * random.uniform() : -1.0 / 0.0; break;
        }
    return x;
}

TEST(Sort, MakesTheStatedExchanges) {
    test::Random random(2);
    for (const uint64_t n : {0u, 1u, 2u, 3u, 10u, 127u, 128u, 129u, 130u, 200u, 1000u, 3999u, 4000u, 9000u})
        for (int kind = 0; kind < 7; kind++)
            for (int round = 0; round < 3; round++) {
                Doubles expected = sequence(n, kind, random);
                Vec alone(expected), without_memory(expected), mirrored(expected);
                std::vector<uint32_t> order(n);
                for (uint32_t i = 0; i < n; i++) order[i] = i;
                literal_sort(expected, order, 0, static_cast<int64_t>(n) - 1);
                const std::string what = "n = " + std::to_string(n) + ", kind " + std::to_string(kind);
                expect_success(sarvo_mh_v_sort(alone.p, nullptr));
                expect_bits(alone.get(), expected, what);
                test::memory::arm(1, true);
                const sarko_error_t e = sarvo_mh_v_sort(without_memory.p, nullptr);
                test::memory::disarm();
                expect_success(e);
                expect_bits(without_memory.get(), expected, what + ", no memory");
                Perm p;
                expect_success(sarvo_mh_v_sort(mirrored.p, &p.p));
                expect_bits(mirrored.get(), expected, what + " with the order");
                ASSERT_EQ(p.get(), order) << what;
            }
}

TEST(Sort, OfALongSortedSequenceEnds) {
    Doubles x(1000000);
    for (uint64_t i = 0; i < x.size(); i++) x[i] = static_cast<double>(i) - 5e5;
    Vec v(x);
    expect_success(sarvo_mh_v_sort(v.p, nullptr));
    EXPECT_EQ(v.get(), x);
}

TEST(Sort, ChecksAndExample) {
    Vec v({3, 1, 2});
    Perm p({1, 0});
    expect_success(sarvo_mh_v_sort(v.p, &p.p));
    EXPECT_EQ(v.get(), (Doubles{1, 2, 3}));
    EXPECT_EQ(p.get(), (std::vector<uint32_t>{1, 2, 0}));
    test::expect_error(sarvo_mh_v_sort(nullptr, &p.p), SarvoMHNullEC, {"Input structure(s) is(are) not initialized"});
}

} // namespace
