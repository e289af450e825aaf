// Curves as SVG: one self-contained picture.
#include <cmath>

#include "curve/plot_scale.h"
#include "numbers.h"

namespace command {
namespace {

std::string escaped(const std::string &text) {
    std::string all;
    for (const char c : text) {
        if (c == '<') all += "&lt;";
        else if (c == '&') all += "&amp;";
        else all += c;
    }
    return all;
}

std::string pixel(double v) { return general(std::round(v * 100.0) / 100.0, 8); }

} // namespace

std::string plot_svg(const Plot &plot) {
    constexpr double width = 800, height = 480, left = 70, right = 20, top = 40, bottom = 40;
    const Scale sx = scale_of(plot.x, left, width - right), sy = scale_of(plot.y, height - bottom, top);
    std::string text = "<svg xmlns=\"http://www.w3.org/2000/svg\" viewBox=\"0 0 800 480\" font-family=\"sans-serif\" "
                       "font-size=\"12\">\n<rect width=\"800\" height=\"480\" fill=\"white\"/>\n";
    text += "<text x=\"400\" y=\"24\" text-anchor=\"middle\" font-size=\"15\">" + escaped(plot.title) + "</text>\n";
    text += "<g stroke=\"#ddd\" fill=\"#444\">\n";
    const auto across = ticks(sx, 8), up = ticks(sy, 6);
    for (const double t : across)
        text += "<path d=\"M" + pixel(sx(t)) + " 40V440\"/><text stroke=\"none\" text-anchor=\"middle\" x=\"" +
                pixel(sx(t)) + "\" y=\"458\">" + tick_label(t, across) + "</text>\n";
    for (const double t : up)
        text += "<path d=\"M70 " + pixel(sy(t)) + "H780\"/><text stroke=\"none\" text-anchor=\"end\" x=\"62\" y=\"" +
                pixel(sy(t) + 4) + "\">" + tick_label(t, up) + "</text>\n";
    text += "</g>\n<rect x=\"70\" y=\"40\" width=\"710\" height=\"400\" fill=\"none\" stroke=\"#888\"/>\n";
    for (const Run &run : runs(plot)) {
        text += "<polyline fill=\"none\" stroke=\"#1f5fa8\" stroke-width=\"1.5\" stroke-linejoin=\"round\" points=\"";
        for (size_t i = run.begin; i < run.end; i++)
            text += (i == run.begin ? "" : " ") + pixel(sx(plot.x[i])) + "," + pixel(sy(plot.y[i]));
        text += "\"/>\n";
    }
    return text + "</svg>\n";
}

} // namespace command
