// Curves as SVG: one self-contained picture.
#include <cmath>

#include "answer/text.h"
#include "numbers.h"
#include "picture/plot_scale.h"

namespace command {
namespace {

constexpr double page_width = 800, page_height = 480, left = 70, right = 20, top = 40, bottom = 50;
constexpr const char *colours[] = {"#1f5fa8", "#d9730d", "#2e8b57", "#a83279", "#7a6a00", "#555555"};

const char *colour(size_t series) { return colours[series % std::size(colours)]; }

std::string pixel(double v) { return general(std::round(v * 100.0) / 100.0, 8); }

// Escapes nothing: `attributes` are ours.
std::string label(double x, double y, const std::string &attributes, const std::string &text) {
    return "<text x=\"" + pixel(x) + "\" y=\"" + pixel(y) + "\"" + attributes + ">" + markup(text) + "</text>\n";
}

std::string axes(const Plot &plot, const Scale &sx, const Scale &sy) {
    std::string text = "<g stroke=\"#ddd\">\n", labels = "<g fill=\"#444\">\n";
    for (const auto &[at, what] : x_marks(plot, sx, 8)) {
        text += "<path d=\"M" + pixel(sx(at)) + " 40V430\"/>\n";
        labels += label(sx(at), page_height - bottom + 17, " text-anchor=\"middle\"", what);
    }
    for (const auto &[at, what] : y_marks(sy, 6)) {
        text += "<path d=\"M70 " + pixel(sy(at)) + "H780\"/>\n";
        labels += label(left - 8, sy(at) + 4, " text-anchor=\"end\"", what);
    }
    labels += label(0.5 * (left + page_width - right), page_height - 12, " text-anchor=\"middle\"", plot.x_name);
    if (!plot.y_name.empty()) labels += label(left, top - 8, "", plot.y_name);
    return text + "</g>\n" + labels +
           "</g>\n<rect x=\"70\" y=\"40\" width=\"710\" height=\"390\" fill=\"none\" stroke=\"#888\"/>\n";
}

std::string drawn(const Series &series, const Scale &sx, const Scale &sy, const std::string &shade) {
    std::string text;
    for (const Run &run : runs(series, sy)) {
        if (series.points) {
            for (size_t i = run.begin; i < run.end; i++)
                text += "<circle cx=\"" + pixel(sx(series.x[i])) + "\" cy=\"" + pixel(sy(series.y[i])) +
                        "\" r=\"3\" fill=\"" + shade + "\"/>\n";
            continue;
        }
        text +=
            "<polyline fill=\"none\" stroke=\"" + shade + "\" stroke-width=\"1.5\" stroke-linejoin=\"round\" points=\"";
        for (size_t i = run.begin; i < run.end; i++)
            text += (i == run.begin ? "" : " ") + pixel(sx(series.x[i])) + "," + pixel(sy(series.y[i]));
        text += "\"/>\n";
    }
    return text;
}

// In a row above the picture, the last name at its right end.
std::string legend(const Plot &plot) {
    std::string text;
    double x = page_width - right;
    for (size_t i = plot.series.size(); plot.series.size() > 1 && i-- > 0;) {
        const std::string &name = plot.series[i].name;
        if (name.empty()) continue;
        x -= 7.0 * static_cast<double>(name.size()) + 6.0;
        text += label(x, top - 8, "", name);
        x -= 18.0;
        text += "<path d=\"M" + pixel(x) + " " + pixel(top - 12) + "h13\" stroke=\"" + colour(i) +
                "\" stroke-width=\"4\"/>\n";
    }
    return text;
}

} // namespace

std::string plot_svg(const Plot &plot) {
    const Scale sx = x_scale(plot, left, page_width - right), sy = y_scale(plot, page_height - bottom, top);
    std::string text = "<svg xmlns=\"http://www.w3.org/2000/svg\" viewBox=\"0 0 800 480\" font-family=\"sans-serif\" "
                       "font-size=\"12\">\n<rect width=\"800\" height=\"480\" fill=\"white\"/>\n";
    text += label(0.5 * page_width, 16, " text-anchor=\"middle\" font-size=\"15\"", plot.title) + axes(plot, sx, sy);
    for (size_t i = 0; i < plot.series.size(); i++) text += drawn(plot.series[i], sx, sy, colour(i));
    return text + legend(plot) + "</svg>\n";
}

} // namespace command
