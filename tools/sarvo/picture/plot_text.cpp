// Curves in the terminal, by the dots of Braille characters.
#include <algorithm>
#include <cmath>

#include "answer/text.h"
#include "picture/plot_scale.h"

namespace command {
namespace {

// Dots of 2 x 4 to a character.
class Dots {
public:
    Dots(int columns, int rows) : columns_(columns), rows_(rows), cells_(static_cast<size_t>(columns * rows)) {}

    void set(int x, int y) {
        static constexpr unsigned char bit[4][2] = {{1, 8}, {2, 16}, {4, 32}, {64, 128}};
        if (x < 0 || y < 0 || x >= 2 * columns_ || y >= 4 * rows_) return;
        cells_[static_cast<size_t>(y / 4 * columns_ + x / 2)] |= bit[y % 4][x % 2];
    }
    void line(double x0, double y0, double x1, double y1) {
        const int steps = std::max(1, static_cast<int>(std::ceil(std::max(std::fabs(x1 - x0), std::fabs(y1 - y0)))));
        for (int k = 0; k <= steps; k++) {
            const double t = static_cast<double>(k) / steps;
            set(static_cast<int>(std::lround(x0 + t * (x1 - x0))), static_cast<int>(std::lround(y0 + t * (y1 - y0))));
        }
    }
    std::string row(int r) const {
        std::string text;
        for (int c = 0; c < columns_; c++) {
            const unsigned char cell = cells_[static_cast<size_t>(r * columns_ + c)]; // U+2800 + cell
            if (cell == 0) text += ' ';
            else {
                text += '\xE2';
                text += static_cast<char>(0xA0 | (cell >> 6));
                text += static_cast<char>(0x80 | (cell & 0x3F));
            }
        }
        return text;
    }

private:
    int columns_, rows_;
    std::vector<unsigned char> cells_;
};

} // namespace

std::string plot_text(const Plot &plot, int columns, int rows) {
    const Scale sx = x_scale(plot, 0.0, 2.0 * columns - 1.0), sy = y_scale(plot, 4.0 * rows - 1.0, 0.0);
    Dots dots(columns, rows);
    for (const Series &series : plot.series)
        for (const Run &run : runs(series))
            for (size_t i = run.begin; i < run.end; i++) {
                const double x = sx(series.x[i]), y = sy(series.y[i]);
                if (series.points) { // a cross
                    dots.line(x - 1.0, y, x + 1.0, y);
                    dots.line(x, y - 1.0, x, y + 1.0);
                    continue;
                }
                const size_t from = i == run.begin ? i : i - 1;
                dots.line(sx(series.x[from]), sy(series.y[from]), x, y);
            }
    std::vector<std::string> labels(static_cast<size_t>(rows));
    size_t margin = 0;
    for (const auto &[t, label] : y_marks(sy, std::max(2, rows / 4))) {
        const auto r = static_cast<size_t>(std::clamp(static_cast<int>(std::lround(sy(t))) / 4, 0, rows - 1));
        labels[r] = label;
        margin = std::max(margin, labels[r].size());
    }
    std::string text = "  " + plot.title + (plot.y_name.empty() ? "" : ": " + plot.y_name) +
                       (plot.x_name.empty() ? "" : " over " + plot.x_name) + "\n";
    for (int r = 0; r < rows; r++) {
        const std::string &label = labels[static_cast<size_t>(r)];
        std::string line = " " + std::string(margin - label.size(), ' ') + label +
                           (label.empty() ? " \u2502" : " \u2524") + dots.row(r);
        line.erase(line.find_last_not_of(' ') + 1);
        text += line + "\n";
    }
    std::string axis, below(static_cast<size_t>(columns) + 12, ' ');
    std::vector<bool> marked(static_cast<size_t>(columns));
    size_t free_from = 0;
    for (const auto &[t, label] : x_marks(plot, sx, std::max(2, columns / 14))) {
        const auto c = static_cast<size_t>(std::clamp(static_cast<int>(std::lround(sx(t))) / 2, 0, columns - 1));
        const size_t at = c >= label.size() / 2 ? c - label.size() / 2 : 0;
        marked[c] = true;
        if (at < free_from || at + label.size() > below.size()) continue;
        below.replace(at, label.size(), label);
        free_from = at + label.size() + 1;
    }
    for (const bool mark : marked) axis += mark ? "\u252C" : "\u2500";
    below.erase(below.find_last_not_of(' ') + 1);
    return text + std::string(margin + 2, ' ') + "\u2514" + axis + "\n" + std::string(margin + 3, ' ') + below + "\n";
}

} // namespace command
