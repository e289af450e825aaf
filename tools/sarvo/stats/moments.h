// Mean and central moments of a stream of weighted values, right to the last digits also where the values are large and
// lie close together.
#pragma once

#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

#include "stats/twofold.h"

namespace command {

class Moments {
public:
    void add(double x, double weight) {
        if (!begun_) origin_ = x;
        begun_ = true;
        block_.emplace_back(x, weight);
        if (block_.size() == block_size) take_block();
    }
    void finish() { take_block(); } // before anything is asked

    double weight() const { return weight_.value(); }
    double mean() const { return weight_.high > 0.0 ? (Twofold(origin_) + total_ / weight_).value() : 0.0; }
    // Sums of w (x - mean)^k.
    double second() const { return m2_.value(); }
    double third() const { return m3_.value(); }
    double fourth() const { return m4_.value(); }

private:
    static constexpr size_t block_size = 1024;

    void take_block();
    void merge(Twofold W, Twofold mean, Twofold m2, Twofold m3, Twofold m4);

    std::vector<std::pair<double, double>> block_;
    bool begun_ = false;
    double origin_ = 0.0; // the first value
    Twofold total_;       // of w (x - origin): the mean without the roundings of merging
    Twofold weight_, mean_, m2_, m3_, m4_;
};

} // namespace command
