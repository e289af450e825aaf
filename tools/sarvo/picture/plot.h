// Curves and points as a picture: SVG, PNG, or characters for the terminal.
#pragma once

#include <string>
#include <utility>
#include <vector>

namespace command {

struct Series {
    std::vector<double> x{}, y{}; // a y that is not finite interrupts the curve
    std::string name{};           // in the legend, where there are several
    bool points = false;          // marks instead of lines
};

struct Plot {
    std::string title;
    std::vector<Series> series;
    std::string x_name, y_name;                            // of the axes; may be empty
    std::vector<std::pair<double, std::string>> x_marks{}; // instead of round numbers

    Plot(std::string title_, std::vector<Series> series_, std::string x_name_ = "", std::string y_name_ = "")
        : title(std::move(title_)),
          series(std::move(series_)),
          x_name(std::move(x_name_)),
          y_name(std::move(y_name_)) {}
};

std::string plot_svg(const Plot &plot);
std::string plot_png(const Plot &plot);
// `columns` x `rows` characters of 2 x 4 dots each, with an axis at the left and below.
std::string plot_text(const Plot &plot, int columns, int rows);

// To FILE.svg, FILE.png, or "-", the terminal. The name is a usage_error otherwise; empty is no plot at all.
void check_plot_name(const std::string &path);
void write_plot(const Plot &plot, const std::string &path);

} // namespace command
