// Statistics of measurements.
#include "bench/samples.h"

#include <algorithm>
#include <cmath>
#include <numeric>

namespace command {
namespace {

double quantile(const std::vector<double> &sorted, double p) {
    const double place = p * static_cast<double>(sorted.size() - 1);
    const auto i = static_cast<size_t>(place);
    if (i + 1 >= sorted.size()) return sorted.back();
    return sorted[i] + (place - static_cast<double>(i)) * (sorted[i + 1] - sorted[i]);
}

// How many of the ways to choose m ranks of m + n have the statistic u, for each u, as shares of all.
std::vector<double> exact_shares(size_t m, size_t n) {
    // ways[i][u]: i chosen among the ranks so far; the j-th rank, if chosen, passes j - 1 - (chosen before) others.
    std::vector<std::vector<double>> ways(m + 1, std::vector<double>(m * n + 1));
    ways[0][0] = 1.0;
    for (size_t rank = 0; rank < m + n; rank++)
        for (size_t i = std::min(rank + 1, m); i >= 1; i--) {
            const size_t passed = rank - (i - 1); // not chosen before this one
            for (size_t u = m * n + 1; u-- > passed;) ways[i][u] += ways[i - 1][u - passed];
        }
    const double all = std::accumulate(ways[m].begin(), ways[m].end(), 0.0);
    for (double &w : ways[m]) w /= all;
    return ways[m];
}

struct RankSum {
    double u = 0.0;    // pairs in which the value of a is the greater, ties half
    double ties = 0.0; // sum of t^3 - t over groups of t equal values
};

RankSum rank_sum(const std::vector<double> &a, const std::vector<double> &b) {
    RankSum r;
    for (const double x : a)
        for (const double y : b) r.u += x > y ? 1.0 : x == y ? 0.5 : 0.0;
    std::vector<double> all = a;
    all.insert(all.end(), b.begin(), b.end());
    std::sort(all.begin(), all.end());
    for (size_t i = 0; i < all.size();) {
        size_t end = i;
        while (end < all.size() && all[end] == all[i]) end++;
        const auto t = static_cast<double>(end - i);
        r.ties += t * t * t - t;
        i = end;
    }
    return r;
}

} // namespace

Spread spread_of(const Measured &m) {
    std::vector<double> sorted = m.samples;
    std::sort(sorted.begin(), sorted.end());
    Spread s;
    s.median = quantile(sorted, 0.5);
    s.low = quantile(sorted, 0.25);
    s.high = quantile(sorted, 0.75);
    s.best = m.more_is_better ? sorted.back() : sorted.front();
    const double reach = 1.5 * (s.high - s.low);
    for (const double x : sorted) s.outliers += x < s.low - reach || x > s.high + reach;
    return s;
}

double relative_spread(const Measured &m) {
    const Spread s = spread_of(m);
    const double scale = std::max(s.median, m.resolution);
    return scale > 0.0 ? (s.high - s.low) / scale : 0.0;
}

double rank_sum_probability(const std::vector<double> &a, const std::vector<double> &b) {
    const auto m = static_cast<double>(a.size()), n = static_cast<double>(b.size());
    if (a.empty() || b.empty()) return 1.0;
    const RankSum r = rank_sum(a, b);
    if (r.ties == 0.0 && a.size() + b.size() <= 50) {
        const auto shares = exact_shares(a.size(), b.size());
        const auto end = static_cast<size_t>(std::min(r.u, m * n - r.u)) + 1;
        double tail = 0.0;
        for (size_t u = 0; u < end; u++) tail += shares[u];
        return std::min(1.0, 2.0 * tail);
    }
    const double all = m + n, variance = m * n / 12.0 * ((all + 1.0) - r.ties / (all * (all - 1.0)));
    if (!(variance > 0.0)) return 1.0; // all values equal
    const double distance = std::max(0.0, std::fabs(r.u - 0.5 * m * n) - 0.5);
    return std::erfc(distance / std::sqrt(2.0 * variance));
}

std::vector<double> holm_adjusted(const std::vector<double> &p) {
    std::vector<size_t> order(p.size());
    std::iota(order.begin(), order.end(), size_t{0});
    std::sort(order.begin(), order.end(), [&](size_t i, size_t j) { return p[i] < p[j]; });
    std::vector<double> adjusted(p.size());
    double most = 0.0;
    for (size_t k = 0; k < order.size(); k++) {
        most = std::max(most, static_cast<double>(p.size() - k) * p[order[k]]);
        adjusted[order[k]] = std::min(1.0, most);
    }
    return adjusted;
}

} // namespace command
