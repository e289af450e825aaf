// Accumulating statistics of columns.
#include "stats/summary.h"

#include <algorithm>
#include <cmath>

namespace command {

ColumnSummary::ColumnSummary(std::string name, uint64_t capacity, bool weighted)
    : name_(std::move(name)), capacity_(capacity), weighted_(weighted), min_(HUGE_VAL), max_(-HUGE_VAL) {
    sarvo_rng_t *rng = nullptr;
    check(sarvo_rng_init(&rng, 1, 1)); // a fixed seed: equal input, equal output
    rng_.reset(rng);
}

void ColumnSummary::add(double x, double weight) {
    n_++;
    min_ = std::min(min_, x);
    max_ = std::max(max_, x);
    moments_.add(x, weight);
    if (kept_.size() < capacity_) {
        kept_.push_back({x, weight});
    } else if (capacity_ > 0) {
        const auto place = static_cast<uint64_t>(sarvo_rng_uniform(rng_.get()) * static_cast<double>(n_));
        if (place < capacity_) kept_[place] = {x, weight};
    }
}

// Without weights between the two values about (n - 1) p, linearly; with weights the smallest value below or at which
// the share p of all weight lies.
std::optional<double> ColumnSummary::quantile(double p) const {
    if (kept_.empty()) return std::nullopt;
    if (weighted_) {
        double all = 0.0, below = 0.0;
        for (const Kept &k : kept_) all += k.weight;
        for (const Kept &k : kept_) {
            below += k.weight;
            if (below >= p * all && k.weight > 0.0) return k.x;
        }
        return kept_.back().x;
    }
    const double place = p * static_cast<double>(kept_.size() - 1);
    const auto i = static_cast<size_t>(place);
    if (i + 1 >= kept_.size()) return kept_.back().x;
    return kept_[i].x + (place - static_cast<double>(i)) * (kept_[i + 1].x - kept_[i].x);
}

Summary ColumnSummary::result(const std::vector<double> &probabilities, size_t bins) {
    Summary s;
    s.name = name_;
    moments_.finish();
    s.n = n_;
    s.sum_of_weights = weighted_ ? moments_.weight() : 0.0;
    s.mean = moments_.mean();
    s.min = min_;
    s.max = max_;

    // Variance with divisor n - 1, with weights the sum of weights W; skewness sqrt(W / M2^3) M3, excess kurtosis
    // W M4 / M2^2 - 3, with W = n without weights.
    const double W = moments_.weight(), m2 = moments_.second();
    if (n_ >= 2 && m2 > 0.0 && max_ > min_) {
        s.sd = std::sqrt(m2 / (weighted_ ? W : W - 1.0));
        const double variance = m2 / W, deviation = std::sqrt(variance);
        s.skewness = moments_.third() / W / variance / deviation;
        s.kurtosis = moments_.fourth() / W / variance / variance - 3.0;
    } else if (n_ >= 2) {
        s.sd = 0.0;
    }
    if (s.sd && !weighted_) s.standard_error = *s.sd / std::sqrt(static_cast<double>(s.n));

    s.sampled = s.n > kept_.size();
    std::sort(kept_.begin(), kept_.end(), [](const Kept &a, const Kept &b) { return a.x < b.x; });
    for (const double p : probabilities) s.quantiles.push_back(quantile(p));
    if (!kept_.empty() && s.max > s.min) {
        s.histogram.resize(bins);
        for (const Kept &k : kept_) {
            const double place = (k.x - s.min) / (s.max - s.min) * static_cast<double>(bins);
            s.histogram[std::min(static_cast<size_t>(std::max(place, 0.0)), bins - 1)]++;
        }
    }
    return s;
}

} // namespace command
