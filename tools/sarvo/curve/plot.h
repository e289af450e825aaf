// A curve as a picture: SVG, PNG, or characters for the terminal.
#pragma once

#include <string>
#include <vector>

namespace command {

struct Plot {
    std::string title;
    std::vector<double> x, y; // in ascending x; a y that is not finite interrupts the curve
};

std::string plot_svg(const Plot &plot);
std::string plot_png(const Plot &plot);
// `columns` x `rows` characters of 2 x 4 dots each, with an axis at the left and below.
std::string plot_text(const Plot &plot, int columns, int rows);

// To FILE.svg, FILE.png, or "-", the terminal. The name is a usage_error otherwise; empty is no plot at all.
void check_plot_name(const std::string &path);
void write_plot(const Plot &plot, const std::string &path);

} // namespace command
