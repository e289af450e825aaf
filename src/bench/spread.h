// Count, sum and sum of squares of measurements, and their sample standard deviation.
#pragma once

namespace sarvo::bench {

class Spread {
public:
    void add(double x) {
        count_ += 1.0;
        sum_ += x;
        squares_ += x * x;
    }
    bool tells() const { return count_ >= 3.0; } // enough measurements to judge by
    // Rounding can make the difference negative when all are alike.
    double deviation() const {
        const double variance = (count_ * squares_ - sum_ * sum_) / ((count_ - 1.0) * count_);
        return variance > 0.0 ? __builtin_sqrt(variance) : 0.0;
    }

private:
    double count_ = 0.0, sum_ = 0.0, squares_ = 0.0;
};

} // namespace sarvo::bench
