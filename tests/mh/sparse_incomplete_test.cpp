// Incomplete LU factors by a threshold: without a threshold they are complete, with one they keep what is stated.
#include <algorithm>
#include <cmath>
#include <map>

#include "mh/sparse/ilut.h"
#include "sparse_support.h"

namespace {

using namespace test::mh;
using test::expect_success;

using Rows = std::vector<std::map<int32_t, double>>;

Sp random_square(int32_t n, double share, test::Random &random) {
    Sp A(n, n);
    for (int32_t i = 0; i < n; i++)
        for (int32_t j = 0; j < n; j++)
            if (random.uniform() < share || (i == j && random.below(8)))
                A.set(i, j, std::ldexp(random.uniform() - 0.5, static_cast<int>(random.below(6))));
    return A;
}

// Of `part` the `most` largest that are not below the bound, of equal ones the lower column.
std::map<int32_t, double> kept(const std::map<int32_t, double> &part, size_t most, double bound) {
    std::vector<std::pair<double, int32_t>> order;
    for (const auto &[j, x] : part)
        if (std::fabs(x) >= bound && x != 0.0) order.emplace_back(-std::fabs(x), j);
    std::sort(order.begin(), order.end());
    order.resize(std::min(order.size(), most));
    std::map<int32_t, double> out;
    for (const auto &entry : order) out[entry.second] = part.at(entry.second);
    return out;
}

// The stated rule with maps.
Rows literal(const SPMAT &A, double drop, size_t fill) {
    Rows out;
    for (int32_t i = 0; i < A.n; i++) {
        std::map<int32_t, double> row, lower, upper;
        double sum = 0.0;
        size_t before = 0, after = 0;
        for (int32_t k = 0; k < A.row[i].len; k++) {
            const row_elt &entry = A.row[i].elt[k];
            row[entry.col] = entry.val;
            sum += entry.val * entry.val;
            before += entry.col < i;
            after += entry.col > i;
        }
        const double bound = drop * std::sqrt(sum);
        for (auto k = row.begin(); k != row.end() && k->first < i; ++k) {
            const auto &above = out[static_cast<size_t>(k->first)];
            const double factor = k->second / above.at(k->first);
            if (!(std::fabs(factor) >= bound) || factor == 0.0) continue;
            lower[k->first] = factor;
            for (auto u = above.upper_bound(k->first); u != above.end(); ++u) row[u->first] -= factor * u->second;
        }
        upper.insert(row.upper_bound(i), row.end());
        auto done = kept(lower, before + fill, bound);
        done.merge(kept(upper, after + fill, bound));
        double pivot = row[i];
        if (!(std::fabs(pivot) >= bound) || pivot == 0.0) pivot = std::copysign(bound > 0.0 ? bound : 1.0, pivot);
        done[i] = pivot;
        out.push_back(done);
    }
    return out;
}

TEST(SparseIncompleteLU, HasTheBitsOfTheStatedRule) {
    test::Random random(21);
    int64_t dropped = 0;
    for (int round = 0; round < 300; round++) {
        const auto n = static_cast<int32_t>(random.below(30));
        const Sp A = random_square(n, 0.05 + 0.1 * (round % 4), random);
        for (const auto &[drop, fill] : {std::pair{0.0, n}, {0.0, 0}, {0.05, 2}, {0.3, 1}, {1.0, 0}}) {
            Sp out;
            expect_success(sarvo::mh::ilu_by_threshold(*A.p, drop, fill, &out.p));
            const Rows expected = literal(*A.p, drop, static_cast<size_t>(fill));
            for (int32_t i = 0; i < n; i++) {
                const SPROW &row = out.p->row[i];
                const auto &want = expected[static_cast<size_t>(i)];
                ASSERT_EQ(static_cast<size_t>(row.len), want.size()) << round << " " << drop << " row " << i;
                int32_t k = 0;
                for (const auto &[j, x] : want) {
                    EXPECT_EQ(row.elt[k].col, j);
                    EXPECT_EQ(std::signbit(row.elt[k].val), std::signbit(x));
                    EXPECT_EQ(row.elt[k++].val, x) << round << " " << drop << " " << i << " " << j;
                }
                EXPECT_EQ(row.elt[row.diag].col, i);
                dropped += row.len < A.p->row[i].len;
            }
        }
    }
    EXPECT_GT(dropped, 100);
}

} // namespace
