// Scales, ticks and runs of points.
#include "picture/plot_scale.h"

#include <cmath>

#include "elementary.h"
#include "numbers.h"

namespace command {

namespace {

Scale scale_of(const Plot &plot, std::vector<double> Series::*values, double first, double last, bool logarithmic) {
    double low = HUGE_VAL, high = -HUGE_VAL;
    for (const Series &series : plot.series)
        for (const double value : series.*values)
            if (const double v = logarithmic ? elementary::log10(value) : value; std::isfinite(v)) {
                low = std::fmin(low, v);
                high = std::fmax(high, v);
            }
    if (!(low <= high)) low = 0.0, high = 1.0;
    if (!(high - low > 1e-12 * std::fmax(std::fabs(low), std::fabs(high)))) {
        const double margin = low == 0.0 ? 1.0 : 0.1 * std::fabs(low);
        low -= margin;
        high += margin;
    }
    bool points = false;
    for (const Series &series : plot.series) points = points || series.points;
    const double margin = points ? 0.04 * (high - low) : 0.0; // marks have a size
    return {low - margin, high + margin, first, last, logarithmic};
}

} // namespace

Scale x_scale(const Plot &plot, double first, double last) { return scale_of(plot, &Series::x, first, last, false); }
Scale y_scale(const Plot &plot, double first, double last) {
    return scale_of(plot, &Series::y, first, last, plot.log_y);
}

double Scale::operator()(double v) const {
    return first + ((logarithmic ? elementary::log10(v) : v) - low) / (high - low) * (last - first);
}

std::vector<double> ticks(const Scale &scale, int count) {
    const double raw = (scale.high - scale.low) / count;
    const double power = elementary::pow(10.0, std::floor(elementary::log10(raw)));
    const double step = raw / power <= 1.0   ? power
                        : raw / power <= 2.0 ? 2.0 * power
                        : raw / power <= 5.0 ? 5.0 * power
                                             : 10.0 * power;
    std::vector<double> all;
    for (double k = std::ceil(scale.low / step - 1e-9); k * step <= scale.high + 1e-9 * step && all.size() < 100; k++)
        all.push_back(k * step);
    return all;
}

namespace {

std::string tick_label(double value, const std::vector<double> &all) {
    const double step = all.size() > 1 ? all[1] - all[0] : 1.0;
    if (std::fabs(value) < 1e-9 * step) return "0";
    for (int digits = 1; digits < 15; digits++) { // the fewest that tell neighbours apart
        const std::string text = general(value, digits);
        const auto back = parse_number(text);
        if (back && std::fabs(*back - value) < 0.01 * step) return shortest(*back);
    }
    return shortest(value);
}

std::vector<Mark> labelled(const std::vector<double> &all) {
    std::vector<Mark> marks;
    for (const double t : all) marks.emplace_back(t, tick_label(t, all));
    return marks;
}

} // namespace

std::vector<Mark> x_marks(const Plot &plot, const Scale &scale, int count) {
    if (plot.x_marks.empty()) return labelled(ticks(scale, count));
    std::vector<Mark> inside, some; // those that find room
    for (const Mark &mark : plot.x_marks)
        if (mark.first >= scale.low && mark.first <= scale.high) inside.push_back(mark);
    const size_t step = (inside.size() + static_cast<size_t>(count) - 1) / static_cast<size_t>(count);
    for (size_t i = 0; i < inside.size(); i += step) some.push_back(inside[i]);
    return some;
}

std::vector<Mark> y_marks(const Scale &scale, int count) {
    if (!scale.logarithmic) return labelled(ticks(scale, count));
    std::vector<Mark> marks;
    const bool powers_only = scale.high - scale.low > 0.4 * count;
    for (double decade = std::floor(scale.low); decade <= scale.high; decade++)
        for (const double step : {1.0, 2.0, 5.0}) {
            const double v = step * elementary::pow(10.0, decade), place = elementary::log10(v);
            if (place < scale.low - 1e-9 || place > scale.high + 1e-9 || (powers_only && step != 1.0)) continue;
            marks.emplace_back(v, general(v, 6));
        }
    return marks;
}

std::vector<Run> runs(const Series &plot, const Scale &y) {
    std::vector<Run> all;
    for (size_t i = 0; i < plot.x.size();) {
        if (!std::isfinite(y(plot.y[i]))) {
            i++;
            continue;
        }
        const size_t begin = i;
        while (i < plot.x.size() && std::isfinite(y(plot.y[i]))) i++;
        all.push_back({begin, i});
    }
    return all;
}

} // namespace command
