// Growth of a routine's time with the size: the exponent fitted through the measured points.
#pragma once

#include <cmath>
#include <cstdio>
#include <vector>

namespace bench {

class Growth {
public:
    void add(double n, double seconds) { points_.push_back({std::log(n), std::log(seconds)}); }

    // Least squares through the logarithms, over all points and over the last two.
    void print(const char *what, const char *theory) const {
        double mx = 0, my = 0, xx = 0, xy = 0;
        const double count = static_cast<double>(points_.size());
        for (const Point &p : points_) {
            mx += p.n / count;
            my += p.t / count;
        }
        for (const Point &p : points_) {
            xx += (p.n - mx) * (p.n - mx);
            xy += (p.n - mx) * (p.t - my);
        }
        const Point &a = points_[points_.size() - 2], &b = points_.back();
        std::printf("%s: time grows with exponent %.2f, %.2f between the last two sizes; in theory %s\n", what, xy / xx,
                    (b.t - a.t) / (b.n - a.n), theory);
    }

private:
    struct Point {
        double n, t;
    };
    std::vector<Point> points_;
};

} // namespace bench
